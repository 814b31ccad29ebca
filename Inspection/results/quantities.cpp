#include "Inspection/results/quantities.h"

#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"
#include "Inspection/results/amplitudeunits.h"
#include "Inspection/tables/units.h"

#include <algorithm>
#include <array>
#include <cmath>

// A shot's columns, with what is derived of them, are one row of channels; gates, conditions, ceilings and
// values name channels. A shot is an echo if every gate and condition holds, an empty field never does, and
// if one of the values that are asked of echoes is there. What is told of every shot, where the probe stood,
// takes no part.
//
// Decibels. An amplitude with a reference is kept as it was measured and turned into decibels at the end: the
// order of values is the same, and a mean is one of amplitudes. A column in decibels is turned back for its
// mean.

namespace QELT::Inspection {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double fullScreenHeight = 100.0;

constexpr std::array<char const*, 4> derivedNames{"depth", "standoff", "incidence", "residual"};

constexpr std::array allStatistics{Statistic::Min,    Statistic::Max,  Statistic::Mean,
                                   Statistic::Median, Statistic::Last, Statistic::Count};

double numberIn(std::string_view text, std::string_view whole) {
    auto const number = parseNumber(text);
    require(number.has_value(),
            "'" + std::string(whole) + "': '" + std::string(trimmed(text)) + "' is not a number");
    return *number;
}

std::string nameIn(std::string_view text, std::string_view whole, char const* form) {
    std::string name(trimmed(text));
    require(!name.empty(), "'" + std::string(whole) + "' is not of the form " + form);
    return name;
}

bool isAmplitude(Quantity const& quantity) {
    return isFullScreenHeight(quantity.unit) || isDecibel(quantity.unit) || quantity.unit == "lin" ||
           quantity.name.starts_with("amp");
}

bool isTime(Quantity const& quantity) {
    return secondsIn(quantity.unit).has_value() || quantity.name.starts_with("tof") ||
           quantity.name.starts_with("time");
}

std::string listOf(std::vector<Quantity> const& columns) {
    std::string names;
    for (Quantity const& column : columns) {
        names += (names.empty() ? "" : ", ") + column.name;
    }
    return names.empty() ? "no column of values" : names;
}

} // namespace

ValueRequest valueRequestIn(std::string_view text) {
    auto const colon = text.rfind(':');
    std::string const form = "NAME:min, max, mean, median, last or count";
    std::string const name = nameIn(text.substr(0, colon), text, form.c_str());
    std::string const statistic(colon == std::string_view::npos ? "" : trimmed(text.substr(colon + 1)));
    for (Statistic const known : allStatistics) {
        if (statistic == nameOf(known)) {
            return {name, known};
        }
    }
    throw Failure("'" + std::string(text) + "' is not of the form " + form);
}

Gate gateIn(std::string_view text) {
    constexpr char const* form = "NAME:FROM..TO";
    auto const colon = text.find(':');
    auto const dots = text.find("..", colon == std::string_view::npos ? 0 : colon);
    require(colon != std::string_view::npos && dots != std::string_view::npos,
            "'" + std::string(text) + "' is not of the form " + form);
    Gate const gate{nameIn(text.substr(0, colon), text, form),
                    numberIn(text.substr(colon + 1, dots - colon - 1), text),
                    numberIn(text.substr(dots + 2), text)};
    require(gate.from <= gate.to, "'" + std::string(text) + "' ends before it begins");
    return gate;
}

bool Condition::holds(double number) const {
    switch (relation) {
    case Relation::Less:
        return number < value;
    case Relation::LessOrEqual:
        return number <= value;
    case Relation::Greater:
        return number > value;
    case Relation::GreaterOrEqual:
        return number >= value;
    case Relation::Equal:
        return number == value;
    case Relation::Unequal:
        return number != value && !std::isnan(number);
    }
    return false;
}

Condition conditionIn(std::string_view text) {
    using Relation = Condition::Relation;
    constexpr std::array<std::pair<std::string_view, Relation>, 7> relations{
        {{"<=", Relation::LessOrEqual},
         {">=", Relation::GreaterOrEqual},
         {"!=", Relation::Unequal},
         {"==", Relation::Equal},
         {"<", Relation::Less},
         {">", Relation::Greater},
         {"=", Relation::Equal}}};
    for (auto const& [sign, relation] : relations) {
        auto const place = text.find(sign);
        if (place != std::string_view::npos) {
            return {nameIn(text.substr(0, place), text, "NAME>=NUMBER"), relation,
                    numberIn(text.substr(place + sign.size()), text), std::string(trimmed(text))};
        }
    }
    throw Failure("'" + std::string(text) + "' is not of the form NAME>=NUMBER, with <, <=, >, >=, == or !=");
}

ColumnNumber columnNumberIn(std::string_view text) {
    auto const colon = text.rfind(':');
    if (colon == std::string_view::npos) {
        return {"", numberIn(text, text)};
    }
    return {nameIn(text.substr(0, colon), text, "NAME:NUMBER"), numberIn(text.substr(colon + 1), text)};
}

ShotQuantities::ShotQuantities(QuantityOptions const& options, std::vector<Quantity> const& newColumns,
                               std::string const& newLengthUnit)
    : columns(newColumns), lengthUnit(newLengthUnit), channels(newColumns.size() + DerivedCount, nan) {
    if (options.depth) {
        setDepth(*options.depth);
    }
    if (options.front) {
        setFront(*options.front);
    }
    for (Gate const& gate : options.gates) {
        gates.emplace_back(channelOf(gate.quantity), gate);
    }
    for (Condition const& condition : options.conditions) {
        conditions.emplace_back(channelOf(condition.quantity), condition);
    }
    setCeilings(options.ceilings);
    setFrontWall(options);
    setValues(options);
    answer.numbers.resize(values.size());
}

void ShotQuantities::setFrontWall(QuantityOptions const& options) {
    for (Quantity const& column : columns) {
        bool const isTold = (options.front && options.front->time == column.name) ||
                            (options.depth && options.depth->front == column.name);
        isFrontWall.push_back(isTold || column.name.starts_with("front"));
    }
}

ShotQuantities::Channel ShotQuantities::columnOf(std::string const& quantity) const {
    auto const found = std::find_if(columns.begin(), columns.end(),
                                    [&](Quantity const& column) { return column.name == quantity; });
    require(found != columns.end(),
            "there is no column '" + quantity + "'; the table has " + listOf(columns));
    return static_cast<Channel>(found - columns.begin());
}

ShotQuantities::Channel ShotQuantities::channelOf(std::string const& quantity) const {
    auto const isColumn = std::any_of(columns.begin(), columns.end(),
                                      [&](Quantity const& column) { return column.name == quantity; });
    auto const found = std::find(derivedNames.begin(), derivedNames.end(), quantity);
    if (isColumn || found == derivedNames.end()) {
        return columnOf(quantity);
    }
    auto const which = static_cast<Derived>(found - derivedNames.begin());
    require(which != Depth || depthTime, "there is no depth without --depth and --speed");
    require(which != Residual || frontTime, "there is no residual without --front and --couplant-speed");
    return derived(which);
}

std::string ShotQuantities::unitOf(Channel channel) const {
    if (channel < columns.size()) {
        return columns[channel].unit;
    }
    return channel == derived(Incidence) ? "deg" : lengthUnit;
}

double ShotQuantities::lengthPerTime(Channel time, double speed) const {
    auto const seconds = secondsIn(columns[time].unit);
    require(seconds.has_value(), "the unit of time of '" + columns[time].name +
                                     "' is not known; name it in the heading, as in " + columns[time].name +
                                     "[us]");
    auto const metres = metresIn(lengthUnit);
    require(metres.has_value(), "times become lengths where the part's unit is known; give it by --unit mm");
    require(speed > 0.0, "the speed of sound is to be above 0");
    constexpr double waysThereAndBack = 2.0;
    return *seconds * speed / waysThereAndBack / *metres;
}

void ShotQuantities::setDepth(DepthOptions const& depth) {
    depthTime = columnOf(depth.time);
    depthFactor = lengthPerTime(*depthTime, depth.speed);
    depthZero = depth.zero.value_or(0.0);
    if (depth.front) {
        require(!depth.zero, "the time of the surface is given twice");
        depthFront = columnOf(*depth.front);
        frontZeroFactor = lengthPerTime(*depthFront, depth.speed) / depthFactor;
    }
}

void ShotQuantities::setFront(FrontOptions const& front) {
    frontTime = columnOf(front.time);
    frontFactor = lengthPerTime(*frontTime, front.speed);
}

ShotQuantities::Channel ShotQuantities::amplitudeFor(ColumnNumber const& told, char const* option) const {
    if (!told.quantity.empty()) {
        return columnOf(told.quantity);
    }
    std::optional<Channel> only;
    std::size_t count = 0;
    for (Channel column = 0; column < columns.size(); ++column) {
        if (isAmplitude(columns[column])) {
            only = column;
            ++count;
        }
    }
    require(count == 1, std::string(option) +
                            ": name the column it is of, as in NAME:NUMBER; the table has " +
                            listOf(columns));
    return *only;
}

void ShotQuantities::setCeilings(std::vector<ColumnNumber> const& told) {
    for (ColumnNumber const& ceiling : told) {
        ceilings.emplace_back(amplitudeFor(ceiling, "--ceiling"), ceiling.number);
    }
    for (Channel column = 0; column < columns.size(); ++column) {
        bool const isTold = std::any_of(ceilings.begin(), ceilings.end(),
                                        [&](auto const& ceiling) { return ceiling.first == column; });
        if (!isTold && isFullScreenHeight(columns[column].unit)) {
            ceilings.emplace_back(column, fullScreenHeight);
        }
    }
}

std::vector<ValueRequest> ShotQuantities::suitingValues() const {
    std::vector<ValueRequest> suiting;
    for (Quantity const& column : columns) {
        Statistic const statistic = isAmplitude(column) ? Statistic::Max
                                    : isTime(column)    ? Statistic::Min
                                                        : Statistic::Mean;
        suiting.push_back({column.name, statistic});
    }
    if (depthTime) {
        suiting.push_back({"depth", Statistic::Min});
    }
    return suiting;
}

void ShotQuantities::setValues(QuantityOptions const& options) {
    auto requests = options.values.empty() ? suitingValues() : options.values;
    std::vector<ValueRequest> always{{"standoff", Statistic::Mean}, {"incidence", Statistic::Max}};
    if (frontTime) {
        always.push_back({"residual", Statistic::Mean});
    }
    for (ValueRequest const& request : always) {
        bool const isColumn = std::any_of(columns.begin(), columns.end(), [&](Quantity const& column) {
            return column.name == request.quantity;
        });
        bool const isAsked = std::any_of(requests.begin(), requests.end(), [&](ValueRequest const& asked) {
            return asked.quantity == request.quantity;
        });
        if (!isColumn && !isAsked) {
            requests.push_back(request);
        }
    }
    std::optional<ColumnNumber> reference = options.reference;
    if (reference) {
        reference->quantity = columns[amplitudeFor(*reference, "--reference")].name;
        require(reference->number > 0.0, "the reference is to be above 0");
        require(!isDecibel(columns[columnOf(reference->quantity)].unit),
                "--reference: '" + reference->quantity + "' is in decibels already");
    }
    for (ValueRequest const& request : requests) {
        addValue(request, reference);
    }
}

void ShotQuantities::addValue(ValueRequest const& request, std::optional<ColumnNumber> const& reference) {
    Channel const channel = channelOf(request.quantity);
    for (Value const& other : values) {
        require(other.request.name() != request.name(), "'" + request.name() + "' is asked for twice");
    }
    Value value{request, unitOf(channel), {}, {}, false, true};
    value.isDecibel = isDecibel(value.unit);
    value.isOfEcho = channel <= derived(Depth);
    for (auto const& [column, ceiling] : ceilings) {
        value.ceiling = column == channel ? std::optional(ceiling) : value.ceiling;
    }
    bool const isCount = request.statistic == Statistic::Count;
    if (reference && request.quantity == reference->quantity && !isCount) {
        value.reference = reference->number;
        value.unit = "dB";
        if (value.ceiling) {
            constexpr double decibelsPerDecade = 20.0;
            value.ceiling = decibelsPerDecade * std::log10(*value.ceiling / reference->number);
        }
    }
    if (isCount) {
        value.unit.clear();
        value.ceiling.reset();
        value.isDecibel = false;
    }
    values.push_back(value);
    valueChannels.push_back(channel);
}

void ShotQuantities::derive(std::span<double const> row, double standoff, double incidence) {
    std::copy(row.begin(), row.end(), channels.begin());
    channels[derived(Standoff)] = standoff;
    channels[derived(Incidence)] = incidence;
    if (depthTime) {
        double const zero = depthFront ? channels[*depthFront] * frontZeroFactor : depthZero;
        channels[derived(Depth)] = (channels[*depthTime] - zero) * depthFactor;
    }
    if (frontTime) {
        channels[derived(Residual)] = channels[*frontTime] * frontFactor - standoff;
    }
}

bool ShotQuantities::isEcho() const {
    for (auto const& [channel, gate] : gates) {
        if (!(channels[channel] >= gate.from && channels[channel] <= gate.to)) {
            return false;
        }
    }
    return std::all_of(conditions.begin(), conditions.end(), [&](auto const& condition) {
        return condition.second.holds(channels[condition.first]);
    });
}

bool ShotQuantities::isSaturated() const {
    return std::any_of(ceilings.begin(), ceilings.end(),
                       [&](auto const& ceiling) { return channels[ceiling.first] >= ceiling.second; });
}

ShotValues const& ShotQuantities::evaluate(std::span<double const> row, double standoff, double incidence) {
    derive(row, standoff, incidence);
    bool const isWithin = isEcho();
    answer.isEcho = false;
    for (std::size_t i = 0; i < values.size(); ++i) {
        double const number = channels[valueChannels[i]];
        bool const counts = !values[i].isOfEcho || isWithin;
        answer.numbers[i] = counts ? number : nan;
        bool const isOfPart =
            values[i].isOfEcho && !(valueChannels[i] < columns.size() && isFrontWall[valueChannels[i]]);
        answer.isEcho = answer.isEcho || (isOfPart && isWithin && !std::isnan(number));
    }
    answer.residual = channels[derived(Residual)];
    answer.isSaturated = answer.isEcho && isSaturated();
    return answer;
}

} // namespace QELT::Inspection
