#include "apps/cscan/commands/commands.h"
#include "apps/cscan/commands/report.h"
#include "apps/cscan/files/failure.h"
#include "apps/cscan/files/files.h"
#include "apps/cscan/files/numbers.h"
#include "apps/cscan/files/objfile.h"

#include <array>
#include <cmath>
#include <ostream>

namespace cscan {

namespace {

constexpr std::array<char const*, 3> axisNames{"x", "y", "z"};

CutPlane cut(Mesh& mesh, CutOptions const& options) {
    std::size_t const rimCount = boundaryLoopsOf(mesh).size();
    if (rimCount == 0) {
        throw Failure(options.part.string() + ": the mesh is closed; a cut leads from rim to rim");
    }
    std::string const start =
        std::string(options.cut.isFromGreatest ? "greatest " : "least ") + axisNames.at(options.cut.axis);
    auto const plane = naming(options.part.string(), [&] { return cutTube(mesh, options.cut); });
    if (!plane) {
        throw Failure(options.part.string() + ": no way for a cut from the " + start +
                      " with the surface's normal along " + axisNames.at(options.cut.normalAxis) + " there");
    }
    if (boundaryLoopsOf(mesh).size() >= rimCount) {
        throw Failure(options.part.string() + ": the cut from the " + start + " leads back to its own rim");
    }
    return *plane;
}

void printPlane(std::ostream& output, CutPlane const& plane, TubeCut const& cut) {
    if (plane.isTurned) {
        printItem(output, "note",
                  std::string("the normal at the start points along -") + axisNames.at(cut.normalAxis));
    }
    if (plane.slope != 0.0) {
        printItem(output, "note",
                  "points lie exactly in the plane of the cut; it was made to lean by " +
                      toShortText(std::abs(plane.slope), 2));
    }
}

} // namespace

void runCut(CutOptions const& options, std::ostream& output, ProgressDisplay& display) {
    requireReadable(options.part);
    requireObjOutput(options.result);
    requireWritable(cutFileOf(options.result));
    Mesh mesh;
    mesh.setProgressListener(&display);
    loadObj(mesh, options.part);
    CutPlane const plane = cut(mesh, options);
    saveObj(mesh, options.result);
    display.clear();
    auto const triangles = trianglesOf(mesh);
    output << options.result.string() << '\n';
    printMesh(output, mesh, triangles, boundaryLoopsOf(mesh));
    printPlane(output, plane, options.cut);
    printItem(output, "cut file", cutFileOf(options.result).string());
}

} // namespace cscan
