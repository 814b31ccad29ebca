#include "apps/cscan/commands/commands.h"
#include "apps/cscan/commands/report.h"
#include "apps/cscan/files/failure.h"
#include "apps/cscan/files/files.h"
#include "apps/cscan/files/numbers.h"
#include "apps/cscan/files/objfile.h"
#include "apps/cscan/files/xyzfile.h"
#include "apps/cscan/grids/gridfile.h"
#include "apps/cscan/progress/stopwatch.h"
#include "apps/cscan/surface/reconstruction.h"

#include <algorithm>
#include <ostream>

namespace cscan {

namespace {

/// Finds out before the long work that a result would have no place to go.
void requireOutputs(PrepareOptions const& options) {
    requireGridOutput(options.grid);
    if (!options.flat) {
        return;
    }
    requireObjOutput(*options.flat);
}

/// A grid of more quads than this is taken for a mistake in the quad area; it would need gigabytes.
constexpr double largestGrid = 64e6;

/// A map with more of its triangles turned over has come out badly.
constexpr double bearableFlippedShare = 0.02;

/// Quads on the longer side of the grid that is suggested instead.
constexpr double handySide = 1000.0;

void requireBearableGrid(Mesh const& mesh, PrepareOptions const& options) {
    auto const triangles = trianglesOf(mesh);
    GridSize const size = expectedGridSize(flatSummaryOf(mesh, triangles), triangles, options.quadArea);
    if (size.u * size.v > largestGrid) {
        double const share = std::max(size.u, size.v) / handySide;
        throw Failure(options.part.string() + ": a quad area of " + toShortText(options.quadArea, 6) +
                      " makes a grid of about " + toFixedText(size.u, 0) + " x " + toFixedText(size.v, 0) +
                      " quads; " + toShortText(options.quadArea * share * share, 2) + " makes " +
                      toFixedText(handySide, 0) + " on the longer side");
    }
}

RepairReport loadCloud(Mesh& mesh, PrepareOptions const& options) {
    auto const reconstruction = reconstructFrom(options.part, options.repair);
    naming(options.part.string(),
           [&] { mesh.construct(reconstruction.surface.points, reconstruction.surface.faces); });
    mesh.setFileName(options.part.stem().string());
    return reconstruction.repair;
}

void loadPart(Mesh& mesh, PrepareOptions const& options, std::ostream& output, ProgressDisplay& display) {
    auto const& path = options.part;
    Stopwatch const watch;
    std::optional<RepairReport> repair;
    if (isCloudFile(path)) {
        display.setMessage("Reconstructing...");
        repair = loadCloud(mesh, options);
    } else {
        loadObj(mesh, path);
    }
    double const seconds = watch.seconds();
    display.clear();
    auto const triangles = trianglesOf(mesh);
    auto const loops = boundaryLoopsOf(mesh);
    output << path.string() << '\n';
    printItem(output, "load time", secondsText(seconds));
    if (repair) {
        printRepair(output, *repair);
    }
    printMesh(output, mesh, triangles, loops);
    output << std::flush;
    if (loops.empty()) {
        throw Failure(path.string() + ": the mesh is closed; it needs a rim to be flattened");
    }
}

void flattenPart(Mesh& mesh, PrepareOptions const& options, std::ostream& output, ProgressDisplay& display) {
    auto const report = naming(options.part.string(), [&] { return flatten(mesh, options.mode, display); });
    output << (options.mode == FlatteningMode::Pinned ? "\nFlattened, pinned\n"
                                                      : "\nFlattened, developable\n");
    printItem(output, "flatten time", secondsText(report.seconds));
    for (std::string const& line : linesOf(report)) {
        printItem(output, "solver", line);
    }
    auto const triangles = trianglesOf(mesh);
    FlatSummary const flat = flatSummaryOf(mesh, triangles);
    printFlat(output, flat);
    double const flippedShare =
        static_cast<double>(flat.flippedCount) / static_cast<double>(triangles.size());
    if (flippedShare > bearableFlippedShare) {
        printItem(output, "note",
                  toFixedText(100.0 * flippedShare, 0) +
                      " % of the triangles are turned over and will leave holes; try the other --mode");
    }
    output << std::flush;
    if (options.flat) {
        saveFlatObj(mesh, *options.flat);
        display.clear();
        printItem(output, "flat map", options.flat->string());
    }
}

void extend(Grid& grid, PrepareOptions const& options, ProgressDisplay& display) {
    if (options.extensionPasses > 0) {
        using QELT::Geometry::ThreeDimensional::QuadMesh::Basic;
        display.setMessage("Extending...");
        naming(options.part.string(),
               [&] { grid.extendBoundary(Basic, options.extensionPasses, options.smoothingPasses); });
    }
}

} // namespace

void runPrepare(PrepareOptions const& options, std::ostream& output, ProgressDisplay& display) {
    requireReadable(options.part);
    requireOutputs(options);
    Mesh mesh;
    mesh.setProgressListener(&display);
    loadPart(mesh, options, output, display);
    flattenPart(mesh, options, output, display);

    requireBearableGrid(mesh, options);
    Grid grid;
    grid.setProgressListener(&display);
    display.setMessage("Resampling...");
    Stopwatch const watch;
    naming(options.part.string(), [&] { grid.construct(mesh, options.quadArea); });
    double const seconds = watch.seconds();
    auto const nanNodes = nanNodesOf(grid); // an extension spreads them
    extend(grid, options, display);
    saveGrid(grid, options.grid);
    display.clear();
    output << '\n' << options.grid.string() << '\n';
    printItem(output, "resample time", secondsText(seconds));
    printGrid(output, grid, gridSummaryOf(grid));
    auto const triangles = trianglesOf(mesh);
    printNanNodes(output, nanNodes, triangles, expectedSpacing(triangles, options.quadArea));
}

} // namespace cscan
