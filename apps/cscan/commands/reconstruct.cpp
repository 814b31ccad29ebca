#include "Inspection/import/objfile.h"
#include "Inspection/parts/reconstruction.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/records/stopwatch.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

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
    printMesh(output, mesh, triangles, boundaryLoopsOf(triangles));
}

} // namespace cscan
