#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>

namespace Benchmarks {

inline void countHits(benchmark::State& state, std::size_t hits, std::size_t beams) {
    state.SetItemsProcessed(static_cast<std::int64_t>(beams));
    state.counters["hit rate"] = static_cast<double>(hits) / static_cast<double>(beams);
}

} // namespace Benchmarks
