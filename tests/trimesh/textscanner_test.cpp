#include "tests/support/loadcomparison.h"

#include "tests/support/meshfamilies.h"
#include "tests/support/randomindex.h"
#include "tests/support/watched.h"

#include "Geometry/trimesh/mesh.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::TriMesh::Mesh;

/// What the loader reads for the x of a vertex written as that text, or a message that it reads no vertex.
std::string readX(std::string const& number) {
    TemporaryDirectory const directory;
    std::string const path = directory.file("x.obj");
    writeText(path, "v " + number + " 2 3\n");
    Mesh mesh;
    EXPECT_THROW(mesh.load(path.c_str()), std::runtime_error);
    if (mesh.getNumberOfVertices() != 1) {
        return "no vertex";
    }
    float const x = mesh.getVertex(0).getPoint3D().getX();
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%a", static_cast<double>(x));
    return buffer;
}

/// Numbers of every form that a scan may meet, whole and broken off.
std::vector<std::string> strangeNumbers() {
    return {// decimal
            "1", "+1", "-1", "01", "007", "1.5", ".5", "5.", "-.5", "+5.", ".", "-", "+", "+-1", "--1", "-.",
            "1..2", "1.2.3", "..5", "1,5", "1'000", "1_0", "0", "-0", "00", "0.", ".0", "-.0",
            // exponents
            "1e5", "1E5", "1e+5", "1e-5", "1e", "1e+", "1e-", "1ee5", "1e5e5", "1e5.5", "e5", ".e5", "1.e5",
            ".5e1", "1e 5", "1e+-5", "1e99999999999999999999", "1e-99999999999999999999",
            "0e99999999999999999999", "-1e99999", "1d5", "1f5", "1e05", "1e0000000000000000000000000005",
            // hexadecimal
            "0x1", "0X1", "0x", "0X", "0xg", "-0x1", "+0x1.8", "0x1p3", "0x1p-3", "0x1P+3", "0x1p", "0x1p+",
            "0x.8", "0x.", "0x8.", "0x.p1", "0xp1", "0x1.8p1.5", "0xabc", "0xABC.DEF", "0xinf", "0x1e5",
            "0x1e+5", "0x0", "0x0p0", "0x1p127", "0x1p128", "0x1.fffffep127", "0x1.ffffffp127",
            "0x1.fffffefp127", "0x1p-126", "0x1p-149", "0x1p-150", "0x1.8p-150", "0x1.0000001p-150",
            "0x1p-1000", "0x1p1000", "0x1.000001p0", "0x1.000003p0", "0x1.0000010000000000000001p0",
            "0x00000000000000000000000000000001p0", "0x1p99999999999999999999", "0x1p-99999999999999999999",
            "00x1", "x1", "0x0.00000000000000000000000000000000000000000000000000000000000001p240",
            // words
            "inf", "INF", "InF", "+inf", "-inf", "infinity", "INFINITY", "-Infinity", "infinit", "infi",
            "infx", "in", "i", "nan", "NAN", "-nan", "+nan", "NaN", "nan(123)", "nan()", "na", "n", "nanx",
            "infnan", "1inf", "innf", "nnan", "infinityinfinity", "nanv", "nv", "iv", "inv", "infiv",
            // roundings
            "16777217", "16777219", "16777217.0000000000000000000000000000000001", "1.00000005960464477539",
            "1.000000059604644775390625", "1.0000000596046447753906250000000000000000000000000000001",
            "1.00000017881393432617187499", "1.000000178813934326171875",
            "1.00000017881393432617187500000000001", "8388608.5", "8388609.5", "0.1", "0.30000001192092896",
            "3.4028235e38", "3.4028234663852886e38", "3.4028235677973366e38", "3.4028235677973365e38",
            "340282356779733661637539395458142568447", "340282356779733661637539395458142568448", "3.5e38",
            "-3.5e38", "1e39", "1e400", "1e-400", "-1e-400",
            // underflow and denormals
            "1.1754943508222875e-38", "1.17549435e-38", "1.1754942e-38", "1.401298464324817e-45", "1.4e-45",
            "7.006492321624085e-46", "7.0064923216240853546186479164495e-46",
            "7.0064923216240853546186479164496e-46", "7.1e-46", "1e-45", "1e-46", "1.1754943157898258e-38",
            // length
            "0." + std::string(400, '0') + "1", std::string(400, '0') + "1", "1" + std::string(37, '0'),
            "1" + std::string(45, '0'), "1" + std::string(400, '0') + "e-400",
            "0." + std::string(400, '0') + "123e400", std::string(2000, '9'), "." + std::string(2000, '9'),
            "0x" + std::string(400, '0') + "1p0", "0x1" + std::string(400, '0') + "p-1600",
            "0x." + std::string(400, '0') + "1p1604", "0x" + std::string(300, 'f'),
            "0x1." + std::string(300, '0') + "1"};
}

std::string randomText(std::mt19937& generator, std::string const& alphabet, std::size_t maximum) {
    std::string text;
    for (std::size_t length = randomBelow(generator, maximum + 1); length > 0; --length) {
        text += alphabet[randomBelow(generator, alphabet.size())];
    }
    return text;
}

/// A number with many digits that lies close to the middle of two neighbouring floats.
std::string nearHalfway(std::mt19937& generator) {
    std::uint32_t const magnitude = randomBelow(generator, 0x7F000000U);
    double const low = static_cast<double>(std::bit_cast<float>(magnitude));
    double const high = static_cast<double>(std::bit_cast<float>(magnitude + 1));
    char buffer[256];
    std::snprintf(buffer, sizeof buffer, "%.*e", static_cast<int>(15 + randomBelow(generator, 60)),
                  low / 2 + high / 2);
    std::string digits = buffer;
    std::size_t const exponent = digits.find('e');
    char const* const tails[] = {"", "0", "000000000000000000000000000001", "1", "9"};
    return digits.insert(exponent, tails[randomBelow(generator, 5)]);
}

} // namespace

TEST(TextScanner, EveryFormOfNumberReadsAsTheCLibraryReadsIt) {
    for (std::string const& number : strangeNumbers()) {
        for (char const* tail : {" 2 3\nv 4 5 6\nv 7 8 9\n", "", " ", " 2 3", "\n2\t3 4"}) {
            EXPECT_TRUE(loadsLikePlainLoader("v " + number + tail)) << number;
        }
        EXPECT_TRUE(loadsLikePlainLoader("v 1 2 3\nvt " + number + " 4\nv" + number + " " + number + "v"))
            << number;
    }
}

TEST(TextScanner, RandomNumbersReadAsTheCLibraryReadsThem) {
    std::mt19937 generator(1);
    for (int round = 0; round < samples(1500, 400); ++round) {
        std::string text;
        for (int record = 0; record < 6; ++record) {
            text += "v" + randomText(generator, " \t0123456789.eE+-xXpPaAfFnNiIyYtT", 14) + " " +
                    randomText(generator, "0123456789.e-+", 6) + " 1\n";
        }
        ASSERT_TRUE(loadsLikePlainLoader(text)) << round;
    }
}

TEST(TextScanner, RandomCharactersReadAsTheCLibraryReadsThem) {
    std::mt19937 generator(2);
    for (int round = 0; round < samples(1500, 400); ++round) {
        std::string text = "v 0 0 0 v 1 0 0 v 0 1 0 ";
        for (int record = 0; record < 8; ++record) {
            char const* const starts[] = {"v", "vt", "f", "v ", "vt ", "f ", "\nv 1 2 3", "\nf 1 2 3"};
            text += starts[randomBelow(generator, 8)] +
                    randomText(generator, "vtf 012.e-+xpaniy\n\r\t\v\f/#,", 12);
        }
        ASSERT_TRUE(loadsLikePlainLoader(text)) << round;
    }
}

TEST(TextScanner, AllByteValuesAreCharactersLikeAnyOther) {
    std::mt19937 generator(3);
    for (int round = 0; round < 200; ++round) {
        std::string text = "v 1 2 3\n";
        for (int i = 0; i < 60; ++i) {
            bool const isRecord = randomBelow(generator, 8) == 0;
            text += isRecord ? std::string("v 4 5 6")
                             : std::string(1, static_cast<char>(randomBelow(generator, 256)));
        }
        ASSERT_TRUE(loadsLikePlainLoader(text)) << round;
    }
}

TEST(TextScanner, ManyDigitsNearTheMiddleOfTwoFloatsAreRoundedOnce) {
    std::mt19937 generator(4);
    for (int round = 0; round < 300; ++round) {
        std::string text;
        for (int record = 0; record < 20; ++record) {
            text += "v " + nearHalfway(generator) + " -" + nearHalfway(generator) + " " +
                    nearHalfway(generator) + "\n";
        }
        ASSERT_TRUE(loadsLikePlainLoader(text)) << round;
    }
}

TEST(TextScanner, HexadecimalNumbersOfRandomLengthAreRoundedOnce) {
    std::mt19937 generator(5);
    for (int round = 0; round < 200; ++round) {
        std::string text;
        for (int record = 0; record < 20; ++record) {
            text += "v ";
            for (int i = 0; i < 3; ++i) {
                // From 2^-122 up: the C library rounds long hexadecimal denormals wrongly.
                int const exponent = static_cast<int>(randomBelow(generator, 200)) - 45;
                text += "0x" + randomText(generator, "0123456789abcdefABCDEF", 9) + "." +
                        randomText(generator, "000000008f", 20) + "p" + std::to_string(exponent) + " ";
            }
        }
        ASSERT_TRUE(loadsLikePlainLoader(text)) << round;
    }
}

TEST(TextScanner, HexadecimalDenormalsAreRoundedOnceToEven) {
    std::mt19937 generator(9);
    for (int round = 0; round < 300; ++round) {
        // Up to 52 bits: a double holds them all, and narrowing it is the one rounding.
        std::string const number = "0x1" + randomText(generator, "0123456789abcdef08", 12) + "p-" +
                                   std::to_string(130 + randomBelow(generator, 70));
        char expected[64];
        std::snprintf(expected, sizeof expected, "%a",
                      static_cast<double>(static_cast<float>(std::strtod(number.c_str(), nullptr))));
        EXPECT_EQ(readX(number), expected) << number;
    }
}

TEST(TextScanner, ADoubleInBetweenWouldRoundTwice) {
    // The nearest double of this number is exactly halfway between two floats, and its tie goes to even.
    EXPECT_EQ(readX("1.0000000596046447753906250000000000000000000000000000001"), "0x1.000002p+0");
    EXPECT_EQ(readX("1.000000059604644775390625"), "0x1p+0");
}

TEST(TextScanner, WordsAndExtremesAreNumbers) {
    EXPECT_EQ(readX("inf"), "inf");
    EXPECT_EQ(readX("-INFINITY"), "-inf");
    EXPECT_EQ(readX("1e39"), "inf");
    EXPECT_EQ(readX("-1e39"), "-inf");
    EXPECT_EQ(readX("1e-60"), "0x0p+0");
    EXPECT_EQ(readX("-1e-60"), "-0x0p+0");
    EXPECT_EQ(readX("1e-45"), "0x1p-149");
    EXPECT_EQ(readX("0x1p-3"), "0x1p-3");
    EXPECT_NE(readX("NaN").find("nan"), std::string::npos);
    EXPECT_EQ(readX("infinit"), "no vertex");
    EXPECT_EQ(readX("1,5"), "no vertex");
}

TEST(TextScanner, FaceIntegersReadAsTheCLibraryReadsThem) {
    std::mt19937 generator(6);
    std::string const vertices = "v 0 0 0 v 1 0 0 v 0 1 0 v 1 1 0\n";
    for (char const* face :
         {"1 2 3",        "+1 2 3",        "1 2",      "1 2 3 4", "1/1 2/2 3/3", "1//1 2 3",    "1 2/2 3",
          "1 2 3/3",      "01 02 03",      "0x1 2 3",  "1.0 2 3", "1 2 3.5",     "1,2,3",       "1 +2 -3",
          "-1 2 3",       "0 1 2",         "1 2 0",    "1 0 2",   "5 1 2",       "1 5 2",       "1 2 5",
          "1e0 2 3",      "- 1 2 3",       "+",        "",        "1",           "1 2 f 1 2 3", "1\n2\n3",
          "1 2 3f 3 2 4", "1 2 3 f 2 4 3", "\v1\f2\r3"}) {
        EXPECT_TRUE(loadsLikePlainLoader(vertices + "f " + face)) << face;
        EXPECT_TRUE(loadsLikePlainLoader(vertices + "f 1 2 3\nf" + face + "\n")) << face;
    }
    for (int round = 0; round < 800; ++round) {
        std::string text = vertices;
        for (int i = 0; i < 4; ++i) {
            text += "f " + randomText(generator, "1234 1234 +-0/.", 8) + " " +
                    randomText(generator, "1234 ", 3) + "\n";
        }
        ASSERT_TRUE(loadsLikePlainLoader(text)) << round;
    }
}

TEST(TextScanner, FaceIntegersBeyond32BitsAreOutOfRange) {
    std::string const vertices = "v 0 0 0 v 1 0 0 v 0 1 0\n";
    // 4294967297 and 18446744073709551617 are 1 modulo 2^32.
    for (char const* number :
         {"2147483647", "2147483648", "-2147483648", "-2147483649", "4294967296", "4294967297", "-4294967295",
          "9223372036854775807", "9223372036854775808", "18446744073709551617", "-18446744073709551615",
          "1000000000000000000000000000000000000000"}) {
        std::string const n = number;
        for (std::string const& face : {n + " 2 3", "1 " + n + " 3", "1 2 " + n}) {
            EXPECT_EQ(getLoadFailure(vertices + "f " + face), "Invalid vertex index") << face;
            EXPECT_TRUE(loadsLikePlainLoader(vertices + "f " + face)) << face;
        }
    }
}

} // namespace QELT::Testing
