#include "Inspection/import/axismap.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace QELT::Inspection {
namespace {

TEST(AxisMap, takesEachNewCoordinateFromTheOldOneNamed) {
    auto const map = parseAxisMap("x,-z, y");
    ASSERT_TRUE(map.has_value());
    EXPECT_EQ(mapped(*map, {1.0, 2.0, 3.0}), (std::array<double, 3>{1.0, -3.0, 2.0}));
    EXPECT_EQ(toText(*map), "x,-z,y");
    EXPECT_EQ(parseAxisMap("+x,y,z"), sameAxes);
    EXPECT_FALSE(std::signbit(mapped(*map, {0.0, 0.0, 0.0})[1]));
}

TEST(AxisMap, namesEachAxisOnce) {
    for (char const* text : {"", "x,y", "x,y,y", "x,y,z,x", "x,y,w", "x,--y,z", "X,y,z", "x y z", "x,,z"}) {
        EXPECT_FALSE(parseAxisMap(text).has_value()) << text;
    }
}

TEST(AxisMap, isAMirrorWhereTheDeterminantIsNegative) {
    int mirrors = 0;
    for (auto const order : {"xyz", "xzy", "yxz", "yzx", "zxy", "zyx"}) {
        for (unsigned signs = 0; signs < 8; ++signs) {
            std::string text;
            for (unsigned i = 0; i < 3; ++i) {
                text += std::string(i > 0 ? "," : "") + ((signs >> i & 1U) != 0 ? "-" : "") + order[i];
            }
            auto const map = parseAxisMap(text);
            ASSERT_TRUE(map.has_value()) << text;
            auto const a = mapped(*map, {1.0, 0.0, 0.0});
            auto const b = mapped(*map, {0.0, 1.0, 0.0});
            auto const c = mapped(*map, {0.0, 0.0, 1.0});
            double const determinant = a[0] * (b[1] * c[2] - b[2] * c[1]) -
                                       a[1] * (b[0] * c[2] - b[2] * c[0]) +
                                       a[2] * (b[0] * c[1] - b[1] * c[0]);
            EXPECT_EQ(isMirror(*map), determinant < 0.0) << text;
            mirrors += isMirror(*map) ? 1 : 0;
        }
    }
    EXPECT_EQ(mirrors, 24);
}

} // namespace
} // namespace QELT::Inspection
