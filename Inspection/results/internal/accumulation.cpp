#include "Inspection/results/internal/accumulation.h"

#include "Inspection/records/failure.h"

#include <algorithm>
#include <cmath>

// Memory a pixel: 8 bytes for min, max and last, 4 for a count, 24 for a mean. A median costs 16 bytes a shot
// on disk and no memory a pixel: its numbers go to 64 files by ranges of pixels, and are read back range by
// range.

namespace QELT::Inspection {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double decibelsPerDecade = 20.0;
constexpr double ten = 10.0;

double decibelsOf(double amplitude) {
    return amplitude > 0.0 ? decibelsPerDecade * std::log10(amplitude) : nan;
}

} // namespace

MedianSpill::MedianSpill(std::size_t newPixelCount)
    : pixelCount(newPixelCount), files(bucketCount), waiting(bucketCount) {}

void MedianSpill::add(std::uint32_t pixel, double number) {
    constexpr std::size_t most = 4096;
    std::size_t const bucket = std::size_t{pixel} * bucketCount / pixelCount;
    waiting[bucket].push_back({pixel, number});
    if (waiting[bucket].size() == most) {
        flush(bucket);
    }
}

void MedianSpill::flush(std::size_t bucket) {
    if (!files[bucket]) {
        files[bucket].reset(std::tmpfile());
    }
    auto& entries = waiting[bucket];
    bool const isWritten = files[bucket] && std::fwrite(entries.data(), sizeof(Entry), entries.size(),
                                                        files[bucket].get()) == entries.size();
    require(isWritten, "the numbers of a median cannot be kept in the folder for temporary files");
    entries.clear();
}

std::vector<MedianSpill::Entry> MedianSpill::entriesOf(std::size_t bucket) {
    std::vector<Entry> entries;
    if (files[bucket]) {
        flush(bucket);
        std::FILE* const file = files[bucket].get();
        long const length = std::fseek(file, 0, SEEK_END) == 0 ? std::ftell(file) : -1;
        require(length >= 0, "the numbers of a median cannot be read again");
        entries.resize(static_cast<std::size_t>(length) / sizeof(Entry));
        std::rewind(file);
        require(std::fread(entries.data(), sizeof(Entry), entries.size(), file) == entries.size(),
                "the numbers of a median cannot be read again");
        files[bucket].reset();
    } else {
        entries.swap(waiting[bucket]);
    }
    return entries;
}

std::vector<double> MedianSpill::medians() {
    std::vector<double> medians(pixelCount, nan);
    for (std::size_t bucket = 0; bucket < bucketCount; ++bucket) {
        auto entries = entriesOf(bucket);
        std::sort(entries.begin(), entries.end(), [](Entry const& a, Entry const& b) {
            return a.pixel != b.pixel ? a.pixel < b.pixel : a.number < b.number;
        });
        for (auto begin = entries.begin(); begin != entries.end();) {
            auto const end = std::find_if(begin, entries.end(),
                                          [&](Entry const& entry) { return entry.pixel != begin->pixel; });
            auto const middle = begin + (end - begin) / 2;
            bool const isOdd = (end - begin) % 2 != 0;
            medians[begin->pixel] = isOdd ? middle->number : 0.5 * ((middle - 1)->number + middle->number);
            begin = end;
        }
    }
    return medians;
}

ValueAccumulator::ValueAccumulator(ShotQuantities::Value const& newValue, std::size_t pixelCount)
    : value(newValue) {
    switch (value.request.statistic) {
    case Statistic::Median:
        spill = std::make_unique<MedianSpill>(pixelCount);
        break;
    case Statistic::Mean:
        parts.assign(pixelCount, 0.0);
        blocks.assign(pixelCount, 0);
        counts.assign(pixelCount, 0);
        numbers.assign(pixelCount, 0.0);
        break;
    case Statistic::Count:
        counts.assign(pixelCount, 0);
        break;
    default:
        numbers.assign(pixelCount, nan);
    }
}

void ValueAccumulator::addToMean(std::uint32_t pixel, double number, std::uint64_t shot) {
    auto const block = static_cast<std::uint32_t>(shot / shotsPerBlock);
    if (blocks[pixel] != block) {
        numbers[pixel] += parts[pixel];
        parts[pixel] = 0.0;
        blocks[pixel] = block;
    }
    parts[pixel] += value.isDecibel ? std::pow(ten, number / decibelsPerDecade) : number;
    ++counts[pixel];
}

void ValueAccumulator::add(std::uint32_t pixel, double number, std::uint64_t shot) {
    if (std::isnan(number)) {
        return;
    }
    switch (value.request.statistic) {
    case Statistic::Min:
        numbers[pixel] = numbers[pixel] < number ? numbers[pixel] : number;
        break;
    case Statistic::Max:
        numbers[pixel] = numbers[pixel] > number ? numbers[pixel] : number;
        break;
    case Statistic::Last:
        numbers[pixel] = number;
        break;
    case Statistic::Mean:
        addToMean(pixel, number, shot);
        break;
    case Statistic::Median:
        spill->add(pixel, number);
        break;
    case Statistic::Count:
        ++counts[pixel];
        break;
    }
}

std::vector<double> ValueAccumulator::means() {
    std::vector<double> means(counts.size(), nan);
    for (std::size_t pixel = 0; pixel < counts.size(); ++pixel) {
        if (counts[pixel] > 0) {
            double const mean = (numbers[pixel] + parts[pixel]) / static_cast<double>(counts[pixel]);
            means[pixel] = value.isDecibel ? decibelsOf(mean) : mean;
        }
    }
    return means;
}

ValueMap ValueAccumulator::finish() {
    ValueMap map{value.request.name(), value.request.quantity, value.request.statistic,
                 value.unit,           value.ceiling,          {}};
    switch (value.request.statistic) {
    case Statistic::Mean:
        map.values = means();
        break;
    case Statistic::Median:
        map.values = spill->medians();
        break;
    case Statistic::Count:
        map.values.assign(counts.begin(), counts.end());
        break;
    default:
        map.values = std::move(numbers);
    }
    if (value.reference) {
        for (double& number : map.values) {
            number = decibelsOf(number / *value.reference);
        }
    }
    return map;
}

} // namespace QELT::Inspection
