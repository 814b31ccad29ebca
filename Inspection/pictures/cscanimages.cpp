#include "Inspection/pictures/cscanimages.h"

#include "Inspection/pictures/internal/figure.h"
#include "Inspection/pictures/internal/scale.h"
#include "Inspection/pictures/pngfile.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/numbers.h"
#include "Inspection/records/record.h"
#include "Inspection/scanning/quadmap.h"

#include <algorithm>
#include <numeric>

namespace QELT::Inspection {

namespace {

std::string noteOn(std::vector<double> const& values) {
    if (values.empty()) {
        return "no quad was hit";
    }
    constexpr int digits = 5;
    auto const [low, high] = std::minmax_element(values.begin(), values.end());
    double const sum = std::accumulate(values.begin(), values.end(), 0.0);
    double const mean = sum / static_cast<double>(values.size());
    return "quads: min " + toShortText(*low, digits) + "  mean " + toShortText(mean, digits) + "  max " +
           toShortText(*high, digits);
}

Image scanFigure(QuadMap const& map, std::string const& title, bool isFromZero, double smallestStep) {
    std::vector<double> const values = map.values();
    Scale const scale = isFromZero ? scaleFromZero(values, smallestStep) : scaleFor(values, smallestStep);
    return figureOf(map, {title, scale, noteOn(values)});
}

} // namespace

std::vector<std::filesystem::path> imagePaths(std::string const& prefix,
                                              std::vector<std::string> const& names) {
    bool const isDirectory = prefix.empty() || prefix.back() == '/';
    std::string const stem = isDirectory ? prefix : prefix + "_";
    std::vector<std::filesystem::path> paths;
    paths.reserve(names.size());
    for (std::string const& name : names) {
        paths.emplace_back(stem + name + ".png");
    }
    return paths;
}

std::vector<std::filesystem::path> imagePaths(std::string const& prefix) {
    return imagePaths(prefix, {"distance", "angle", "coverage"});
}

void addScanImages(Outputs& outputs, std::string const& prefix) {
    for (auto const& path : imagePaths(prefix)) {
        outputs.add(path);
    }
}

std::vector<std::filesystem::path> writeScanImages(std::string const& prefix, QuadMap const& surface,
                                                   std::vector<Hit> const& hits, std::string const& unit,
                                                   Outputs& outputs, ProgressListener* listener) {
    auto const paths = imagePaths(prefix);
    QuadMaps const maps = quadMapsOf(surface, hits);
    checkpoint(listener);
    writePng(outputs.at(paths[0]), scanFigure(maps.distance, "Distance [" + unit + "]", false, 0.0));
    checkpoint(listener);
    writePng(outputs.at(paths[1]), scanFigure(maps.angleError, "Angle error [deg]", false, 0.0));
    checkpoint(listener);
    writePng(outputs.at(paths[2]), scanFigure(maps.coverage, "Coverage [hits per quad]", true, 1.0));
    return paths;
}

DrawnScan drawScan(DrawnScanOptions const& options, ProgressListener* listener) {
    Record record("scan");
    Outputs outputs(record);
    addScanFiles(options.scan, record, outputs);
    addScanImages(outputs, options.imagePrefix);
    record.setUnit(options.unit);
    DrawnScan drawn{scan(options.scan, listener, record, outputs), {}};
    drawn.images = writeScanImages(options.imagePrefix, drawn.scan.surface, drawn.scan.result.hits,
                                   record.getUnitName(), outputs, listener);
    outputs.commit(listener);
    return drawn;
}

} // namespace QELT::Inspection
