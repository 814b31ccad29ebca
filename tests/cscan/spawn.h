#pragma once

#include "tests/cscan/program.h"

#include <array>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/// Runs the program as a process that can be limited, killed and interrupted.
namespace cscan::Testing {

/// The program in the scratch directory; what it says on standard error comes through a pipe.
class Process {
public:
    /// No file may grow beyond the limit.
    Process(ScratchDirectory const& directory, std::vector<std::string> const& arguments,
            std::optional<std::uint64_t> fileSizeLimit = std::nullopt) {
        std::vector<char const*> texts{CSCAN_BINARY};
        for (std::string const& argument : arguments) {
            texts.push_back(argument.c_str());
        }
        texts.push_back(nullptr);
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe(ends.data()), 0);
        id = fork();
        if (id == 0) {
            int const nowhere = open("/dev/null", O_RDWR);
            dup2(nowhere, STDIN_FILENO);
            dup2(nowhere, STDOUT_FILENO);
            dup2(ends[1], STDERR_FILENO);
            close(ends[0]);
            close(ends[1]);
            if (fileSizeLimit) {
                rlimit const limit{*fileSizeLimit, *fileSizeLimit};
                setrlimit(RLIMIT_FSIZE, &limit);
            }
            if (chdir(directory.get().c_str()) == 0) {
                execv(CSCAN_BINARY, const_cast<char* const*>(texts.data()));
            }
            _exit(127);
        }
        close(ends[1]);
        errorsEnd = ends[0];
    }

    ~Process() {
        if (id > 0) {
            send(SIGKILL);
            wait();
        }
        close(errorsEnd);
    }

    Process(Process const&) = delete;
    Process& operator=(Process const&) = delete;

    void send(int signal) const { kill(id, signal); }

    /// Waits until it has said something on standard error, or ended.
    void waitForWord() {
        std::array<char, 64> some{};
        auto const length = read(errorsEnd, some.data(), some.size());
        errors.append(some.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    }

    bool isRunning() {
        int const ended = waitpid(id, &status, WNOHANG);
        id = ended == id ? 0 : id;
        return id > 0;
    }

    /// The status as `waitpid` gives it.
    int wait() {
        std::array<char, 4096> some{};
        for (ssize_t length = 1; length > 0;) {
            length = read(errorsEnd, some.data(), some.size());
            errors.append(some.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
        }
        if (id > 0) {
            waitpid(id, &status, 0);
            id = 0;
        }
        return status;
    }

    /// All that it has said on standard error; after it has ended.
    std::string const& getErrors() const { return errors; }

private:
    pid_t id = 0;
    int errorsEnd = -1;
    int status = 0;
    std::string errors;
};

/// The bytes of each file of the directory, by name.
inline std::map<std::string, std::string> contentsOf(ScratchDirectory const& directory) {
    std::map<std::string, std::string> contents;
    for (auto const& entry : std::filesystem::recursive_directory_iterator(directory.get())) {
        std::string const name = std::filesystem::relative(entry.path(), directory.get()).string();
        contents[name] = entry.is_regular_file() ? readText(entry.path()) : "";
    }
    return contents;
}

} // namespace cscan::Testing
