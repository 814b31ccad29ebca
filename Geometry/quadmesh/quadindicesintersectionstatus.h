#pragma once

#include "Geometry/foundations/export.h"
#include "Geometry/foundations/point.h"
#include "Geometry/foundations/sharedtext.h"
#include "Geometry/quadmesh/quadintersectiondata.h"

#include <string>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

class RectMesh;

/// The answer of a beam query: which quad of which grid the beam met, and how. Also the judge of answers, by
/// one quality mode for the whole process.
class QELT_EXPORT QuadIndicesIntersectionStatus {
public:
    /// What decides which of two hits is better. Any other value may be set: every valid hit then counts as
    /// good, and none as better than another.
    enum IntersectionQualityMode : int {
        /// The angle error against a limit of a quarter turn, then the distance.
        AngleThenDistance = 0,
        DistanceOnly = 1,
        AngleOnly = 2,
    };

    /// Nothing hit: no mesh, not valid, all else zero or empty.
    QuadIndicesIntersectionStatus() = default;

    /// `newQuadMesh` is not owned and may be null.
    QuadIndicesIntersectionStatus(RectMesh* newQuadMesh, Point const& newQuadPoint,
                                  TwoDimensional::Point<int> const& newIndices, bool newIsValid,
                                  QuadIntersectionData const& newIntersectionData,
                                  std::string const& newFileName);

    /// The mesh that answered. Must not be called on a default status or on that of an inactive position,
    /// nor when the mesh is gone: what a group owns dies with the group, when files are loaded into the group
    /// or another group is assigned to it, and by `deleteMeshes`. All else of a status stays usable.
    RectMesh const& getQuadMesh() const { return *quadMesh; }

    /// The hit in space; (0, 0, 0) when nothing was hit.
    Point const& getQuadPoint() const { return quadPoint; }

    /// The quad in the scan plane, the mesh's axis flips and offset applied.
    TwoDimensional::Point<int> const& getIndices() const { return indices; }

    /// Whether the beam hit a quad.
    bool getIsValid() const { return isValid; }

    /// The measurements of a valid status.
    QuadIntersectionData const& getIntersectionData() const { return intersectionData; }

    /// The file name of the mesh that answered.
    std::string getFileName() const { return fileName.get(); }

    /// Whether this is a hit and, in mode `AngleThenDistance`, within a quarter turn of head-on.
    bool getIsGoodIntersection() const;

    /// Whether `other` is better than this status, the best so far; of equals the one held stays. Distances
    /// count with their sign, so a hit behind the origin beats every hit in front. In mode
    /// `AngleThenDistance` a hit within the quarter turn replaces one beyond it, and otherwise the nearer one
    /// wins, even a hit from behind over a frontal one.
    bool getIsBetterIntersection(QuadIndicesIntersectionStatus const& other) const;

    /// The mode of the whole process. Set it outside any query; the value is not checked.
    static IntersectionQualityMode getIntersectionQualityMode() { return intersectionQualityMode; }

    static void setIntersectionQualityMode(IntersectionQualityMode mode) { intersectionQualityMode = mode; }

protected:
    void setQuadIntersectionData(QuadIntersectionData const& data) { intersectionData = data; }

private:
    friend class RectMesh;

    /// What a grid answers: shares the grid's name.
    QuadIndicesIntersectionStatus(SharedText const& newFileName, RectMesh* newQuadMesh,
                                  Point const& newQuadPoint, TwoDimensional::Point<int> const& newIndices,
                                  bool newIsValid, QuadIntersectionData const& newIntersectionData)
        : quadMesh(newQuadMesh),
          quadPoint(newQuadPoint),
          indices(newIndices),
          isValid(newIsValid),
          intersectionData(newIntersectionData),
          fileName(newFileName) {}

    static IntersectionQualityMode intersectionQualityMode;

    RectMesh* quadMesh = nullptr;
    Point quadPoint;
    TwoDimensional::Point<int> indices;
    bool isValid = false;
    QuadIntersectionData intersectionData;
    SharedText fileName;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
