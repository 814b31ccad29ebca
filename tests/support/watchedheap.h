#pragma once

#include <cstddef>

/// A program that names one of these takes its memory through an `operator new` that heeds them. Volatile,
/// since a compiler may take it that `operator new` changes no object that it can see.
namespace QELT::Testing {

/// How often memory was asked for.
extern std::size_t volatile allocations;

/// How often memory is still given; for ever if negative.
extern long volatile allocationsLeft;

} // namespace QELT::Testing
