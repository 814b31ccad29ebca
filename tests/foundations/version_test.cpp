#include "Geometry/foundations/version.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Version, TheTextIsThatOfTheNumbers) {
    EXPECT_EQ(QELT_VERSION_STRING, std::to_string(QELT_VERSION_MAJOR) + "." +
                                       std::to_string(QELT_VERSION_MINOR) + "." +
                                       std::to_string(QELT_VERSION_PATCH));
}

} // namespace
