#include "apps/cscan/demo/demo.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/import/objfile.h"
#include "Inspection/maps/flattening.h"
#include "Inspection/pictures/cscanimages.h"
#include "Inspection/pictures/flatpicture.h"
#include "Inspection/pictures/footprintpicture.h"
#include "Inspection/pictures/pngfile.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"
#include "Inspection/records/stopwatch.h"
#include "Inspection/scanning/scanplane.h"
#include "apps/cscan/demo/probepath.h"
#include "apps/cscan/demo/story.h"
#include "apps/cscan/report/report.h"
#include "simulation/bladepart.h"

#include <array>
#include <cmath>

namespace cscan {

namespace {

using QELT::Geometry::ThreeDimensional::Utility;
using QELT::Simulation::measuredBlade;
using QELT::Simulation::PartMesh;

constexpr double quadArea = 0.16; ///< square millimetres

/// The main job, stage by stage. Each stage adds a row to the table that is printed at the end.
class Demonstration {
public:
    Demonstration(std::filesystem::path targetDirectory, ProgressListener& progressListener)
        : directory(std::move(targetDirectory)), listener(progressListener) {
        mesh.setProgressListener(&listener);
        grid.setProgressListener(&listener);
        record.setUnit("mm");
        record.setting("quadArea", quadArea);
        record.setting("mode", "developable");
        outputs.makeFolders(directory);
        addOutputs();
    }

    void makePart();
    void loadPart();
    void flattenPart();
    void resample();
    void saveAndReload();
    void scan();
    void scanInTwo();
    void draw();
    void drawFootprint();

    /// Puts all files in place.
    void finish() { outputs.commit(&listener); }

    DemoResult const& getResult() const { return found; }

private:
    std::filesystem::path directory;
    ProgressListener& listener;
    Record record{"demo"};
    Outputs outputs{record};
    Mesh mesh;
    Grid grid;
    Grid reloaded;
    std::vector<Beam> beams;
    ScanResult result;
    QuadMap plane{0, 0};
    ScanResult planeResult;
    DemoResult found{{{"stage", "time", "result"}}, {}};

    void addOutputs();

    /// The name of the images of both scans.
    std::string wholePrefix() const { return (directory / "").string(); }

    std::string planePrefix() const { return (directory / "plane").string(); }

    void addRow(std::string const& stage, double seconds, std::string const& text) {
        found.table.push_back({stage, secondsText(seconds), text});
    }

    void addNote(std::string const& text) { found.table.push_back({"", "", text}); }
};

void Demonstration::addOutputs() {
    for (char const* const name : {"blade.obj", "blade.quads", "blade_low_u.quads", "blade_high_u.quads",
                                   "flatmap.png", "footprint.png"}) {
        outputs.add(directory / name);
    }
    addScanImages(outputs, wholePrefix());
    addScanImages(outputs, planePrefix());
}

void Demonstration::makePart() {
    Stopwatch const watch;
    auto const path = directory / "blade.obj";
    PartMesh const part = measuredBlade({});
    writeFaces(part, outputs.at(path));
    addRow("make part", watch.seconds(),
           std::to_string(part.points.size()) + " points, " + std::to_string(part.faces.size()) +
               " triangles");
    found.files.push_back(path);
}

void Demonstration::loadPart() {
    Stopwatch const watch;
    auto const& path = found.files.front();
    loadObj(mesh, outputs.at(path).file);
    mesh.setFileName(path.stem().string()); // goes into the grid
    double const seconds = watch.seconds();
    auto const triangles = trianglesOf(mesh);
    auto const loops = boundaryLoopsOf(mesh);
    addRow("load OBJ", seconds,
           std::to_string(mesh.getNumberOfVertices()) + " vertices, " + std::to_string(triangles.size()) +
               " faces, " + counted(loops.size(), "boundary loop", "boundary loops"));
}

void Demonstration::flattenPart() {
    FlatteningOptions const options{FlatteningMode::Developable, SolverKind::ConjugateGradients};
    FlatteningReport const report = naming("flattening", [&] { return flatten(mesh, options, &listener); });
    FlatSummary const flat = flatSummaryOf(mesh, trianglesOf(mesh));
    addRow("flatten", report.seconds,
           "flat extent " + toShortText(flat.width, 5) + " x " + toShortText(flat.height, 5) + ", " +
               counted(flat.flippedCount, "flipped triangle", "flipped triangles"));
    for (std::string const& line : linesOf(report)) {
        addNote(line);
    }
}

void Demonstration::resample() {
    listener.setMessage("Resampling...");
    Stopwatch const watch;
    naming("resampling", [&] { grid.construct(mesh, quadArea); });
    double const seconds = watch.seconds();
    GridSummary const summary = gridSummaryOf(grid);
    addRow("resample", seconds,
           std::to_string(summary.extentU) + " x " + std::to_string(summary.extentV) + " quads, " +
               std::to_string(summary.validQuadCount) + " valid, mean area " +
               toShortText(grid.getMeanQuadArea(), 4) + " mm2");
}

void Demonstration::saveAndReload() {
    Stopwatch const watch;
    auto const path = directory / "blade.quads";
    Destination const to = outputs.at(path);
    saveGrid(grid, to);
    loadGrid(reloaded, to.file);
    double const seconds = watch.seconds();
    if (!haveSameSurface(grid, reloaded)) {
        throw Failure(path.string() + ": the reloaded grid differs from the saved one");
    }
    addRow("save and reload", seconds,
           std::to_string(std::filesystem::file_size(to.file)) + " bytes, reloaded grid identical");
    found.files.push_back(path);
}

void Demonstration::scan() {
    listener.setMessage("Firing beams...");
    beams = bladeScanBeams({});
    result = fireBeams(reloaded, beams, &listener);
    ScanStatistics const statistics = statisticsOf(result);
    addRow("fire beams", result.seconds,
           std::to_string(statistics.beamCount) + " beams, hit rate " +
               toFixedText(100.0 * statistics.hitRate, 2) + " %, " +
               toFixedText(statistics.beamsPerSecond, 0) + " beams per second");
}

/// Two overlapping halves of the part, side by side in one scan plane, answer the same beams as one.
void Demonstration::scanInTwo() {
    auto const extents = reloaded.getExtents();
    auto const width = static_cast<int>(extents.getdU());
    auto const height = static_cast<int>(extents.getdV());
    int const overlap = width / 10;
    std::vector<PlacedGrid> halves(2);
    std::array const names{directory / "blade_low_u.quads", directory / "blade_high_u.quads"};
    halves[1].offset = GridOffset(width / 2, 0);
    std::array const widths{width / 2 + overlap, width - width / 2};
    for (std::size_t i = 0; i < halves.size(); ++i) {
        Grid half;
        reloaded.getRestrictedToAABB(QELT::Geometry::TwoDimensional::BoundingBoxAA<int>(
                                         GridIndex() + halves[i].offset, GridOffset(widths.at(i), height)),
                                     half);
        Destination const to = outputs.at(names.at(i));
        saveGrid(half, to);
        halves[i].file = to.file;
        found.files.push_back(to.name);
    }
    listener.setMessage("Firing beams at two grids...");
    GridGroups groups = loadGroups(halves, 0, false);
    planeResult = fireBeams(groups, beams, &listener);
    plane = loadScanPlane(halves, 0, false).surface;
    std::size_t sameCount = 0;
    for (std::size_t i = 0; i < beams.size(); ++i) {
        Hit const& whole = result.hits[i];
        Hit const& part = planeResult.hits[i];
        sameCount += whole.isHit() == part.isHit() && (!whole.isHit() || whole.quad == part.quad) ? 1U : 0U;
    }
    addRow("two grids as one", planeResult.seconds,
           std::to_string(sameCount) + " of " + std::to_string(beams.size()) +
               " beams answered as by the whole grid, " +
               toFixedText(statisticsOf(planeResult).beamsPerSecond, 0) + " beams per second");
}

/// A beam that spreads by ten degrees, from the probe's place over the middle of the part.
void Demonstration::drawFootprint() {
    Stopwatch const watch;
    std::size_t place = beams.size() / 3;
    while (place < beams.size() && !result.hits[place].isMeasured) {
        ++place;
    }
    if (place == beams.size()) {
        throw Failure("the demonstration's beams all miss");
    }
    Vector const along = beams[place].direction / std::sqrt(beams[place].direction.lSqr());
    Vector const across = Vector(0.0, 1.0, 0.0).cross(along);
    SpreadingBeam beam{beams[place].origin, across / std::sqrt(across.lSqr())};
    beam.axisB = along.cross(beam.axisA);
    beam.cotangent = 1.0 / std::tan(Utility::degToRad(10.0));
    beam.apertureRadius = 3.0;
    Footprint const footprint = naming("footprint", [&] { return footprintOf(reloaded, beam); });
    auto const path = directory / "footprint.png";
    writePng(outputs.at(path), footprintPictureOf(reloaded, beam, footprint, "mm"));
    auto const axis = footprint.ends[0] - footprint.centre;
    addRow("footprint", watch.seconds(),
           "beam of 3 mm aperture spreading by 10 degrees reaches " +
               toFixedText(std::hypot(axis.getdU(), axis.getdV()), 1) + " quads");
    found.files.push_back(path);
}

void Demonstration::draw() {
    listener.setMessage("Drawing...");
    Stopwatch const watch;
    auto const flat = directory / "flatmap.png";
    writePng(outputs.at(flat), flatPictureOf(mesh, "Flat map of the blade"));
    auto const images =
        writeScanImages(wholePrefix(), surfaceMapOf(reloaded), result.hits, "mm", outputs, &listener);
    auto const planeImages =
        writeScanImages(planePrefix(), plane, planeResult.hits, "mm", outputs, &listener);
    addRow("draw", watch.seconds(), std::to_string(images.size() + planeImages.size() + 1) + " images");
    found.files.push_back(flat);
    found.files.insert(found.files.end(), images.begin(), images.end());
    found.files.insert(found.files.end(), planeImages.begin(), planeImages.end());
}

} // namespace

DemoResult demonstrate(DemoOptions const& options, ProgressListener* listener) {
    Demonstration demonstration(options.directory, *listener);
    demonstration.makePart();
    demonstration.loadPart();
    demonstration.flattenPart();
    demonstration.resample();
    demonstration.saveAndReload();
    demonstration.scan();
    demonstration.scanInTwo();
    demonstration.draw();
    demonstration.drawFootprint();
    demonstration.finish();
    DemoResult found = demonstration.getResult();
    tellStory(options.directory / "inspection", found, listener);
    return found;
}

} // namespace cscan
