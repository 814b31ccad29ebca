#pragma once

#include "Geometry/groups/mtf_list.h"
#include "Geometry/groups/rectmeshgroup.h"

#include <memory>
#include <string>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// Groups of grids that answer a beam as one: the top of the search. The group that answered last is asked
/// first, by the same rule as the grids within a group, and both levels reorder independently. What takes a
/// vector for a group takes a vector of such vectors here, one for each group in the order of the list at
/// that moment.
///
/// The groups are owned. A copy by the copy constructor shares them with its source, and they live as long as
/// the last of the two. One object serves one thread at a time.
class QELT_EXPORT RectMeshGroups {
public:
    RectMeshGroups() = default;

    /// Shares the groups with the source.
    RectMeshGroups(RectMeshGroups const&) = default;

    /// A deep copy, group by group. Whether the last hit was good stays as it was here. Assigning a value to
    /// itself empties it.
    RectMeshGroups& operator=(RectMeshGroups const& other);
    virtual ~RectMeshGroups();

    void set(RectMeshGroups const& other) { *this = other; }

    /// Replaces the groups by those of the files.
    /// \throws std::runtime_error on a mismatch of the outer lengths, with nothing changed; otherwise what
    /// `RectMeshGroup::load` throws.
    void load(std::vector<std::vector<std::string>> const& groupFileNames,
              std::vector<std::vector<TwoDimensional::Vector<int>>> const& groupOffsets);

    /// The best answer of the groups, or a status without mesh if none was hit or there are none.
    QuadIndicesIntersectionStatus getIntersectionStatus(Point const& origin, Vector const& direction,
                                                        bool doReset);

    /// The grid that gave the last hit, also after a miss; null without groups.
    RectMesh* getLastIntersectedRectMesh() const;

    /// The part of the scan plane that all grids take; it always contains (0, 0).
    TwoDimensional::BoundingBoxAA<int> getUVBoundingBox() const;

    /// The same from the headers of files, without loading the grids.
    /// \throws std::runtime_error on a mismatch of the outer lengths.
    static TwoDimensional::BoundingBoxAA<int>
    getUVBoundingBox(std::vector<std::vector<std::string>> const& groupFileNames,
                     std::vector<std::vector<TwoDimensional::Vector<int>>> const& groupOffsets);

    /// The high corner of the box, measured from the plane's origin: a negative offset does not enlarge it.
    TwoDimensional::Vector<unsigned long> getExtents() const;

    /// Sums up files from their headers: smallest and largest quad area, mean over all quads of the grids'
    /// rectangles, and the total. False, with 1e20, 0, NaN and 0 written, if there are no files.
    static bool getQuadAreaInfos(std::vector<std::vector<std::string>> const& groupFileNames,
                                 double& minQuadArea, double& meanQuadArea, double& maxQuadArea,
                                 double& totalQuadArea);

    /// As in `RectMeshGroup`.
    /// \throws std::runtime_error if the outer length is not the number of groups, with nothing changed; on
    /// an inner mismatch, with the groups before that one set.
    void setActivePositionFlags(std::vector<std::vector<unsigned long>> const& groupActivePositionFlags);
    void setDoFlipNormals(std::vector<std::vector<bool>> const& groupDoFlipNormals);
    void setDoFlipAxes(std::vector<std::vector<bool>> const& groupDoFlipUAxes,
                       std::vector<std::vector<bool>> const& groupDoFlipVAxes);
    void setPosition(unsigned long position);

    /// `RectMeshGroup::transform` of each group with its own origin and map.
    /// \throws std::runtime_error if there are not as many of either as groups, with nothing changed.
    void transform(std::vector<Point> const& groupOrigins, std::vector<AffineMap> const& groupMaps);

private:
    void deleteGroups();
    RectMeshGroup* addGroup();

    mtf_list<RectMeshGroup*> groups;
    bool isLastIntersectionGood = false;
    std::vector<std::shared_ptr<RectMeshGroup>> ownedGroups;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
