#include "Inspection/records/internal/sha256.h"

#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <string>

namespace QELT::Inspection {
namespace {

using Testing::ScratchDirectory;
using Testing::writeText;

std::span<unsigned char const> bytesOf(std::string const& text) {
    return {reinterpret_cast<unsigned char const*>(text.data()), text.size()};
}

std::string digestOfText(std::string const& text) {
    Sha256 digest;
    digest.add(bytesOf(text));
    return digest.digits();
}

// The examples of FIPS 180.
TEST(Sha256, givesTheStandardsDigests) {
    EXPECT_EQ(digestOfText(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(digestOfText("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(digestOfText("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(
        digestOfText("abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklm"
                     "nopqrlmnopqrsmnopqrstnopqrstu"),
        "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1");
    EXPECT_EQ(digestOfText(std::string(1000000, 'a')),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Sha256, takesPiecesOfAnySizeAndEveryLengthOfTheLastBlock) {
    for (std::size_t length = 0; length < 200; ++length) {
        std::string text;
        for (std::size_t i = 0; i < length; ++i) {
            text += static_cast<char>(i * 37 % 251);
        }
        Sha256 digest;
        for (std::size_t start = 0; start < length; start += 7) {
            std::string const piece = text.substr(start, 7);
            digest.add(bytesOf(piece));
        }
        EXPECT_EQ(digest.digits(), digestOfText(text)) << length;
    }
}

TEST(Sha256, readsAFileToItsEnd) {
    ScratchDirectory const directory;
    writeText(directory / "file", std::string(3000000, 'a'));
    FileDigest const digest = digestOf(directory / "file", nullptr);
    EXPECT_EQ(digest.byteCount, 3000000U);
    EXPECT_EQ(digest.sha256, digestOfText(std::string(3000000, 'a')));
    EXPECT_EQ(Testing::messageOf([&] { digestOf(directory / "none", nullptr); }),
              (directory / "none").string() + ": cannot be read");
}

} // namespace
} // namespace QELT::Inspection
