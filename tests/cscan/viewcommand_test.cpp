// The command that writes pages, through the program.

#include "Inspection/pages/view.h"
#include "tests/cscan/program.h"
#include "tests/inspection/sampleparts.h"

#include <gtest/gtest.h>

#include <string>

namespace cscan {
namespace {

using namespace Testing;

class ViewCommand : public testing::Test {
protected:
    void SetUp() override {
        if (!hasPage()) {
            GTEST_SKIP() << "built without the page";
        }
        writeText(directory / "patch.obj", patchMesh());
    }

    ScratchDirectory directory;
};

TEST_F(ViewCommand, TellsWhatThePageHolds) {
    ASSERT_EQ(run(directory, {"prepare", "patch.obj", "patch.quads", "--unit", "mm", "--accept"}).status, 0);
    writeText(directory / "i.csv", "number,u,v,length\n1,3,3,2\n");
    Outcome const outcome =
        run(directory, {"view", "patch.quads", "page.html", "--indications", "i.csv", "--beam", "1.5"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "page"), "page.html");
    EXPECT_EQ(itemIn(outcome.output, "values"), "5");
    EXPECT_EQ(itemIn(outcome.output, "indications"), "1");
    std::string const page = readText(directory / "page.html");
    EXPECT_EQ(itemIn(outcome.output, "size"), std::to_string(page.size()) + " bytes");
    EXPECT_NE(page.find("\"unit\":\"mm\""), std::string::npos);
    EXPECT_NE(page.find("\"beam\":1.5"), std::string::npos);
    EXPECT_TRUE(std::filesystem::exists(directory / "page.html.json"));
}

TEST_F(ViewCommand, HoldsSinglePrecisionOnRequest) {
    ASSERT_EQ(run(directory, {"prepare", "patch.obj", "patch.quads", "--accept"}).status, 0);
    Outcome const outcome = run(directory, {"view", "patch.quads", "page.html", "--precision", "float32"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "places within"), "0");
}

TEST_F(ViewCommand, TakesAPartWithoutValues) {
    Outcome const outcome = run(directory, {"view", "patch.obj", "page.html"});
    ASSERT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_EQ(itemIn(outcome.output, "triangles"), "240");
    EXPECT_EQ(itemIn(outcome.output, "values"), "");
}

TEST_F(ViewCommand, RefusesWhatItCannotShow) {
    EXPECT_EQ(run(directory, {"view", "patch.obj", "page.html", "--precision", "8"}).status, 2);
    EXPECT_EQ(run(directory, {"view", "patch.obj", "page.html", "--beam", "0"}).status, 2);
    EXPECT_EQ(run(directory, {"view", "none.quads", "page.html"}).status, 1);
    EXPECT_EQ(run(directory, {"view", "patch.obj", "patch.obj"}).status, 1);
    EXPECT_FALSE(std::filesystem::exists(directory / "page.html"));
}

} // namespace
} // namespace cscan
