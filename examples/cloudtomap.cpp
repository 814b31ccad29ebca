// From measured points to a flat map: the surface through them, mended, flattened, and how true the map is.
// Uses the inspection library. cloudtomap cloud.xyz flat.obj

#include "Inspection/inspection.h"

#include <exception>
#include <iostream>

using namespace QELT::Inspection;

int main(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "cloudtomap cloud.xyz flat.obj\n";
        return 2;
    }
    try {
        Reconstruction const built = reconstructFrom(argv[1], RepairOptions{});
        std::cout << built.surface.points.size() << " points, " << built.surface.faces.size()
                  << " triangles, " << built.repair.droppedCount << " taken out\n";

        Mesh mesh;
        mesh.construct(built.surface.points, built.surface.faces);
        FlatteningReport const flattening = flatten(mesh, FlatteningOptions{}, nullptr);
        if (!flattening.isTrustworthy()) {
            std::cerr << flattening.doubt << '\n';
            return 1;
        }
        MapQuality const quality = mapQualityOf(mesh);
        std::cout << quality.turnedCount << " triangles turned over, " << 100.0 * quality.alikeShare
                  << " % alike in scale\n";
        saveFlatObj(mesh, argv[2]);
    } catch (std::exception const& failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
}
