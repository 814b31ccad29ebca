#include "Inspection/parts/reconstruction.h"

#include "Inspection/import/objfile.h"
#include "Inspection/import/part.h"
#include "Inspection/parts/cloudspacing.h"
#include "Inspection/parts/cloudthinning.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"
#include "Inspection/records/stopwatch.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace QELT::Inspection {

namespace {

/// The front looks at 64 neighbours of a point.
constexpr std::size_t fewPoints = 66;

/// The surface as it was built, and how many triangles are missing from it.
struct BuiltSurface {
    FaceMesh surface;
    std::size_t unlistedCount = 0;
};

/// The growth of a surface ends when it has reached all points, wherever sides are still open then: slits
/// between points that it reached from two sides. A point so far off that it is nobody's neighbour keeps it
/// going until there is nothing left to build. With few points it would be one.
std::optional<Point> outOfReach(std::vector<Point> const& points) {
    if (points.size() < fewPoints) {
        return std::nullopt;
    }
    Point low = points.front();
    Point high = low;
    for (Point const& point : points) {
        low.setMin(point);
        high.setMax(point);
    }
    Vector const extent = high - low;
    return high + (extent + extent);
}

/// The last point, if there is one, comes behind the others.
BuiltSurface grownThrough(std::vector<Point> const& points, std::optional<Point> const& last) {
    QELT::Geometry::ThreeDimensional::PointCloud::Cloud cloud;
    for (Point const& point : points) {
        cloud.addPoint(point);
    }
    if (last) {
        cloud.addPoint(*last);
    }
    Mesh mesh;
    mesh.construct(cloud);
    return {faceMeshOf(mesh), mesh.getUnlistedTriangles().size()};
}

BuiltSurface surfaceThrough(std::vector<Point> const& points) {
    auto const last = outOfReach(points);
    BuiltSurface result = grownThrough(points, last);
    auto const& faces = result.surface.faces;
    bool const isLastReached = std::any_of(faces.begin(), faces.end(), [&](Face const& face) {
        return *std::max_element(face.begin(), face.end()) == points.size();
    });
    if (isLastReached) { // many points coincide: it is a neighbour of the few places that there are
        return grownThrough(points, std::nullopt);
    }
    result.surface.points.resize(points.size());
    return result;
}

/// With x, y and z in the places of y, z and x, so often.
Point turned(Point const& point, unsigned turns) {
    Point result = point;
    for (unsigned axis = 0; axis < 3; ++axis) {
        result.seti((axis + turns) % 3, static_cast<double>(point.get(axis)));
    }
    return result;
}

void turnAll(std::vector<Point>& points, unsigned turns) {
    std::transform(points.begin(), points.end(), points.begin(),
                   [turns](Point const& point) { return turned(point, turns); });
}

/// Nothing if no triangle can be built to begin with.
std::optional<BuiltSurface> surfaceFromEitherSide(std::vector<Point> points) {
    for (int side = 0; side < 2; ++side) {
        try {
            return surfaceThrough(points);
        } catch (std::runtime_error const&) {
            std::reverse(points.begin(), points.end());
        }
    }
    return std::nullopt;
}

BuiltSurface surfaceFromAnySide(std::vector<Point> points) {
    for (unsigned turns = 0; turns < 3; ++turns) {
        auto built = surfaceFromEitherSide(points);
        if (built) {
            turnAll(built->surface.points, (3 - turns) % 3);
            return *std::move(built);
        }
        turnAll(points, 1);
    }
    throw std::runtime_error("no triangle can be built on the closest two points; a surface needs points "
                             "that surround each other, not all in one line");
}

/// Of the spacing that points are left with: sides that are longer bridge gaps. Where points are scattered at
/// random, so that they surround each other only when they are thinned, wider gaps are there by chance.
constexpr double sidesInSpacings = 3.0;
constexpr double scatteredSidesInSpacings = 4.0;

/// A cloud that is thinned because it must be is thinned further while the surface does not reach so many of
/// the points that are left, as where lines cross.
constexpr double bearableLostShare = 0.02;
constexpr int maxTries = 3;
constexpr double thinningGrowth = 1.25;

/// What lies over a sheet within this, in spacings, is the same sheet.
constexpr double overlapInSpacings = 0.7;

/// Chooses what the user left open.
RepairOptions completed(RepairOptions options, CloudSpacing const& cloud, double thinnedTo) {
    if (cloud.even == 0.0) {
        return options;
    }
    double const spacing = std::max(cloud.across, thinnedTo);
    if (!options.longestSide) {
        bool const isScattered = cloud.form == CloudForm::Even && cloud.even > cloud.nearest;
        options.longestSide = (isScattered ? scatteredSidesInSpacings : sidesInSpacings) * spacing;
    }
    if (!options.overlapReach) {
        options.overlapReach = overlapInSpacings * spacing;
    }
    return options;
}

/// Builds a surface through what is left of the points when they are thinned, if that is above 0.
Reconstruction thinnedSurface(std::vector<Point> const& points, CloudSpacing const& spacing, double thinTo,
                              RepairOptions const& options) {
    auto const left = thinTo > 0.0 ? thinned(points, thinTo) : points;
    RepairOptions const settings = completed(options, spacing, thinTo);
    BuiltSurface built = surfaceFromAnySide(left);
    Reconstruction result;
    result.surface = std::move(built.surface);
    result.repair = repairSurface(result.surface, settings);
    result.repair.unlistedCount = built.unlistedCount;
    result.repair.cloud = {spacing, points.size(), thinTo, points.size() - left.size(), settings.longestSide};
    return result;
}

/// Of the points that were not thinned out, those that the surface does not reach.
double lostShare(Reconstruction const& result) {
    CloudReport const& cloud = *result.repair.cloud;
    return static_cast<double>(result.repair.looseCount) /
           static_cast<double>(cloud.pointCount - cloud.thinnedCount);
}

} // namespace

Reconstruction reconstructFrom(PlacedPart const& cloud, RepairOptions const& options) {
    return reconstructFrom(loadPart(cloud), cloud, options);
}

Reconstruction reconstructFrom(PartAsLoaded const& part, PlacedPart const& cloud,
                               RepairOptions const& options) {
    require(!part.isMesh(), cloud.string() + ": is a mesh already; prepare it as it is");
    auto const points = pointsOf(part);
    CloudSpacing const spacing = spacingOf(points);
    double const fit = options.thinTo.value_or(fitSpacing(spacing));
    int const tries = options.thinTo || fit == 0.0 ? 1 : maxTries;
    auto const surfaceAt = [&](int growths) {
        return thinnedSurface(points, spacing, fit * std::pow(thinningGrowth, growths), options);
    };
    Reconstruction best = naming(cloud.string(), [&] { return surfaceAt(0); });
    for (int growths = 1; growths < tries && lostShare(best) > bearableLostShare; ++growths) {
        Reconstruction next = naming(cloud.string(), [&] { return surfaceAt(growths); });
        if (lostShare(next) < lostShare(best)) {
            best = std::move(next);
        }
    }
    if (best.surface.faces.empty()) {
        throw Failure(cloud.string() + ": no triangle's sides are all that short");
    }
    return best;
}

ReconstructResult reconstruct(ReconstructOptions const& options, ProgressListener* listener) {
    Record record("reconstruct");
    addPart(record, options.cloud);
    Outputs outputs(record);
    addObjOutput(outputs, options.part);
    requireNoCutBeside(options.part);
    announce(listener, "Reconstructing...");
    Stopwatch const watch;
    PartAsLoaded const part = loadPart(options.cloud);
    auto const [surface, repair] = reconstructFrom(part, options.cloud, options.repair);
    double const seconds = watch.seconds();
    checkpoint(listener);
    writeFaces(surface, outputs.at(options.part));
    Mesh mesh;
    mesh.setProgressListener(listener);
    loadObj(mesh, outputs.at(options.part).file);
    ReconstructResult const result{meshSummaryOf(mesh), repair, seconds, part.report};
    addSettings(record, options.repair);
    addFigures(record, result.part);
    addFigures(record, repair);
    outputs.commit(listener);
    return result;
}

} // namespace QELT::Inspection
