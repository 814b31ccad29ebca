#include "Geometry/quadmesh/quadsearchfailure.h"

#include <gtest/gtest.h>

#include <exception>
#include <type_traits>

namespace QELT::Testing {

using Geometry::ThreeDimensional::QuadMesh::QuadSearchFailure;

TEST(SearchFailure, SaysItsName) {
    EXPECT_STREQ(QuadSearchFailure().what(), "QuadSearchFailure");
}

TEST(SearchFailure, IsCaughtAsAStandardException) {
    static_assert(std::has_virtual_destructor_v<QuadSearchFailure>);
    try {
        throw QuadSearchFailure();
    } catch (std::exception const& failure) {
        EXPECT_STREQ(failure.what(), "QuadSearchFailure");
    }
}

TEST(SearchFailure, CanBeCopiedAndAssigned) {
    QuadSearchFailure const failure;
    QuadSearchFailure copy(failure);
    copy = failure;
    EXPECT_STREQ(copy.what(), "QuadSearchFailure");
}

} // namespace QELT::Testing
