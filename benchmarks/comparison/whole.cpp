// A scan the whole way, through the functions of the inspection: from its file to its hits.

#include "Inspection/inspection.h"
#include "benchmarks/comparison/contest.h"
#include "benchmarks/comparison/page.h"
#include "benchmarks/comparison/process.h"
#include "benchmarks/scannedpatch.h"
#include "benchmarks/temporaryfile.h"

#include <embree3/rtcore.h>
#include <nanoflann.hpp>

#include <Eigen/Core>
#include <fstream>
#include <functional>
#include <memory>
#include <stdexcept>

namespace Comparison {

namespace {

using namespace QELT::Inspection;

/// Quads of the grid for each vertex of the scan.
constexpr double quadsPerVertex = 10.0;

void writeScan(char const* path, std::size_t side) {
    Benchmarks::ScannedPatch const patch = Benchmarks::makeScannedPatch(static_cast<std::uint32_t>(side));
    std::ofstream file(path);
    for (Point const& p : patch.points) {
        file << "v " << p.getX() << ' ' << p.getY() << ' ' << p.getZ() << '\n';
    }
    for (auto const& face : patch.faces) {
        file << "f " << face[0] + 1 << ' ' << face[1] + 1 << ' ' << face[2] + 1 << '\n';
    }
}

class WholeWay {
public:
    explicit WholeWay(std::size_t newSide) : side(newSide) { writeScan(file.getPath(), side); }

    std::vector<Stage> run() {
        add("load the scan", [&] { return load(); });
        add("flatten, two corners pinned", [&] { return flattenBy(FlatteningMode::Pinned); });
        add("load it again, since a map renumbers the vertices", [&] { return load(); });
        add("flatten, rim rolled out", [&] { return flattenBy(FlatteningMode::Developable); });
        add("resample", [&] { return resample(); });
        add("sizes of the quads", [&] { return measure(); });
        add("save the grid", [&] { return save(); });
        add("load the grid", [&] { return reload(); });
        add("set up the sure search", [&] { return setUp(); });
        add("fire a raster", [&] { return fire(); });
        return stages;
    }

private:
    std::size_t side;
    Benchmarks::TemporaryFile file{".obj"};
    Benchmarks::TemporaryFile gridFile{".quads"};
    std::vector<Stage> stages;
    std::unique_ptr<Mesh> mesh;
    MapCandidate map;
    std::unique_ptr<Grid> grid;
    std::unique_ptr<SureSearch> search;

    void add(std::string const& name, std::function<std::string()> const& work) {
        restartPeak();
        double const start = processorSeconds();
        std::string const result = work();
        stages.push_back({name, result, processorSeconds() - start, peakBytes()});
    }

    std::string load() {
        PartAsLoaded const part = loadPart(PlacedPart(file.getPath()));
        mesh = std::make_unique<Mesh>();
        fillMesh(*mesh, part, file.getPath());
        MeshSummary const summary = meshSummaryOf(*mesh);
        return shownCount(static_cast<double>(summary.vertexCount)) + " vertices, " +
               shownCount(static_cast<double>(summary.faceCount)) + " triangles, rim of " +
               shownCount(static_cast<double>(summary.loops.front().vertices.size())) + " edges";
    }

    std::string flattenBy(FlatteningMode mode) {
        map = candidateOf(*mesh, {mode, SolverKind::Direct}, nullptr);
        if (!map.isSolved()) {
            throw std::runtime_error("the map is not solved: " + map.refusal + map.flattening.doubt);
        }
        return shownCount(static_cast<double>(map.flat.flippedCount)) + " triangles turned over";
    }

    std::string resample() {
        double const quads = quadsPerVertex * static_cast<double>(side * side);
        grid = std::make_unique<Grid>();
        grid->construct(*mesh, meshSummaryOf(*mesh).area / quads);
        mesh.reset();
        return shownCount(static_cast<double>(grid->getExtents().getdU() * grid->getExtents().getdV())) +
               " quads";
    }

    std::string measure() {
        QuadSizes const sizes = quadSizesOf(*grid);
        return shownCount(static_cast<double>(sizes.quadCount)) + " of them on the part";
    }

    std::string save() {
        grid->save(gridFile.getPath());
        return shownBytes(static_cast<double>(std::filesystem::file_size(gridFile.getPath())));
    }

    std::string reload() {
        grid = std::make_unique<Grid>();
        loadGrid(*grid, gridFile.getPath());
        return shownCount(static_cast<double>(grid->getExtents().getdU() * grid->getExtents().getdV())) +
               " quads";
    }

    std::string setUp() {
        search = std::make_unique<SureSearch>(std::vector<Grid const*>{grid.get()});
        return shownBytes(static_cast<double>(search->getMemory()));
    }

    std::string fire() {
        GridSummary const summary = gridSummaryOf(*grid);
        Raster const raster{100.0 / static_cast<double>(side), 20.0, Vector(0.0, 0.0, -1.0)};
        std::vector<Beam> const beams = rasterBeams(raster, summary.low, summary.high);
        ScanStatistics const statistics = statisticsOf(fireBeams(*search, beams));
        return shownCount(static_cast<double>(statistics.hitCount)) + " hits of " +
               shownCount(static_cast<double>(statistics.beamCount)) + " beams";
    }
};

} // namespace

std::vector<Stage> wholeWay(std::size_t side) {
    return WholeWay(side).run();
}

std::vector<std::string> peerVersions() {
    auto const dotted = [](int major, int minor, int patch) {
        return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
    };
    return {"Embree " RTC_VERSION_STRING, "CGAL " QELT_CGAL_VERSION,
            "Eigen " + dotted(EIGEN_WORLD_VERSION, EIGEN_MAJOR_VERSION, EIGEN_MINOR_VERSION),
            "nanoflann " QELT_NANOFLANN_VERSION, "tinyobjloader " QELT_TINYOBJLOADER_VERSION};
}

} // namespace Comparison
