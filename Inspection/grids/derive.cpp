#include "Inspection/grids/derive.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"

#include <cmath>
#include <string>

namespace QELT::Inspection {

namespace {

using namespace QELT::Geometry::ThreeDimensional::QuadMesh;

char const* nameOf(CanonicalPlane plane) {
    return plane == PlaneYZ ? "yz" : plane == PlaneXY ? "xy" : "xz";
}

/// What there is no grid of, in words; empty if there is one.
struct Complaint {
    std::string operator()(FlattenGrid const&) const { return {}; }

    std::string operator()(NormaliseGrid const& normalise) const {
        return normalise.size > 0.0 ? "" : "a size that is not above zero";
    }

    std::string operator()(ThinOutGrid const& thinOut) const {
        return thinOut.value > 0 ? "" : "no node or no quad";
    }

    std::string operator()(RestrictGrid const& box) const {
        bool const hasExtent = box.low.getU() < box.high.getU() && box.low.getV() < box.high.getV();
        return hasExtent ? "" : "a box without extent";
    }

    std::string operator()(MirrorGrid const&) const { return {}; }

    std::string operator()(ScaleGrid const& scale) const {
        return scale.scale != 0.0 && std::isfinite(scale.scale) ? "" : "a scale that leaves no surface";
    }
};

/// Tells a record which derivation it was.
struct Description {
    Record& record;

    void operator()(FlattenGrid const&) const { record.setting("derivation", "flatten"); }

    void operator()(NormaliseGrid const& normalise) const {
        record.setting("derivation", "normalise");
        record.setting("size", normalise.size);
    }

    void operator()(ThinOutGrid const& thinOut) const {
        record.setting("derivation", thinOut.isFactor ? "factor" : "subsample");
        record.setting("value", thinOut.value);
    }

    void operator()(RestrictGrid const& box) const {
        record.setting("derivation", "restrict");
        record.setting("low", std::vector<double>{double(box.low.getU()), double(box.low.getV())});
        record.setting("high", std::vector<double>{double(box.high.getU()), double(box.high.getV())});
    }

    void operator()(MirrorGrid const& mirror) const {
        record.setting("derivation", "mirror");
        record.setting("plane", nameOf(mirror.plane));
        record.setting("reversed", mirror.axis == AxisU ? "u" : "v");
    }

    void operator()(ScaleGrid const& scale) const {
        record.setting("derivation", "scale");
        record.setting("scale", scale.scale);
    }
};

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
    std::string const complaint = std::visit(Complaint(), options.derivation);
    require(complaint.empty(), options.source.string() + ": there is no grid of " + complaint);
    Record record("derive");
    record.addInput(options.source);
    Outputs outputs(record);
    addGridOutput(outputs, options.result);
    Grid result;
    announce(listener, "Deriving...");
    naming(options.source.string(), [&] { std::visit(Deriver{options.source, result}, options.derivation); });
    saveGrid(result, outputs.at(options.result));
    GridSummary const summary = gridSummaryOf(result);
    std::visit(Description{record}, options.derivation);
    addFigures(record, summary);
    outputs.commit(listener);
    return summary;
}

} // namespace QELT::Inspection
