// Writes the samples in every format into a folder, for readers that are not ours.

#include "Inspection/exports/exportresult.h"
#include "Inspection/results/resultfile.h"
#include "tests/inspection/exports/samples.h"

#include <cstdio>
#include <exception>
#include <filesystem>

using namespace QELT::Inspection;
using namespace QELT::Inspection::Testing;

namespace {

void writeSamples(std::filesystem::path const& folder) {
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    writeResult(folder / "one.h5", exportSample());
    writeResult(folder / "two.h5", exportSampleOfTwo());
    for (char const* name : {"all.vts", "all.npz", "all.tif"}) {
        exportResult({folder / "one.h5", folder / name, "", {}}, nullptr);
    }
    exportResult({folder / "one.h5", folder / "depth.tiff", "depth", {}}, nullptr);
    exportResult({folder / "one.h5", folder / "amplitude.ply", "amplitude", ColourLimits{0.0, 64.0}},
                 nullptr);
    exportResult({folder / "two.h5", folder / "two.vtm", "", {}}, nullptr);
    exportResult({folder / "two.h5", folder / "two.npz", "", {}}, nullptr);
}

} // namespace

int main(int argumentCount, char const* const* arguments) {
    try {
        writeSamples(argumentCount > 1 ? arguments[1] : ".");
    } catch (std::exception const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
