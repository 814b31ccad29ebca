#include "Geometry/foundations/internal/outputfile.h"

#include "tests/support/fulldisk.h"
#include "tests/support/meshfamilies.h"

#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

namespace QELT::Testing {
namespace {

void complain() {
    throw std::runtime_error("not written");
}

class OutputFiles : public testing::Test {
protected:
    OutputFile open(std::string const& name, OutputFile::Mode mode = OutputFile::Mode::Binary) const {
        auto file = OutputFile::open(directory.file(name), mode, complain);
        if (!file) {
            throw std::logic_error("not opened");
        }
        return std::move(*file);
    }

    TemporaryDirectory directory;
};

TEST_F(OutputFiles, HoldWhatWasWrittenInPiecesOfAnySize) {
    std::mt19937 random(7);
    std::string expected;
    OutputFile file = open("a");
    for (int i = 0; i < 2000; ++i) {
        std::string const piece(random() % 1000U * (i % 500 == 0 ? 1000U : 1U), static_cast<char>(random()));
        file.write(piece);
        expected += piece;
        if (i % 100 == 0) {
            file.flush();
        }
    }
    file.close();
    EXPECT_EQ(readText(directory.file("a")), expected);
}

TEST_F(OutputFiles, TakeBlocksAsTheirBytesOneByOne) {
    std::string const bytes(200000, 'x');
    for (std::size_t const before : {0U, 1U, 65535U, 65536U}) {
        for (std::size_t const length : {0U, 1U, 65535U, 65536U, 65537U, 200000U}) {
            SCOPED_TRACE(std::to_string(before) + " and " + std::to_string(length));
            OutputFile whole = open("whole");
            OutputFile single = open("single");
            for (OutputFile* const file : {&whole, &single}) {
                file->writeBlock(std::string_view(bytes).substr(0, before));
            }
            whole.writeBlock(std::string_view(bytes).substr(0, length));
            for (std::size_t i = 0; i < length; ++i) {
                single.write("x");
            }
            EXPECT_EQ(std::filesystem::file_size(directory.file("whole")),
                      std::filesystem::file_size(directory.file("single")))
                << "as much went to the system";
            whole.close();
            single.close();
            EXPECT_EQ(readText(directory.file("whole")).size(), before + length);
        }
    }
}

TEST_F(OutputFiles, ReplaceWhatWasThere) {
    writeText(directory.file("a"), "something longer");
    OutputFile file = open("a", OutputFile::Mode::Text);
    file.write("short\n");
    file.close();
    EXPECT_EQ(readText(directory.file("a")), "short\n");
}

TEST_F(OutputFiles, ThatCannotBeOpenedAreNothing) {
    EXPECT_FALSE(OutputFile::open(directory.file("none/a"), OutputFile::Mode::Binary, complain));
    EXPECT_FALSE(OutputFile::open(directory.path(), OutputFile::Mode::Text, complain));
}

TEST_F(OutputFiles, ComplainOnFlushAndOnCloseOfAFullDeviceWhichStays) {
    ASSERT_TRUE(linkToFullDevice(directory.file("full")));
    {
        OutputFile file = open("full");
        file.write("x");
        EXPECT_THROW(file.flush(), std::runtime_error);
    }
    {
        OutputFile file = open("full");
        file.write("x");
        EXPECT_THROW(file.close(), std::runtime_error);
    }
    {
        OutputFile file = open("full");
        EXPECT_THROW(file.write(std::string(1U << 17U, 'x')); file.write("x"), std::runtime_error);
    }
    EXPECT_TRUE(getIsFullDeviceWhole());
    EXPECT_TRUE(std::filesystem::is_symlink(directory.file("full")));
}

TEST_F(OutputFiles, WithNothingInThemCloseOnAFullDevice) {
    ASSERT_TRUE(linkToFullDevice(directory.file("full")));
    EXPECT_NO_THROW(open("full").close());
}

TEST_F(OutputFiles, ComplainOfAWriteThatEndsHalfway) {
    for (std::uint64_t const limit : {0U, 1U, 65535U, 65536U, 99999U}) {
        SCOPED_TRACE(limit);
        FileSizeLimit const small(limit);
        OutputFile file = open("a");
        EXPECT_THROW(
            {
                for (int i = 0; i < 100000; ++i) {
                    file.write("x");
                }
                file.close();
            },
            std::runtime_error);
        EXPECT_EQ(std::filesystem::file_size(directory.file("a")), limit);
    }
    FileSizeLimit const enough(100000);
    OutputFile file = open("a");
    file.write(std::string(100000, 'x'));
    EXPECT_NO_THROW(file.close());
}

TEST_F(OutputFiles, ComplainOfAClosingThatFails) {
    OutputFile file = open("a");
    file.write("written");
    file.flush();
    ASSERT_EQ(close(fileno(file.file.get())), 0) << "as a network that is gone would";
    EXPECT_THROW(file.close(), std::runtime_error);
    EXPECT_EQ(readText(directory.file("a")), "written");
}

TEST_F(OutputFiles, ThatAreDroppedLoseWhatWasGatheredWithoutAWord) {
    ASSERT_TRUE(linkToFullDevice(directory.file("full")));
    open("full").write("x");
    open("a").write("x");
    EXPECT_EQ(readText(directory.file("a")), "");
}

} // namespace
} // namespace QELT::Testing
