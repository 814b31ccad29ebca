#include "Inspection/pictures/image.h"

#include "Inspection/pictures/internal/font.h"
#include "Inspection/pictures/pngfile.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>
#include <png.h>

#include <set>
#include <string>
#include <vector>

namespace QELT::Inspection {
namespace {

constexpr Colour red{200, 10, 20};

int countOf(Image const& image, Colour colour) {
    int count = 0;
    for (int y = 0; y < image.getHeight(); ++y) {
        for (int x = 0; x < image.getWidth(); ++x) {
            count += image.getPixel(x, y) == colour ? 1 : 0;
        }
    }
    return count;
}

TEST(Image, isWhiteAtFirstAndAtLeastOnePixel) {
    Image const image(0, -5);
    EXPECT_EQ(image.getWidth(), 1);
    EXPECT_EQ(image.getHeight(), 1);
    EXPECT_EQ(image.getPixel(0, 0), white);
}

TEST(Image, cutsOffWhatIsDrawnOutside) {
    Image image(4, 3);
    image.fillRectangle(-10, -10, 12, 11, red);
    EXPECT_EQ(countOf(image, red), 2);
    image.setPixel(4, 0, red);
    image.setPixel(0, -1, red);
    image.drawLine(-1e300, 1.0, 1e300, 1.0, 1, red);
    EXPECT_EQ(countOf(image, red), 6);
}

TEST(Image, drawsAFrameAroundTheInside) {
    Image image(6, 5);
    image.drawFrame(1, 1, 4, 3, red);
    EXPECT_EQ(countOf(image, red), 6 * 5 - 4 * 3);
    EXPECT_EQ(image.getPixel(1, 1), white);
    EXPECT_EQ(image.getPixel(0, 0), red);
}

TEST(Image, drawsADiagonalWithoutGaps) {
    Image image(10, 10);
    image.drawLine(0.5, 0.5, 9.5, 9.5, 1, red);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(image.getPixel(i, i), red) << i;
    }
    EXPECT_EQ(countOf(image, red), 10);
}

TEST(Image, fillsATriangleOfEitherWinding) {
    double const x[3] = {0.0, 8.0, 0.0};
    double const y[3] = {0.0, 0.0, 8.0};
    double const backX[3] = {0.0, 0.0, 8.0};
    double const backY[3] = {0.0, 8.0, 0.0};
    Image image(10, 10);
    image.fillTriangle(x, y, red);
    Image back(10, 10);
    back.fillTriangle(backX, backY, red);
    EXPECT_EQ(countOf(image, red), 36);
    EXPECT_EQ(countOf(back, red), 36);
}

TEST(Image, reducesBlocksToTheirMeans) {
    Image image(5, 4);
    image.fillRectangle(0, 0, 2, 1, black);
    Image const reduced = image.reduced(2);
    EXPECT_EQ(reduced.getWidth(), 2);
    EXPECT_EQ(reduced.getHeight(), 2);
    EXPECT_EQ(reduced.getPixel(0, 0), (Colour{128, 128, 128}));
    EXPECT_EQ(reduced.getPixel(1, 1), white);
}

TEST(Image, pastesAnotherOne) {
    Image image(4, 4);
    Image patch(2, 2);
    patch.fillRectangle(0, 0, 2, 2, red);
    image.paste(patch, 3, 3);
    EXPECT_EQ(countOf(image, red), 1);
}

TEST(Font, tellsAllPrintableCharactersApart) {
    std::set<std::string_view> seen;
    for (char character = ' '; character <= '~'; ++character) {
        EXPECT_EQ(glyphOf(character).dots.size(), 6U * 9U - 1U) << character;
        EXPECT_TRUE(seen.insert(glyphOf(character).dots).second) << character;
    }
}

TEST(Font, showsABoxForWhatItLacks) {
    EXPECT_EQ(glyphOf('\xC3').dots, glyphOf('\n').dots);
    EXPECT_TRUE(glyphOf('\x7F').hasDot(0, 0));
}

TEST(Font, measuresTextWithoutTheLastGap) {
    EXPECT_EQ(widthOfText(""), 0);
    EXPECT_EQ(widthOfText("a"), 5);
    EXPECT_EQ(widthOfText("abc"), 17);
}

TEST(Font, drawsTheDotsOfAGlyphAtTheScale) {
    Image image(20, 20);
    image.drawText(1, 1, "-", 2, black);
    EXPECT_EQ(countOf(image, black), 5 * 2 * 2);
    EXPECT_EQ(image.getPixel(1, 1 + 3 * 2), black);
}

std::vector<unsigned char> decoded(std::filesystem::path const& path, png_image& image) {
    image = png_image{};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_NE(png_image_begin_read_from_file(&image, path.c_str()), 0);
    image.format = PNG_FORMAT_RGB;
    std::vector<unsigned char> bytes(PNG_IMAGE_SIZE(image));
    EXPECT_NE(png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr), 0);
    return bytes;
}

TEST(PngFile, readsBackAsTheSamePixels) {
    Testing::ScratchDirectory const directory;
    Image image(7, 3);
    image.setPixel(0, 0, red);
    image.setPixel(6, 2, Colour{1, 2, 3});
    writePng(directory / "image.png", image);
    png_image read;
    auto const bytes = decoded(directory / "image.png", read);
    ASSERT_EQ(read.width, 7U);
    ASSERT_EQ(read.height, 3U);
    for (int y = 0; y < 3; ++y) {
        for (int x = 0; x < 7; ++x) {
            auto const at = static_cast<std::size_t>(3 * (7 * y + x));
            EXPECT_EQ((Colour{bytes[at], bytes[at + 1], bytes[at + 2]}), image.getPixel(x, y));
        }
    }
}

TEST(PngFile, reportsAFileThatCannotBeOpened) {
    Testing::ScratchDirectory const directory;
    auto const path = directory / "none" / "image.png";
    EXPECT_EQ(Testing::messageOf([&] { writePng(path, Image(2, 2)); }),
              path.string() + ": the image cannot be written (No such file or directory)");
}

TEST(PngFile, reportsADiskThatIsFull) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "no device that is always full";
    }
    std::string const small = Testing::messageOf([] { writePng("/dev/full", Image(2, 2)); });
    EXPECT_EQ(small, "/dev/full: the image cannot be written (No space left on device)");
    Image noise(600, 600);
    unsigned state = 1;
    for (int y = 0; y < 600; ++y) {
        for (int x = 0; x < 600; ++x) {
            state = state * 1664525U + 1013904223U;
            noise.setPixel(x, y, Colour{static_cast<std::uint8_t>(state >> 24U), 0, 0});
        }
    }
    std::string const large = Testing::messageOf([&] { writePng("/dev/full", noise); });
    EXPECT_EQ(large, "/dev/full: the image cannot be written (Write Error)");
}

TEST(PngFile, leavesALinkToAFullDeviceInPlace) {
    if (!std::filesystem::exists("/dev/full")) {
        GTEST_SKIP() << "no device that is always full";
    }
    Testing::ScratchDirectory const directory;
    std::filesystem::create_symlink("/dev/full", directory / "image.png");
    EXPECT_NE(Testing::messageOf([&] { writePng(directory / "image.png", Image(2, 2)); }), "");
    EXPECT_TRUE(std::filesystem::is_symlink(directory / "image.png"));
}

} // namespace
} // namespace QELT::Inspection
