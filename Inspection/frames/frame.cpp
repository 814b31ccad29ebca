#include "Inspection/frames/frame.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/tables/units.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <fstream>

namespace QELT::Inspection {

namespace {

using Json = nlohmann::ordered_json;

constexpr char const* kind = "rigid frame";
constexpr int version = 1;

/// How far a matrix may be from a rotation: that of six decimals is one.
constexpr double rotationTolerance = 2e-6;

Triple tripleOf(Vector const& vector) {
    return {vector.getdX(), vector.getdY(), vector.getdZ()};
}

Vector vectorOf(Triple const& triple) {
    return {triple[0], triple[1], triple[2]};
}

/// Whether rows are of unit length, at right angles and right-handed.
bool isRotation(std::array<Triple, 3> const& rows) {
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            double const wanted = i == j ? 1.0 : 0.0;
            if (!(std::abs(dot(rows[i], rows[j]) - wanted) <= rotationTolerance)) {
                return false;
            }
        }
    }
    Triple const& a = rows[0];
    Triple const& b = rows[1];
    Triple const third{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    return dot(third, rows[2]) > 0.0;
}

Frame frameIn(Json const& json, std::string const& name) {
    require(json.is_object() && json.value("kind", "") == kind,
            name + ": is no frame; 'cscan register PAIRS.csv --out FRAME.json' writes one");
    require(json.value("version", 0) == version, name + ": is a frame of another version");
    auto const rows = json.at("rotation").get<std::array<Triple, 3>>();
    require(isRotation(rows), name + ": its matrix is no rotation");
    Frame frame;
    frame.turn = turnOfMatrix(rows);
    frame.translation = json.at("translation").get<Triple>();
    frame.unit = json.value("unit", "");
    return frame;
}

} // namespace

Triple Frame::placeOf(Triple const& point) const {
    return turn * point + translation;
}

Triple Frame::directionOf(Triple const& direction) const {
    return turn * direction;
}

Vector Frame::moved(Vector const& place) const {
    return vectorOf(placeOf(tripleOf(place)));
}

Vector Frame::turned(Vector const& direction) const {
    return vectorOf(directionOf(tripleOf(direction)));
}

Frame Frame::operator*(Frame const& other) const {
    return {turn * other.turn, placeOf(other.translation), unit.empty() ? other.unit : unit};
}

Frame Frame::getInverse() const {
    Turn const back{turn.w, -turn.x, -turn.y, -turn.z};
    return {back, -1.0 * (back * translation), unit};
}

void writeFrame(Frame const& frame, Destination const& to) {
    Json json;
    json["kind"] = kind;
    json["version"] = version;
    json["meaning"] = "a point x of the cell is rotation * x + translation on the part";
    json["rotation"] = matrixOf(frame.turn);
    json["translation"] = frame.translation;
    if (!frame.unit.empty()) {
        json["unit"] = frame.unit;
    }
    std::ofstream output(to.file, std::ios::binary);
    output << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
    output.close();
    require(static_cast<bool>(output), to.name.string() + ": cannot be written");
}

Frame readFrame(std::filesystem::path const& file) {
    requireReadable(file);
    std::ifstream input(file, std::ios::binary);
    try {
        return frameIn(Json::parse(input), file.string());
    } catch (Json::exception const&) {
        throw Failure(file.string() + ": is no frame that can be read; write it anew with 'cscan register'");
    }
}

Frame readFrame(std::filesystem::path const& file, std::string const& unit) {
    Frame const frame = readFrame(file);
    bool const isKnown = !frame.unit.empty() && !unit.empty() && frame.unit != unit;
    require(!isKnown || metresIn(frame.unit) == metresIn(unit),
            file.string() + ": is in '" + frame.unit + "', the part in '" + unit +
                "'; register the cell in the part's unit");
    return frame;
}

void addMotion(Record& record, std::string const& name, Frame const& motion) {
    auto const listOf = [](Triple const& triple) {
        return std::vector<double>{triple[0], triple[1], triple[2]};
    };
    auto const rows = matrixOf(motion.turn);
    record.setting(name + "Row1", listOf(rows[0]));
    record.setting(name + "Row2", listOf(rows[1]));
    record.setting(name + "Row3", listOf(rows[2]));
    record.setting(name + "Translation", listOf(motion.translation));
    if (!motion.unit.empty()) {
        record.setting(name + "Unit", motion.unit);
    }
}

void addFrame(Record& record, std::filesystem::path const& file) {
    record.addCompanion(file);
    record.setting("frame", file.filename().string());
    addMotion(record, "frame", readFrame(file));
}

} // namespace QELT::Inspection
