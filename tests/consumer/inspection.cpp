#include "Inspection/inspection.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

using namespace QELT::Inspection;

namespace {

/// A listener of the user's own, which the library asks what else it is.
class CountingListener : public QELT::LinearAlgebra::SolveListener {
public:
    int messageCount = 0;
    int iterationCount = 0;

    void setMessage(char const*) override { ++messageCount; }

    void setPercentage(unsigned long) override {}

    void reserved3() override {}

    void reserved4() override {}

    void setSolveProgress(SolveReport const&) override { ++iterationCount; }
};

void writePart(std::filesystem::path const& path) {
    std::ofstream file(path);
    file << "v 0 0 0\nv 2 0 0\nv 2 1 0\nv 0 1 0\nv 1 0.4 0.1\nf 1 2 5\nf 2 3 5\nf 3 4 5\nf 4 1 5\n";
}

} // namespace

/// The way from a part to its C-scan through the functions of the inspection library.
int main() {
    writePart("part.obj");
    PrepareOptions part;
    part.part = "part.obj";
    part.grid = "part.quads";
    part.resolution.pixel = 0.1;
    part.mode = FlatteningMode::Pinned;
    CountingListener listener;
    PrepareResult const prepared = prepare(part, &listener);
    if (prepared.part.faceCount != 4 || prepared.grid.validQuadCount == 0 || listener.messageCount == 0 ||
        !prepared.isFit() || !prepared.isWritten) {
        std::cerr << "the part was not prepared\n";
        return 1;
    }

    Mesh mesh;
    loadObj(mesh, "part.obj");
    flatten(mesh, {FlatteningMode::Pinned, SolverKind::ConjugateGradients}, &listener);
    if (listener.iterationCount == 0) {
        std::cerr << "the solver did not know its listener\n";
        return 1;
    }

    DrawnScanOptions scan;
    scan.scan.grids.push_back({"part.quads"});
    scan.scan.raster = Raster{0.1, 1.0, Vector(0.0, 0.0, -1.0)};
    scan.scan.hits = "hits.csv";
    scan.imagePrefix = "part";
    DrawnScan const drawn = drawScan(scan, nullptr);
    if (statisticsOf(drawn.scan.result).hitCount == 0 || !std::filesystem::exists("part_distance.png")) {
        std::cerr << "the scan met nothing or was not drawn\n";
        return 1;
    }

    try {
        prepare({}, nullptr);
    } catch (Failure const& failure) {
        std::cout << "inspection consumer ran\n";
        return std::string(failure.what()).empty() ? 1 : 0;
    }
    std::cerr << "a failure of the library was not caught\n";
    return 1;
}
