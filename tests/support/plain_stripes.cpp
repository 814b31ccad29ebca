#include "tests/support/plain_stripes.h"

#include "tests/support/plain_cone.h"

#include <cmath>
#include <cstdlib>

namespace QELT::Testing {

namespace {

/// An array of beams set across a line.
struct Array {
    PlainIndex perp;
    std::int32_t perpLength = 0;
    std::int32_t span = 0;
    std::int32_t count = 0;

    std::int32_t getOffset(std::int32_t k) const { return plainWrappedProduct(k - count / 2, span); }

    PlainIndex getCell(PlainIndex const& at, std::int32_t k) const {
        std::int32_t const o = getOffset(k);
        std::int32_t const u = plainWrappedProduct(o, perp.u) / perpLength / count;
        std::int32_t const v = plainWrappedProduct(o, perp.v) / perpLength / count;
        return at + PlainIndex{u, v};
    }
};

std::int32_t drawn(std::uint32_t limit) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(std::rand()) % limit);
}

void setAcross(Array& array, PlainIndex const& a, PlainIndex const& b) {
    PlainIndex const way = b - a;
    array.perp = {plainWrappedDifference(0, way.v), way.u};
    std::int32_t const lengthSqr = plainWrappedSum(plainWrappedProduct(array.perp.u, array.perp.u),
                                                   plainWrappedProduct(array.perp.v, array.perp.v));
    array.perpLength = plainTruncated(std::sqrt(static_cast<double>(lengthSqr)));
}

bool isAccepted(PlainGrid const& grid, std::vector<PlainIndex> const& line, Array const& array) {
    if (line.size() < 2) {
        return false;
    }
    for (PlainIndex const& q : line) {
        if (!grid.getIsQuadValid(q)) {
            return false;
        }
        for (std::int32_t k = 0; k < array.count; ++k) {
            if (!grid.getIsQuadValid(array.getCell(q, k))) {
                return false;
            }
        }
    }
    return true;
}

PlainVector unit(PlainVector const& a) {
    return plainDivided(a, std::sqrt(plainDot(a, a)));
}

PlainPoint beamOrigin(PlainGrid const& grid, double quadStep, PlainIndex const& cell, PlainVector const& axis,
                      PlainVector const& normal) {
    PlainPoint const origin = plainMoved(grid.getMeanQuadPoint(cell), plainScaled(quadStep * 0.25, axis));
    return plainMoved(origin, plainScaled(10.0, normal));
}

} // namespace

std::vector<PlainIndex> plainRaster(PlainIndex a, PlainIndex b) {
    std::vector<PlainIndex> cells;
    if (a == b) {
        return cells;
    }
    if (b.u < a.u) {
        std::swap(a, b);
    }
    std::int32_t const dU = b.u - a.u;
    std::int32_t const dV = b.v - a.v;
    std::int32_t const absV = dV < 0 ? -dV : dV;
    std::int32_t const sign = dV < 0 ? -1 : 1;
    PlainIndex cell = a;
    if (dU <= absV) {
        std::int32_t error = 2 * dU - absV;
        do {
            cells.push_back(cell);
            cell.v += sign;
            if (error >= 0) {
                cell.u += 1;
                error += 2 * dU - 2 * absV;
            } else {
                error += 2 * dU;
            }
        } while (cell.v != b.v);
    } else {
        std::int32_t error = 2 * absV - dU;
        do {
            cells.push_back(cell);
            cell.u += 1;
            if (error >= 0) {
                cell.v += sign;
                error += 2 * absV - 2 * dU;
            } else {
                error += 2 * absV;
            }
        } while (cell.u != b.u);
    }
    return cells;
}

PlainStripeRun plainStripes(PlainSearch& search, PlainSearchSettings const& settings, double minQuadArea,
                            std::uint32_t numberOfTests, double elementPitch,
                            std::uint32_t numberOfElements) {
    PlainStripeRun run;
    PlainGrid const& grid = search.grid;
    double const quadStep = std::sqrt(minQuadArea);
    Array array;
    array.span = plainWrappedSum(plainTruncated(numberOfElements * elementPitch / quadStep), 1);
    array.count = static_cast<std::int32_t>(numberOfElements);
    for (std::uint32_t test = 0; test < numberOfTests; ++test) {
        PlainIndex a;
        PlainIndex b;
        std::vector<PlainIndex> line;
        for (bool accepted = false; !accepted;) {
            a.v = drawn(grid.highestV);
            a.u = drawn(grid.highestU);
            b.v = drawn(grid.highestV);
            b.u = drawn(grid.highestU);
            line = plainRaster(a, b);
            setAcross(array, a, b);
            accepted = isAccepted(grid, line, array);
            run.rejectedLines += accepted ? 0U : 1U;
        }
        run.lines.emplace_back(a, b);
        bool linePassed = true;
        for (std::size_t i = 0; i + 2 < line.size(); ++i) {
            PlainVector const normal = unit(grid.getTriangleNormal(line[i], true));
            PlainVector const axis =
                unit(plainDifference(grid.getMeanQuadPoint(line[i + 1]), grid.getMeanQuadPoint(line[i])));
            for (std::int32_t k = 0; k < array.count; ++k) {
                PlainIndex const cell = array.getCell(line[i], k);
                PlainPoint const origin = beamOrigin(grid, quadStep, cell, axis, normal);
                PlainStatus const status =
                    search.getIntersection(settings, origin, {-normal.x, -normal.y, -normal.z});
                bool const didPass = status.isValid && status.indices == cell;
                run.shots.push_back({test, line[i], line[i + 1], cell, origin, didPass});
                (didPass ? run.numberOfPasses : run.numberOfFailures) += 1U;
                linePassed = linePassed && didPass;
            }
        }
        if (!linePassed) {
            run.failedLines.emplace_back(a, b);
        }
    }
    return run;
}

} // namespace QELT::Testing
