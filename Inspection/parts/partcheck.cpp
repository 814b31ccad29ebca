#include "Inspection/parts/partcheck.h"

#include "Inspection/parts/internal/readfaces.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"

namespace QELT::Inspection {

CheckResult checkPart(CheckOptions const& options, ProgressListener* listener) {
    require(!options.pixel || *options.pixel > 0.0, options.part.string() + ": the pixel must be above 0");
    announce(listener, "Reading part");
    auto const [format, mesh] = readFaces(options.part);
    announce(listener, "Looking for faults");
    CheckResult result;
    result.format = format;
    result.isMesh = !mesh.faces.empty();
    result.analysis = analysePart(mesh, options.pixel);
    result.mode = suggestedModeOf(result.analysis);
    result.faults = faultsOf(mesh, result.analysis, options.part);
    result.nextCommands = nextCommands(result.analysis, result.faults, options.part);
    return result;
}

} // namespace QELT::Inspection
