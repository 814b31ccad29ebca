#pragma once

#include <functional>
#include <string>

/// What is asked of the operating system: processes of their own, time of the processor, memory.
namespace Comparison {

/// What a child process left: what its work returned, or why it did not come to that.
struct ChildReport {
    std::string text;
    std::string failure; ///< empty if it ended well
};

/// Runs the work in a child process, so that what it allocates and leaves behind disturbs nobody.
ChildReport runInChild(std::function<std::string()> const& work);

/// Seconds of the processor that this process has taken.
double processorSeconds();

/// Bytes that this process holds in memory now, after what is free was given back to the system.
double residentBytes();

/// Lets the peak of memory begin anew, and tells it, in bytes.
void restartPeak();
double peakBytes();

} // namespace Comparison
