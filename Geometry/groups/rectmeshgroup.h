#pragma once

#include "Geometry/foundations/affinemap.h"
#include "Geometry/foundations/boundingbox.h"
#include "Geometry/foundations/export.h"
#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"
#include "Geometry/groups/mtf_list.h"
#include "Geometry/quadmesh/quadindicesintersectionstatus.h"
#include "Geometry/quadmesh/rectmesh.h"

#include <memory>
#include <string>
#include <vector>

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

/// Several grids that answer a beam as one. They lie in one scan plane through their offsets, so that
/// reported indices need no word of which grid answered. The grid that answered last is asked first at the
/// next beam, and when that beam's predecessor was good, in the quality mode `AngleThenDistance`, a hit there
/// ends the query.
///
/// The group owns the grids that it loaded or copied, not those that were added. A copy by the copy
/// constructor shares them with its source, and they live as long as the last of the two. A query changes the
/// order of the grids and their search memory: one group serves one thread at a time.
class QELT_EXPORT RectMeshGroup {
public:
    /// A member and whether the group owns it.
    struct RectMeshData {
        RectMesh* quadMesh = nullptr;
        bool doDeleteMesh = false;

        bool operator==(RectMeshData const&) const = default;
    };

    RectMeshGroup() = default;

    /// Shares the grids with the source.
    RectMeshGroup(RectMeshGroup const&) = default;

    /// A deep copy of the grids, all owned, as `RectMesh::operator=` makes them: without offset, position and
    /// position flags. Whether the last hit was good stays as it was here. Assigning a group to itself
    /// empties it.
    RectMeshGroup& operator=(RectMeshGroup const& other);
    virtual ~RectMeshGroup();

    void set(RectMeshGroup const& other) { *this = other; }

    /// Appends a grid that stays the caller's.
    void addQuadMesh(RectMesh* mesh) { quadMeshes.push_back({mesh, false}); }

    /// Empties the list and destroys no grid, not even an owned one: those live on, and it is then for the
    /// caller to delete them, through pointers taken before. A status that names one of them stays usable.
    /// That gives the grids away for all copies that share them: these still list them but own them no more,
    /// and must not ask them once they are deleted.
    void clear();

    /// Replaces the grids by those of the files, each at its offset.
    /// \throws std::runtime_error on a mismatch of the lengths, with nothing changed; what `RectMesh::load`
    /// throws, with the files before that one loaded.
    void load(std::vector<std::string> const& fileNames,
              std::vector<TwoDimensional::Vector<int>> const& offsets);

    /// The best answer of the grids, or a status without mesh if none was hit. An empty group answers so too.
    QuadIndicesIntersectionStatus getIntersectionStatus(Point const& origin, Vector const& direction,
                                                        bool doReset);

    /// The grid that gave the last hit, or before any hit the first added; null if there is none.
    RectMesh* getLastIntersectedRectMesh() const;

    /// The part of the scan plane that the grids take, from their extents; it always contains (0, 0).
    TwoDimensional::BoundingBoxAA<int> getUVBoundingBox() const;

    /// The same from the headers of files, without loading the grids.
    /// \throws std::runtime_error on a mismatch of the lengths.
    static TwoDimensional::BoundingBoxAA<int>
    getUVBoundingBox(std::vector<std::string> const& fileNames,
                     std::vector<TwoDimensional::Vector<int>> const& offsets);

    /// Settings for each grid. Entry i goes to the grid at place i of the list at that moment, which queries
    /// reorder: set them before the first query of a run.
    /// \throws std::runtime_error if there are not as many entries as grids, with nothing changed.
    void setActivePositionFlags(std::vector<unsigned long> const& activePositionFlags);
    void setDoFlipNormals(std::vector<bool> const& doFlipNormals);
    void setDoFlipAxes(std::vector<bool> const& doFlipUAxes, std::vector<bool> const& doFlipVAxes);

    /// The same position for every grid.
    void setPosition(unsigned long position);

    /// `RectMesh::transform` of every grid.
    void transform(Point const& origin, AffineMap const& map);

protected:
    /// Destroys the grids that the group owns, unless a copy shares them, and empties the list.
    void deleteMeshes();

private:
    /// What copies share of an owned grid. Giving the grid away in one of them gives it away in all.
    using SharedMesh = std::shared_ptr<std::unique_ptr<RectMesh>>;

    void addOwnedMesh(std::unique_ptr<RectMesh> mesh);

    mtf_list<RectMeshData> quadMeshes;
    bool isLastIntersectionGood = false;
    std::vector<SharedMesh> ownedMeshes;
};

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
