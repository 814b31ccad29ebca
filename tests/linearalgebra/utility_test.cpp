#include "Geometry/linearalgebra/utility.h"

#include <gtest/gtest.h>

namespace QELT::LinearAlgebra {
namespace {

TEST(LinearAlgebraUtility, BlocksAreUsedOnNoProcessor) {
    EXPECT_FALSE(Utility::isSSE2Present());
}

TEST(LinearAlgebraUtility, AProcessorOf64BitsHasSSE2) {
#if defined(__x86_64__) || defined(_M_X64)
    EXPECT_TRUE(Utility::isSSEPresent());
#elif !defined(__i386__) && !defined(_M_IX86)
    EXPECT_FALSE(Utility::isSSEPresent());
#else
    GTEST_SKIP() << "depends on the processor";
#endif
}

} // namespace
} // namespace QELT::LinearAlgebra
