#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/results/result.h"
#include "Inspection/shots/shot.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// What is made of the numbers of a shot.
namespace QELT::Inspection {

/// A value of the pixels: of a column, or of "depth", "standoff", "incidence" or "residual".
struct ValueRequest {
    std::string quantity;
    Statistic statistic = Statistic::Max;

    /// Such as "amplitude:max".
    std::string name() const { return quantity + ":" + nameOf(statistic); }
};

/// Of "amplitude:max". Fails on anything else, naming the statistics.
QELT_INSPECTION_EXPORT ValueRequest valueRequestIn(std::string_view text);

/// A window, its ends within, in the column's unit. What lies outside is no echo.
struct Gate {
    std::string quantity;
    double from = 0.0; ///< the least that is an echo
    double to = 0.0;   ///< the greatest
};

/// Of "tof:2.1..8.4".
QELT_INSPECTION_EXPORT Gate gateIn(std::string_view text);

/// What an echo has to fulfil, in the column's unit.
struct Condition {
    /// How a number of the shot stands to the value.
    enum class Relation : std::uint8_t { Less, LessOrEqual, Greater, GreaterOrEqual, Equal, Unequal };

    std::string quantity;
    Relation relation = Relation::GreaterOrEqual;
    double value = 0.0; ///< what the number is compared with
    std::string text;   ///< as it was written

    /// Whether the number fulfils it.
    QELT_INSPECTION_EXPORT bool holds(double number) const;
};

/// Of "amplitude>=0.2".
QELT_INSPECTION_EXPORT Condition conditionIn(std::string_view text);

/// A number for a column, such as its ceiling.
struct ColumnNumber {
    std::string quantity; ///< may be empty where only one column can be meant
    double number = 0.0;  ///< in the column's unit
};

/// Of "amplitude:100" or "100".
QELT_INSPECTION_EXPORT ColumnNumber columnNumberIn(std::string_view text);

/// How depth follows from a time of flight: there and back at the speed of sound, less the time of the
/// surface.
struct DepthOptions {
    std::string time;                 ///< the column of the time of flight
    double speed = 0.0;               ///< metres a second, in the part
    std::optional<double> zero;       ///< the surface's time, in the column's unit
    std::optional<std::string> front; ///< or the column that holds it for each shot
};

/// The measured distance to the surface, to compare with where the poses put it.
struct FrontOptions {
    std::string time;   ///< the column of the echo of the front wall
    double speed = 0.0; ///< metres a second, in the couplant
};

/// What is made of the columns of a table.
struct QuantityOptions {
    std::vector<ValueRequest> values; ///< if empty, what suits each column
    std::vector<Gate> gates;
    std::vector<Condition> conditions;
    std::optional<DepthOptions> depth;
    std::optional<FrontOptions> front;
    std::optional<ColumnNumber> reference; ///< amplitudes are told in decibels of this
    std::vector<ColumnNumber> ceilings; ///< from which on a value is saturated; 100 for "%FSH" if not given
};

/// What a shot brings to its pixel.
struct ShotValues {
    bool isEcho = false;         ///< whether something came back within gates and conditions
    bool isSaturated = false;    ///< and at the ceiling
    double residual = 0.0;       ///< measured standoff less that of the pose; NaN where there is none
    std::vector<double> numbers; ///< one for each of `ShotQuantities::getValues`; NaN where there is none
};

/// Evaluates shots, one after the other.
class QELT_INSPECTION_EXPORT ShotQuantities {
public:
    /// A value that is made, before its statistic.
    struct Value {
        ValueRequest request;
        std::string unit;
        std::optional<double> ceiling;   ///< in that unit
        std::optional<double> reference; ///< what 0 dB is, where the numbers are told in decibels at the end
        bool isDecibel = false;          ///< the numbers are decibels: their mean is that of the amplitudes
        bool isOfEcho = true;            ///< else of every shot that met the surface
    };

    /// For columns in a row's order and a part with this unit of length. Fails where an option names a column
    /// that is not there, or a unit is needed that is not known or cannot be used.
    ShotQuantities(QuantityOptions const& options, std::vector<Quantity> const& columns,
                   std::string const& lengthUnit);

    /// In the order in which they were asked for; standoff and incidence are last if they were not.
    std::vector<Value> const& getValues() const { return values; }

    std::vector<Quantity> const& getColumns() const { return columns; }

    /// Of a shot with these numbers in its columns that met the surface at `standoff`, in the part's unit,
    /// and `incidence`, in degrees off head-on. The answer is overwritten by the next one.
    ShotValues const& evaluate(std::span<double const> row, double standoff, double incidence);

private:
    /// Where a quantity's number is found: a column, or behind them one of the derived.
    using Channel = std::size_t;

    enum Derived : std::size_t { Depth, Standoff, Incidence, Residual, DerivedCount };

    std::vector<Quantity> columns;
    std::string lengthUnit;
    std::vector<double> channels; ///< the row at hand, and what was derived of it
    std::vector<Value> values;
    std::vector<Channel> valueChannels;
    std::vector<std::pair<Channel, Gate>> gates;
    std::vector<std::pair<Channel, Condition>> conditions;
    std::vector<std::pair<Channel, double>> ceilings;
    std::vector<bool> isFrontWall; ///< which columns tell of the surface alone
    std::optional<Channel> depthTime;
    std::optional<Channel> depthFront;
    double depthZero = 0.0;
    double depthFactor = 0.0;     ///< part's unit for one of the time's
    double frontZeroFactor = 1.0; ///< the front's unit of time in that of the echo
    std::optional<Channel> frontTime;
    double frontFactor = 0.0;
    ShotValues answer;

    Channel derived(Derived which) const { return columns.size() + which; }

    Channel channelOf(std::string const& quantity) const;
    Channel columnOf(std::string const& quantity) const;
    std::string unitOf(Channel channel) const;
    double lengthPerTime(Channel time, double speed) const;
    void setDepth(DepthOptions const& depth);
    void setFront(FrontOptions const& front);
    void setCeilings(std::vector<ColumnNumber> const& told);
    Channel amplitudeFor(ColumnNumber const& told, char const* option) const;
    void setValues(QuantityOptions const& options);
    void addValue(ValueRequest const& request, std::optional<ColumnNumber> const& reference);
    std::vector<ValueRequest> suitingValues() const;
    void derive(std::span<double const> row, double standoff, double incidence);
    void setFrontWall(QuantityOptions const& options);
    bool isEcho() const;
    bool isSaturated() const;
};

} // namespace QELT::Inspection
