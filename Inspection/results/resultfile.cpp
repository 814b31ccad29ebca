#include "Inspection/results/resultfile.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/results/internal/hdf5file.h"

#include <algorithm>
#include <array>

namespace QELT::Inspection {

namespace {

constexpr char const* formatName = "C-scan of a curved surface";
constexpr double formatVersion = 1;

/// A plane of more pixels is none that was written.
constexpr double largestPlane = 256e6;

std::vector<std::string> stateNames() {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < pixelStateCount; ++i) {
        names.emplace_back(nameOf(static_cast<PixelState>(i)));
    }
    return names;
}

/// A slash would make a group.
std::string placeOf(ValueMap const& map) {
    std::string name = map.name;
    std::replace(name.begin(), name.end(), '/', '_');
    return "/values/" + name;
}

void writePixels(Hdf5File& file, Result const& result) {
    Hdf5Shape const plane{result.height, result.width};
    Hdf5Shape const places{result.height, result.width, 3};
    std::vector<std::uint8_t> states(result.size());
    std::transform(result.states.begin(), result.states.end(), states.begin(),
                   [](PixelState state) { return static_cast<std::uint8_t>(state); });
    file.makeGroup("/pixels");
    file.writeNamed("/pixels/state", states.data(), plane, stateNames());
    file.write("/pixels/count", result.counts.data(), plane);
    file.write("/pixels/refused", result.refused.data(), plane);
    file.write("/pixels/area", result.areas.data(), plane);
    file.write("/pixels/point", result.points.data(), places);
    file.write("/pixels/normal", result.normals.data(), places);
    file.write("/pixels/patch", result.patch.data(), plane);
    file.write("/pixels/filled_from", result.filledFrom.data(), plane);
    file.setText("/pixels/area", "unit", result.unit.empty() ? "" : result.unit + "^2");
    file.setText("/pixels/point", "unit", result.unit);
}

void writeValues(Hdf5File& file, Result const& result) {
    file.makeGroup("/values");
    for (std::size_t i = 0; i < result.values.size(); ++i) {
        ValueMap const& map = result.values[i];
        std::string const place = placeOf(map);
        file.write(place, map.values.data(), {result.height, result.width});
        file.setText(place, "name", map.name);
        file.setNumbers(place, "order", {static_cast<double>(i)});
        file.setText(place, "quantity", map.quantity);
        file.setText(place, "statistic", nameOf(map.statistic));
        file.setText(place, "unit", map.unit);
        if (map.ceiling) {
            file.setNumbers(place, "ceiling", {*map.ceiling});
        }
    }
}

void writePatches(Hdf5File& file, Result const& result) {
    file.makeGroup("/patches");
    for (std::size_t i = 0; i < result.patches.size(); ++i) {
        Patch const& patch = result.patches[i];
        std::string const group = "/patches/" + std::to_string(i);
        file.makeGroup(group);
        file.write(group + "/nodes", patch.nodes.data(), {patch.height + 1, patch.width + 1, 3});
        file.setText(group, "name", patch.name);
        file.setNumbers(group, "place", {static_cast<double>(patch.left), static_cast<double>(patch.bottom)});
        file.setNumbers(group, "size", {static_cast<double>(patch.width), static_cast<double>(patch.height)});
    }
}

/// Two whole numbers that make a plane.
std::array<std::size_t, 2> sizeIn(Hdf5File const& file, std::string const& path, std::string const& attribute,
                                  std::string const& complaint) {
    auto const numbers = file.getNumbers(path, attribute);
    bool const isSize = numbers.size() == 2 && numbers[0] >= 0.0 && numbers[1] >= 0.0 &&
                        (numbers[0] + 1.0) * (numbers[1] + 1.0) <= largestPlane;
    require(isSize, complaint);
    return {static_cast<std::size_t>(numbers[0]), static_cast<std::size_t>(numbers[1])};
}

std::vector<PixelState> statesIn(Hdf5File const& file, Hdf5Shape const& plane, std::string const& complaint) {
    auto const numbers = file.read<std::uint8_t>("/pixels/state", plane);
    std::vector<PixelState> states(numbers.size());
    std::transform(numbers.begin(), numbers.end(), states.begin(), [&](std::uint8_t number) {
        require(number < pixelStateCount, complaint);
        return static_cast<PixelState>(number);
    });
    return states;
}

void readPixels(Hdf5File const& file, Result& result, std::string const& complaint) {
    Hdf5Shape const plane{result.height, result.width};
    Hdf5Shape const places{result.height, result.width, 3};
    result.states = statesIn(file, plane, complaint);
    result.counts = file.read<std::uint32_t>("/pixels/count", plane);
    result.refused = file.read<std::uint32_t>("/pixels/refused", plane);
    result.areas = file.read<double>("/pixels/area", plane);
    result.points = file.read<float>("/pixels/point", places);
    result.normals = file.read<float>("/pixels/normal", places);
    result.patch = file.read<std::uint16_t>("/pixels/patch", plane);
    result.filledFrom = file.read<std::uint32_t>("/pixels/filled_from", plane);
    for (std::size_t pixel = 0; pixel < result.size(); ++pixel) {
        std::uint32_t const from = result.filledFrom[pixel];
        require((from == Result::none || from < result.size()) &&
                    (!result.hasSurface(pixel) || result.patch[pixel] < result.patches.size()),
                complaint);
    }
}

Statistic statisticNamed(std::string const& name, std::string const& complaint) {
    for (auto const statistic : {Statistic::Min, Statistic::Max, Statistic::Mean, Statistic::Median,
                                 Statistic::Last, Statistic::Count}) {
        if (name == nameOf(statistic)) {
            return statistic;
        }
    }
    throw Failure(complaint);
}

void readValues(Hdf5File const& file, Result& result, std::string const& complaint) {
    std::vector<std::pair<double, ValueMap>> maps;
    for (std::string const& name : file.namesIn("/values")) {
        std::string const place = "/values/" + name;
        ValueMap map;
        map.name = file.getText(place, "name");
        map.quantity = file.getText(place, "quantity");
        map.statistic = statisticNamed(file.getText(place, "statistic"), complaint);
        map.unit = file.getText(place, "unit");
        auto const ceiling = file.getNumbers(place, "ceiling");
        map.ceiling = ceiling.size() == 1 ? std::optional(ceiling[0]) : std::nullopt;
        map.values = file.read<double>(place, {result.height, result.width});
        auto const order = file.getNumbers(place, "order");
        maps.emplace_back(order.empty() ? 0.0 : order[0], std::move(map));
    }
    std::stable_sort(maps.begin(), maps.end(),
                     [](auto const& a, auto const& b) { return a.first < b.first; });
    for (auto& [order, map] : maps) {
        result.values.push_back(std::move(map));
    }
}

void readPatches(Hdf5File const& file, Result& result, std::string const& complaint) {
    std::size_t const count = file.namesIn("/patches").size();
    for (std::size_t i = 0; i < count; ++i) {
        std::string const group = "/patches/" + std::to_string(i);
        require(file.has(group), complaint);
        Patch patch;
        patch.name = file.getText(group, "name");
        auto const [left, bottom] = sizeIn(file, group, "place", complaint);
        auto const [width, height] = sizeIn(file, group, "size", complaint);
        require(left + width <= result.width && bottom + height <= result.height, complaint);
        patch.left = left;
        patch.bottom = bottom;
        patch.width = width;
        patch.height = height;
        patch.nodes = file.read<float>(group + "/nodes", {height + 1, width + 1, 3});
        result.patches.push_back(std::move(patch));
    }
}

Hdf5File openResult(std::filesystem::path const& path) {
    requireReadable(path);
    std::string const name = path.string();
    Hdf5File file =
        Hdf5File::open(path, name, name + ": is no result of a scan; 'cscan scan --data' writes one");
    require(file.getText("/", "format") == formatName, name + ": is an HDF5 file, but no result of a scan");
    require(file.getNumbers("/", "version") == std::vector{formatVersion},
            name + ": was written by a later version of this program");
    return file;
}

constexpr std::array<char const*, 7> outcomeNames{
    "missed", "refused: angle", "refused: standoff", "refused: bad line", "no echo", "echo", "saturated"};

/// The numbers of one quantity.
std::vector<double> columnOf(ShotRows const& shots, std::size_t quantity) {
    std::vector<double> column(shots.size());
    for (std::size_t i = 0; i < column.size(); ++i) {
        column[i] = shots.values[i * shots.quantities.size() + quantity];
    }
    return column;
}

/// Columns go by their numbers: their names may be anything.
std::string placeOfColumn(std::size_t quantity) {
    return "/shots/values/" + std::to_string(quantity);
}

void appendShots(Hdf5File& file, ShotRows const& shots) {
    std::vector<std::uint8_t> outcomes(shots.size());
    std::transform(shots.outcomes.begin(), shots.outcomes.end(), outcomes.begin(),
                   [](ShotRows::Outcome outcome) { return static_cast<std::uint8_t>(outcome); });
    file.append("/shots/line", shots.lines.data(), shots.size());
    file.append("/shots/outcome", outcomes.data(), shots.size());
    file.append("/shots/pixel", shots.pixels.data(), shots.size());
    file.append("/shots/origin", shots.origins.data(), shots.origins.size());
    file.append("/shots/direction", shots.directions.data(), shots.directions.size());
    file.append("/shots/point", shots.points.data(), shots.points.size());
    file.append("/shots/standoff", shots.standoffs.data(), shots.size());
    file.append("/shots/incidence", shots.incidences.data(), shots.size());
    for (std::size_t i = 0; i < shots.quantities.size(); ++i) {
        file.append(placeOfColumn(i), columnOf(shots, i).data(), shots.size());
    }
}

void nameQuantities(Hdf5File& file, std::vector<Quantity> const& quantities) {
    std::string names;
    for (char const* const name : outcomeNames) {
        names += (names.empty() ? "" : ", ") + std::string(name);
    }
    file.setText("/shots/outcome", "meaning", names);
    for (std::size_t i = 0; i < quantities.size(); ++i) {
        file.setText(placeOfColumn(i), "name", quantities[i].name);
        file.setText(placeOfColumn(i), "unit", quantities[i].unit);
    }
}

void readShotValues(Hdf5File const& file, std::size_t count, ShotRows& shots) {
    std::size_t const columns = file.namesIn("/shots/values").size();
    shots.values.resize(count * columns);
    for (std::size_t i = 0; i < columns; ++i) {
        std::string const place = placeOfColumn(i);
        shots.quantities.push_back({file.getText(place, "name"), file.getText(place, "unit")});
        auto const column = file.read<double>(place, {count});
        for (std::size_t shot = 0; shot < count; ++shot) {
            shots.values[shot * columns + i] = column[shot];
        }
    }
}

} // namespace

void ShotRows::clear() {
    auto const names = quantities;
    *this = ShotRows();
    quantities = names;
}

class ResultWriter::File : public Hdf5File {
public:
    explicit File(Destination const& to) : Hdf5File(create(to.file, to.name.string())) {}

    bool hasShots = false;
};

ResultWriter::ResultWriter(Destination const& to) : file(std::make_unique<File>(to)) {}

ResultWriter::~ResultWriter() = default;

void ResultWriter::append(ShotRows const& shots) {
    if (!file->hasShots) {
        file->makeGroup("/shots");
        file->makeGroup("/shots/values");
    }
    appendShots(*file, shots);
    if (!file->hasShots) {
        nameQuantities(*file, shots.quantities);
    }
    file->hasShots = true;
}

void ResultWriter::finish(Result const& result) {
    file->setText("/", "format", formatName);
    file->setNumbers("/", "version", {formatVersion});
    file->setNumbers("/", "size", {static_cast<double>(result.width), static_cast<double>(result.height)});
    file->setText("/", "unit", result.unit);
    file->setNumbers("/", "move", {result.move[0], result.move[1], result.move[2]});
    file->writeText("/record", result.record);
    writePixels(*file, result);
    writeValues(*file, result);
    writePatches(*file, result);
    file->finish();
}

void writeResult(Destination const& to, Result const& result) {
    ResultWriter(to).finish(result);
}

ShotRows readShots(std::filesystem::path const& path) {
    Hdf5File const file = openResult(path);
    std::string const name = path.string();
    require(file.has("/shots/line"), name + ": does not hold its shots; write it with --keep-shots");
    std::size_t const count = file.countIn("/shots/line");
    ShotRows shots;
    shots.lines = file.read<std::uint64_t>("/shots/line", {count});
    for (std::uint8_t const outcome : file.read<std::uint8_t>("/shots/outcome", {count})) {
        require(outcome < outcomeNames.size(), name + ": is damaged");
        shots.outcomes.push_back(static_cast<ShotRows::Outcome>(outcome));
    }
    shots.pixels = file.read<std::uint32_t>("/shots/pixel", {count});
    shots.origins = file.read<double>("/shots/origin", {3 * count});
    shots.directions = file.read<double>("/shots/direction", {3 * count});
    shots.points = file.read<double>("/shots/point", {3 * count});
    shots.standoffs = file.read<double>("/shots/standoff", {count});
    shots.incidences = file.read<double>("/shots/incidence", {count});
    readShotValues(file, count, shots);
    return shots;
}

Result readResult(std::filesystem::path const& path) {
    Hdf5File const file = openResult(path);
    std::string const damaged = path.string() + ": is damaged";
    Result result;
    auto const [width, height] = sizeIn(file, "/", "size", damaged);
    result.width = width;
    result.height = height;
    result.unit = file.getText("/", "unit");
    auto const move = file.getNumbers("/", "move");
    require(move.size() == result.move.size(), damaged);
    std::copy(move.begin(), move.end(), result.move.begin());
    result.record = file.readText("/record");
    readPatches(file, result, damaged);
    readPixels(file, result, damaged);
    readValues(file, result, damaged);
    return result;
}

bool isResultFile(std::filesystem::path const& path) {
    return H5Fis_hdf5(path.c_str()) > 0;
}

} // namespace QELT::Inspection
