#include "tests/cscan/program.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace cscan {
namespace {

using namespace Testing;

std::filesystem::path const root = PROJECT_ROOT;

/// The commands that the README shows, each as its words.
std::vector<std::vector<std::string>> commandsIn(std::string const& readme) {
    std::vector<std::vector<std::string>> commands;
    for (std::string const& line : linesOf(readme)) {
        if (line.starts_with("    cscan ")) {
            std::istringstream stream(line.substr(10));
            commands.emplace_back();
            for (std::string word; stream >> word;) {
                commands.back().push_back(word);
            }
        }
    }
    return commands;
}

/// They run one after the other in a folder that holds what a reader has after `./demo`.
TEST(Readme, everyCommandRunsAndLeavesWhatItNames) {
    ScratchDirectory const directory;
    ASSERT_EQ(run(directory, {"demo", "build/demo"}).status, 0);
    std::filesystem::copy(root / "examples", directory / "examples");
    auto const commands = commandsIn(readText(root / "README.md"));
    ASSERT_GE(commands.size(), 8U);
    for (auto const& command : commands) {
        Outcome const outcome = run(directory, command);
        std::string text = "cscan";
        for (std::string const& word : command) {
            text += " " + word;
        }
        EXPECT_EQ(outcome.status, 0) << text << "\n" << outcome.output << outcome.errors;
        for (auto const& image : itemsIn(outcome.output, "image")) {
            EXPECT_GT(std::filesystem::file_size(directory / image), 2000U) << text;
        }
        std::string const hitRate = itemIn(outcome.output, "hit rate");
        EXPECT_TRUE(hitRate.empty() || std::stod(hitRate) > 50.0) << text << " ends in a useless picture";
    }
}

} // namespace
} // namespace cscan
