#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>
#include <unistd.h>

namespace QELT::Inspection::Testing {

/// An empty directory for the running test alone, gone with the object.
class ScratchDirectory {
public:
    ScratchDirectory() {
        auto const& test = *testing::UnitTest::GetInstance()->current_test_info();
        path =
            std::filesystem::path(testing::TempDir()) / (std::string("cscan_") + test.test_suite_name() +
                                                         "_" + test.name() + "_" + std::to_string(getpid()));
        std::filesystem::remove_all(path);
        std::filesystem::create_directories(path);
    }

    ~ScratchDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    ScratchDirectory(ScratchDirectory const&) = delete;
    ScratchDirectory& operator=(ScratchDirectory const&) = delete;

    std::filesystem::path operator/(std::string const& name) const { return path / name; }

    std::filesystem::path const& get() const { return path; }

private:
    std::filesystem::path path;
};

inline void writeText(std::filesystem::path const& path, std::string const& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
}

inline std::string readText(std::filesystem::path const& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// What `action` throws, as text; empty if it throws nothing.
template <class Action>
std::string messageOf(Action&& action) {
    try {
        action();
    } catch (std::exception const& error) {
        return error.what();
    }
    return {};
}

} // namespace QELT::Inspection::Testing
