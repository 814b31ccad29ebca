#include "Geometry/quadmesh/quadvaliditygenerator.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace QELT::Testing {

namespace {

using Geometry::ThreeDimensional::QuadMesh::QuadValidityGenerator;
using GridIndex = Geometry::TwoDimensional::Point<int>;

class EvenColumns : public QuadValidityGenerator {
public:
    bool getValidity(GridIndex const& quad) override { return quad.getU() % 2 == 0; }
};

} // namespace

TEST(ValidityGenerator, BaseLeavesNoQuadAtAll) {
    QuadValidityGenerator generator;
    for (GridIndex const& quad : {GridIndex(0, 0), GridIndex(7, 3), GridIndex(-1, -1)}) {
        EXPECT_FALSE(generator.getValidity(quad));
    }
}

TEST(ValidityGenerator, DerivedAnswersThroughTheBase) {
    EvenColumns columns;
    QuadValidityGenerator& generator = columns;
    EXPECT_TRUE(generator.getValidity({2, 5}));
    EXPECT_FALSE(generator.getValidity({3, 5}));
}

TEST(ValidityGenerator, CanBeCopiedAssignedAndDestroyedThroughTheBase) {
    static_assert(std::has_virtual_destructor_v<QuadValidityGenerator>);
    static_assert(std::is_polymorphic_v<QuadValidityGenerator>);
    QuadValidityGenerator const generator;
    QuadValidityGenerator copy(generator);
    copy = generator;
    EXPECT_FALSE(copy.getValidity({0, 0}));
}

} // namespace QELT::Testing
