#include "benchmarks/comparison/process.h"

#include <cstdlib>
#include <ctime>
#include <exception>
#include <fstream>
#include <iostream>
#include <malloc.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

// A child is forked, not started anew: the parent has one thread, holds nothing to speak of, and hands its
// work over as it stands. The child writes its answer into a pipe, behind a letter that tells answers from
// failures, and leaves without running what the parent left to be done at its end.

namespace Comparison {

namespace {

constexpr char answerMark = '=';
constexpr char failureMark = '!';

std::string answerOf(std::function<std::string()> const& work) {
    try {
        return answerMark + work();
    } catch (std::exception const& failure) {
        return failureMark + std::string(failure.what());
    } catch (...) {
        return failureMark + std::string("an exception of no standard type");
    }
}

void writeAll(int descriptor, std::string const& text) {
    for (std::size_t done = 0; done < text.size();) {
        ssize_t const count = write(descriptor, text.data() + done, text.size() - done);
        if (count <= 0) {
            return;
        }
        done += static_cast<std::size_t>(count);
    }
}

std::string readAll(int descriptor) {
    std::string text;
    char buffer[4096];
    for (ssize_t count = 0; (count = read(descriptor, buffer, sizeof buffer)) > 0;) {
        text.append(buffer, static_cast<std::size_t>(count));
    }
    return text;
}

/// A line of this process' own status, in bytes.
double statusBytes(std::string const& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name + ":")) {
            return 1024.0 * std::strtod(line.c_str() + name.size() + 1, nullptr);
        }
    }
    throw std::runtime_error("the system does not tell " + name);
}

} // namespace

ChildReport runInChild(std::function<std::string()> const& work) {
    int ends[2];
    std::cout.flush();
    if (pipe(ends) != 0) {
        throw std::runtime_error("no pipe");
    }
    pid_t const child = fork();
    if (child == 0) {
        close(ends[0]);
        writeAll(ends[1], answerOf(work));
        _exit(0);
    }
    close(ends[1]);
    std::string const text = child < 0 ? "" : readAll(ends[0]);
    close(ends[0]);
    int status = 0;
    if (child > 0) {
        waitpid(child, &status, 0);
    }
    if (text.empty()) {
        return {"",
                WIFSIGNALED(status) ? "ended by signal " + std::to_string(WTERMSIG(status)) : "ended early"};
    }
    return text.front() == answerMark ? ChildReport{text.substr(1), ""} : ChildReport{"", text.substr(1)};
}

double processorSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

double residentBytes() {
    malloc_trim(0);
    return statusBytes("VmRSS");
}

void restartPeak() {
    malloc_trim(0);
    std::ofstream("/proc/self/clear_refs") << "5";
}

double peakBytes() {
    return statusBytes("VmHWM");
}

} // namespace Comparison
