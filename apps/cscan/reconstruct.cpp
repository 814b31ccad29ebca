#include "apps/cscan/commands.h"
#include "apps/cscan/failure.h"
#include "apps/cscan/files.h"
#include "apps/cscan/objfile.h"
#include "apps/cscan/reconstruction.h"
#include "apps/cscan/report.h"
#include "apps/cscan/stopwatch.h"

#include <ostream>

namespace cscan {

void runReconstruct(ReconstructOptions const& options, std::ostream& output, ProgressDisplay& display) {
    requireReadable(options.cloud);
    requireObjOutput(options.part);
    requireNoCutBeside(options.part);
    Mesh mesh;
    mesh.setProgressListener(&display);
    display.setMessage("Reconstructing...");
    Stopwatch const watch;
    loadCloud(mesh, options.cloud);
    double const seconds = watch.seconds();
    saveObj(mesh, options.part);
    display.clear();
    auto const triangles = trianglesOf(mesh);
    output << options.part.string() << '\n';
    printItem(output, "time", secondsText(seconds));
    printMesh(output, mesh, triangles, boundaryLoopsOf(triangles));
    printItem(output, "points left out", std::to_string(looseVertexCount(mesh, triangles)));
}

} // namespace cscan
