#pragma once

#include "tests/support/float_bits.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/plain_search.h"
#include "tests/support/searchsettings.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

/// What the tests of the search share: grids that tell what was read of them, and a grid beside its plain
/// twin, asked the same questions.
namespace QELT::Testing {

inline PlainSearchSettings currentSettings() {
    return {RectMesh::searchDivideByNTimes, RectMesh::maxDoNMoreTimes,
            static_cast<int>(QuadIndicesIntersectionStatus::getIntersectionQualityMode()),
            QuadIntersectionData::isEnableFlipAngle};
}

/// A grid that notes which nodes were read.
class NotingGrid : public RectMesh {
public:
    SpacePoint getPoint(GridIndex const& p) const override {
        nodes.push_back(p);
        return RectMesh::getPoint(p);
    }

    bool getWasRead(GridIndex const& p) const {
        for (GridIndex const& node : nodes) {
            if (node == p) {
                return true;
            }
        }
        return false;
    }

    mutable std::vector<GridIndex> nodes;
};

struct Beam {
    SpacePoint origin;
    SpaceVector direction;
};

inline PlainPoint plain(SpacePoint const& p) {
    return {p.getX(), p.getY(), p.getZ()};
}

inline PlainVector plain(SpaceVector const& v) {
    return {v.getdX(), v.getdY(), v.getdZ()};
}

inline PlainIndex plain(GridIndex const& p) {
    return {p.getU(), p.getV()};
}

enum class Query { Intersection, Status, StatusReset };

/// A grid and its plain twin. After each pair of queries every field of the answers and the memory of the two
/// are compared to the bit.
class SearchTwin {
public:
    explicit SearchTwin(RectMesh& grid) : mesh(grid) { adopt(); }

    /// Takes over nodes, settings and memory of the grid.
    void adopt() {
        twin.grid = plainGridOf(mesh);
        twin.doFlipNormals = mesh.doFlipNormals;
        twin.doFlipUAxis = mesh.doFlipUAxis;
        twin.doFlipVAxis = mesh.doFlipVAxis;
        twin.offset = {mesh.offset.getdU(), mesh.offset.getdV()};
        twin.activePositionFlags = mesh.activePositionFlags;
        twin.position = mesh.position;
        twin.doResetSearch = mesh.doResetSearch;
        twin.lastQuadIndices = plain(mesh.lastQuadIndices);
    }

    /// Puts both into the same memory.
    void setMemory(bool isCold, GridIndex const& last) {
        mesh.doResetSearch = twin.doResetSearch = isCold;
        mesh.lastQuadIndices = last;
        twin.lastQuadIndices = plain(last);
    }

    testing::AssertionResult agreesOn(Beam const& beam, Query query) {
        PlainSearchSettings const settings = currentSettings();
        PlainPoint const origin = plain(beam.origin);
        PlainVector const direction = plain(beam.direction);
        if (query == Query::Intersection) {
            expected = twin.getIntersection(settings, origin, direction);
            actual = mesh.getIntersection(beam.origin, beam.direction);
        } else {
            bool const doReset = query == Query::StatusReset;
            expected = twin.getIntersectionStatus(settings, origin, direction, doReset);
            actual = mesh.getIntersectionStatus(beam.origin, beam.direction, doReset);
        }
        testing::AssertionResult const status = sameStatus();
        return status ? sameMemory() : status;
    }

    RectMesh& mesh;
    PlainSearch twin;
    PlainStatus expected;
    QuadIndicesIntersectionStatus actual;

private:
    testing::AssertionResult sameStatus() const {
        if (actual.getIsValid() != expected.isValid) {
            return testing::AssertionFailure() << "valid " << actual.getIsValid();
        }
        if (plain(actual.getIndices()) != expected.indices) {
            return testing::AssertionFailure()
                   << "indices (" << actual.getIndices().getU() << ", " << actual.getIndices().getV()
                   << "), expected (" << expected.indices.u << ", " << expected.indices.v << ")";
        }
        if (actual.quadMesh != (expected.hasMesh ? &mesh : nullptr) ||
            actual.getFileName() != mesh.fileName) {
            return testing::AssertionFailure() << "another mesh or file name";
        }
        testing::AssertionResult const point = samePoint();
        bool const isDataSettled = expected.isValid || !expected.hasMesh;
        return point && isDataSettled ? sameData() : point;
    }

    testing::AssertionResult samePoint() const {
        SpacePoint const& point = actual.getQuadPoint();
        if (!sameBits(point.getX(), expected.quadPoint.x) || !sameBits(point.getY(), expected.quadPoint.y) ||
            !sameBits(point.getZ(), expected.quadPoint.z)) {
            return testing::AssertionFailure()
                   << "point (" << point.getX() << ", " << point.getY() << ", " << point.getZ() << ")";
        }
        return testing::AssertionSuccess();
    }

    testing::AssertionResult sameData() const {
        QuadIntersectionData const& data = actual.getIntersectionData();
        if (auto const distance = sameBits(data.getDistanceToObject(), expected.data.distanceToObject);
            !distance) {
            return testing::AssertionFailure() << "distance " << distance.message();
        }
        if (auto const angle = sameBits(data.getAngleToObjectNormal(), expected.data.angleToObjectNormal);
            !angle) {
            return testing::AssertionFailure() << "angle " << angle.message();
        }
        return sameBits(data.getDistanceSqrToQuadCentre(), expected.data.distanceSqrToQuadCentre);
    }

    testing::AssertionResult sameMemory() const {
        if (mesh.doResetSearch != twin.doResetSearch || plain(mesh.lastQuadIndices) != twin.lastQuadIndices) {
            return testing::AssertionFailure()
                   << "memory: reset " << mesh.doResetSearch << " at (" << mesh.lastQuadIndices.getU() << ", "
                   << mesh.lastQuadIndices.getV() << "), expected " << twin.doResetSearch << " at ("
                   << twin.lastQuadIndices.u << ", " << twin.lastQuadIndices.v << ")";
        }
        return testing::AssertionSuccess();
    }
};

} // namespace QELT::Testing
