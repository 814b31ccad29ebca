#include "apps/cscan/commands.h"
#include "apps/cscan/failure.h"
#include "apps/cscan/files.h"
#include "apps/cscan/objfile.h"
#include "apps/cscan/report.h"

#include <array>
#include <ostream>

namespace cscan {

namespace {

constexpr std::array<char const*, 3> axisNames{"x", "y", "z"};

void cut(Mesh& mesh, CutOptions const& options) {
    using namespace QELT::Geometry::ThreeDimensional::TriMesh;
    if (boundaryLoopsOf(trianglesOf(mesh)).empty()) {
        throw Failure(options.part.string() + ": the mesh is closed; a cut leads from rim to rim");
    }
    bool const isCut = naming(options.part.string(), [&] {
        return mesh.makeCut(options.isFromGreatest ? Maximum : Minimum, options.axis, options.normalAxis);
    });
    if (!isCut) {
        throw Failure(options.part.string() + ": no way for a cut from the " +
                      (options.isFromGreatest ? "greatest " : "least ") + axisNames.at(options.axis) +
                      " with the surface's normal along +" + axisNames.at(options.normalAxis) + " there");
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
    cut(mesh, options);
    saveObj(mesh, options.result);
    display.clear();
    auto const triangles = trianglesOf(mesh);
    output << options.result.string() << '\n';
    printMesh(output, mesh, triangles, boundaryLoopsOf(triangles));
    printItem(output, "cut file", cutFileOf(options.result).string());
}

} // namespace cscan
