#include "Inspection/results/resultinfo.h"

#include "Inspection/results/resultfile.h"

namespace QELT::Inspection {

ResultFileInfo resultInfoOf(std::filesystem::path const& file, ProgressListener* listener) {
    ResultFileInfo info;
    info.result = readResult(file);
    info.byteCount = std::filesystem::file_size(file);
    info.coverage = coverageOf(info.result);
    info.record = findRecord(file, listener);
    return info;
}

} // namespace QELT::Inspection
