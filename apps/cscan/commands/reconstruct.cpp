#include "apps/cscan/commands/commands.h"
#include "apps/cscan/commands/report.h"
#include "apps/cscan/files/failure.h"
#include "apps/cscan/files/files.h"
#include "apps/cscan/files/objfile.h"
#include "apps/cscan/progress/stopwatch.h"
#include "apps/cscan/surface/reconstruction.h"

#include <ostream>

namespace cscan {

void runReconstruct(ReconstructOptions const& options, std::ostream& output, ProgressDisplay& display) {
    requireReadable(options.cloud);
    requireObjOutput(options.part);
    requireNoCutBeside(options.part);
    display.setMessage("Reconstructing...");
    Stopwatch const watch;
    auto const [surface, repair] = reconstructFrom(options.cloud, options.repair);
    double const seconds = watch.seconds();
    writeFaces(surface, options.part);
    Mesh mesh;
    mesh.setProgressListener(&display);
    loadObj(mesh, options.part);
    display.clear();
    auto const triangles = trianglesOf(mesh);
    output << options.part.string() << '\n';
    printItem(output, "time", secondsText(seconds));
    printRepair(output, repair);
    printMesh(output, mesh, triangles, boundaryLoopsOf(mesh));
}

} // namespace cscan
