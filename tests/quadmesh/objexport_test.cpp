#include "Geometry/quadmesh/rectmesh.h"
#include "tests/support/gridchecks.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/meshfamilies.h"

#include <limits>
#include <locale>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace QELT::Testing {
namespace {

constexpr char const* head = "#\n# Proprietary data of Marvisan QELT - do not distribute\n#\n\ng Vertices\n";

std::string exported(RectMesh const& grid) {
    TemporaryDirectory const directory;
    std::string const path = directory.file("grid.obj");
    grid.saveAsOBJ(path.c_str());
    return readText(path);
}

/// The text as a stream with its default format writes it, one record after the other.
std::string plainText(RectMesh const& grid) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << head;
    int const highestU = static_cast<int>(grid.getExtents().getdU());
    int const highestV = static_cast<int>(grid.getExtents().getdV());
    for (int v = 0; v <= highestV; ++v) {
        for (int u = 0; u <= highestU; ++u) {
            SpacePoint const p = grid.getPoint({u, v});
            text << "v " << p.getX() << " " << p.getY() << " " << p.getZ() << "\n";
        }
    }
    text << "\n";
    text << "g Faces\n";
    for (int v = 0; v < highestV; ++v) {
        for (int u = 0; u < highestU; ++u) {
            if (grid.getIsQuadValid({u, v})) {
                int const a = (highestU + 1) * v + u + 1;
                int const c = (highestU + 1) * (v + 1) + u + 2;
                text << "f " << a << " " << a + 1 << " " << c << " " << c - 1 << "\n";
            }
        }
    }
    return text.str();
}

TEST(ObjExport, AGridOfTwoQuadsIsWrittenByteForByte) {
    RectMesh const grid = flatGrid(2, 1, 0.5);
    EXPECT_EQ(exported(grid), std::string(head) + "v 0 0 0\nv 0.5 0 0\nv 1 0 0\nv 0 0.5 0\nv 0.5 0.5 0\n"
                                                  "v 1 0.5 0\n\ng Faces\nf 1 2 5 4\nf 2 3 6 5\n");
}

TEST(ObjExport, InvalidNodesStillHaveVertexLinesAndTheLastFaceEndsAtTheLastNode) {
    RectMesh grid = flatGrid(2, 2);
    punchHole(grid, {0, 0}, {0, 0});
    EXPECT_EQ(exported(grid), std::string(head) +
                                  "v 0 0 0\nv 1 0 0\nv 2 0 0\nv 0 1 0\nv 1 1 0\nv 2 1 0\nv 0 2 0\nv 1 2 0\n"
                                  "v 2 2 0\n\ng Faces\nf 2 3 6 5\nf 4 5 8 7\nf 5 6 9 8\n");
}

TEST(ObjExport, NumbersHaveTheStreamsSixDigits) {
    RectMesh const grid = makeGrid(3, 0, [](int u, int) {
        switch (u) {
        case 0:
            return SpacePoint(0.1, 1234567.0, -0.000012345678);
        case 1:
            return SpacePoint(999999.5, 100000.0, 1e30);
        case 2:
            return SpacePoint(-0.0, 1.0 / 3.0, 16777216.0);
        default:
            return SpacePoint(std::numeric_limits<double>::infinity(),
                              -std::numeric_limits<double>::infinity(), 1e-40);
        }
    });
    EXPECT_EQ(exported(grid), std::string(head) + "v 0.1 1.23457e+06 -1.23457e-05\nv 1e+06 100000 1e+30\n"
                                                  "v -0 0.333333 1.67772e+07\nv inf -inf 9.99995e-41\n"
                                                  "\ng Faces\n");
}

TEST(ObjExport, EveryFamilyIsWrittenAsByAStream) {
    for (GridFamily const& family : gridFamilies(71)) {
        SCOPED_TRACE(family.name);
        EXPECT_EQ(exported(family.grid), plainText(family.grid));
    }
}

TEST(ObjExport, LongTextsComeThrough) {
    RectMesh grid = noisyGrid(99, 99, 0.4, 72);
    punchSpeckles(grid, 0.02, 73);
    EXPECT_EQ(exported(grid), plainText(grid));
}

TEST(ObjExport, ADerivedGridWritesWhatItShows) {
    class Raised : public RectMesh {
    public:
        explicit Raised(RectMesh const& source) : RectMesh(source) {}

        SpacePoint getPoint(GridIndex const& p) const override {
            return RectMesh::getPoint(p) + Geometry::ThreeDimensional::Vector(0.0, 0.0, 7.0);
        }
    };

    RectMesh const grid = flatGrid(1, 0);
    EXPECT_EQ(exported(Raised(grid)), std::string(head) + "v 0 0 7\nv 1 0 7\n\ng Faces\n");
}

TEST(ObjExport, TheFileNameStays) {
    RectMesh const grid = flatGrid(1, 1);
    std::string const name = grid.fileName;
    exported(grid);
    EXPECT_EQ(grid.fileName, name);
}

TEST(ObjExport, AnEmptyGridHasNoVertex) {
    EXPECT_EQ(exported(RectMesh()), std::string(head) + "\ng Faces\n");
}

} // namespace
} // namespace QELT::Testing
