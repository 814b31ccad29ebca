// Two grids side by side, each with its place in the scan plane, answer beams as one. The grid that answered
// last is asked first, so a probe that goes along the part costs no more than over one grid.

#include "Geometry/geometry.h"

#include <iostream>
#include <string>

using namespace QELT::Geometry;
using namespace QELT::Geometry::ThreeDimensional;

namespace {

constexpr double spacing = 0.5;
constexpr unsigned long maxMB = 100;

/// Writes a square plate that lies at a height, centred about x.
void writePlate(std::string const& file, double x, double height) {
    QuadMesh::RectMesh plate;
    plate.setAsPlane(TwoDimensional::Vector<double>(20.0, 20.0), spacing, true, maxMB);
    LinearMap turn;
    turn.setAsIdentity();
    plate.transform(Point(), AffineMap(turn, Vector(x, 0.0, height)));
    plate.save(file.c_str());
}

} // namespace

int main() {
    writePlate("lower.quads", 0.0, 0.0);
    writePlate("upper.quads", 25.0, 5.0);

    // The second grid's quads begin at column 100 of the common scan plane.
    QuadMesh::RectMeshGroup group;
    group.load({"lower.quads", "upper.quads"},
               {TwoDimensional::Vector<int>(0, 0), TwoDimensional::Vector<int>(100, 0)});
    for (double const x : {-5.2, 2.2, 7.7, 20.2, 40.2}) {
        auto const status = group.getIntersectionStatus(Point(x, 1.1, 50.0), Vector(0.0, 0.0, -1.0), true);
        std::cout << "x = " << x << ": ";
        if (!status.getIsValid()) {
            std::cout << "nothing\n";
            continue;
        }
        std::cout << status.getFileName() << ", quad " << status.getIndices().getU() << ' '
                  << status.getIndices().getV() << ", distance "
                  << status.getIntersectionData().getDistanceToObject() << '\n';
    }
}
