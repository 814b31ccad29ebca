#include "Inspection/records/record.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/records/internal/recordtext.h"
#include "Inspection/records/numbers.h"
#include "Inspection/records/version.h"

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>

namespace QELT::Inspection {

namespace {

using Json = nlohmann::ordered_json;

constexpr char const* kindOfRecord = "record of a result";
constexpr int formatVersion = 1;

/// A record is far smaller; what is larger is none.
constexpr std::uintmax_t maxRecordSize = 16U << 20U;

/// The double of fewest digits that reads back as the same float: 0.1 and not 0.10000000149011612.
double shortest(float coordinate) {
    return parseNumber(toExactText(coordinate)).value_or(static_cast<double>(coordinate));
}

Json jsonOf(RecordValue const& value) {
    return std::visit([](auto const& kind) { return Json(kind); }, value.get());
}

Json jsonOf(Record::Values const& values) {
    Json object = Json::object();
    for (auto const& [name, value] : values) {
        object[name] = jsonOf(value);
    }
    return object;
}

Json jsonOf(std::vector<RecordedFile> const& files) {
    Json list = Json::array();
    for (RecordedFile const& file : files) {
        Json entry;
        entry["file"] = file.name;
        entry["bytes"] = file.digest.byteCount;
        entry["sha256"] = file.digest.sha256.empty() ? Json() : Json(file.digest.sha256);
        list.push_back(entry);
    }
    return list;
}

/// Null if the object has no such member, or is none.
Json memberOf(Json const& object, char const* name) {
    auto const found = object.is_object() ? object.find(name) : object.end();
    return found == object.end() ? Json() : *found;
}

/// Nothing if the file holds none.
std::optional<Json> readJson(std::filesystem::path const& file) {
    std::error_code failed;
    if (!std::filesystem::is_regular_file(file, failed) ||
        std::filesystem::file_size(file, failed) > maxRecordSize) {
        return std::nullopt;
    }
    std::ifstream input(file, std::ios::binary);
    Json const json = Json::parse(input, nullptr, false);
    bool const isRecord = memberOf(json, "kind") == kindOfRecord;
    return isRecord ? std::optional(json) : std::nullopt;
}

std::string plainTextOf(Json const& json) {
    return json.is_string() ? json.get<std::string>() : json.dump();
}

using Lines = std::vector<std::pair<std::string, std::string>>;

void addFileLines(Json const& record, char const* list, std::string const& name, Lines& lines) {
    Json const files = memberOf(record, list);
    for (Json const& file : files) {
        std::string text = plainTextOf(memberOf(file, "file"));
        text += ", " + plainTextOf(memberOf(file, "bytes")) + " bytes, SHA-256 ";
        lines.emplace_back(name, text + plainTextOf(memberOf(file, "sha256")));
    }
}

void addValueLines(Json const& record, char const* object, std::string const& name, Lines& lines) {
    Json const values = memberOf(record, object);
    for (auto const& item : values.items()) {
        lines.emplace_back(name, item.key() + " " + plainTextOf(item.value()));
    }
}

Lines linesOf(Json const& record) {
    Lines lines;
    lines.emplace_back("made by", plainTextOf(memberOf(record, "command")) + ", version " +
                                      plainTextOf(memberOf(record, "version")));
    addFileLines(record, "inputs", "input", lines);
    addValueLines(record, "settings", "setting", lines);
    Json const moves = memberOf(record, "moves");
    for (Json const& move : moves) {
        lines.emplace_back("moved by", plainTextOf(move));
    }
    addValueLines(record, "units", "unit", lines);
    addValueLines(record, "figures", "figure", lines);
    return lines;
}

/// A result may have been renamed together with its record: the first file is the result whatever it is
/// called, the others are looked for beside it.
std::vector<std::string> misfitsOf(Json const& record, std::filesystem::path const& result,
                                   ProgressListener* listener) {
    std::vector<std::string> misfits;
    Json const files = memberOf(record, "files");
    bool isFirst = true;
    for (Json const& entry : files) {
        auto const file = isFirst ? result : result.parent_path() / plainTextOf(memberOf(entry, "file"));
        isFirst = false;
        if (!std::filesystem::is_regular_file(file)) {
            misfits.push_back(file.filename().string() + " is not there");
        } else if (FileDigest const found = digestOf(file, listener);
                   memberOf(entry, "sha256") != found.sha256 || memberOf(entry, "bytes") != found.byteCount) {
            misfits.push_back(file.filename().string() + " is not as it was written");
        }
    }
    if (files.empty()) {
        misfits.emplace_back("it names no file");
    }
    return misfits;
}

/// Those that are three numbers.
std::vector<Record::Move> movesIn(Json const& record) {
    std::vector<Record::Move> moves;
    Json const list = memberOf(record, "moves");
    for (Json const& move : list) {
        bool const isMove =
            move.is_array() && move.size() == 3 &&
            std::all_of(move.begin(), move.end(), [](Json const& n) { return n.is_number(); });
        if (isMove) {
            moves.push_back({move[0].get<double>(), move[1].get<double>(), move[2].get<double>()});
        }
    }
    return moves;
}

Record::Input stateOf(std::filesystem::path const& file) {
    Record::Input input;
    input.file = file;
    input.isRegular = std::filesystem::is_regular_file(file);
    if (input.isRegular) {
        input.size = std::filesystem::file_size(file);
        input.time = std::filesystem::last_write_time(file);
    }
    return input;
}

} // namespace

RecordValue::RecordValue(bool newValue) : value(newValue) {}

RecordValue::RecordValue(double newValue) : value(newValue) {}

RecordValue::RecordValue(std::string const& newValue) : value(newValue) {}

RecordValue::RecordValue(char const* newValue) : value(std::string(newValue)) {}

RecordValue::RecordValue(std::vector<double> const& newValue) : value(newValue) {}

RecordValue::RecordValue(Whole whole) : value(whole.value) {}

RecordValue::RecordValue(Signed whole) : value(whole.value) {}

RecordValue::RecordValue(RecordValue const& other) = default;

RecordValue::RecordValue(RecordValue&& other) noexcept = default;

RecordValue::~RecordValue() = default;

RecordValue::RecordValue(Point const& point)
    : value(std::vector{shortest(point.getX()), shortest(point.getY()), shortest(point.getZ())}) {}

RecordValue::RecordValue(Vector const& vector)
    : value(std::vector{vector.getdX(), vector.getdY(), vector.getdZ()}) {}

void Record::addInput(std::filesystem::path const& file) {
    addCompanion(file);
    inheritFrom(file);
}

void Record::addCompanion(std::filesystem::path const& file) {
    requireReadable(file);
    inputs.push_back(naming(file.string(), [&] { return stateOf(file); }));
}

void Record::inheritFrom(std::filesystem::path const& file) {
    auto const json = readJson(recordFileOf(file));
    auto const inherited = json ? movesIn(*json) : std::vector<Move>();
    if (!inherited.empty()) {
        require(
            misfitsOf(*json, file, nullptr).empty(),
            file.string() + ": was moved, by its record " + recordFileOf(file).filename().string() +
                ", which does not fit it any more; make the file again, or remove the record if it is from "
                "elsewhere");
    }
    require(!hasSource || inherited == moves,
            file.string() + " and " + inputs.front().file.string() +
                ": were moved by different vectors, so they do not lie in one space");
    moves = inherited;
    hasSource = true;
    Json const length = json ? memberOf(memberOf(*json, "units"), "length") : Json();
    if (length.is_string() && !unit) {
        unit = length.get<std::string>();
    }
}

void Record::setUnit(std::string const& name) {
    if (!name.empty()) {
        unit = name;
    }
}

Vector Record::getMove() const {
    Vector sum(0.0, 0.0, 0.0);
    for (Move const& move : moves) {
        sum += Vector(move[0], move[1], move[2]);
    }
    return sum;
}

void Record::setting(std::string const& name, RecordValue const& value) {
    settings.emplace_back(name, value);
}

void Record::figure(std::string const& name, RecordValue const& value) {
    figures.emplace_back(name, value);
}

void Record::addMove(Vector const& by) {
    moves.push_back({by.getdX(), by.getdY(), by.getdZ()});
}

std::filesystem::path recordFileOf(std::filesystem::path const& result) {
    return result.parent_path() / (result.filename().string() + ".json");
}

std::vector<RecordedFile> recordedInputsOf(Record const& record, ProgressListener* listener) {
    std::vector<RecordedFile> files;
    for (Record::Input const& input : record.getInputs()) {
        FileDigest digest;
        if (input.isRegular) {
            digest =
                input.sha256.empty() ? digestOf(input.file, listener) : FileDigest{input.size, input.sha256};
            auto const now = naming(input.file.string(), [&] { return stateOf(input.file); });
            require(now.size == input.size && now.time == input.time && digest.byteCount == input.size,
                    input.file.string() + ": was changed while it was worked with; run this again");
            input.sha256 = digest.sha256;
        }
        files.push_back({input.file.filename().string(), digest});
    }
    return files;
}

std::string textOf(Record const& record, std::vector<RecordedFile> const& files,
                   std::vector<RecordedFile> const& inputs) {
    Json json;
    json["kind"] = kindOfRecord;
    json["format"] = formatVersion;
    json["version"] = libraryVersion();
    json["command"] = record.getCommand();
    json["files"] = jsonOf(files);
    json["inputs"] = jsonOf(inputs);
    json["settings"] = jsonOf(record.getSettings());
    json["moves"] = Json::array();
    for (Record::Move const& move : record.getMoves()) {
        json["moves"].push_back(move);
    }
    json["units"]["length"] = record.getUnit() ? Json(*record.getUnit()) : Json();
    json["figures"] = jsonOf(record.getFigures());
    constexpr int indentation = 2;
    // Names of files are bytes; what is no text among them is replaced.
    return json.dump(indentation, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string innerRecordOf(Record const& record, ProgressListener* listener) {
    return textOf(record, {}, recordedInputsOf(record, listener));
}

bool isRecordFile(std::filesystem::path const& file) {
    return readJson(file).has_value();
}

std::optional<FoundRecord> findRecord(std::filesystem::path const& result, ProgressListener* listener) {
    auto const file = recordFileOf(result);
    std::error_code ignored;
    if (!std::filesystem::exists(file, ignored)) {
        return std::nullopt;
    }
    auto const json = readJson(file);
    if (!json) {
        return FoundRecord{{}, {file.filename().string() + " is no record"}};
    }
    return naming(file.string(), [&] {
        return FoundRecord{linesOf(*json), misfitsOf(*json, result, listener)};
    });
}

} // namespace QELT::Inspection
