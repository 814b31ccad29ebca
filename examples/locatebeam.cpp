#include "Geometry/geometry.h"

#include <iostream>

using namespace QELT::Geometry::ThreeDimensional;

int main(int argc, char** argv) {
    TriMesh::Mesh mesh;
    mesh.load(argc > 1 ? argv[1] : "examples/cap.obj");
    mesh.conformalMap(false, nullptr, false); // rolls the surface out into the plane
    QuadMesh::RectMesh grid;
    grid.construct(mesh, 0.25); // a grid of quads with this area: the pixels of the scan
    auto const status = grid.getIntersection(Point(3.0, 4.0, 50.0), Vector(0.0, 0.0, -1.0)); // one beam
    auto const quad = status.getIndices();
    std::cout << (status.getIsValid() ? "hit " : "miss ") << quad.getU() << ' ' << quad.getV() << '\n';
}
