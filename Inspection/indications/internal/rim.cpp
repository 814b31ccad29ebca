// The rim of a region between its pixels.
//
// Whole pixels would do for the area of a large region, since those in and out balance along the rim; for a
// flaw of a few pixels they are out by a tenth. So the rim is put where the loudness, interpolated between
// the middles of pixels, meets the level. The block between four middles is cut into eight triangles by its
// own middle, which takes the mean of the four, and by the middles of its sides, and over each the loudness
// is linear: what is inside is a polygon in closed form, and neighbouring triangles agree along their common
// side. Each triangle lies on one pixel and takes its share of that pixel's true area.
//
// Beyond a pixel of which nothing is known the loudness goes on as it is: the region ends where the pixel
// does. An infinite loudness, a lost echo, says nothing of how far it is from the level; the rim lies half
// way between the two middles then. A sharp edge is found within half a pixel for any level, and without bias
// where the level is the mean of both sides.
//
// At one level no block holds pixels of two regions, as these would hang together; regions of different
// levels do not touch either. So a block is worked on once a region it bears on. Cost: linear in the region's
// pixels, but for the sorting of its blocks and pieces.

#include "Inspection/indications/internal/rim.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <utility>

namespace QELT::Inspection {

namespace {

/// A corner of a triangle: where, and how much louder than the level.
struct Vertex {
    FlatPoint at;
    double excess = 0.0;
};

/// Four pixels around a corner of pixels: lower left, lower right, upper left, upper right.
struct Block {
    FlatPoint middle;
    std::array<std::optional<std::size_t>, 4> pixels; ///< those that are known and joined
    std::array<double, 4> excess{};
    double middleExcess = 0.0;
};

FlatPoint crossing(Vertex const& from, Vertex const& to) {
    double const share = from.excess / (from.excess - to.excess);
    return {from.at.getU() + share * (to.at.getU() - from.at.getU()),
            from.at.getV() + share * (to.at.getV() - from.at.getV())};
}

bool isInside(Vertex const& vertex) {
    return vertex.excess >= 0.0;
}

/// Half way between two of different sign where one is infinite.
double meanExcess(double a, double b) {
    if (std::isfinite(a) && std::isfinite(b)) {
        return 0.5 * (a + b);
    }
    if ((a >= 0.0) != (b >= 0.0)) {
        return 0.0;
    }
    double const finite = std::isfinite(a) ? a : b;
    return std::isfinite(finite) ? finite : std::copysign(1.0, finite);
}

/// The mean of those that are there; infinite ones count as the finite ones do in the mean, or as one.
double meanExcess(Block const& block) {
    double sizes = 0.0;
    double finite = 0.0;
    for (std::size_t i = 0; i < block.pixels.size(); ++i) {
        if (block.pixels[i] && std::isfinite(block.excess[i])) {
            sizes += std::abs(block.excess[i]);
            finite += 1.0;
        }
    }
    double const size = sizes > 0.0 ? sizes / finite : 1.0;
    double sum = 0.0;
    double count = 0.0;
    for (std::size_t i = 0; i < block.pixels.size(); ++i) {
        if (block.pixels[i]) {
            double const excess = block.excess[i];
            sum += std::isfinite(excess) ? excess : std::copysign(size, excess);
            count += 1.0;
        }
    }
    return sum / count;
}

class Outliner {
public:
    Outliner(Result const& shownResult, ResultSurface const& newSurface, std::vector<double> const& loud,
             Regions const& allRegions, std::uint32_t regionNumber)
        : result(shownResult),
          surface(newSurface),
          loudness(loud),
          regions(allRegions),
          number(regionNumber),
          level(allRegions.list[regionNumber].level) {}

    Extent outline() {
        for (std::size_t const corner : corners()) {
            addBlock(corner);
        }
        return std::move(extent);
    }

private:
    Result const& result;
    ResultSurface const& surface;
    std::vector<double> const& loudness;
    Regions const& regions;
    std::uint32_t number;
    double level;
    Extent extent{};

    /// The corners of the region's pixels, each once.
    std::vector<std::size_t> corners() const {
        std::size_t const stride = result.width + 1;
        std::vector<std::size_t> all;
        for (std::uint32_t const pixel : regions.list[number].pixels) {
            std::size_t const corner = pixel / result.width * stride + pixel % result.width;
            all.insert(all.end(), {corner, corner + 1, corner + stride, corner + stride + 1});
        }
        std::sort(all.begin(), all.end());
        all.erase(std::unique(all.begin(), all.end()), all.end());
        return all;
    }

    /// Whether a pixel bears on this region: it is part of it, or known and below the level.
    bool doesCount(std::size_t pixel) const {
        return regions.labels[pixel] == number || loudness[pixel] < level;
    }

    Block blockAt(std::size_t corner) const {
        std::size_t const u = corner % (result.width + 1);
        std::size_t const v = corner / (result.width + 1);
        Block block{{static_cast<double>(u), static_cast<double>(v)}, {}, {}, 0.0};
        std::optional<std::size_t> own;
        for (std::size_t i = 0; i < block.pixels.size(); ++i) {
            std::size_t const right = u + i % 2;
            std::size_t const top = v + i / 2;
            bool const isInPlane = right > 0 && top > 0 && right <= result.width && top <= result.height;
            if (isInPlane && doesCount(result.indexOf(right - 1, top - 1))) {
                block.pixels[i] = result.indexOf(right - 1, top - 1);
                own = regions.labels[*block.pixels[i]] == number && !own ? block.pixels[i] : own;
            }
        }
        for (std::size_t i = 0; i < block.pixels.size(); ++i) {
            if (block.pixels[i] && own && !surface.areJoined(*own, *block.pixels[i])) {
                block.pixels[i].reset();
            }
            block.excess[i] = block.pixels[i] ? loudness[*block.pixels[i]] - level : 0.0;
        }
        block.middleExcess = meanExcess(block);
        return block;
    }

    void addBlock(std::size_t corner) {
        Block const block = blockAt(corner);
        for (std::size_t i = 0; i < block.pixels.size(); ++i) {
            if (block.pixels[i]) {
                addQuarter(block, i);
            }
        }
    }

    /// The quarter of a pixel that lies in a block: a triangle to either side of its diagonal.
    void addQuarter(Block const& block, std::size_t i) {
        FlatPoint const middle = surface.middleOf(*block.pixels[i]);
        double const excess = block.excess[i];
        Vertex const own{middle, std::isfinite(excess) ? excess : std::copysign(1.0, excess)};
        Vertex const centre{block.middle, block.middleExcess};
        auto const side = [&](std::size_t other, FlatPoint const& at) {
            return Vertex{at, block.pixels[other] ? meanExcess(excess, block.excess[other]) : own.excess};
        };
        std::size_t const beside = i ^ 1U;
        std::size_t const above = i ^ 2U;
        addTriangle(*block.pixels[i], own, side(beside, {block.middle.getU(), middle.getV()}), centre,
                    !block.pixels[beside]);
        addTriangle(*block.pixels[i], own, side(above, {middle.getU(), block.middle.getV()}), centre,
                    !block.pixels[above]);
    }

    /// `doesEnd` says that nothing is known beyond the side from `side` to `centre`.
    void addTriangle(std::size_t pixel, Vertex const& own, Vertex const& side, Vertex const& centre,
                     bool doesEnd) {
        bool const isLeft = (side.at - own.at).det(centre.at - own.at) > 0.0;
        std::array<Vertex, 3> const corners{own, isLeft ? side : centre, isLeft ? centre : side};
        std::vector<FlatPoint> inside;
        std::optional<FlatPoint> entry;
        std::optional<FlatPoint> exit;
        for (std::size_t i = 0; i < corners.size(); ++i) {
            Vertex const& from = corners.at(i);
            Vertex const& to = corners.at((i + 1) % corners.size());
            std::size_t const before = inside.size();
            if (isInside(from)) {
                inside.push_back(from.at);
            }
            if (isInside(from) != isInside(to)) {
                (isInside(to) ? entry : exit) = crossing(from, to);
                inside.push_back(crossing(from, to));
            }
            // The second side leads between the corners that lie on the pixel's rim.
            if (doesEnd && i == 1 && inside.size() > before) {
                addPiece(pixel, inside[before], isInside(to) ? to.at : inside.back());
            }
        }
        if (entry && exit) {
            addPiece(pixel, *exit, *entry);
        }
        addPolygon(pixel, inside);
    }

    void addPiece(std::size_t pixel, FlatPoint const& from, FlatPoint const& to) {
        if (from != to) {
            extent.rim.push_back({static_cast<std::uint32_t>(pixel), from, to});
        }
    }

    void addPolygon(std::size_t pixel, std::vector<FlatPoint> const& polygon) {
        for (std::size_t i = 2; i < polygon.size(); ++i) {
            auto const a = polygon[i - 1] - polygon[0];
            auto const b = polygon[i] - polygon[0];
            double const area = 0.5 * a.det(b) * result.areas[pixel];
            extent.area += area;
            extent.moment += surface.pointAt(pixel, polygon[0] + (a + b) / 3.0) * area;
        }
    }
};

/// Ends of pieces that are meant to be the same point have the same key.
std::uint64_t keyOf(FlatPoint const& point) {
    constexpr double fineness = 1024.0;
    return static_cast<std::uint64_t>(std::llround(point.getU() * fineness)) << 32U |
           static_cast<std::uint64_t>(std::llround(point.getV() * fineness));
}

} // namespace

Extent extentOf(Result const& result, ResultSurface const& surface, std::vector<double> const& loudness,
                Regions const& regions, std::uint32_t number) {
    return Outliner(result, surface, loudness, regions, number).outline();
}

std::vector<std::vector<FlatPoint>> chained(std::vector<RimPiece> const& pieces) {
    std::vector<std::pair<std::uint64_t, std::size_t>> starts;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (keyOf(pieces[i].from) != keyOf(pieces[i].to)) {
            starts.emplace_back(keyOf(pieces[i].from), i);
        }
    }
    std::sort(starts.begin(), starts.end());
    std::vector<bool> isUsed(starts.size(), false);
    auto const unusedAt = [&](std::uint64_t key) {
        auto found = std::lower_bound(starts.begin(), starts.end(), std::pair(key, std::size_t{0}));
        while (found != starts.end() && found->first == key &&
               isUsed[static_cast<std::size_t>(found - starts.begin())]) {
            ++found;
        }
        bool const isFound = found != starts.end() && found->first == key;
        return isFound ? static_cast<std::size_t>(found - starts.begin()) : starts.size();
    };
    std::vector<std::vector<FlatPoint>> lines;
    for (std::size_t first = 0; first < starts.size(); ++first) {
        std::vector<FlatPoint> line;
        for (std::size_t i = first; i < starts.size() && !isUsed[i];
             i = unusedAt(keyOf(pieces[starts[i].second].to))) {
            isUsed[i] = true;
            line.push_back(pieces[starts[i].second].from);
        }
        if (!line.empty()) {
            lines.push_back(std::move(line));
        }
    }
    return lines;
}

} // namespace QELT::Inspection
