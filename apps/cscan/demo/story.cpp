#include "apps/cscan/demo/story.h"

#include "Inspection/grids/prepare.h"
#include "Inspection/pages/report.h"
#include "Inspection/pages/view.h"
#include "Inspection/parts/partcheck.h"
#include "Inspection/pictures/drawnresult.h"
#include "Inspection/pictures/indicationpicture.h"
#include "Inspection/pictures/pathpicture.h"
#include "Inspection/poses/pose.h"
#include "Inspection/poses/registerpoints.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"
#include "Inspection/records/stopwatch.h"
#include "apps/cscan/report/report.h"
#include "simulation/simulate.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>

namespace cscan {

namespace {

using QELT::Simulation::Case;
using QELT::Simulation::Cell;
using QELT::Simulation::Measurement;
using QELT::Simulation::RigidMotion;

constexpr double pixel = 0.4; ///< millimetres, as all lengths here
constexpr double standoff = 20.0;
constexpr double beamWidth = 1.5;
constexpr double soundSpeed = 2900.0;
constexpr double backWall = 80.0;                   ///< percent of the full screen, of the sound part
constexpr char const* toolText = "0,60,130,0,0,90"; ///< how the probe is fixed to the flange
constexpr double farthestFront = 0.1; ///< the front wall may be from the part, as the root mean square
constexpr double farthest = 0.5;      ///< an indication may be from its flaw

class Story {
public:
    Story(std::filesystem::path newFolder, DemoResult& newFound, ProgressListener* newListener)
        : folder(std::move(newFolder)),
          found(newFound),
          listener(newListener),
          setup(QELT::Simulation::caseOf("blade")) {
        constexpr double decibels = 0.5;
        constexpr double frontNoise = 0.02;
        setup.instrument.noise = decibels;
        setup.instrument.frontNoise = frontNoise;
        setup.instrument.beamDiameter = beamWidth;
        // Where the blade lies in the robot's cell, which tells the flange's places, and how the probe is
        // fixed to it.
        cell.frame =
            RigidMotion{QELT::Simulation::rotationZyx(30.0, -2.0, 1.0), Vector(-400.0, 120.0, -85.0)};
        cell.tool = RigidMotion{QELT::Simulation::rotationZyx(0.0, 0.0, 90.0), Vector(0.0, 60.0, 130.0)};
        cell.dialect = QELT::Simulation::Dialect::QuaternionWxyz;
        cell.hasDecimalCommas = true;
    }

    void writePart();
    void check();
    void prepareGrid();
    void plan();
    void registerPart();
    void measure();
    void scan();
    void agree();
    void find();
    void compare();
    void look();
    void tell();

private:
    std::filesystem::path folder;
    DemoResult& found;
    ProgressListener* listener;
    Case setup;
    Cell cell;
    Measurement measurement;
    DrawnMeasuredScan drawn;
    FoundIndications indications;

    std::filesystem::path file(char const* name) const { return folder / name; }

    void addRow(std::string const& stage, Stopwatch const& watch, std::string const& text) {
        found.table.push_back({stage, secondsText(watch.seconds()), text});
    }

    void addFile(char const* name) { found.files.push_back(file(name)); }

    /// Writes one file with its record, all or nothing.
    void write(char const* name, std::function<void(std::ostream&)> const& writeTo);
};

void Story::write(char const* name, std::function<void(std::ostream&)> const& writeTo) {
    Record record("demo");
    record.setUnit("mm");
    Outputs outputs(record);
    outputs.makeFolders(folder);
    outputs.add(file(name));
    std::ofstream output(outputs.at(file(name)).file, std::ios::binary);
    writeTo(output);
    output.close();
    QELT::Inspection::require(!output.fail(), file(name).string() + ": cannot be written");
    outputs.commit(listener);
    addFile(name);
}

void Story::writePart() {
    Stopwatch const watch;
    FaceMesh const mesh = setup.shape->mesh(setup.meshSide);
    write("blade.stl", [&](std::ostream& output) { QELT::Simulation::writeBinaryStl(output, mesh); });
    addRow("part as STL", watch, std::to_string(mesh.faces.size()) + " triangles");
}

void Story::check() {
    Stopwatch const watch;
    CheckResult const checked = checkPart({file("blade.stl"), pixel}, listener);
    QELT::Inspection::require(checked.canBePrepared(), "the demonstration's part cannot be prepared");
    addRow("check", watch,
           checked.faults.empty() ? "no faults" : counted(checked.faults.size(), "fault", "faults"));
}

void Story::prepareGrid() {
    Stopwatch const watch;
    PrepareOptions options;
    options.part = file("blade.stl");
    options.grid = file("part.quads");
    options.resolution.pixel = pixel;
    options.unit = "mm";
    PrepareResult const prepared = prepare(options, listener);
    QELT::Inspection::require(prepared.isWritten, "the demonstration's grid is not fit for inspection");
    addFile("part.quads");
    addRow("prepare", watch,
           std::to_string(prepared.grid.extentU) + " x " + std::to_string(prepared.grid.extentV) +
               " pixels of " + toShortText(pixel, 3) + " mm, fit for inspection");
}

void Story::plan() {
    Stopwatch const watch;
    DrawnPlanOptions options;
    options.plan.grid = file("part.quads");
    options.plan.path = file("path.csv");
    options.plan.settings.step = pixel;
    options.plan.settings.standoff = standoff;
    options.plan.settings.speed = 100.0;
    options.image = file("path.png");
    Plan const planned = drawPlan(options, listener);
    QELT::Inspection::require(planned.isFit(), "the demonstration's path is not fit");
    addFile("path.csv");
    addFile("path.png");
    addRow("plan a path", watch,
           counted(planned.path.lineCount, "line", "lines") + ", " +
               toFixedText(planned.path.length / 1000.0, 1) + " m, covers " +
               toFixedText(100.0 * planned.check.coverage.reachedShare(), 1) + " %");
}

/// Six marks on the part that the robot touched, and where they are in the part's drawing.
void Story::registerPart() {
    Stopwatch const watch;
    RigidMotion const toCell = cell.frame.inverse();
    write("marks.csv", [&](std::ostream& output) {
        output << "# simulated\nsx,sy,sz,tx,ty,tz\n";
        for (auto const& [u, v] : {std::pair{-25.0, -50.0},
                                   {25.0, -50.0},
                                   {25.0, 50.0},
                                   {-25.0, 50.0},
                                   {0.0, 30.0},
                                   {-20.0, 0.0}}) {
            Vector const place = setup.shape->at({u, v}).point;
            Vector const touched = toCell.placed(place);
            for (double const number :
                 {touched.getdX(), touched.getdY(), touched.getdZ(), place.getdX(), place.getdY()}) {
                output << toFixedText(number, 4) << ',';
            }
            output << toFixedText(place.getdZ(), 4) << '\n';
        }
    });
    RegisterOptions options;
    options.pairs = file("marks.csv");
    options.frame = file("frame.json");
    options.unit = "mm";
    RegisterResult const registered = registerPoints(options, listener);
    addFile("frame.json");
    addRow("register", watch,
           std::to_string(registered.pairs.size()) + " marks, residual " +
               toShortText(registered.fit->rms, 2) + " mm");
}

/// The simulated cell fires along the path.
void Story::measure() {
    Stopwatch const watch;
    QELT::Simulation::SimulateOptions options;
    options.setup = setup;
    options.cell = cell;
    options.path = file("path.csv");
    options.folder = folder / "cell";
    measurement = simulate(options, listener).measurement;
    found.files.push_back(options.folder / "shots.csv");
    found.files.push_back(options.folder / "truth.json");
    addRow("measure (simulated)", watch, std::to_string(measurement.shots.size()) + " shots");
}

void Story::scan() {
    Stopwatch const watch;
    DrawnMeasuredScanOptions options;
    options.scan.grids.push_back({file("part.quads")});
    options.scan.shots.shots = folder / "cell" / "shots.csv";
    options.scan.shots.frame = file("frame.json");
    options.scan.shots.pose.tool = toolIn(toolText);
    for (char const* const value : {"backwall:max", "amplitude:max", "depth:min"}) {
        options.scan.quantities.values.push_back(valueRequestIn(value));
    }
    options.scan.quantities.depth = DepthOptions{"tof", soundSpeed, {}, {}};
    options.scan.quantities.front = FrontOptions{"front", setup.instrument.couplantSpeed};
    options.scan.fill = pixel;
    options.scan.doKeepShots = true;
    options.scan.result = file("result.h5");
    options.imagePrefix = file("result").string();
    drawn = drawMeasuredScan(options, listener);
    addFile("result.h5");
    found.files.insert(found.files.end(), drawn.images.begin(), drawn.images.end());
    addRow("scan", watch,
           toFixedText(100.0 * drawn.scan.coverage.reachedShare(), 1) +
               " % of the surface reached, longest gap " + toShortText(drawn.scan.coverage.longestGap, 2) +
               " mm");
}

/// The front wall's echo tells the standoff that was; the pose and the part tell the one that should be.
void Story::agree() {
    double sum = 0.0;
    double count = 0.0;
    for (double const residual : valueMapOf(drawn.scan.result, "residual").values) {
        if (std::isfinite(residual)) {
            sum += residual * residual;
            count += 1.0;
        }
    }
    double const rms = std::sqrt(sum / count);
    QELT::Inspection::require(rms < farthestFront, "the front wall is not where the part is");
    found.table.push_back(
        {"", "",
         "measured standoffs agree with the part within " + toShortText(rms, 2) + " mm (root mean square)"});
}

/// Where the back wall's echo is lost something lies before it.
void Story::find() {
    Stopwatch const watch;
    constexpr double half = 0.5;
    DrawnIndicationsOptions options;
    options.indications.result = file("result.h5");
    options.indications.table = file("indications.csv");
    options.indications.search.value = "backwall";
    options.indications.search.threshold = {true, half};
    options.indications.search.from = backWall;
    options.indications.search.isBelow = true;
    options.indications.search.beam = beamWidth;
    options.indications.search.minArea = 1.0;
    options.image = file("indications.png");
    indications = drawIndications(options, listener);
    addFile("indications.csv");
    addFile("indications.png");
    addRow("indications", watch, counted(indications.search.indications.size(), "indication", "indications"));
}

/// Each flaw has to have an indication where it is, and none may be anywhere else.
void Story::compare() {
    for (auto const& placed : measurement.flaws) {
        double nearest = INFINITY;
        Indication const* best = nullptr;
        for (Indication const& indication : indications.search.indications) {
            double const distance = std::sqrt((indication.centre.point - placed.centre.point).lSqr());
            best = distance < nearest ? &indication : best;
            nearest = std::min(nearest, distance);
        }
        QELT::Inspection::require(nearest < farthest,
                                  "the flaw '" + placed.flaw.name + "' was not found at its place");
        found.table.push_back({"", "",
                               placed.flaw.name + ": found " + toFixedText(nearest, 2) +
                                   " mm from its place, " + toShortText(best->area, 3) + " mm2 of " +
                                   toShortText(placed.area, 3)});
    }
    QELT::Inspection::require(indications.search.indications.size() == measurement.flaws.size(),
                              "there are indications where no flaw is");
}

void Story::look() {
    if (!hasPage()) {
        found.table.push_back({"page", "", "left out: built without it"});
        return;
    }
    Stopwatch const watch;
    ViewOptions options;
    options.input = file("result.h5");
    options.output = file("result.html");
    options.indications = file("indications.csv");
    options.beam = beamWidth;
    View const page = view(options, listener);
    addFile("result.html");
    addRow("page", watch, std::to_string(page.byteCount / 1024) + " kB, opens in any browser");
}

void Story::tell() {
    Stopwatch const watch;
    write("fields.json", [&](std::ostream& output) {
        output
            << "{\n  \"part\": \"Blade of the demonstration (simulated)\",\n  \"operator\": \"simulated\",\n"
               "  \"instrument\": \"simulated, noise 0.5 dB\",\n  \"probe\": \"simulated, beam of 1.5 "
               "mm\"\n}\n";
    });
    ReportOptions options;
    options.result = file("result.h5");
    options.page = file("report.html");
    options.fields = file("fields.json");
    options.indications = file("indications.csv");
    options.inputFolders = {folder / "cell"};
    Report const page = report(options, listener);
    addFile("report.html");
    addRow("report", watch, counted(page.pictureCount, "picture", "pictures"));
}

} // namespace

void tellStory(std::filesystem::path const& folder, DemoResult& found, ProgressListener* listener) {
    Story story(folder, found, listener);
    story.writePart();
    story.check();
    story.prepareGrid();
    story.plan();
    story.registerPart();
    story.measure();
    story.scan();
    story.agree();
    story.find();
    story.compare();
    story.look();
    story.tell();
}

} // namespace cscan
