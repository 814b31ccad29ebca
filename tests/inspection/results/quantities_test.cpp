#include "Inspection/results/quantities.h"

#include "Inspection/records/failure.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace QELT::Inspection;

namespace {

constexpr double none = std::numeric_limits<double>::quiet_NaN();

std::vector<Quantity> const columns{{"amplitude", "%FSH"}, {"tof", "us"}};

template <class Action>
std::string complaintOf(Action&& action) {
    try {
        action();
    } catch (Failure const& failure) {
        return failure.what();
    }
    return "";
}

QuantityOptions asking(std::vector<ValueRequest> const& values) {
    QuantityOptions options;
    options.values = values;
    return options;
}

double onlyNumber(ShotQuantities& quantities, std::vector<double> const& row) {
    return quantities.evaluate(row, 20.0, 0.0).numbers[0];
}

} // namespace

TEST(ShotQuantities, textsAreRead) {
    EXPECT_EQ("amplitude:max", valueRequestIn("amplitude:max").name());
    EXPECT_EQ("a:b:median", valueRequestIn(" a:b:median").name());
    Gate const gate = gateIn("tof:2.1..8.4");
    EXPECT_EQ("tof", gate.quantity);
    EXPECT_EQ(2.1, gate.from);
    EXPECT_EQ(8.4, gate.to);
    EXPECT_EQ(-3.0, gateIn("x:-3..-1").from);
    Condition const condition = conditionIn("amplitude >= 0.2");
    EXPECT_EQ("amplitude", condition.quantity);
    EXPECT_EQ(Condition::Relation::GreaterOrEqual, condition.relation);
    EXPECT_EQ(0.2, condition.value);
    EXPECT_EQ(80.0, columnNumberIn("80").number);
    EXPECT_EQ("amp", columnNumberIn("amp:80").quantity);
}

TEST(ShotQuantities, textsThatSayNothingAreRefused) {
    EXPECT_THROW(valueRequestIn("amplitude"), Failure);
    EXPECT_THROW(valueRequestIn("amplitude:most"), Failure);
    EXPECT_THROW(valueRequestIn(":max"), Failure);
    EXPECT_THROW(gateIn("tof:2.1-8.4"), Failure);
    EXPECT_THROW(gateIn("tof"), Failure);
    EXPECT_THROW(conditionIn("amplitude"), Failure);
    EXPECT_THROW(conditionIn(">=2"), Failure);
    EXPECT_THROW(conditionIn("a>=x"), Failure);
    EXPECT_THROW(columnNumberIn("x"), Failure);
    EXPECT_EQ("'tof:8..2' ends before it begins", complaintOf([] { gateIn("tof:8..2"); }));
}

TEST(ShotQuantities, eachRelationHoldsAsItReads) {
    struct Case {
        char const* text;
        bool below, equal, above;
    };

    for (Case const& expected : {Case{"a<2", true, false, false}, Case{"a<=2", true, true, false},
                                 Case{"a>2", false, false, true}, Case{"a>=2", false, true, true},
                                 Case{"a==2", false, true, false}, Case{"a!=2", true, false, true}}) {
        Condition const condition = conditionIn(expected.text);
        EXPECT_EQ(expected.below, condition.holds(1.0)) << expected.text;
        EXPECT_EQ(expected.equal, condition.holds(2.0)) << expected.text;
        EXPECT_EQ(expected.above, condition.holds(3.0)) << expected.text;
        EXPECT_FALSE(condition.holds(none)) << expected.text;
    }
}

TEST(ShotQuantities, eachColumnGetsWhatSuitsIt) {
    ShotQuantities const quantities({}, {{"amp", "dB"}, {"tof", ""}, {"t", "ns"}, {"thickness", "mm"}}, "mm");

    std::vector<std::string> names;
    for (auto const& value : quantities.getValues()) {
        names.push_back(value.request.name());
    }
    EXPECT_EQ((std::vector<std::string>{"amp:max", "tof:min", "t:min", "thickness:mean", "standoff:mean",
                                        "incidence:max"}),
              names);
}

TEST(ShotQuantities, twoMicrosecondsThereAndBackAreTwoPointNineMillimetres) {
    QuantityOptions options = asking({{"depth", Statistic::Min}});
    options.depth = DepthOptions{"tof", 2900.0, {}, {}};
    ShotQuantities quantities(options, columns, "mm");

    EXPECT_NEAR(2.90, onlyNumber(quantities, {50.0, 2.00}), 1e-12);
    EXPECT_EQ("mm", quantities.getValues()[0].unit);
    EXPECT_TRUE(std::isnan(onlyNumber(quantities, {50.0, none})));
}

TEST(ShotQuantities, depthBeginsAtTheSurface) {
    QuantityOptions options = asking({{"depth", Statistic::Min}});
    options.depth = DepthOptions{"tof", 2900.0, 0.5, {}};
    ShotQuantities fromZero(options, columns, "mm");
    EXPECT_NEAR(2.175, onlyNumber(fromZero, {50.0, 2.00}), 1e-12);

    options.depth = DepthOptions{"tof", 2900.0, {}, "front"};
    ShotQuantities fromFront(options, {{"tof", "us"}, {"front", "ns"}}, "m");
    EXPECT_NEAR(2.175e-3, onlyNumber(fromFront, {2.00, 500.0}), 1e-15);
}

TEST(ShotQuantities, halfTheReferenceIsSixDecibelsLess) {
    // The decibels are made at the end, of what is left of all shots.
    QuantityOptions options = asking({{"amplitude", Statistic::Max}});
    options.reference = ColumnNumber{"", 80.0};
    ShotQuantities quantities(options, columns, "mm");

    EXPECT_EQ("dB", quantities.getValues()[0].unit);
    EXPECT_EQ(80.0, quantities.getValues()[0].reference);
    EXPECT_NEAR(20.0 * std::log10(100.0 / 80.0), *quantities.getValues()[0].ceiling, 1e-12);
    EXPECT_EQ(40.0, onlyNumber(quantities, {40.0, 1.0}));
}

TEST(ShotQuantities, whatLiesOutsideAGateIsNoEcho) {
    QuantityOptions options = asking({{"amplitude", Statistic::Max}});
    options.gates = {gateIn("tof:2.1..8.4")};
    ShotQuantities quantities(options, columns, "mm");

    EXPECT_TRUE(quantities.evaluate(std::vector{50.0, 2.1}, 20.0, 0.0).isEcho);
    EXPECT_TRUE(quantities.evaluate(std::vector{50.0, 8.4}, 20.0, 0.0).isEcho);
    EXPECT_FALSE(quantities.evaluate(std::vector{50.0, 2.0}, 20.0, 0.0).isEcho);
    EXPECT_FALSE(quantities.evaluate(std::vector{50.0, 8.5}, 20.0, 0.0).isEcho);
    EXPECT_FALSE(quantities.evaluate(std::vector{50.0, none}, 20.0, 0.0).isEcho);
    EXPECT_FALSE(quantities.evaluate(std::vector{none, 5.0}, 20.0, 0.0).isEcho);
    EXPECT_TRUE(std::isnan(onlyNumber(quantities, {50.0, 9.0})));
}

TEST(ShotQuantities, aConditionIsInTheColumnsOwnUnitWhateverTheReference) {
    QuantityOptions options = asking({{"amplitude", Statistic::Max}});
    options.conditions = {conditionIn("amplitude>=20")};
    options.reference = ColumnNumber{"amplitude", 80.0};
    ShotQuantities quantities(options, columns, "mm");

    EXPECT_TRUE(quantities.evaluate(std::vector{20.0, 1.0}, 20.0, 0.0).isEcho);
    EXPECT_FALSE(quantities.evaluate(std::vector{19.9, 1.0}, 20.0, 0.0).isEcho);
}

TEST(ShotQuantities, fullScreenIsTheCeilingUnlessAnotherIsTold) {
    ShotQuantities full(asking({{"tof", Statistic::Min}}), columns, "mm");
    EXPECT_FALSE(full.evaluate(std::vector{99.9, 1.0}, 20.0, 0.0).isSaturated);
    EXPECT_TRUE(full.evaluate(std::vector{100.0, 1.0}, 20.0, 0.0).isSaturated);

    QuantityOptions options = asking({{"tof", Statistic::Min}});
    options.ceilings = {columnNumberIn("120")};
    ShotQuantities told(options, columns, "mm");
    EXPECT_FALSE(told.evaluate(std::vector{100.0, 1.0}, 20.0, 0.0).isSaturated);
    EXPECT_TRUE(told.evaluate(std::vector{120.0, 1.0}, 20.0, 0.0).isSaturated);
    EXPECT_FALSE(told.evaluate(std::vector{120.0, none}, 20.0, 0.0).isSaturated) << "no echo at all";
}

TEST(ShotQuantities, whereTheProbeStoodIsToldOfEveryShot) {
    ShotQuantities quantities(asking({{"amplitude", Statistic::Max}}), columns, "mm");

    ShotValues const& silent = quantities.evaluate(std::vector{none, none}, 21.5, 3.0);

    EXPECT_FALSE(silent.isEcho);
    EXPECT_EQ((std::vector{21.5, 3.0}), std::vector(silent.numbers.begin() + 1, silent.numbers.end()));
    EXPECT_EQ("deg", quantities.getValues()[2].unit);
}

TEST(ShotQuantities, theFrontWallTellsHowFarThePosesAreOff) {
    QuantityOptions options = asking({{"amplitude", Statistic::Max}});
    options.front = FrontOptions{"tof", 1480.0};
    ShotQuantities quantities(options, columns, "mm");

    // 27.027 us there and back in water are 20 mm.
    EXPECT_NEAR(0.5, quantities.evaluate(std::vector{50.0, 20.5 * 2.0 / 1.480}, 20.0, 0.0).residual, 1e-12);
    EXPECT_EQ("residual:mean", quantities.getValues().back().request.name());
}

TEST(ShotQuantities, whatIsNotThereIsToldWithWhatIs) {
    EXPECT_EQ("there is no column 'amp'; the table has amplitude, tof", complaintOf([] {
                  ShotQuantities(asking({{"amp", Statistic::Max}}), columns, "mm");
              }));
    EXPECT_EQ("there is no depth without --depth and --speed", complaintOf([] {
                  ShotQuantities(asking({{"depth", Statistic::Max}}), columns, "mm");
              }));
    EXPECT_EQ("'tof:min' is asked for twice", complaintOf([] {
                  ShotQuantities(asking({{"tof", Statistic::Min}, {"tof", Statistic::Min}}), columns, "mm");
              }));
    QuantityOptions depth;
    depth.depth = DepthOptions{"t", 2900.0, {}, {}};
    EXPECT_EQ("the unit of time of 't' is not known; name it in the heading, as in t[us]", complaintOf([&] {
                  ShotQuantities(depth, {{"t", ""}}, "mm");
              }));
    EXPECT_EQ("times become lengths where the part's unit is known; give it by --unit mm", complaintOf([&] {
                  ShotQuantities(depth, {{"t", "us"}}, "");
              }));
    QuantityOptions reference;
    reference.reference = ColumnNumber{"", 80.0};
    EXPECT_EQ("--reference: name the column it is of, as in NAME:NUMBER; the table has a, b",
              complaintOf([&] {
                  ShotQuantities(reference, {{"a", "%FSH"}, {"b", "%FSH"}}, "mm");
              }));
    EXPECT_EQ("--reference: 'a' is in decibels already", complaintOf([&] {
                  ShotQuantities(reference, {{"a", "dB"}}, "mm");
              }));
}

TEST(ShotQuantities, theSurfaceAnswersOverAFlawToo) {
    std::vector<Quantity> const table{{"front", "us"}, {"amplitude", "%FSH"}, {"if", "us"}};
    ShotQuantities byName({}, table, "mm");
    EXPECT_FALSE(byName.evaluate(std::vector{27.0, none, none}, 20.0, 0.0).isEcho);
    EXPECT_TRUE(byName.evaluate(std::vector{27.0, 50.0, none}, 20.0, 0.0).isEcho);
    EXPECT_TRUE(byName.evaluate(std::vector{27.0, none, 27.0}, 20.0, 0.0).isEcho);

    QuantityOptions options;
    options.front = FrontOptions{"if", 1480.0};
    ShotQuantities told(options, table, "mm");
    EXPECT_FALSE(told.evaluate(std::vector{27.0, none, 27.0}, 20.0, 0.0).isEcho);
}
