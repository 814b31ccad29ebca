#include "Inspection/poses/framefit.h"

#include "Inspection/records/failure.h"
#include "Inspection/tables/columnnames.h"

#include <Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <stdexcept>

// The rotation between two lists of points by the singular values of their covariance (W. Kabsch, "A solution
// for the best rotation to relate two sets of vectors", 1976), with the sign of the last axis turned where
// the product would be a reflection (S. Umeyama, "Least-squares estimation of transformation parameters
// between two point patterns", 1991), which also gives the scale. Both lists are taken from their centres, in
// doubles.
//
// The eigenvalues of each list's own scatter tell how far it reaches along its best line and off it. On a
// line the turn about it is open: refused below a millionth of the length, which is where rounding of places
// far from the origin begins to count; below a fiftieth it is told, for noise in the places is then fifty
// times as much in the turn. A reflection is told only where points reach out of a plane, since in a plane it
// is a rotation.

namespace QELT::Inspection {

namespace {

using Points = Eigen::Matrix3Xd;

constexpr double lineLimit = 1e-6;
constexpr double nearLineLimit = 0.02;
constexpr double planeLimit = 0.02;
constexpr double outlierFactor = 3.0;

Points sourcesOf(std::vector<FramePair> const& pairs) {
    Points points(3, static_cast<Eigen::Index>(pairs.size()));
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        points.col(static_cast<Eigen::Index>(i)) = Eigen::Map<Eigen::Vector3d const>(pairs[i].source.data());
    }
    return points;
}

Points targetsOf(std::vector<FramePair> const& pairs) {
    Points points(3, static_cast<Eigen::Index>(pairs.size()));
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        points.col(static_cast<Eigen::Index>(i)) = Eigen::Map<Eigen::Vector3d const>(pairs[i].target.data());
    }
    return points;
}

/// How far the points reach along three axes at right angles, from the shortest, as roots of mean squares.
Eigen::Vector3d extentsOf(Points const& centred) {
    Eigen::JacobiSVD<Points> const decomposition(centred);
    Eigen::Vector3d extents = Eigen::Vector3d::Zero();
    auto const& values = decomposition.singularValues();
    for (Eigen::Index i = 0; i < values.size(); ++i) {
        extents[2 - i] = values[i] / std::sqrt(static_cast<double>(centred.cols()));
    }
    return extents;
}

void requireNoLine(Eigen::Vector3d const& extents, Eigen::Vector3d const& centre) {
    double const reach = std::max(extents[2], 1e-9 * centre.norm());
    if (!(extents[1] > lineLimit * reach)) {
        throw std::runtime_error("the points lie on a line, which leaves the turn about it open");
    }
}

struct Rotation {
    Eigen::Matrix3d matrix;
    double scale = 1.0;
    bool isMirrored = false;
};

Rotation rotationBetween(Points const& from, Points const& to, bool isSpatial) {
    Eigen::JacobiSVD<Eigen::Matrix3d> const decomposition(to * from.transpose(),
                                                          Eigen::ComputeFullU | Eigen::ComputeFullV);
    Eigen::Matrix3d const& u = decomposition.matrixU();
    Eigen::Matrix3d const& v = decomposition.matrixV();
    double const sign = (u * v.transpose()).determinant() < 0.0 ? -1.0 : 1.0;
    Eigen::Vector3d const signs(1.0, 1.0, sign);
    Rotation rotation;
    rotation.matrix = u * signs.asDiagonal() * v.transpose();
    rotation.scale = decomposition.singularValues().dot(signs) / from.squaredNorm();
    rotation.isMirrored = isSpatial && sign < 0.0;
    return rotation;
}

Frame frameOf(Eigen::Matrix3d const& matrix, Eigen::Vector3d const& from, Eigen::Vector3d const& to) {
    std::array<Triple, 3> rows{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            rows[i][j] = matrix(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(j));
        }
    }
    Frame frame;
    frame.turn = turnOfMatrix(rows);
    frame.translation = Triple{to[0], to[1], to[2]} - frame.turn * Triple{from[0], from[1], from[2]};
    return frame;
}

void addResiduals(FrameFit& fit, std::vector<FramePair> const& pairs) {
    double sum = 0.0;
    for (FramePair const& pair : pairs) {
        double const residual = lengthOf(fit.frame.placeOf(pair.source) - pair.target);
        fit.residuals.push_back(residual);
        sum += residual * residual;
    }
    fit.rms = std::sqrt(sum / static_cast<double>(pairs.size()));
    fit.worst = static_cast<std::size_t>(std::max_element(fit.residuals.begin(), fit.residuals.end()) -
                                         fit.residuals.begin());
}

} // namespace

bool FrameFit::isNearLine() const {
    return width < nearLineLimit * length;
}

std::vector<std::size_t> FrameFit::getOutliers() const {
    std::vector<std::size_t> outliers;
    for (std::size_t i = 0; i < residuals.size(); ++i) {
        if (residuals[i] > outlierFactor * rms) {
            outliers.push_back(i);
        }
    }
    return outliers;
}

FrameFit fitFrame(std::vector<FramePair> const& pairs) {
    if (pairs.size() < minFramePairs) {
        throw std::runtime_error("3 pairs of points or more expected, " + std::to_string(pairs.size()) +
                                 " found");
    }
    Points const sources = sourcesOf(pairs);
    Points const targets = targetsOf(pairs);
    Eigen::Vector3d const from = sources.rowwise().mean();
    Eigen::Vector3d const to = targets.rowwise().mean();
    Points const centred = sources.colwise() - from;
    Points const centredTargets = targets.colwise() - to;
    Eigen::Vector3d const extents = extentsOf(centred);
    requireNoLine(extents, from);
    requireNoLine(extentsOf(centredTargets), to);
    Rotation const rotation = rotationBetween(centred, centredTargets, extents[0] > planeLimit * extents[2]);
    FrameFit fit;
    fit.frame = frameOf(rotation.matrix, from, to);
    fit.scale = rotation.scale;
    fit.isMirrored = rotation.isMirrored;
    fit.width = extents[1];
    fit.length = extents[2];
    addResiduals(fit, pairs);
    return fit;
}

namespace {

constexpr std::array<std::string_view, 6> pairColumns{"sx", "sy", "sz", "tx", "ty", "tz"};

std::vector<std::size_t> pairColumnsOf(Table const& table) {
    NamedColumns const named = nameColumns(table, {});
    std::vector<std::size_t> indices;
    for (std::string_view const name : pairColumns) {
        auto const place = naming(table.getName(), [&] { return findColumn(named.columns, {name}); });
        require(place.has_value(), table.getName() + ": no column '" + std::string(name) +
                                       "'; the heading must name sx,sy,sz,tx,ty,tz");
        indices.push_back(named.columns[*place].index);
    }
    return indices;
}

} // namespace

std::vector<FramePair> readFramePairs(std::filesystem::path const& file) {
    Table table(file);
    table.choose(pairColumnsOf(table));
    std::vector<FramePair> pairs;
    while (table.next()) {
        if (!table.getFaults().empty()) {
            table.fail(table.getFaults().front().cause);
        }
        auto const& values = table.getValues();
        if (!std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); })) {
            table.fail("the pair is not complete");
        }
        pairs.push_back(
            {{values[0], values[1], values[2]}, {values[3], values[4], values[5]}, table.getLine()});
    }
    return pairs;
}

} // namespace QELT::Inspection
