#include "Inspection/parts/cloudspacing.h"

#include "Inspection/parts/cloudthinning.h"

#include <Eigen/Eigenvalues>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <optional>

// The spacing of a cloud by what it looks like when it is thinned. The idea is that of a dimension that
// depends on the scale: seen closely, the points of a line scanner are lines, or thick heaps where they are
// noisy; from a distance they are a surface.
//
//   1. The cloud is thinned to steps that grow by the root of 2 from the median nearest distance on. At each
//      step the neighbours of a sample of points within 2.5 steps are looked at by the eigenvalues of their
//      second moments about the point: one is large on a line, two on a surface, three in a heap. The
//      moments of a half disc about its centre are in the same proportion as those of a disc, so rims count
//      as the rest does.
//   2. The first step at which nearly as many points look like a surface as at the best step is narrowed down
//      by bisection: at this spacing the cloud is even. The best is held against, since folds and edges of
//      the part look like heaps, more of them at larger steps.
//   3. At half to two thirds of that step points of lines have neighbours of their own line alone within
//      reach, at steps larger than noise. If many look like a line there, the cloud is one of lines, and they
//      are measured: their direction is that of the largest moment, the next line as far as its point that
//      stands most squarely beside. Along the line points are counted, those that were thinned out as well:
//      their nearest distances would tell the noise.
//   4. If not, but many points stood in lines or heaps at a smaller step, the cloud is crowded. Where points
//      are scattered at random a few lines and heaps are to be found everywhere.
//
// With lines a distance b apart, 2.5 steps reach the next one at 0.4 b, and the points are surface from half
// of b on, noise of a tenth of b included. Steps larger than the spacing cost ever less.

namespace QELT::Inspection {

namespace {

using QELT::Geometry::ThreeDimensional::PointCloud::NearestPoints;

/// Points looked at, evenly over the list. A share of them is known to two in a hundred.
constexpr std::size_t maxSamples = 600;

/// With fewer points a cloud looks like nothing.
constexpr std::size_t minPoints = 24;

constexpr double stepGrowth = std::numbers::sqrt2;
constexpr int maxGrowths = 40;
constexpr int bisections = 2;

/// In steps. Two rows of a lattice are in reach, and of thinned lines the next one when they are even.
constexpr double reach = 2.5;

/// A surface has at most 20 points in reach that are a step apart.
constexpr unsigned long maxNeighbours = 24;

/// Between the second moments of points on a line: noise of a tenth of the spacing across gives half of it.
constexpr double lineMoments = 0.15;

/// A bent surface stays below, a ball is at 1.
constexpr double surfaceMoments = 0.25;

/// Of the share of points that look like a surface at the best step, which is large unless there is none.
constexpr double nearBest = 0.95;
constexpr double minSurfaceShare = 0.6;

/// Of points that look like lines, or heaps, at some step; of scattered points fewer do by chance.
constexpr double crowdedLineShare = 0.4;
constexpr double crowdedHeapShare = 0.1;

/// Of points that look like lines where lines are measured.
constexpr double measuredLineShare = 0.25;

/// Of the even step: where lines are measured, at the better of two. Noise wants the larger one, lines whose
/// spacing changes from place to place the smaller one.
constexpr double largerLineStep = 2.0 / 3.0;
constexpr double smallerLineStep = 0.5;

/// Neighbours whose farthest tells the area of a point; they are a lattice's within two steps.
constexpr unsigned long areaNeighbours = 12;

/// Of the even step: thinned to it, a cloud of lines 2 apart is left with steps of about 1.6 along them. The
/// front that grows a surface fails on less even points, and wider steps lose detail.
constexpr double fitSteps = 1.5;

Eigen::Vector3d offsetBetween(Point const& from, Point const& to) {
    auto const along = [&](unsigned long axis) {
        return static_cast<double>(to.get(axis)) - static_cast<double>(from.get(axis));
    };
    return {along(0), along(1), along(2)};
}

double medianOf(std::vector<double> values) {
    if (values.empty()) {
        return 0.0;
    }
    auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double meanOf(std::vector<double> const& values) {
    double const sum = std::accumulate(values.begin(), values.end(), 0.0);
    return values.empty() ? 0.0 : sum / static_cast<double>(values.size());
}

std::vector<std::size_t> sampleOf(std::size_t count) {
    std::size_t const taken = std::min(count, maxSamples);
    std::vector<std::size_t> sample;
    for (std::size_t k = 0; k < taken; ++k) {
        sample.push_back(k * count / taken);
    }
    return sample;
}

double nearestDistanceIn(std::vector<Point> const& points) {
    NearestPoints const index(points);
    std::vector<double> distances;
    for (std::size_t const i : sampleOf(points.size())) {
        auto const nearest = index.getNearestOthers(i, 1);
        if (!nearest.empty()) {
            distances.push_back(std::sqrt(nearest.front().distanceSqr));
        }
    }
    return medianOf(std::move(distances));
}

enum class Shape : std::uint8_t { Unknown, Line, Surface, Heap };

/// What the neighbours of a point look like, and the direction in which they reach farthest.
struct Surroundings {
    Shape shape = Shape::Unknown;
    Eigen::Vector3d direction = Eigen::Vector3d::Zero();
};

Surroundings surroundingsOf(std::vector<Eigen::Vector3d> const& offsets) {
    if (offsets.size() < 2) {
        return {};
    }
    Eigen::Matrix3d moments = Eigen::Matrix3d::Zero();
    for (Eigen::Vector3d const& offset : offsets) {
        moments += offset * offset.transpose();
    }
    Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> const solver(moments);
    Eigen::Vector3d const& values = solver.eigenvalues();
    Shape const wide = values(0) < surfaceMoments * values(1) ? Shape::Surface : Shape::Heap;
    return {values(1) < lineMoments * values(2) ? Shape::Line : wide, solver.eigenvectors().col(2)};
}

/// Shares of the sample.
struct Shares {
    double lines = 0.0;
    double surface = 0.0;
    double heaps = 0.0;
};

/// The cloud thinned to a step.
class ThinnedCloud {
public:
    ThinnedCloud(std::vector<Point> const& cloud, double newStep)
        : step(newStep), points(thinned(cloud, newStep)), index(points) {}

    std::size_t size() const { return points.size(); }

    Point const& at(std::size_t i) const { return points[i]; }

    /// In steps.
    std::vector<Eigen::Vector3d> offsetsAround(std::size_t i, double within) const {
        std::vector<Eigen::Vector3d> offsets;
        for (auto const& neighbour : index.getNearestOthers(i, maxNeighbours)) {
            Eigen::Vector3d const offset = offsetBetween(points[i], points[neighbour.index]) / step;
            if (offset.norm() <= within) {
                offsets.push_back(offset);
            }
        }
        return offsets;
    }

    Shares shares() const {
        Shares counts;
        auto const sample = sampleOf(size());
        for (std::size_t const i : sample) {
            Shape const shape = surroundingsOf(offsetsAround(i, reach)).shape;
            counts.lines += shape == Shape::Line ? 1.0 : 0.0;
            counts.surface += shape == Shape::Surface ? 1.0 : 0.0;
            counts.heaps += shape == Shape::Heap ? 1.0 : 0.0;
        }
        auto const all = static_cast<double>(sample.size());
        return {counts.lines / all, counts.surface / all, counts.heaps / all};
    }

    /// The side of a square a point.
    double squareSide() const {
        std::vector<double> sides;
        for (std::size_t const i : sampleOf(size())) {
            auto const nearest = index.getNearestOthers(i, areaNeighbours);
            if (!nearest.empty()) {
                double const around = static_cast<double>(nearest.size()) + 0.5; // half of the outermost too
                sides.push_back(std::sqrt(nearest.back().distanceSqr * std::numbers::pi / around));
            }
        }
        return medianOf(std::move(sides));
    }

private:
    double step;
    std::vector<Point> points;
    NearestPoints index;
};

/// What thinning found.
struct EvenStep {
    double step = 0.0;
    double surfaceShare = 0.0; ///< below which points do not surround each other
    double lineShare = 0.0;    ///< the largest at the steps before
    double heapShare = 0.0;
};

struct StepShares {
    double step = 0.0;
    Shares shares;
};

std::vector<StepShares> sharesByStep(std::vector<Point> const& points, double nearest) {
    std::vector<StepShares> steps;
    double step = nearest;
    for (int i = 0; i < maxGrowths; ++i, step *= stepGrowth) {
        ThinnedCloud const cloud(points, step);
        if (cloud.size() < minPoints) {
            break;
        }
        steps.push_back({step, cloud.shares()});
    }
    return steps;
}

/// Between a step too small and one that is not.
double narrowed(std::vector<Point> const& points, double low, double high, double wantedShare) {
    for (int i = 0; i < bisections; ++i) {
        double const middle = std::sqrt(low * high);
        ThinnedCloud const cloud(points, middle);
        (cloud.shares().surface >= wantedShare ? high : low) = middle;
    }
    return high;
}

/// Nothing if the cloud looks like a surface at no step.
std::optional<EvenStep> evenStepOf(std::vector<Point> const& points, double nearest) {
    EvenStep found;
    auto const steps = sharesByStep(points, nearest);
    for (StepShares const& at : steps) {
        found.surfaceShare = std::max(found.surfaceShare, nearBest * at.shares.surface);
    }
    if (found.surfaceShare < minSurfaceShare) {
        return std::nullopt;
    }
    for (StepShares const& at : steps) {
        found.step = at.step;
        if (at.shares.surface >= found.surfaceShare) {
            break;
        }
        found.lineShare = std::max(found.lineShare, at.shares.lines);
        found.heapShare = std::max(found.heapShare, at.shares.heaps);
    }
    if (found.step > nearest) {
        found.step = narrowed(points, found.step / stepGrowth, found.step, found.surfaceShare);
    }
    return found;
}

/// The lines of a cloud that was thinned so that a point's neighbours in reach are of its own line.
class LineMeasure {
public:
    LineMeasure(std::vector<Point> const& points, double newStep) : step(newStep), cloud(points, newStep) {
        for (std::size_t const i : sampleOf(cloud.size())) {
            Surroundings const surroundings = surroundingsOf(cloud.offsetsAround(i, reach));
            if (surroundings.shape == Shape::Line) {
                measure(i, surroundings.direction);
            }
        }
        share = static_cast<double>(stepsAlong.size()) / static_cast<double>(sampleOf(cloud.size()).size());
        double const keptShare = static_cast<double>(cloud.size()) / static_cast<double>(points.size());
        along = step * meanOf(stepsAlong) * keptShare;
        across = step * medianOf(std::move(stepsAcross));
    }

    /// Of the points looked at.
    double getShare() const { return share; }

    double getAlong() const { return along; }

    double getAcross() const { return across; }

private:
    /// In steps: what is farther from a line is of another one.
    static constexpr double lineWidth = 1.5;

    /// Neighbours of one side whose distances from the line differ by more are of two lines.
    static constexpr double sameLine = 1.5;

    double step;
    ThinnedCloud cloud;
    std::vector<double> stepsAlong;
    std::vector<double> stepsAcross;
    double share = 0.0;
    double along = 0.0;
    double across = 0.0;

    void measure(std::size_t i, Eigen::Vector3d const& direction) {
        double low = 0.0;
        double high = 0.0;
        auto const own = cloud.offsetsAround(i, reach);
        for (Eigen::Vector3d const& offset : own) {
            low = std::min(low, offset.dot(direction));
            high = std::max(high, offset.dot(direction));
        }
        stepsAlong.push_back((high - low) / static_cast<double>(own.size()));
        measureAcross(i, direction);
    }

    /// To the next line, or to the next ones of both sides, of which the mean counts.
    void measureAcross(std::size_t i, Eigen::Vector3d const& direction) {
        std::vector<Beside> beside;
        for (Eigen::Vector3d const& offset : cloud.offsetsAround(i, infinitelyFar)) {
            double const forward = offset.dot(direction);
            Eigen::Vector3d const aside = offset - forward * direction;
            if (aside.norm() > lineWidth) {
                beside.push_back({aside, std::abs(forward)});
            }
        }
        if (beside.empty()) {
            return;
        }
        Beside const one = nextLineIn(beside);
        std::erase_if(beside, [&](Beside const& other) { return other.aside.dot(one.aside) >= 0.0; });
        double const distance = one.aside.norm();
        stepsAcross.push_back(beside.empty() ? distance : 0.5 * (distance + nextLineIn(beside).aside.norm()));
    }

    static constexpr double infinitelyFar = 1e300;

    /// A neighbour by how far it is from the line and how far along.
    struct Beside {
        Eigen::Vector3d aside;
        double forward = 0.0;
    };

    static Beside nextLineIn(std::vector<Beside> const& beside) {
        auto const isNearer = [](Beside const& a, Beside const& b) {
            return a.aside.norm() < b.aside.norm();
        };
        double const limit =
            sameLine * std::min_element(beside.begin(), beside.end(), isNearer)->aside.norm();
        auto const isSquarer = [limit](Beside const& a, Beside const& b) {
            bool const isFar = a.aside.norm() > limit;
            bool const isOtherFar = b.aside.norm() > limit;
            return isFar != isOtherFar ? isOtherFar : a.forward < b.forward;
        };
        return *std::min_element(beside.begin(), beside.end(), isSquarer);
    }
};

/// Measured on a cloud that is thinned, lest noise or pairs count, for all of its points.
double squareSideOf(std::vector<Point> const& points, double even) {
    ThinnedCloud const cloud(points, even);
    return cloud.squareSide() *
           std::sqrt(static_cast<double>(cloud.size()) / static_cast<double>(points.size()));
}

bool isCrowded(EvenStep const& found) {
    return found.lineShare >= crowdedLineShare || found.heapShare >= crowdedHeapShare;
}

/// Along and across alike.
void measureSquares(CloudSpacing& spacing, std::vector<Point> const& points, EvenStep const& found) {
    spacing.form = isCrowded(found) ? CloudForm::Crowded : CloudForm::Even;
    spacing.along = squareSideOf(points, found.step);
    spacing.across = spacing.along;
}

} // namespace

CloudSpacing spacingOf(std::vector<Point> const& points) {
    CloudSpacing spacing;
    spacing.nearest = nearestDistanceIn(points);
    if (!(spacing.nearest > 0.0)) {
        return spacing;
    }
    auto const found = evenStepOf(points, spacing.nearest);
    if (!found) {
        measureSquares(spacing, points, {spacing.nearest, 0.0, 0.0, 0.0});
        return spacing;
    }
    spacing.even = found->step;
    LineMeasure const larger(points, largerLineStep * spacing.even);
    LineMeasure const smaller(points, smallerLineStep * spacing.even);
    LineMeasure const& lines = larger.getShare() < smaller.getShare() ? smaller : larger;
    if (lines.getShare() >= measuredLineShare && lines.getAcross() > lines.getAlong()) {
        spacing.form = CloudForm::Lines;
        spacing.along = lines.getAlong();
        spacing.across = lines.getAcross();
    } else {
        measureSquares(spacing, points, *found);
    }
    return spacing;
}

double fitSpacing(CloudSpacing const& spacing) {
    return spacing.form == CloudForm::Even ? 0.0 : fitSteps * spacing.even;
}

} // namespace QELT::Inspection
