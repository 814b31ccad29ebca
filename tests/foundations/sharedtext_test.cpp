#include "Geometry/foundations/sharedtext.h"

#include "tests/support/watchedheap.h"

#include <sstream>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace QELT {
namespace {

std::string const longName = "C:\\parts\\turbine\\blade 17 with a name that fits into no short string.quads";

TEST(SharedText, IsEmptyAtFirst) {
    SharedText const text;
    EXPECT_EQ(text, "");
    EXPECT_EQ(text, SharedText(std::string()));
    EXPECT_STREQ(text.c_str(), "");
}

TEST(SharedText, ReadsAsTheStringItWasMadeOf) {
    SharedText const text = longName;
    std::string const read = text;
    EXPECT_EQ(read, longName);
    EXPECT_EQ(text, longName);
    EXPECT_FALSE(text == "another");
    EXPECT_STREQ(text.c_str(), longName.c_str());
    std::ostringstream stream;
    stream << text;
    EXPECT_EQ(stream.str(), longName);
}

TEST(SharedText, CopiesShareTheCharactersAndTakeNoMemory) {
    SharedText const text = longName;
    std::size_t const before = Testing::allocations;
    SharedText copy = text;
    SharedText moved = std::move(copy);
    copy = moved;
    std::size_t const taken = Testing::allocations - before;
    EXPECT_EQ(taken, 0U);
    EXPECT_EQ(&copy.get(), &text.get());
    EXPECT_EQ(&moved.get(), &text.get());
}

TEST(SharedText, AssignmentLeavesCopiesAsTheyAre) {
    SharedText text = longName;
    SharedText const copy = text;
    text = std::string("short");
    EXPECT_EQ(copy, longName);
    EXPECT_EQ(text, "short");
}

TEST(SharedText, OutlivesTheOneItWasCopiedFrom) {
    SharedText copy;
    {
        SharedText const text = longName;
        copy = text;
    }
    EXPECT_EQ(copy, longName);
}

} // namespace
} // namespace QELT
