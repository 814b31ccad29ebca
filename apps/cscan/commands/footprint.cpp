#include "Inspection/grids/gridfile.h"
#include "Inspection/pictures/footprintpicture.h"
#include "Inspection/pictures/pngfile.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"
#include "Inspection/records/numbers.h"
#include "apps/cscan/commands/commands.h"
#include "apps/cscan/report/report.h"

#include <array>
#include <ostream>

namespace cscan {

namespace {

std::string pairText(double u, double v) {
    return "(" + toFixedText(u, 3) + ", " + toFixedText(v, 3) + ")";
}

} // namespace

void runFootprint(FootprintOptions const& options, std::ostream& output, ProgressDisplay& display) {
    requireReadable(options.grid);
    requireWritable(options.image);
    Grid grid;
    loadGrid(grid, options.grid);
    Footprint const footprint =
        naming(options.grid.string(), [&] { return footprintOf(grid, options.beam); });
    display.setMessage("Drawing...");
    writePng(options.image, footprintPictureOf(grid, options.beam, footprint, options.unit));
    display.clear();
    constexpr std::array<char const*, 4> names{"half-axis along A", "half-axis along B",
                                               "half-axis against A", "half-axis against B"};
    printItem(output, "quad",
              "(" + std::to_string(footprint.quad.getU()) + ", " + std::to_string(footprint.quad.getV()) +
                  ")");
    printItem(output, "centre in quads", pairText(footprint.centre.getU(), footprint.centre.getV()));
    for (std::size_t i = 0; i < names.size(); ++i) {
        auto const axis = footprint.ends[i] - footprint.centre;
        printItem(output, names.at(i), pairText(axis.getdU(), axis.getdV()));
    }
    printItem(output, "image", options.image.string());
}

} // namespace cscan
