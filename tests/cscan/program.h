#pragma once

#include "apps/cscan/names.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>
#include <png.h>

#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

/// Runs the program itself, as a user would.
namespace cscan::Testing {

using namespace QELT::Inspection::Testing;

struct Outcome {
    int status = -1;
    std::string output;
    std::string errors;
};

inline std::string quoted(std::string const& argument) {
    return "'" + argument + "'";
}

/// Runs the program with the scratch directory as its working directory.
inline Outcome run(ScratchDirectory const& directory, std::vector<std::string> const& arguments) {
    std::string command = "cd " + quoted(directory.get().string()) + " && " + quoted(CSCAN_BINARY);
    for (std::string const& argument : arguments) {
        command += " " + quoted(argument);
    }
    command += " > stdout.txt 2> stderr.txt < /dev/null";
    int const status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readText(directory / "stdout.txt"),
            readText(directory / "stderr.txt")};
}

inline std::vector<std::string> linesOf(std::string const& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// What stands behind each occurrence of a name in the program's findings.
inline std::vector<std::string> itemsIn(std::string const& output, std::string const& name) {
    std::vector<std::string> items;
    for (std::string const& line : linesOf(output)) {
        if (line.rfind(name + "  ", 0) == 0) {
            items.push_back(line.substr(line.find_first_not_of(' ', name.size())));
        }
    }
    return items;
}

/// What stands behind a name in the program's findings; empty if the name isn't there.
inline std::string itemIn(std::string const& output, std::string const& name) {
    auto const items = itemsIn(output, name);
    return items.empty() ? std::string() : items.front();
}

inline std::vector<std::string> fieldsOf(std::string const& line) {
    std::vector<std::string> fields(1);
    for (char const character : line) {
        if (character == ',') {
            fields.emplace_back();
        } else {
            fields.back() += character;
        }
    }
    return fields;
}

/// Number of colours of an image; 0 if it can't be read.
inline std::size_t coloursOf(std::filesystem::path const& path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, path.c_str()) == 0) {
        return 0;
    }
    image.format = PNG_FORMAT_RGB;
    std::vector<unsigned char> bytes(PNG_IMAGE_SIZE(image));
    if (png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr) == 0) {
        return 0;
    }
    std::set<std::vector<unsigned char>> colours;
    for (std::size_t i = 0; i + 2 < bytes.size(); i += 3) {
        colours.insert({bytes[i], bytes[i + 1], bytes[i + 2]});
    }
    return colours.size();
}

/// The lines of standard error that the program speaks itself, in contrast to the library's messages.
inline std::vector<std::string> complaintsIn(std::string const& errors) {
    std::vector<std::string> complaints;
    for (std::string const& line : linesOf(errors)) {
        if (line.rfind("cscan: ", 0) == 0) {
            complaints.push_back(line.substr(7));
        }
    }
    return complaints;
}

struct Mistake {
    std::vector<std::string> arguments;
    std::string complaint;
};

inline void expectComplaint(ScratchDirectory const& directory, Mistake const& mistake) {
    Outcome const outcome = run(directory, mistake.arguments);
    EXPECT_GT(outcome.status, 0);
    auto const complaints = complaintsIn(outcome.errors);
    ASSERT_EQ(complaints.size(), 1U) << outcome.errors;
    EXPECT_EQ(complaints[0], mistake.complaint);
    EXPECT_EQ(linesOf(outcome.errors).back(), "cscan: " + mistake.complaint);
}

} // namespace cscan::Testing
