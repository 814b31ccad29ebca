// A raster of beams at a grid, and a table of where they hit: beamstotable part.quads hits.csv

#include "Geometry/geometry.h"

#include <fstream>
#include <iostream>
#include <numbers>

using namespace QELT::Geometry::ThreeDimensional;

namespace {

constexpr int beamsASide = 40;
constexpr double standoff = 20.0;
constexpr double degrees = 180.0 / std::numbers::pi;

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "beamstotable part.quads hits.csv\n";
        return 2;
    }
    QuadMesh::RectMesh grid;
    grid.load(argv[1]);
    BoundingBoxAA const box = grid.getBoundingBoxAA();
    Point const low = box.getp();
    Point const high = box.getp1();

    std::ofstream table(argv[2]);
    table << "x,y,u,v,distance,incidence\n";
    int hitCount = 0;
    for (int row = 0; row < beamsASide; ++row) {
        double const y = low.getY() + (row + 0.5) / beamsASide * (high.getY() - low.getY());
        for (int column = 0; column < beamsASide; ++column) {
            double const x = low.getX() + (column + 0.5) / beamsASide * (high.getX() - low.getX());
            // Beams in the order of a path are fastest: each begins where the last one hit.
            auto const status =
                grid.getIntersection(Point(x, y, high.getZ() + standoff), Vector(0.0, 0.0, -1.0));
            if (!status.getIsValid()) {
                continue;
            }
            ++hitCount;
            auto const& hit = status.getIntersectionData();
            table << x << ',' << y << ',' << status.getIndices().getU() << ',' << status.getIndices().getV()
                  << ',' << hit.getDistanceToObject() << ',' << hit.getAngleError() * degrees << '\n';
        }
    }
    std::cout << hitCount << " of " << beamsASide * beamsASide << " beams hit\n";
    return table.flush().good() ? 0 : 1;
}
