#include "Inspection/records/files.h"

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

} // namespace
} // namespace QELT::Inspection
