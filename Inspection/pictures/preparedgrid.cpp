#include "Inspection/pictures/preparedgrid.h"

#include "Inspection/pictures/cscanimages.h"
#include "Inspection/pictures/flatpicture.h"
#include "Inspection/pictures/internal/figure.h"
#include "Inspection/pictures/pngfile.h"
#include "Inspection/records/numbers.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"
#include "Inspection/scanning/quadmap.h"

#include <cmath>

namespace QELT::Inspection {

namespace {

constexpr int digits = 4;

std::vector<std::filesystem::path> pathsOf(DrawnPrepareOptions const& options) {
    return options.imagePrefix.empty() ? std::vector<std::filesystem::path>()
                                       : imagePaths(options.imagePrefix, {"map", "pixels"});
}

QuadMap pixelSidesOf(Grid const& grid) {
    QuadMap map = surfaceMapOf(grid);
    for (std::size_t v = 0; v < map.getHeight(); ++v) {
        for (std::size_t u = 0; u < map.getWidth(); ++u) {
            Cell& cell = map.at(u, v);
            if (cell.kind != Cell::NoSurface) {
                double const area = quadAreaOf(grid, GridIndex(static_cast<int>(u), static_cast<int>(v)));
                cell = std::isnan(area) ? cell : Cell{Cell::Measured, std::sqrt(area)};
            }
        }
    }
    return map;
}

std::string noteOn(QuadSizes const& sizes) {
    return "median " + toShortText(std::sqrt(sizes.median), digits) + ", " +
           toFixedText(100.0 * sizes.alikeShare(), 1) + " % of quads within a factor of " +
           toShortText(bearableAreaFactor, 2) + " of its area";
}

std::vector<std::filesystem::path> draw(DrawnPrepareOptions const& options, PrepareResult const& prepared,
                                        Outputs& outputs) {
    auto const paths = pathsOf(options);
    std::vector<std::filesystem::path> images{paths[0]};
    writePng(outputs.at(paths[0]), flatPictureOf(*prepared.mesh, "Flat map, " + nameOf(prepared.map().mode)));
    if (prepared.surface) {
        writePng(outputs.at(paths[1]), pixelPictureOf(*prepared.surface, prepared.unit));
        images.push_back(paths[1]);
    }
    return images;
}

} // namespace

Image pixelPictureOf(Grid const& grid, std::string const& unit) {
    QuadMap const map = pixelSidesOf(grid);
    return figureOf(
        map, {"Side of a pixel [" + unit + "]", scaleFor(map.values(), 0.0), noteOn(quadSizesOf(grid))});
}

DrawnPreparation drawPreparation(DrawnPrepareOptions const& options, ProgressListener* listener,
                                 PrepareObserver const& observer) {
    Record record("prepare");
    Outputs outputs(record);
    addPrepareFiles(options.prepare, record, outputs);
    for (auto const& path : pathsOf(options)) {
        outputs.add(path);
    }
    DrawnPreparation drawn{prepare(options.prepare, listener, observer, record, outputs), {}};
    if (!options.imagePrefix.empty()) {
        drawn.images = draw(options, drawn.prepared, outputs);
    }
    outputs.commit(listener);
    if (observer && drawn.prepared.isWritten) {
        observer(PrepareStage::Saved, drawn.prepared);
    }
    return drawn;
}

} // namespace QELT::Inspection
