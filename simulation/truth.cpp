#include "simulation/truth.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cmath>

namespace QELT::Simulation {

namespace {

using Json = nlohmann::ordered_json;

/// To a millionth of a micrometre: the last bit of a sine changes no byte, and no zero has a sign.
double rounded(double value) {
    constexpr double steps = 1e9;
    return std::round(value * steps) / steps + 0.0;
}

template <class Numbers>
Json jsonOf(Numbers const& numbers) {
    Json array = Json::array();
    for (double const number : numbers) {
        array.push_back(rounded(number));
    }
    return array;
}

Json jsonOf(Vector const& vector) {
    return jsonOf(std::array{vector.getdX(), vector.getdY(), vector.getdZ()});
}

Json jsonOf(RigidMotion const& motion) {
    Rotation const rows = motion.rotation.inverse();
    Json matrix = Json::array();
    for (unsigned long axis = 0; axis < 3; ++axis) {
        Vector const& row = axis == 0 ? rows.x : (axis == 1 ? rows.y : rows.z);
        matrix.push_back(jsonOf(std::array{row.getdX(), row.getdY(), row.getdZ(), motion.shift.get(axis)}));
    }
    return {{"translation", jsonOf(motion.shift)},
            {"quaternionWxyz", jsonOf(quaternionOf(motion.rotation))},
            {"matrix", matrix}};
}

Json jsonOf(PlacedFlaw const& placed) {
    Flaw const& flaw = placed.flaw;
    return {{"name", flaw.name},
            {"centre", jsonOf(placed.centre.point)},
            {"normal", jsonOf(placed.centre.normal)},
            {"longAxis", jsonOf(placed.longAxis)},
            {"halfLength", flaw.halfLength},
            {"halfWidth", flaw.halfWidth},
            {"area", rounded(placed.area)},
            {"depth", flaw.depth},
            {"echo", flaw.echo},
            {"shadow", flaw.shadow}};
}

Json jsonOf(Instrument const& instrument) {
    return {{"beamDiameter", instrument.beamDiameter},
            {"backWall[%FSH]", instrument.backWall},
            {"reflector[%FSH]", instrument.reflector},
            {"tiltLoss[dB/deg2]", instrument.tiltLoss},
            {"noise[dB]", instrument.noise},
            {"ceiling[%FSH]", instrument.ceiling},
            {"noEchoBelow[%FSH]", instrument.noEchoBelow},
            {"thickness", instrument.thickness},
            {"gateFrom", instrument.gateFrom},
            {"gateTo", std::isfinite(instrument.gateTo) ? Json(instrument.gateTo) : Json()},
            {"speed[m/s]", instrument.speed},
            {"couplantSpeed[m/s]", instrument.couplantSpeed},
            {"frontNoise", instrument.frontNoise},
            {"tofFrom", instrument.zero == TimeZero::Firing ? "firing" : "front wall"}};
}

Json sweepOf(Case const& setup, Measurement const& measurement) {
    return {
        {"lines", measurement.lineCount},   {"shots", measurement.shots.size() + measurement.droppedCount},
        {"step", setup.sweep.step},         {"lineSpacing", setup.sweep.lineSpacing},
        {"standoff", setup.sweep.standoff}, {"overrun", setup.sweep.overrun},
        {"speed[mm/s]", setup.sweep.speed}, {"wobble[deg]", setup.sweep.wobble}};
}

Json droppedOf(Case const& setup, Measurement const& measurement) {
    auto const footOf = [&](Pose const& pose) {
        return jsonOf(pose.probe.shift + pose.beam() * setup.sweep.standoff);
    };
    Json lines = Json::array();
    for (LostLine const& lost : measurement.lostLines) {
        lines.push_back({{"line", lost.line}, {"from", footOf(lost.first)}, {"to", footOf(lost.last)}});
    }
    Json dropped{{"shots", measurement.droppedCount}, {"share", setup.dropouts.share}, {"lines", lines}};
    if (setup.dropouts.patch) {
        SurfacePoint const centre = setup.shape->at(setup.dropouts.patch->centre);
        dropped["patch"] = {{"centre", jsonOf(centre.point)},
                            {"normal", jsonOf(centre.normal)},
                            {"radius", setup.dropouts.patch->radius}};
    }
    return dropped;
}

} // namespace

std::string truthOf(Case const& setup, Measurement const& measurement, Cell const& cell) {
    constexpr int indentation = 2;
    Json flaws = Json::array();
    for (PlacedFlaw const& flaw : measurement.flaws) {
        flaws.push_back(jsonOf(flaw));
    }
    Json truth{{"simulated", true},
               {"part", setup.name},
               {"unit", "mm"},
               {"seed", setup.seed},
               {"flaws", flaws},
               {"instrument", jsonOf(setup.instrument)},
               {"sweep", sweepOf(setup, measurement)},
               {"frameFromCellToPart", jsonOf(cell.frame)},
               {"toolFromProbeToFlange", jsonOf(cell.tool)},
               {"beamAxis", "z"},
               {"dropped", droppedOf(setup, measurement)}};
    if (setup.clocks) {
        truth["clocks"] = {{"poseRate[Hz]", setup.clocks->poseRate},
                           {"shotRate[Hz]", setup.clocks->shotRate},
                           {"lag[ms]", setup.clocks->lag},
                           {"jitter[ms]", setup.clocks->jitter}};
    }
    return truth.dump(indentation) + "\n";
}

} // namespace QELT::Simulation
