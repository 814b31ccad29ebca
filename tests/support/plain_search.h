#pragma once

#include "tests/support/plain_grid.h"

#include <cstdint>
#include <vector>

namespace QELT::Testing {

/// The settings that hold for the whole process in the library.
struct PlainSearchSettings {
    std::uint32_t searchDivideByNTimes = 4;
    std::uint32_t maxDoNMoreTimes = 0;
    int qualityMode = 0;
    bool isEnableFlipAngle = false;
};

struct PlainIntersection {
    double distanceToObject = 0.0;
    double angleToObjectNormal = 0.0;
    double distanceSqrToQuadCentre = 0.0;
};

struct PlainStatus {
    /// Whether a mesh stands in the status: not for an inactive position.
    bool hasMesh = false;
    PlainPoint quadPoint;
    PlainIndex indices;
    bool isValid = false;
    PlainIntersection data;
};

/// The beam search on a plain grid, with a memory of its own between queries, step by step.
///
/// Where the walk would start on no quad of the grid, it starts on the nearest one inside, each index cut to
/// the range; a grid without quads answers with a miss. The descent to a start ends after 65536 passes.
class PlainSearch {
public:
    PlainGrid grid;
    bool doFlipNormals = false;
    bool doFlipUAxis = false;
    bool doFlipVAxis = false;
    PlainIndex offset;
    std::uint32_t activePositionFlags = 0xFFFFFFFFU;
    std::uint32_t position = 0;

    bool doResetSearch = true;
    PlainIndex lastQuadIndices;

    PlainStatus getIntersection(PlainSearchSettings const& settings, PlainPoint const& origin,
                                PlainVector const& direction);
    PlainStatus getIntersectionStatus(PlainSearchSettings const& settings, PlainPoint const& origin,
                                      PlainVector const& direction, bool doReset);
    bool getDoesIntersectQuad(PlainSearchSettings const& settings, PlainIndex const& quad,
                              PlainPoint const& origin, PlainVector const& direction, PlainPoint& hitPoint,
                              PlainIntersection* data) const;
    PlainIndex getStartSearchPoint(PlainSearchSettings const& settings, PlainPoint const& target) const;
    bool getIsAnyQuadPointCloser(PlainSearchSettings const& settings, std::vector<PlainIndex> const& samples,
                                 PlainPoint const& target, PlainIndex& best, double& bestDistanceSqr,
                                 bool& hasInvalidQuad, std::uint32_t doNMoreCount) const;
    PlainIndex getNearestPoint2D(PlainPoint const& target, double& distance) const;

    /// What the last walk did, for tests that are about the walk itself.
    int lastWalkSteps = 0;
    int lastWalkRetreats = 0;
    /// Whether it retreated in the pass that hit.
    bool didLastWalkLeaveItsHit = false;
    /// Passes of the last descent to a start.
    mutable std::uint32_t lastPasses = 0;

private:
    struct Walk {
        PlainIndex previous;
        PlainIndex current;
        int stepCount = 0;
        int offMeshCount = 0;
        bool isStalled = false;
        bool isOffMesh = false;
        bool isAbandoned = false;
    };

    bool getHasQuads() const;
    bool walk(PlainSearchSettings const& settings, PlainPoint const& origin, PlainVector const& direction,
              PlainIndex& current, PlainPoint& hitPoint, PlainIntersection& data);
    void project(PlainPoint const& origin, PlainVector const& direction, Walk& state) const;
    PlainIndex retreat(PlainIndex const& previous, PlainIndex const& current) const;
    bool getIsRemembered(PlainSearchSettings const& settings, PlainIntersection const& data) const;
    PlainIndex getReported(PlainIndex const& quad) const;
};

} // namespace QELT::Testing
