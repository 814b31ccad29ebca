#include "Geometry/geometry.h"
#include "identity.h"

#include <cmath>
#include <fstream>
#include <iostream>

using namespace QELT::Geometry::ThreeDimensional;

namespace {

/// A grid of the user's own, which reads the header of a file that it opened itself.
class HeaderReader : public QuadMesh::RectMesh {
public:
    static QuadMesh::QuadFileHeader read(char const* path) {
        std::ifstream stream(path, std::ios_base::binary);
        QuadMesh::QuadFileHeader header;
        readFileHeader(stream, header);
        return header;
    }
};

bool checkGridHeader() {
    char const* const path = "field.quads";
    QuadMesh::RectMesh field;
    field.setAsHeightField();
    field.save(path);
    QuadMesh::QuadFileHeader const header = HeaderReader::read(path);
    return header.version == 1 && header.extentU == 128 && header.coordinateDataType == 0 &&
           header.meanQuadArea == QuadMesh::RectMesh::getFileHeader(path).meanQuadArea;
}

} // namespace

/// Uses a little of everything: enough to need the library's code, and to see that it answers.
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
    if (!checkGridHeader()) {
        std::cerr << "a derived grid reads another header than was written\n";
        return 1;
    }
    std::cout << "consumer ran\n";
    return 0;
}
