#include "Inspection/pictures/footprintpicture.h"

#include "Inspection/grids/gridfile.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace QELT::Inspection {
namespace {

using namespace Testing;

TEST(DrawFootprint, givesWhatItDrew) {
    ScratchDirectory const directory;
    Grid grid;
    grid.setAsPlane({30.0, 20.0}, 0.5, false, 10);
    saveGrid(grid, directory / "plane.quads");
    FootprintOptions options{
        directory / "plane.quads",
        {Point(15.1, 10.2, 10.0), Vector(1.0, 0.0, 0.0), Vector(0.0, -1.0, 0.0), 5.0, 1.0},
        directory / "foot.png",
        "mm"};
    Footprint const footprint = drawFootprint(options, nullptr);
    EXPECT_EQ(footprint.quad, GridIndex(30, 20));
    EXPECT_GT(std::filesystem::file_size(options.image), 1000U);

    options.beam.origin = Point(50.0, 10.0, 10.0);
    options.image = directory / "none.png";
    EXPECT_EQ(messageOf([&] { drawFootprint(options, nullptr); }),
              options.grid.string() + ": the beam's axis meets no quad");
    EXPECT_FALSE(std::filesystem::exists(options.image));
}

} // namespace
} // namespace QELT::Inspection
