#include "Inspection/pictures/flatpicture.h"

#include "Inspection/import/objfile.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

namespace QELT::Inspection {
namespace {

using Testing::ScratchDirectory;
using Testing::writeText;

/// A square ring of sides 3 outside and 1 inside, flat as it stands; twice as wide on the surface.
char const* const ring = "v 0 0 0\nv 6 0 0\nv 6 3 0\nv 0 3 0\nv 2 1 0\nv 4 1 0\nv 4 2 0\nv 2 2 0\n"
                         "vt 0 0\nvt 3 0\nvt 3 3\nvt 0 3\nvt 1 1\nvt 2 1\nvt 2 2\nvt 1 2\n"
                         "f 1 2 6\nf 1 6 5\nf 2 3 7\nf 2 7 6\nf 3 4 8\nf 3 8 7\nf 4 1 5\nf 4 5 8\n";

void loadText(Mesh& mesh, std::string const& text) {
    ScratchDirectory const directory;
    writeText(directory / "mesh.obj", text);
    loadObj(mesh, directory / "mesh.obj");
}

TEST(FlatPicture, drawsOutlineAndHoleInTheirColours) {
    Mesh mesh;
    loadText(mesh, ring);
    Image const image = flatPictureOf(mesh, "Ring");
    std::size_t blue = 0;
    std::size_t red = 0;
    for (int y = 0; y < image.getHeight(); ++y) {
        for (int x = 0; x < image.getWidth(); ++x) {
            Colour const colour = image.getPixel(x, y);
            blue += colour == Colour{20, 50, 120} ? 1U : 0U;
            red += colour == Colour{190, 30, 50} ? 1U : 0U;
        }
    }
    // Lines of two pixels along squares of about 1200 and 400 pixels.
    EXPECT_GT(blue, 4U * 1100U);
    EXPECT_GT(red, 4U * 300U);
    EXPECT_GT(blue, 2 * red);
}

} // namespace
} // namespace QELT::Inspection
