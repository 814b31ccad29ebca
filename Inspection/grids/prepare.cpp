#include "Inspection/grids/prepare.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/import/objfile.h"
#include "Inspection/import/part.h"
#include "Inspection/parts/reconstruction.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/numbers.h"
#include "Inspection/records/stopwatch.h"

#include <algorithm>
#include <string>

namespace QELT::Inspection {

namespace {

/// A grid of more quads than this is taken for a mistake in the quad area; it would need gigabytes.
constexpr double largestGrid = 64e6;

/// Quads on the longer side of the grid that is suggested instead.
constexpr double handySide = 1000.0;

/// One preparation, stage by stage.
class Preparation {
public:
    Preparation(PrepareOptions const& prepareOptions, ProgressListener* progressListener,
                PrepareObserver const& prepareObserver)
        : options(prepareOptions),
          part(prepareOptions.part.string()),
          listener(progressListener),
          observer(prepareObserver) {
        mesh.setProgressListener(listener);
        grid.setProgressListener(listener);
    }

    void requireUsableOptions() const;
    void load();
    void flatten();
    void saveFlat();
    void resample();

    PrepareResult const& getResult() const { return result; }

private:
    PrepareOptions const& options;
    std::string part;
    ProgressListener* listener;
    PrepareObserver const& observer;
    Mesh mesh;
    Grid grid;
    PrepareResult result;

    RepairReport loadCloud(PartAsLoaded const& loaded);
    void requireBearableGrid() const;
    void extend();

    void tell(PrepareStage stage) const {
        if (observer) {
            observer(stage, result);
        }
    }
};

/// Finds out before the long work that there is nothing to make or that it would have no place to go.
void Preparation::requireUsableOptions() const {
    require(options.quadArea > 0.0,
            part + ": a quad area of " + toShortText(options.quadArea, 6) + " is not above zero");
    requireReadable(options.part);
    requireGridOutput(options.grid);
    if (options.flat) {
        requireObjOutput(*options.flat);
    }
}

RepairReport Preparation::loadCloud(PartAsLoaded const& loaded) {
    auto const reconstruction = reconstructFrom(loaded, options.part, options.repair);
    naming(part, [&] { mesh.construct(reconstruction.surface.points, reconstruction.surface.faces); });
    mesh.setFileName(options.part.stem().string());
    return reconstruction.repair;
}

void Preparation::load() {
    Stopwatch const watch;
    PartAsLoaded const loaded = loadPart(options.part);
    result.load = loaded.report;
    if (loaded.isMesh()) {
        fillMesh(mesh, loaded, options.part);
    } else {
        announce(listener, "Reconstructing...");
        result.repair = loadCloud(loaded);
    }
    result.loadSeconds = watch.seconds();
    result.part = meshSummaryOf(mesh);
    tell(PrepareStage::Loaded);
    if (result.part.loops.empty()) {
        throw Failure(part + ": the mesh is closed; it needs a rim to be flattened");
    }
}

void Preparation::flatten() {
    result.flattening = naming(part, [&] { return Inspection::flatten(mesh, options.mode, listener); });
    result.flat = flatSummaryOf(mesh, trianglesOf(mesh));
    tell(PrepareStage::Flattened);
}

void Preparation::saveFlat() {
    if (options.flat) {
        saveFlatObj(mesh, *options.flat);
        tell(PrepareStage::FlatSaved);
    }
}

void Preparation::requireBearableGrid() const {
    GridSize const size = expectedGridSize(result.flat, trianglesOf(mesh), options.quadArea);
    if (size.u * size.v > largestGrid) {
        double const share = std::max(size.u, size.v) / handySide;
        throw Failure(part + ": a quad area of " + toShortText(options.quadArea, 6) +
                      " makes a grid of about " + toFixedText(size.u, 0) + " x " + toFixedText(size.v, 0) +
                      " quads; " + toShortText(options.quadArea * share * share, 2) + " makes " +
                      toFixedText(handySide, 0) + " on the longer side");
    }
}

void Preparation::extend() {
    if (options.extensionPasses > 0) {
        using QELT::Geometry::ThreeDimensional::QuadMesh::Basic;
        announce(listener, "Extending...");
        naming(part, [&] { grid.extendBoundary(Basic, options.extensionPasses, options.smoothingPasses); });
    }
}

void Preparation::resample() {
    requireBearableGrid();
    announce(listener, "Resampling...");
    Stopwatch const watch;
    naming(part, [&] { grid.construct(mesh, options.quadArea); });
    result.resampleSeconds = watch.seconds();
    result.nanNodes = nanNodesIn(grid, mesh, options.quadArea); // an extension spreads them
    extend();
    saveGrid(grid, options.grid);
    result.grid = gridSummaryOf(grid);
    tell(PrepareStage::Saved);
}

} // namespace

FlatteningMode usualModeFor(std::filesystem::path const& part) {
    return isCloudPart(part) ? FlatteningMode::Pinned : FlatteningMode::Developable;
}

PrepareResult prepare(PrepareOptions const& options, ProgressListener* listener,
                      PrepareObserver const& observer) {
    Preparation preparation(options, listener, observer);
    preparation.requireUsableOptions();
    preparation.load();
    preparation.flatten();
    preparation.saveFlat();
    preparation.resample();
    return preparation.getResult();
}

} // namespace QELT::Inspection
