#include "Geometry/geometry.h"
#include "identity.h"

#include <cmath>
#include <iostream>

using namespace QELT::Geometry::ThreeDimensional;

/// Uses a little of everything: enough to need the library's code, and to see that it answers.
/// code.
int main() {
    std::string const failed = checkTypeIdentity();
    if (!failed.empty()) {
        std::cerr << failed;
        return 1;
    }

    Plane const floor(Point(0.0, 0.0, 1.0), Vector(0.0, 0.0, 2.0));
    double const distance = Point(5.0, 6.0, 4.0).getMinMaxDistance(floor);
    if (std::abs(distance - 3.0) > 1e-12) {
        std::cerr << "distance from the plane is " << distance << '\n';
        return 1;
    }

    TriMesh::Mesh mesh;
    QuadMesh::RectMesh grid;
    if (mesh.getNumberOfVertices() != 0 ||
        grid.getIntersection(Point(), Vector(0.0, 0.0, 1.0)).getIsValid()) {
        std::cerr << "an empty mesh or grid is not empty\n";
        return 1;
    }
    std::cout << "consumer ran\n";
    return 0;
}
