#include "Inspection/shots/shotreader.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"
#include "Inspection/shots/internal/lagsearch.h"
#include "Inspection/shots/internal/timedtable.h"
#include "Inspection/tables/units.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <system_error>

// One table: each line is a pose and what was measured there. Two tables: both are read on together, for a
// shot stamped t the two poses around t - lag, between which the probe moved straight at constant speed and
// turned about one axis. Nothing is told of a probe before its first pose or behind its last, nor across a
// gap of its clock: such shots are refused and counted. What a gap is follows from the first poses if it is
// not told: five times the median of their steps, for a pose or two may be lost on a network without harm.
//
// Origins are reckoned in double, through pose, tool, frame and move, and rounded once.

namespace QELT::Inspection {

namespace {

constexpr double secondsPerMillisecond = 1e-3;
constexpr double usualGapFactor = 5.0;
constexpr std::size_t stepsForUsualGap = 1000;

/// A lag that is off by less than this, in milliseconds, is no matter.
constexpr double toldLagError = 1.0;
constexpr std::uint64_t linesPerReport = 4096;

std::vector<std::size_t> quantityPlaces(std::vector<NamedColumn> const& columns,
                                        std::vector<std::size_t> const& used,
                                        std::vector<std::string>& unused) {
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (std::find(used.begin(), used.end(), i) != used.end()) {
            continue;
        }
        if (columns[i].isText) {
            unused.push_back(unusedText(columns[i].name, "holds no numbers"));
        } else {
            places.push_back(i);
        }
    }
    return places;
}

Frame frameOf(ShotOptions const& options) {
    return options.frame ? readFrame(*options.frame, options.pose.partUnit) : Frame{};
}

bool isInReach(Triple const& place) {
    return std::all_of(place.begin(), place.end(), [](double coordinate) {
        return std::abs(coordinate) <= static_cast<double>(std::numeric_limits<float>::max());
    });
}

bool isFile(std::filesystem::path const& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error);
}

/// What a line of shots says of its pose.
struct PoseFinding {
    std::optional<Pose> pose;
    std::string fault; ///< of the line; empty where the shot is only refused
};

} // namespace

class ShotReader::State {
public:
    State(ShotOptions const& newOptions, ProgressListener* newListener)
        : options(newOptions),
          listener(newListener),
          table(options.shots),
          frame(frameOf(options)),
          badLines(counts, options.doSkipBad),
          usedLag(options.lag) {
        requireFittingNaming();
        auto named = nameColumns(table, options.columns);
        for (std::string const& name : named.unused) {
            unused.push_back(unusedText(name, "not named"));
        }
        auto const used = options.poses ? usedWithTrack(named) : usedAlone(named);
        firstValue = used.size();
        chooseColumns(named, used);
        if (track) {
            settleLag();
            prepareTrack();
        }
    }

    bool read(ShotBlock& block, std::size_t most) {
        block.clear();
        while (block.size() < most && table.next()) {
            readLine(block);
            if (++counts.read % linesPerReport == 0) {
                tellProgress();
            }
        }
        if (block.size() == 0) {
            tellOfNoTime();
        }
        return block.size() > 0;
    }

    ShotOptions options;
    ProgressListener* listener;
    Table table;
    Frame frame;
    std::optional<PoseReader> reader; ///< of one table
    std::optional<PoseTrack> track;   ///< of two
    std::vector<Quantity> quantities;
    std::vector<std::string> unused;
    std::vector<std::string> warnings;
    ShotCounts counts;
    BadLines badLines;
    std::optional<LagFinding> lag;
    double usedLag;

    PoseReader const& getReader() const { return track ? track->getReader() : *reader; }

private:
    std::size_t firstValue = 0; ///< among the chosen columns, behind pose or time
    double toSeconds = 1.0;
    double maxGap = 0.0; ///< seconds
    std::optional<TimedPose> from;
    std::optional<TimedPose> to;
    std::vector<TimedPose> ahead; ///< read to find the usual step, from the last to the first
    std::optional<double> lastTime;
    unsigned long percentage = 0;

    /// Names alone, or numbers, cannot tell the columns of two tables.
    void requireFittingNaming() const {
        auto const& entries = options.columns.entries;
        bool const isInOrder = options.columns.isInOrder && !entries.empty();
        require(
            !options.poses || !isInOrder,
            "--columns: with two tables write NAME=COLUMN for each column, by the names of their headings");
    }

    std::vector<std::size_t> usedAlone(NamedColumns const& named) {
        requireNoneMissing(named.missing);
        reader.emplace(named.columns, options.pose, table.getName());
        return reader->getColumns();
    }

    std::vector<std::size_t> usedWithTrack(NamedColumns const& named) {
        track.emplace(*options.poses, options.columns, options.pose);
        unused.insert(unused.end(), track->getUnused().begin(), track->getUnused().end());
        std::vector<std::string> missing;
        std::set_intersection(named.missing.begin(), named.missing.end(), track->getMissing().begin(),
                              track->getMissing().end(), std::back_inserter(missing));
        requireNoneMissing(missing);
        TimeColumn const time = timeColumnOf(named.columns, table.getName());
        toSeconds = time.toSeconds;
        return {time.place};
    }

    void requireNoneMissing(std::vector<std::string> const& missing) const {
        std::vector<std::string> names;
        for (TableColumn const& column : table.getColumns()) {
            names.push_back(column.name);
        }
        require(missing.empty(), table.getName() + ": there is no column " + listOf(missing) +
                                     ", which --columns names; there are " + listOf(names));
    }

    void chooseColumns(NamedColumns const& named, std::vector<std::size_t> places) {
        auto const more = quantityPlaces(named.columns, places, unused);
        std::set<std::string> names;
        for (std::size_t const place : more) {
            NamedColumn const& column = named.columns[place];
            require(names.insert(column.name).second, table.getName() + ": two columns are named '" +
                                                          column.name +
                                                          "'; name them apart with --columns NAME=NUMBER");
            quantities.push_back({column.name, column.unit});
        }
        places.insert(places.end(), more.begin(), more.end());
        std::vector<std::size_t> indices;
        std::transform(places.begin(), places.end(), std::back_inserter(indices),
                       [&](std::size_t place) { return named.columns[place].index; });
        table.choose(indices);
    }

    void settleLag() {
        bool const canReadTwice = isFile(options.shots) && isFile(*options.poses);
        require(canReadTwice || !options.doFindLag,
                "--lag auto reads both tables twice; give files in place of pipes, or --lag MS");
        if (!canReadTwice || !(options.doFindLag || options.doCheckLag)) {
            return;
        }
        LagSearch const search = findLag(options, listener);
        lag = search.finding;
        require(lag || !options.doFindLag,
                options.shots.string() + ": no lag can be found: " + search.reason + "; give --lag MS");
        if (options.doFindLag) {
            usedLag = lag->lag;
        } else if (lag) {
            warnOfLag();
        }
    }

    /// Where lines there and back would be set apart.
    void warnOfLag() {
        double const error = std::abs(lag->lag - usedLag);
        if (error <= lag->uncertainty + toldLagError) {
            return;
        }
        double const split = 2.0 * secondsPerMillisecond * error * lag->speed;
        std::string const unit = options.pose.partUnit.empty() ? "units" : options.pose.partUnit;
        warnings.push_back("lines there and lines back are set " + toShortText(split, 3) + ' ' + unit +
                           " apart: they agree at a lag of " + toFixedText(lag->lag, 1) + " ms (+/- " +
                           toFixedText(lag->uncertainty, 1) + "), and " + toShortText(usedLag, 4) +
                           " ms is used; try --lag auto");
    }

    void prepareTrack() {
        readAhead();
        from = nextPose();
        to = nextPose();
    }

    /// To know the usual step of the poses.
    void readAhead() {
        std::vector<double> steps;
        while (ahead.size() <= stepsForUsualGap) {
            auto const pose = track->next(badLines);
            if (!pose) {
                break;
            }
            if (!ahead.empty()) {
                steps.push_back(pose->time - ahead.back().time);
            }
            ahead.push_back(*pose);
        }
        require(!steps.empty(), options.poses->string() + ": holds fewer than two poses with times");
        std::reverse(ahead.begin(), ahead.end());
        auto const middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
        std::nth_element(steps.begin(), middle, steps.end());
        maxGap = options.maxGap ? secondsPerMillisecond * *options.maxGap : usualGapFactor * *middle;
    }

    std::optional<TimedPose> nextPose() {
        if (ahead.empty()) {
            return track->next(badLines);
        }
        TimedPose const pose = ahead.back();
        ahead.pop_back();
        return pose;
    }

    void readLine(ShotBlock& block) {
        auto const& faults = table.getFaults();
        bool const isPoseBad = std::any_of(faults.begin(), faults.end(), [&](TableFault const& fault) {
            return !fault.field || *fault.field < firstValue;
        });
        if (isPoseBad) {
            badLines.add(table, causesOf(faults));
            return;
        }
        PoseFinding const finding = track ? findPose() : readPose();
        if (!finding.fault.empty()) {
            badLines.add(table, finding.fault);
        } else if (finding.pose) {
            give(*finding.pose, block);
        }
    }

    PoseFinding readPose() {
        Pose const pose = reader->read(std::span(table.getValues()).first(firstValue));
        return {pose, reader->getFault()};
    }

    /// The pose at the time of a shot.
    PoseFinding findPose() {
        double const stamp = toSeconds * table.getValues()[0];
        if (std::isnan(stamp)) {
            return {std::nullopt, "the shot has no time"};
        }
        if (lastTime && stamp < *lastTime) {
            return {std::nullopt, "the time of the shot goes back"};
        }
        lastTime = stamp;
        double const time = stamp - secondsPerMillisecond * usedLag;
        while (to && to->time < time) {
            from = to;
            to = nextPose();
        }
        if (!to || time < from->time) {
            ++counts.outside;
            return {};
        }
        double const step = to->time - from->time;
        if (step > maxGap) {
            ++counts.inGap;
            return {};
        }
        return {track->getReader().interpolate(from->pose, to->pose, (time - from->time) / step), {}};
    }

    void give(Pose const& pose, ShotBlock& block) {
        Ray const ray = getReader().rayOf(pose);
        Triple const origin = frame.placeOf(ray.origin) +
                              Triple{options.move.getdX(), options.move.getdY(), options.move.getdZ()};
        if (!isInReach(origin)) {
            badLines.add(table, "the origin lies too far out");
            return;
        }
        Triple const direction = frame.directionOf(ray.direction);
        auto const& faults = table.getFaults();
        if (!faults.empty()) {
            badLines.add(table, causesOf(faults));
        }
        block.beams.push_back(
            {Point(origin[0], origin[1], origin[2]), Vector(direction[0], direction[1], direction[2])});
        block.hasDirection.push_back(getReader().hasDirection());
        auto const& values = table.getValues();
        block.values.insert(block.values.end(), values.begin() + static_cast<std::ptrdiff_t>(firstValue),
                            values.end());
        block.lines.push_back(table.getLine());
        block.isBad.push_back(!faults.empty());
        ++counts.given;
    }

    /// All shots before or behind the poses: two clocks that do not know each other.
    void tellOfNoTime() {
        if (counts.given == 0 && counts.outside > 0 && warnings.empty()) {
            warnings.emplace_back("every shot lies before the first pose or behind the last; are both times "
                                  "counted from the same moment, and in the units that the headings say?");
        }
    }

    void tellProgress() {
        constexpr double whole = 100.0;
        auto const percent = static_cast<unsigned long>(whole * table.getShareRead());
        if (listener != nullptr && percent != percentage) {
            percentage = percent;
            listener->setPercentage(percent);
        }
    }
};

ShotReader::ShotReader(ShotOptions const& options, ProgressListener* listener)
    : state(std::make_unique<State>(options, listener)) {}

ShotReader::~ShotReader() = default;
ShotReader::ShotReader(ShotReader&&) noexcept = default;
ShotReader& ShotReader::operator=(ShotReader&&) noexcept = default;

std::vector<Quantity> const& ShotReader::getQuantities() const {
    return state->quantities;
}

std::vector<std::string> const& ShotReader::getUnusedColumns() const {
    return state->unused;
}

PoseDialect ShotReader::getDialect() const {
    return state->getReader().getDialect();
}

double ShotReader::getPoseScale() const {
    return state->getReader().getScale();
}

bool ShotReader::read(ShotBlock& block, std::size_t most) {
    return state->read(block, most);
}

ShotCounts const& ShotReader::getCounts() const {
    return state->counts;
}

std::optional<LagFinding> const& ShotReader::getLag() const {
    return state->lag;
}

double ShotReader::getUsedLag() const {
    return state->usedLag;
}

std::vector<std::string> const& ShotReader::getWarnings() const {
    return state->warnings;
}

} // namespace QELT::Inspection
