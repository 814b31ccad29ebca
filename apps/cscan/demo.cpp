#include "apps/cscan/bladepart.h"
#include "apps/cscan/commands.h"
#include "apps/cscan/cscanimages.h"
#include "apps/cscan/failure.h"
#include "apps/cscan/flatpicture.h"
#include "apps/cscan/gridfile.h"
#include "apps/cscan/numbers.h"
#include "apps/cscan/objfile.h"
#include "apps/cscan/pngfile.h"
#include "apps/cscan/probepath.h"
#include "apps/cscan/report.h"
#include "apps/cscan/stopwatch.h"

#include <ostream>

namespace cscan {

namespace {

constexpr double quadArea = 0.16; ///< square millimetres

/// The main job, stage by stage. Each stage adds a row to the table that is printed at the end.
class Demonstration {
public:
    Demonstration(std::filesystem::path targetDirectory, ProgressDisplay& progressDisplay)
        : directory(std::move(targetDirectory)), display(progressDisplay) {
        mesh.setProgressListener(&display);
        grid.setProgressListener(&display);
    }

    void makePart();
    void loadPart();
    void flattenPart();
    void resample();
    void saveAndReload();
    void scan();
    void draw();

    void print(std::ostream& output) const;

private:
    std::filesystem::path directory;
    ProgressDisplay& display;
    Mesh mesh;
    Grid grid;
    Grid reloaded;
    ScanResult result;
    std::vector<std::filesystem::path> files;
    std::vector<std::vector<std::string>> table{{"stage", "time", "result"}};

    void addRow(std::string const& stage, double seconds, std::string const& text) {
        table.push_back({stage, secondsText(seconds), text});
    }

    void addNote(std::string const& text) { table.push_back({"", "", text}); }
};

void Demonstration::makePart() {
    Stopwatch const watch;
    auto const path = directory / "blade.obj";
    PartMesh const part = measuredBlade({});
    writePart(part, path);
    addRow("make part", watch.seconds(),
           std::to_string(part.points.size()) + " points, " + std::to_string(part.faces.size()) +
               " triangles");
    files.push_back(path);
}

void Demonstration::loadPart() {
    Stopwatch const watch;
    loadObj(mesh, files.front());
    double const seconds = watch.seconds();
    auto const triangles = trianglesOf(mesh);
    auto const loops = boundaryLoopsOf(triangles);
    addRow("load OBJ", seconds,
           std::to_string(mesh.getNumberOfVertices()) + " vertices, " + std::to_string(triangles.size()) +
               " faces, " + counted(loops.size(), "boundary loop", "boundary loops"));
}

void Demonstration::flattenPart() {
    FlatteningReport const report =
        naming("flattening", [&] { return flatten(mesh, FlatteningMode::Developable, display); });
    FlatSummary const flat = flatSummaryOf(mesh, trianglesOf(mesh));
    addRow("flatten", report.seconds,
           "flat extent " + toShortText(flat.width, 5) + " x " + toShortText(flat.height, 5) + ", " +
               counted(flat.flippedCount, "flipped triangle", "flipped triangles"));
    for (std::string const& line : linesOf(report)) {
        addNote(line);
    }
}

void Demonstration::resample() {
    display.setMessage("Resampling...");
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
    saveGrid(grid, path);
    loadGrid(reloaded, path);
    double const seconds = watch.seconds();
    if (!haveSameSurface(grid, reloaded)) {
        throw Failure(path.string() + ": the reloaded grid differs from the saved one");
    }
    addRow("save and reload", seconds,
           std::to_string(std::filesystem::file_size(path)) + " bytes, reloaded grid identical");
    files.push_back(path);
}

void Demonstration::scan() {
    display.setMessage("Firing beams...");
    auto const beams = bladeScanBeams({});
    result = fireBeams(reloaded, beams);
    ScanStatistics const statistics = statisticsOf(result);
    addRow("fire beams", result.seconds,
           std::to_string(statistics.beamCount) + " beams, hit rate " +
               toFixedText(100.0 * statistics.hitRate, 2) + " %, " +
               toFixedText(statistics.beamsPerSecond, 0) + " beams per second");
}

void Demonstration::draw() {
    display.setMessage("Drawing...");
    Stopwatch const watch;
    auto const flat = directory / "flatmap.png";
    writePng(flat, flatPictureOf(mesh, "Flat map of the blade"));
    auto const images = writeScanImages((directory / "").string(), reloaded, result.hits, "mm");
    addRow("draw", watch.seconds(), std::to_string(images.size() + 1) + " images");
    files.push_back(flat);
    files.insert(files.end(), images.begin(), images.end());
}

void Demonstration::print(std::ostream& output) const {
    printTable(output, table);
    output << "\nwritten\n";
    for (auto const& file : files) {
        output << "  " << file.string() << '\n';
    }
}

} // namespace

void runDemo(DemoOptions const& options, std::ostream& output, ProgressDisplay& display) {
    naming(options.directory.string(), [&] { std::filesystem::create_directories(options.directory); });
    Demonstration demonstration(options.directory, display);
    demonstration.makePart();
    demonstration.loadPart();
    demonstration.flattenPart();
    demonstration.resample();
    demonstration.saveAndReload();
    demonstration.scan();
    demonstration.draw();
    display.clear();
    demonstration.print(output);
}

} // namespace cscan
