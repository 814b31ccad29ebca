#include "Inspection/pages/view.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/pages/internal/gridresult.h"
#include "Inspection/pages/internal/overlays.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/record.h"
#include "Inspection/results/resultfile.h"
#include "tests/inspection/pages/sampleresult.h"
#include "tests/inspection/sampleparts.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>

using namespace QELT::Inspection;
using namespace QELT::Inspection::Testing;

namespace {

/// Half a cylinder of radius 10 around x, 1 along u and 1 around along v, without the node (2, 2).
void makeGrid(Grid& grid) {
    grid.init({8, 6});
    for (int v = 0; v <= 6; ++v) {
        for (int u = 0; u <= 8; ++u) {
            grid.setPoint({u, v}, Point(u, 10.0 * std::cos(0.1 * v), 10.0 * std::sin(0.1 * v)));
        }
    }
    grid.setPointValidity({2, 2}, false);
}

std::string textOf(std::filesystem::path const& path) {
    std::ifstream input(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(input), {}};
}

void write(std::filesystem::path const& path, std::string const& text) {
    std::ofstream(path, std::ios::binary) << text;
}

std::string complaintOf(ViewOptions const& options) {
    try {
        view(options, nullptr);
    } catch (Failure const& failure) {
        return failure.what();
    }
    return "";
}

ViewOptions optionsOf(std::filesystem::path const& input, std::filesystem::path const& output) {
    ViewOptions options;
    options.input = input;
    options.output = output;
    return options;
}

PageModel modelWithTable(std::filesystem::path const& table, std::string const& text,
                         void (*add)(PageModel&, std::filesystem::path const&)) {
    write(table, text);
    PageModel model;
    add(model, table);
    return model;
}

} // namespace

TEST(GridResult, AGridIsAnEchoOfItsShape) {
    Grid grid;
    makeGrid(grid);
    Result const result = shapeOf(grid, "grid", "mm");

    double const chord = 20.0 * std::sin(0.05);
    EXPECT_EQ(8u, result.width);
    EXPECT_EQ(6u, result.height);
    std::size_t const pixel = result.indexOf(5, 3);
    EXPECT_EQ(PixelState::NoSurface, result.states[result.indexOf(1, 1)]);
    EXPECT_EQ(PixelState::NoSurface, result.states[result.indexOf(2, 2)]);
    EXPECT_EQ(PixelState::Echo, result.states[pixel]);
    EXPECT_NEAR(chord, result.areas[pixel], 1e-6);
    EXPECT_NEAR(chord, valueMapOf(result, "quad area").values[pixel], 1e-6);
    EXPECT_NEAR(1.0, valueMapOf(result, "side along u").values[pixel], 1e-6);
    EXPECT_NEAR(chord, valueMapOf(result, "side along v").values[pixel], 1e-6);
    EXPECT_NEAR(1.0, valueMapOf(result, "local scale").values[pixel], 1e-5);
    EXPECT_TRUE(std::isnan(valueMapOf(result, "quad area").values[result.indexOf(2, 2)]));
    EXPECT_NEAR(-std::cos(0.35), result.normals[3 * pixel + 1], 1e-5);
    EXPECT_NEAR(5.5, result.points[3 * pixel], 1e-6);
}

TEST(GridResult, TheAngleIsToTheMeanNormal) {
    Grid grid;
    makeGrid(grid);
    grid.setPointValidity({2, 2}, true);
    Result const result = shapeOf(grid, "grid", "mm");

    // Six quads of 0.1 radians each: the mean normal stands between the third and the fourth.
    auto const& angles = valueMapOf(result, "angle to mean normal").values;
    double const degree = 180.0 / std::numbers::pi;
    EXPECT_NEAR(0.25 * degree, angles[result.indexOf(4, 0)], 1e-3);
    EXPECT_NEAR(0.05 * degree, angles[result.indexOf(4, 3)], 1e-3);
}

TEST(Overlays, IndicationsAreTakenByTheNamesOfTheirColumns) {
    ScratchDirectory const scratch;
    PageModel const model = modelWithTable(scratch / "i.csv",
                                           "v;u;state;peak [%FSH];note\n"
                                           "# a comment\n"
                                           "7;3;no echo;;\"a <b>\"\n"
                                           "8.5;4;echo;12.5;\n",
                                           addIndications);

    auto const& list = model.json.at("indications");
    EXPECT_EQ(2u, model.view.indicationCount);
    EXPECT_EQ(3.0, list.at(0).at("u").get<double>());
    EXPECT_EQ("no echo", list.at(0).at("state").get<std::string>());
    EXPECT_EQ("a <b>", list.at(0).at("note").get<std::string>());
    EXPECT_EQ(12.5, list.at(1).at("peak").get<double>());
}

TEST(Overlays, IndicationsWithoutAPlaceAreRefusedWithTheColumn) {
    ScratchDirectory const scratch;
    try {
        modelWithTable(scratch / "i.csv", "number,peak\n1,2\n", addIndications);
        ADD_FAILURE() << "taken";
    } catch (Failure const& failure) {
        EXPECT_NE(std::string::npos, std::string(failure.what()).find("no column 'x'")) << failure.what();
    }
    EXPECT_THROW(modelWithTable(scratch / "j.csv", "u,v\nfour,2\n", addIndications), Failure);
}

TEST(Overlays, ManyShotsAreThinnedOutAndCounted) {
    ScratchDirectory const scratch;
    std::string text = "u,v,x,y,z,distance,angle,valid,state\n";
    for (std::size_t i = 0; i < 2 * maxShownPlaces + 1; ++i) {
        text += "0,0," + std::to_string(i) + ",0,0,1,3,1,hit\n";
    }
    text += "0,0,0,0,0,0,0,0,miss\n";
    PageModel const model = modelWithTable(scratch / "s.csv", text, addShots);

    EXPECT_EQ(2 * maxShownPlaces + 1, model.json.at("shots").at("count").get<std::size_t>());
    EXPECT_EQ(3u, model.json.at("shots").at("stride").get<std::size_t>());
    EXPECT_EQ(3.0, model.json.at("shots").at("places").at(1).at(0).get<double>());
}

void addPathAsItStands(PageModel& model, std::filesystem::path const& table) {
    addPath(model, table);
}

TEST(Overlays, APathHasPlacesAndDirections) {
    ScratchDirectory const scratch;
    PageModel const model = modelWithTable(
        scratch / "p.csv", "ox,oy,oz,dx,dy,dz\n1,2,3,0,0,-1\n4,5,6,0,0,-1\n", addPathAsItStands);

    EXPECT_EQ((std::vector<double>{4, 5, 6, 0, 0, -1}),
              model.json.at("path").at("places").at(1).get<std::vector<double>>());
    EXPECT_THROW(modelWithTable(scratch / "q.csv", "x,y,z\n1,2,3\n", addPathAsItStands), Failure);
}

class ViewedPage : public testing::Test {
protected:
    void SetUp() override {
        if (!hasPage()) {
            GTEST_SKIP() << "built without the page";
        }
        Grid grid;
        makeGrid(grid);
        saveGrid(grid, scratch / "shape.quads");
    }

    ScratchDirectory scratch;
};

TEST_F(ViewedPage, OfAGridStandsAloneWithItsRecord) {
    auto const page = scratch / "page.html";
    View const viewed = view(optionsOf(scratch / "shape.quads", page), nullptr);

    EXPECT_EQ(ViewedKind::OfGrid, viewed.kind);
    EXPECT_EQ(44u, viewed.quadCount);
    EXPECT_EQ(5u, viewed.valueCount);
    EXPECT_EQ(std::filesystem::file_size(page), viewed.byteCount);
    std::string const text = textOf(page);
    EXPECT_NE(std::string::npos, text.find("<title>shape.quads</title>"));
    EXPECT_NE(std::string::npos, text.find("three.js authors"));
    EXPECT_EQ(std::string::npos, text.find("src=\""));
    EXPECT_EQ(std::string::npos, text.find("<link"));
    auto const record = findRecord(page, nullptr);
    ASSERT_TRUE(record);
    EXPECT_TRUE(record->misfits.empty());
}

TEST_F(ViewedPage, IsTheSameForTheSameInput) {
    view(optionsOf(scratch / "shape.quads", scratch / "a.html"), nullptr);
    view(optionsOf(scratch / "shape.quads", scratch / "b.html"), nullptr);

    EXPECT_EQ(textOf(scratch / "a.html"), textOf(scratch / "b.html"));
}

TEST_F(ViewedPage, OfAResultHoldsItsValues) {
    writeResult(scratch / "scan.h5", measuredSheet());
    View const viewed = view(optionsOf(scratch / "scan.h5", scratch / "page.html"), nullptr);

    EXPECT_EQ(ViewedKind::OfResult, viewed.kind);
    EXPECT_EQ(4u, viewed.valueCount); // with the shots on the pixel and those refused
    EXPECT_EQ(36560u, viewed.quadCount);
}

TEST_F(ViewedPage, OfAPartHoldsItsTriangles) {
    write(scratch / "part.obj", patchMesh());
    View const viewed = view(optionsOf(scratch / "part.obj", scratch / "page.html"), nullptr);

    EXPECT_EQ(ViewedKind::OfPart, viewed.kind);
    EXPECT_EQ(240u, viewed.quadCount);
    EXPECT_FALSE(viewed.normalError);
}

TEST_F(ViewedPage, LeavesWhatWasThereWhenItFails) {
    auto const page = scratch / "page.html";
    write(page, "old");
    write(scratch / "cloud.xyz", "0 0 0\n1 0 0\n0 1 0\n1 1 0\n");
    EXPECT_NE(std::string::npos, complaintOf(optionsOf(scratch / "cloud.xyz", page)).find("cloud of points"));
    ViewOptions options = optionsOf(scratch / "shape.quads", page);
    options.indications = scratch / "none.csv";
    EXPECT_NE("", complaintOf(options));
    options = optionsOf(scratch / "shape.quads", scratch / "shape.quads");
    EXPECT_NE("", complaintOf(options));

    EXPECT_EQ("old", textOf(page));
}

TEST(View, TellsHowToGetThePageWhereThereIsNone) {
    if (hasPage()) {
        GTEST_SKIP() << "built with the page";
    }
    EXPECT_NE(std::string::npos, complaintOf(optionsOf("a.quads", "b.html")).find("QELT_WITH_PAGE"));
}
