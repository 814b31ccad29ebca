#include "Inspection/pages/internal/pagemodel.h"

#include "Inspection/pages/internal/pagetext.h"
#include "tests/inspection/pages/codedpage.h"
#include "tests/inspection/pages/sampleresult.h"
#include "tests/inspection/sampleparts.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace QELT::Inspection;
using namespace QELT::Inspection::Testing;

namespace {

/// The greatest difference of what was read; the same must be missing in both.
double worstOf(std::vector<double> const& expected, std::vector<double> const& read) {
    EXPECT_EQ(expected.size(), read.size());
    double worst = 0.0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(std::isnan(expected[i]), std::isnan(read[i])) << i;
        worst = std::isnan(expected[i]) ? worst : std::max(worst, std::abs(expected[i] - read[i]));
    }
    return worst;
}

std::vector<double> valuesIn(PageModel const& model, std::size_t value) {
    return realsOf(model.json.at("values").at(value).at("numbers"), model.sections);
}

/// How far nodes are read from where they are, as the length of the difference.
double placeErrorOf(PageModel const& model, Patch const& patch) {
    std::vector<double> errorsSqr(patch.nodes.size() / 3, 0.0);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        auto const read = realsOf(model.json.at("patches").at(0).at("places").at(axis), model.sections);
        for (std::size_t i = 0; i < read.size(); ++i) {
            double const error = read[i] - static_cast<double>(patch.nodes[3 * i + axis]);
            EXPECT_EQ(std::isnan(patch.nodes[3 * i + axis]), std::isnan(read[i]));
            errorsSqr[i] += std::isnan(error) ? 0.0 : error * error;
        }
    }
    return std::sqrt(*std::max_element(errorsSqr.begin(), errorsSqr.end()));
}

std::size_t sizeOf(PageModel const& model) {
    return pageOf(std::string(pageTitleMark) + std::string(pageDataMark), "", model).size();
}

} // namespace

TEST(PageModel, ValuesComeBackWithinTheErrorThatIsStated) {
    Result const result = measuredSheet();
    PageModel const model = modelOf(result, ViewedKind::OfResult, PagePrecision::Steps16);

    for (std::size_t value = 0; value < 2; ++value) {
        double const stated = model.json.at("values").at(value).at("error").get<double>();
        EXPECT_EQ(stated, worstOf(result.values[value].values, valuesIn(model, value)));
        auto const& numbers = model.json.at("values").at(value).at("numbers");
        EXPECT_LE(stated, 0.5000001 * numbers.at("step").get<double>());
        EXPECT_GT(stated, 0.4 * numbers.at("step").get<double>());
    }
}

TEST(PageModel, PlacesAndNormalsComeBackWithinTheErrorsThatAreStated) {
    Result const result = measuredSheet();
    PageModel const model = modelOf(result, ViewedKind::OfResult, PagePrecision::Steps16);

    EXPECT_EQ(model.view.placeError, placeErrorOf(model, result.patches.front()));
    EXPECT_LT(model.view.placeError, 0.5 / 1000.0); // pixels of half a millimetre
    EXPECT_GT(model.view.placeError, 0.0);
    ASSERT_TRUE(model.view.normalError);
    EXPECT_GT(*model.view.normalError, 0.0);
    EXPECT_LT(*model.view.normalError, 0.2);
    EXPECT_EQ(*model.view.normalError, model.json.at("normalError").get<double>());
    EXPECT_FALSE(model.json.at("patches").at(0).at("isTurned").get<bool>());
}

TEST(PageModel, NormalsOfTheOtherSideAreFollowed) {
    Result result = measuredSheet();
    for (float& component : result.normals) {
        component = -component;
    }
    PageModel const model = modelOf(result, ViewedKind::OfResult, PagePrecision::Steps16);

    EXPECT_TRUE(model.json.at("patches").at(0).at("isTurned").get<bool>());
    EXPECT_LT(*model.view.normalError, 0.2);
}

TEST(PageModel, SinglePrecisionLosesNothingButDoubles) {
    Result const result = measuredSheet();
    PageModel const model = modelOf(result, ViewedKind::OfResult, PagePrecision::Float32);

    EXPECT_EQ(0.0, model.view.placeError);
    EXPECT_EQ(0.0, placeErrorOf(model, result.patches.front()));
    auto const read = valuesIn(model, 0);
    for (std::size_t i = 0; i < result.size(); ++i) {
        double const value = result.values[0].values[i];
        EXPECT_TRUE(std::isnan(value) ? std::isnan(read[i])
                                      : read[i] == static_cast<double>(static_cast<float>(value)));
    }
}

TEST(PageModel, FewDistinctValuesAreExact) {
    Result result = sheet(40, 30, 0.5);
    result.values = {valueMap("amplitude", Statistic::Max, "%FSH", result.size())};
    for (std::size_t i = 0; i < result.size(); ++i) {
        result.values[0].values[i] = i % 7 == 0 ? noValue : 0.1 * static_cast<double>(i % 1000);
    }
    PageModel const model = modelOf(result, ViewedKind::OfResult, PagePrecision::Steps16);

    EXPECT_EQ(0.0, model.json.at("values").at(0).at("error").get<double>());
    EXPECT_EQ(0.0, worstOf(result.values[0].values, valuesIn(model, 0)));
    EXPECT_TRUE(model.json.at("values").at(0).at("numbers").contains("table"));
}

TEST(PageModel, StatesFillingAndFiguresAreTheResults) {
    Result const result = measuredSheet();
    PageModel const model = modelOf(result, ViewedKind::OfResult, PagePrecision::Steps16);

    auto const states = numbersOf(model.json.at("pixelStates"), model.sections);
    std::array<double, pixelStateCount> areas{};
    for (std::size_t i = 0; i < result.size(); ++i) {
        EXPECT_EQ(static_cast<std::uint32_t>(result.states[i]), states[i]);
        areas.at(states[i]) += result.areas[i];
    }
    for (std::size_t state = 0; state < pixelStateCount; ++state) {
        EXPECT_EQ(areas.at(state), model.json.at("states").at(state).at("area").get<double>());
    }
    auto const sources = numbersOf(model.json.at("filledFrom"), model.sections);
    auto const mask = maskOf(model.json.at("filledFrom"), model.sections);
    for (std::size_t i = 0; i < result.size(); ++i) {
        EXPECT_EQ(result.filledFrom[i], mask[i] != 0 ? sources[i] : Result::none);
    }
}

TEST(PageModel, AMillionQuadsWithSmoothNoiseStayBelowFiveMegabytes) {
    constexpr std::size_t side = 1000;
    constexpr std::size_t limit = 5000000;
    constexpr std::size_t roomForThePage = 1000000;
    Result result = sheet(side, side, 0.2);
    addSmoothValues(result);
    PageModel const model = modelOf(result, ViewedKind::OfResult, PagePrecision::Steps16);

    EXPECT_LT(sizeOf(model), limit - roomForThePage);
    EXPECT_LT(*model.view.valueError, 1.0 / 65535.0);
}

TEST(PageModel, SeveralPatchesAreToldApart) {
    Result result = sheet(20, 10, 0.5);
    Patch second = result.patches.front();
    second.name = "second.quads";
    second.left = 20;
    Result both;
    both.width = 40;
    both.height = 10;
    both.patches = {result.patches.front(), second};
    both.states.assign(both.size(), PixelState::Echo);
    both.areas.assign(both.size(), 0.25);
    both.normals.assign(3 * both.size(), 0.0F);
    for (std::size_t i = 0; i < both.size(); ++i) {
        both.patch.push_back(i % 40 < 20 ? 0 : 1);
    }
    PageModel const model = modelOf(both, ViewedKind::OfResult, PagePrecision::Steps16);

    EXPECT_EQ(2u, model.json.at("patches").size());
    EXPECT_EQ(20u, model.json.at("patches").at(1).at("left").get<std::size_t>());
    EXPECT_EQ(1u, numbersOf(model.json.at("patch"), model.sections)[39]);
}

TEST(PageModel, APartBringsItsTriangles) {
    ScratchDirectory const scratch;
    std::ofstream(scratch / "patch.obj") << patchMesh();
    PartAsLoaded const part = loadPart(scratch / "patch.obj");
    PageModel const model = modelOf(part, PagePrecision::Steps16);

    auto const corners = numbersOf(model.json.at("corners"), model.sections);
    ASSERT_EQ(3 * part.triangles.size(), corners.size());
    for (std::size_t i = 0; i < corners.size(); ++i) {
        EXPECT_EQ(part.triangles[i / 3][i % 3], corners[i]);
    }
    auto const x = realsOf(model.json.at("places").at(0), model.sections);
    for (std::size_t i = 0; i < x.size(); ++i) {
        EXPECT_NEAR(part.points[i][0], x[i], model.view.placeError + 1e-6);
    }
    EXPECT_EQ(part.triangles.size(), model.view.quadCount);
}
