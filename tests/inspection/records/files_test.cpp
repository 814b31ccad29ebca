#include "Inspection/records/files.h"

#include "Inspection/records/internal/directories.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace QELT::Inspection {
namespace {

using Testing::messageOf;
using Testing::readText;
using Testing::ScratchDirectory;
using Testing::writeText;

TEST(Files, readableMeansAFileThatOpens) {
    ScratchDirectory const directory;
    writeText(directory / "there", "x");
    EXPECT_EQ(messageOf([&] { requireReadable(directory / "there"); }), "");
    EXPECT_EQ(messageOf([&] { requireReadable(directory / "none"); }),
              (directory / "none").string() + ": cannot be read (No such file or directory)");
    EXPECT_EQ(messageOf([&] { requireReadable(directory.get()); }),
              directory.get().string() + ": cannot be read (it is a directory)");
}

TEST(Files, askingForWritabilityChangesNothing) {
    ScratchDirectory const directory;
    writeText(directory / "there", "kept");
    requireWritable(directory / "there");
    requireWritable(directory / "new");
    EXPECT_EQ(readText(directory / "there"), "kept");
    EXPECT_FALSE(std::filesystem::exists(directory / "new"));
    EXPECT_EQ(messageOf([&] { requireWritable(directory / "none" / "new"); }),
              (directory / "none" / "new").string() + ": cannot be written (No such file or directory)");
}

TEST(Files, workingDirectoryIsRestoredAlsoAfterAThrow) {
    ScratchDirectory const directory;
    auto const before = std::filesystem::current_path();
    std::filesystem::path inside;
    EXPECT_THROW(
        {
            WorkingDirectory const there(directory / "file");
            inside = std::filesystem::current_path();
            throw 1;
        },
        int);
    EXPECT_EQ(inside, std::filesystem::canonical(directory.get()));
    EXPECT_EQ(std::filesystem::current_path(), before);
    WorkingDirectory const here("file");
    EXPECT_EQ(std::filesystem::current_path(), before);
}

} // namespace
} // namespace QELT::Inspection
