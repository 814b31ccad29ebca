#include "Inspection/grids/prepare.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/grids/internal/preparerecord.h"
#include "Inspection/grids/internal/verdict.h"
#include "Inspection/import/objfile.h"
#include "Inspection/import/part.h"
#include "Inspection/parts/internal/readfaces.h"
#include "Inspection/parts/partanalysis.h"
#include "Inspection/parts/partfaults.h"
#include "Inspection/parts/reconstruction.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/numbers.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"
#include "Inspection/records/stopwatch.h"

#include <algorithm>
#include <cmath>
#include <string>

// A part becomes a grid in four steps: load, flatten, choose a spacing, resample. Without a mode the part is
// flattened both ways, each on a mesh of its own since a map renumbers the vertices, and the better map is
// taken (mapcandidate.h). The spacing comes from the areas of the whole surface and the whole map; turned
// triangles and overlaps make the quads' mean miss the area asked for all the same, so it is measured, and
// the grid is resampled at a corrected spacing, until it is within 5 %, three times at most.

namespace QELT::Inspection {

namespace {

/// A grid of more quads than this is taken for a mistake in the resolution; it would need gigabytes.
constexpr double largestGrid = 64e6;

/// Quads on the longer side of the grid that is suggested instead.
constexpr double handySide = 1000.0;

constexpr int maxCorrections = 3;

/// One preparation, stage by stage.
class Preparation {
public:
    Preparation(PrepareOptions const& prepareOptions, ProgressListener* progressListener,
                PrepareObserver const& prepareObserver, Outputs& prepareOutputs)
        : options(prepareOptions),
          part(prepareOptions.part.string()),
          listener(progressListener),
          observer(prepareObserver),
          outputs(prepareOutputs) {}

    void load(Record& record);
    void flatten();
    void saveFlat();
    void resample();
    void save();

    PrepareResult const& getResult() const { return result; }

private:
    PrepareOptions const& options;
    std::string part;
    ProgressListener* listener;
    PrepareObserver const& observer;
    Outputs& outputs;
    PartAsLoaded source;
    std::optional<Reconstruction> reconstruction; ///< of a cloud
    std::shared_ptr<Mesh> loaded;
    std::string remedy; ///< where the core refused the chosen map
    std::string wayOut; ///< how a face is cut out that has a better map, once it is looked for
    PrepareResult result;

    std::shared_ptr<Mesh> makeMesh() const;
    std::string const& cutOut();
    void addCandidate(std::shared_ptr<Mesh> const& mesh, FlatteningMode mode);
    void requireMap() const;
    void requireBearableGrid() const;
    void resampleOnce();
    void extend();

    void tell(PrepareStage stage) const {
        if (observer) {
            observer(stage, result);
        }
    }
};

void requirePositive(std::string const& part, std::string const& name, double value) {
    require(value > 0.0, part + ": a " + name + " of " + toShortText(value, 6) + " is not above zero");
}

void requireUsable(GridResolution const& resolution, std::string const& part) {
    auto const& [quadArea, pixel, width] = resolution;
    require((quadArea ? 1 : 0) + (pixel ? 1 : 0) + (width ? 1 : 0) <= 1,
            part + ": of quad area, pixel and width one is enough");
    if (quadArea) {
        requirePositive(part, "quad area", *quadArea);
    }
    if (pixel) {
        requirePositive(part, "pixel", *pixel);
    }
    if (width) {
        requirePositive(part, "width", static_cast<double>(*width));
    }
}

/// Each map wants a mesh as it was loaded.
std::shared_ptr<Mesh> Preparation::makeMesh() const {
    auto const mesh = std::make_shared<Mesh>();
    mesh->setProgressListener(listener);
    if (reconstruction) {
        naming(part, [&] { mesh->construct(reconstruction->surface.points, reconstruction->surface.faces); });
        mesh->setFileName(options.part.file.stem().string());
    } else {
        explaining(
            options.part, [&] { return readFaces(options.part).mesh; },
            [&] { fillMesh(*mesh, source, options.part.file); });
    }
    return mesh;
}

void Preparation::load(Record& record) {
    Stopwatch const watch;
    source = loadPart(options.part);
    std::error_code ignored;
    if (source.report.liesFarOut() && !std::filesystem::exists(cutFileOf(options.part.file), ignored)) {
        LoadOptions nearOrigin;
        nearOrigin.movesFarParts = true;
        source = loadPart(options.part, nearOrigin); // a cut is read by the core's own loader alone
    }
    result.load = source.report;
    if (source.report.isMoved()) {
        auto const& offset = source.report.offset;
        record.addMove(Vector(0.0 - offset[0], 0.0 - offset[1], 0.0 - offset[2]));
    }
    record.setUnit(options.unit.empty() && !record.getUnit() ? source.report.unit : options.unit);
    result.unit = record.getUnitName();
    if (options.part.frame) {
        readFrame(*options.part.frame, record.getUnit().value_or("")); // whose unit has to be the grid's
    }
    if (!source.isMesh()) {
        announce(listener, "Reconstructing...");
        reconstruction = reconstructFrom(source, options.part, options.repair);
        result.repair = reconstruction->repair;
    }
    loaded = makeMesh();
    result.loadSeconds = watch.seconds();
    result.part = meshSummaryOf(*loaded);
    tell(PrepareStage::Loaded);
    if (result.part.loops.empty()) {
        throw Failure(part + ": " +
                      explainRefusal("Mesh has no boundary", faceMeshOf(*loaded), options.part));
    }
}

void Preparation::addCandidate(std::shared_ptr<Mesh> const& mesh, FlatteningMode mode) {
    result.maps.push_back(naming(part, [&] { return candidateOf(*mesh, {mode, options.solver}, listener); }));
    MapCandidate& candidate = result.maps.back();
    auto const fault =
        candidate.isMade() ? std::nullopt : faultBehind(candidate.refusal, faceMeshOf(*mesh), options.part);
    if (fault) {
        candidate.refusal = fault->causeAndPlace();
    }
    if (bestOf(result.maps) + 1 == result.maps.size()) {
        result.chosen = result.maps.size() - 1;
        result.mesh = mesh;
        remedy = fault ? "; remedy: " + fault->remedy : "";
    }
}

/// Half of such a part lies on the other side of a fold or bend, and no mode helps.
std::string const& Preparation::cutOut() {
    if (!wayOut.empty()) {
        return wayOut;
    }
    if (reconstruction) {
        return wayOut =
                   "build the surface with 'cscan reconstruct' and cut the face to inspect out of that with "
                   "'cscan crop'";
    }
    std::string const command = cutOutCommand(readFaces(options.part).mesh, options.part);
    return wayOut = command.empty() ? "cut the face to inspect out of the part with 'cscan crop', or slit a "
                                      "tube with 'cscan cut'"
                                    : command;
}

void Preparation::requireMap() const {
    MapCandidate const& best = result.map();
    require(best.isMade(), part + ": " + best.refusal + remedy);
}

void Preparation::flatten() {
    auto const first = std::move(loaded);
    addCandidate(first, options.mode.value_or(FlatteningMode::Developable));
    if (!options.mode) {
        addCandidate(makeMesh(), FlatteningMode::Pinned);
    }
    requireMap();
    result.shortcomings = shortcomingsOf(result.maps, result.chosen, [&] { return cutOut(); });
    tell(PrepareStage::Flattened);
}

void Preparation::saveFlat() {
    if (options.flat) {
        saveFlatObj(*result.mesh, *options.flat, outputs);
        tell(PrepareStage::FlatSaved);
    }
}

void Preparation::requireBearableGrid() const {
    double const u = result.map().flat.width / result.spacing.spacing;
    double const v = result.map().flat.height / result.spacing.spacing;
    if (!(u * v <= largestGrid)) {
        double const pixel = std::sqrt(result.spacing.quadArea) * std::max(u, v) / handySide;
        throw Failure(part + ": pixels of " + toShortText(std::sqrt(result.spacing.quadArea), 6) +
                      " make a grid of about " + toFixedText(u, 0) + " x " + toFixedText(v, 0) +
                      " quads; --pixel " + toShortText(pixel, 2) + " makes " + toFixedText(handySide, 0) +
                      " on the longer side");
    }
}

void Preparation::resampleOnce() {
    requireBearableGrid();
    naming(part,
           [&] { result.surface->construct(*result.mesh, result.spacing.quadArea, result.spacing.spacing); });
    result.sizes = quadSizesOf(*result.surface);
}

void Preparation::extend() {
    if (options.extensionPasses > 0) {
        using QELT::Geometry::ThreeDimensional::QuadMesh::Basic;
        announce(listener, "Extending...");
        naming(part, [&] {
            result.surface->extendBoundary(Basic, options.extensionPasses, options.smoothingPasses);
        });
    }
}

void Preparation::resample() {
    if (!result.map().isSolved() && !options.isAccepted) {
        return; // a grid of it would be garbage
    }
    announce(listener, "Resampling...");
    Stopwatch const watch;
    result.surface = std::make_shared<Grid>();
    result.surface->setProgressListener(listener);
    GridResolution resolution = options.resolution;
    if (!resolution.quadArea && !resolution.pixel && !resolution.width) {
        resolution.pixel = suggestedPixel(result.part.area, result.part.faceCount);
    }
    result.spacing = spacingFor(resolution, result.map().quality, result.map().flat.width);
    resampleOnce();
    for (int i = 0; i < maxCorrections && !resolution.width; ++i) {
        double const ratio = result.spacing.quadArea / result.sizes.mean;
        if (std::abs(ratio - 1.0) <= quadAreaTolerance || !(ratio > 0.0)) {
            break;
        }
        result.spacing.spacing *= std::sqrt(ratio);
        resampleOnce();
    }
    result.nanNodes = nanNodesIn(*result.surface, *result.mesh, result.spacing.spacing);
    auto const others = shortcomingsOf(result.sizes, result.nanNodes, [&] { return cutOut(); });
    result.shortcomings.insert(result.shortcomings.end(), others.begin(), others.end());
    extend();
    result.resampleSeconds = watch.seconds();
    result.grid = gridSummaryOf(*result.surface);
    tell(PrepareStage::Resampled);
}

void Preparation::save() {
    if (result.surface && (result.isFit() || options.isAccepted)) {
        saveGrid(*result.surface, outputs.at(options.grid));
        result.isWritten = true;
    }
}

} // namespace

void addPrepareFiles(PrepareOptions const& options, Record& record, Outputs& outputs) {
    requireUsable(options.resolution, options.part.string());
    addPart(record, options.part);
    addCutInput(record, options.part.file);
    addSettings(record, options);
    addGridOutput(outputs, options.grid);
    if (options.flat) {
        addObjOutput(outputs, *options.flat);
        addCutOutput(outputs, *options.flat);
    }
}

PrepareResult prepare(PrepareOptions const& options, ProgressListener* listener,
                      PrepareObserver const& observer, Record& record, Outputs& outputs) {
    Preparation preparation(options, listener, observer, outputs);
    preparation.load(record);
    preparation.flatten();
    preparation.saveFlat();
    preparation.resample();
    preparation.save();
    addFigures(record, preparation.getResult());
    return preparation.getResult();
}

PrepareResult prepare(PrepareOptions const& options, ProgressListener* listener,
                      PrepareObserver const& observer) {
    Record record("prepare");
    Outputs outputs(record);
    addPrepareFiles(options, record, outputs);
    PrepareResult const result = prepare(options, listener, observer, record, outputs);
    outputs.commit(listener);
    if (observer && result.isWritten) {
        observer(PrepareStage::Saved, result);
    }
    return result;
}

} // namespace QELT::Inspection
