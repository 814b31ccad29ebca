#include "simulation/simulate.h"

#include "Inspection/planning/pathfile.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"

#include <array>
#include <bit>
#include <cmath>
#include <fstream>
#include <functional>
#include <string>

namespace QELT::Simulation {

namespace {

using Inspection::Outputs;
using Inspection::Record;
using Inspection::toExactText;

using Bytes4 = std::array<char, 4>;

Bytes4 littleEndian(std::uint32_t value) {
    return {static_cast<char>(value), static_cast<char>(value >> 8U), static_cast<char>(value >> 16U),
            static_cast<char>(value >> 24U)};
}

void put(std::ostream& output, std::uint32_t value) {
    output.write(littleEndian(value).data(), 4);
}

void put(std::ostream& output, float value) {
    put(output, std::bit_cast<std::uint32_t>(value));
}

void put(std::ostream& output, Point const& point) {
    put(output, point.getX());
    put(output, point.getY());
    put(output, point.getZ());
}

/// The outputs of a run in a folder.
class Writer {
public:
    Writer(SimulateOptions const& newOptions, Outputs& newOutputs)
        : options(newOptions), outputs(newOutputs) {
        outputs.makeFolders(options.folder);
        for (char const* const name : {"part.stl", "part.obj", "shots.csv", "truth.json"}) {
            outputs.add(options.folder / name);
        }
        if (options.setup.clocks) {
            outputs.add(options.folder / "poses.csv");
        }
    }

    void write(std::string const& name, std::function<void(std::ostream&)> const& fill) {
        auto const to = outputs.at(options.folder / name);
        std::ofstream output(to.file, std::ios::binary);
        fill(output);
        output.close();
        Inspection::require(bool(output), to.name.string() + ": cannot be written");
        files.push_back(to.name);
    }

    std::vector<std::filesystem::path> const& getFiles() const { return files; }

private:
    SimulateOptions const& options;
    Outputs& outputs;
    std::vector<std::filesystem::path> files;
};

void addInstrument(Record& record, Instrument const& instrument) {
    record.setting("beamDiameter", instrument.beamDiameter);
    record.setting("backWall", instrument.backWall);
    record.setting("reflector", instrument.reflector);
    record.setting("tiltLoss", instrument.tiltLoss);
    record.setting("noise", instrument.noise);
    record.setting("frontNoise", instrument.frontNoise);
    record.setting("ceiling", instrument.ceiling);
    record.setting("noEchoBelow", instrument.noEchoBelow);
    record.setting("thickness", instrument.thickness);
    record.setting("gateFrom", instrument.gateFrom);
    record.setting("gateTo", instrument.gateTo);
    record.setting("speed", instrument.speed);
    record.setting("couplantSpeed", instrument.couplantSpeed);
}

void addSweep(Record& record, Case const& setup) {
    record.setting("step", setup.sweep.step);
    record.setting("lineSpacing", setup.sweep.lineSpacing);
    record.setting("standoff", setup.sweep.standoff);
    record.setting("overrun", setup.sweep.overrun);
    record.setting("sweepSpeed", setup.sweep.speed);
    record.setting("wobble", setup.sweep.wobble);
    record.setting("lossShare", setup.dropouts.share);
    record.setting("lostLines",
                   std::vector<double>(setup.dropouts.lines.begin(), setup.dropouts.lines.end()));
    if (setup.clocks) {
        record.setting("poseRate", setup.clocks->poseRate);
        record.setting("shotRate", setup.clocks->shotRate);
        record.setting("lag", setup.clocks->lag);
        record.setting("jitter", setup.clocks->jitter);
    }
}

std::vector<double> numbersOf(RigidMotion const& motion) {
    auto const angles = anglesZyxOf(motion.rotation);
    return {
        motion.shift.getdX(), motion.shift.getdY(), motion.shift.getdZ(), angles[0], angles[1], angles[2]};
}

void addSettings(Record& record, SimulateOptions const& options) {
    record.setUnit("mm");
    record.setting("simulated", true);
    record.setting("case", options.setup.name);
    record.setting("seed", options.setup.seed);
    addInstrument(record, options.setup.instrument);
    addSweep(record, options.setup);
    record.setting("dialect", nameOf(options.cell.dialect));
    record.setting("hasDecimalCommas", options.cell.hasDecimalCommas);
    record.setting("frame", numbersOf(options.cell.frame));
    record.setting("tool", numbersOf(options.cell.tool));
}

void addFigures(Record& record, SimulateResult const& result) {
    record.figure("triangles", result.triangleCount);
    record.figure("flaws", result.measurement.flaws.size());
    record.figure("shots", result.measurement.shots.size());
    record.figure("dropped", result.measurement.droppedCount);
}

std::vector<Pose> posesOf(std::filesystem::path const& path) {
    std::vector<Pose> poses;
    for (Inspection::PlannedShot const& shot : Inspection::readPathFile(path)) {
        Vector const anyAxis =
            std::abs(shot.direction.getdX()) < 0.5 ? Vector(1.0, 0.0, 0.0) : Vector(0.0, 1.0, 0.0);
        poses.push_back({shot.time, shot.line, {rotationTo(shot.direction, anyAxis), shot.position}});
    }
    return poses;
}

void writeTables(Writer& writer, Measurement const& measurement, SimulateOptions const& options) {
    if (!options.setup.clocks) {
        writer.write("shots.csv",
                     [&](std::ostream& output) { writeShots(output, measurement, options.cell); });
        return;
    }
    writer.write("poses.csv", [&](std::ostream& output) { writePoses(output, measurement, options.cell); });
    writer.write("shots.csv",
                 [&](std::ostream& output) { writeReadings(output, measurement, options.cell); });
}

} // namespace

void writeBinaryStl(std::ostream& output, FaceMesh const& mesh) {
    constexpr std::size_t headerSize = 80;
    std::string header = "simulated part, millimetres";
    header.resize(headerSize, ' ');
    output << header;
    put(output, static_cast<std::uint32_t>(mesh.faces.size()));
    for (Face const& face : mesh.faces) {
        Point const& a = mesh.points[face[0]];
        Point const& b = mesh.points[face[1]];
        Point const& c = mesh.points[face[2]];
        Vector const normal = unitOf((b - a).cross(c - a));
        put(output, Point(normal.getdX(), normal.getdY(), normal.getdZ()));
        put(output, a);
        put(output, b);
        put(output, c);
        output.write("\0\0", 2);
    }
}

void writeObj(std::ostream& output, FaceMesh const& mesh) {
    output << "# simulated part, millimetres\n";
    for (Point const& point : mesh.points) {
        output << "v " << toExactText(point.getX()) << ' ' << toExactText(point.getY()) << ' '
               << toExactText(point.getZ()) << '\n';
    }
    for (Face const& face : mesh.faces) {
        output << "f " << std::to_string(face[0] + 1) << ' ' << std::to_string(face[1] + 1) << ' '
               << std::to_string(face[2] + 1) << '\n';
    }
}

SimulateResult simulate(SimulateOptions const& options, ProgressListener* listener) {
    Record record("simulate");
    Inspection::require(!options.path || !options.setup.clocks,
                        "a planned path is measured on one clock: leave out lag and jitter");
    if (options.path) {
        record.addCompanion(*options.path);
    }
    addSettings(record, options);
    Outputs outputs(record);
    Writer writer(options, outputs);
    SimulateResult result;
    FaceMesh const mesh = options.setup.shape->mesh(options.setup.meshSide);
    result.triangleCount = mesh.faces.size();
    result.measurement =
        options.path ? measureAt(options.setup, posesOf(*options.path)) : measure(options.setup);
    addFigures(record, result);
    writer.write("part.stl", [&](std::ostream& output) { writeBinaryStl(output, mesh); });
    writer.write("part.obj", [&](std::ostream& output) { writeObj(output, mesh); });
    writeTables(writer, result.measurement, options);
    writer.write("truth.json", [&](std::ostream& output) {
        output << truthOf(options.setup, result.measurement, options.cell);
    });
    outputs.commit(listener);
    result.files = writer.getFiles();
    return result;
}

} // namespace QELT::Simulation
