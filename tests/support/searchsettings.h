#pragma once

#include "Geometry/quadmesh/quadindicesintersectionstatus.h"
#include "Geometry/quadmesh/quadintersectiondata.h"
#include "Geometry/quadmesh/rectmesh.h"

#include <gtest/gtest.h>

/// The names and the settings of the search, for the tests of its records and of the search itself.
namespace QELT::Testing {

using Geometry::ThreeDimensional::QuadMesh::QuadIndicesIntersectionStatus;
using Geometry::ThreeDimensional::QuadMesh::QuadIntersectionData;
using Geometry::ThreeDimensional::QuadMesh::RectMesh;
using SpacePoint = Geometry::ThreeDimensional::Point;
using SpaceVector = Geometry::ThreeDimensional::Vector;
using GridIndex = Geometry::TwoDimensional::Point<int>;
using GridStep = Geometry::TwoDimensional::Vector<int>;
using GridExtents = Geometry::TwoDimensional::Vector<unsigned long>;

/// Puts the settings of the whole process back when the test ends.
class SearchTest : public testing::Test {
protected:
    SearchTest() = default;

    ~SearchTest() override {
        RectMesh::searchDivideByNTimes = searchDivideByNTimes;
        RectMesh::maxDoNMoreTimes = maxDoNMoreTimes;
        QuadIntersectionData::isEnableFlipAngle = isEnableFlipAngle;
        QuadIndicesIntersectionStatus::setIntersectionQualityMode(qualityMode);
    }

private:
    std::uint32_t searchDivideByNTimes = RectMesh::searchDivideByNTimes;
    std::uint32_t maxDoNMoreTimes = RectMesh::maxDoNMoreTimes;
    bool isEnableFlipAngle = QuadIntersectionData::isEnableFlipAngle;
    QuadIndicesIntersectionStatus::IntersectionQualityMode qualityMode =
        QuadIndicesIntersectionStatus::getIntersectionQualityMode();
};

inline void setQualityMode(int mode) {
    QuadIndicesIntersectionStatus::setIntersectionQualityMode(
        static_cast<QuadIndicesIntersectionStatus::IntersectionQualityMode>(mode));
}

} // namespace QELT::Testing
