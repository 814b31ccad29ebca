#include "Inspection/grids/derive.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/records/internal/announce.h"

namespace QELT::Inspection {

namespace {

/// Makes a derived grid in place of `result`.
struct Deriver {
    std::filesystem::path const& source;
    Grid& result;

    void operator()(FlattenGrid const&) const { load().getFlattened(result); }

    void operator()(NormaliseGrid const& normalise) const { load().getNormalised(normalise.size, result); }

    void operator()(ThinOutGrid const& thinOut) const {
        load().getSubSampled(thinOut.isFactor ? Grid::Factor : Grid::ApproximateQuadCount, thinOut.value,
                             result);
    }

    void operator()(RestrictGrid const& box) const {
        load().getRestrictedToAABB(
            QELT::Geometry::TwoDimensional::BoundingBoxAA<int>(box.low, box.high - box.low), result);
    }

    void operator()(MirrorGrid const& mirror) const {
        loadGrid(result, source);
        result.mirror(mirror.plane, Point(), mirror.axis);
    }

    /// The scaled grid keeps its areas, which would be written; the copy of all that it shows settles its
    /// own.
    void operator()(ScaleGrid const& scale) const {
        QELT::Geometry::ThreeDimensional::QuadMesh::LinearScaleRectMesh grid;
        loadGrid(grid, source);
        grid.setScale(scale.scale);
        grid.getSubSampled(Grid::Factor, 1, result);
    }

private:
    Grid load() const {
        Grid grid;
        loadGrid(grid, source);
        return grid;
    }
};

} // namespace

GridSummary derive(DeriveOptions const& options, ProgressListener* listener) {
    requireReadable(options.source);
    requireGridOutput(options.result);
    Grid result;
    announce(listener, "Deriving...");
    naming(options.source.string(), [&] { std::visit(Deriver{options.source, result}, options.derivation); });
    saveGrid(result, options.result);
    return gridSummaryOf(result);
}

} // namespace QELT::Inspection
