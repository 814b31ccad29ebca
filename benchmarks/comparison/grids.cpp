// What is done to whole grids beside the copy, the plain loop or the reads and writes that move the same
// data.

#include "benchmarks/comparison/contest.h"
#include "benchmarks/temporaryfile.h"
#include "benchmarks/wavygrid.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>

namespace Comparison {

namespace {

using namespace Benchmarks;

constexpr std::size_t bytesPerNode = 13;
constexpr int passes = 5;

std::string differenceBetween(RectMesh const& a, RectMesh const& b) {
    if (a.getExtents().getdU() != b.getExtents().getdU() ||
        a.getExtents().getdV() != b.getExtents().getdV()) {
        return "extents";
    }
    for (int v = 0; v <= static_cast<int>(a.getExtents().getdV()); ++v) {
        for (int u = 0; u <= static_cast<int>(a.getExtents().getdU()); ++u) {
            Point const p = a.getPoint({u, v});
            Point const q = b.getPoint({u, v});
            if (a.getPointFlags({u, v}) != b.getPointFlags({u, v}) || p.getX() != q.getX() ||
                p.getY() != q.getY() || p.getZ() != q.getZ()) {
                return "nodes";
            }
        }
    }
    return "";
}

/// A wavy patch of 200,000 triangles that is flattened by its projection.
std::shared_ptr<TriMesh::Mesh> makeFlatPatch() {
    constexpr unsigned squares = 316;
    double const step = 100.0 / squares;
    std::vector<Point> points;
    std::vector<TriMesh::Face> faces;
    for (unsigned v = 0; v <= squares; ++v) {
        for (unsigned u = 0; u <= squares; ++u) {
            points.push_back(wavyPlace(u * step, v * step));
        }
    }
    for (unsigned v = 0; v < squares; ++v) {
        for (unsigned u = 0; u < squares; ++u) {
            unsigned const a = v * (squares + 1) + u;
            unsigned const b = a + squares + 1;
            faces.push_back({a, a + 1, b + 1});
            faces.push_back({a, b + 1, b});
        }
    }
    auto mesh = std::make_shared<TriMesh::Mesh>(points, faces);
    for (unsigned long i = 0; i < mesh->getNumberOfVertices(); ++i) {
        Point const p = mesh->getVertex(i).getPoint3D();
        mesh->getVertex(i).setPoint2D({p.getX(), p.getY()});
    }
    return mesh;
}

struct Resampled {
    std::shared_ptr<TriMesh::Mesh> patch = makeFlatPatch();
    std::unique_ptr<RectMesh> ours;
    std::optional<PlainRows> peer;
};

void writeNodes(Resampled& state, std::size_t nodesU, std::size_t nodesV) {
    state.peer.emplace(nodesU, nodesV);
    for (std::size_t v = 0; v < nodesV; ++v) {
        for (std::size_t u = 0; u < nodesU; ++u) {
            state.peer->points[v][u].set(static_cast<double>(u), static_cast<double>(v), 1.0);
            state.peer->flags[v][u] = 3;
        }
    }
}

std::string differenceInNodes(Resampled const& state, std::size_t nodesU, std::size_t nodesV) {
    auto const extents = state.ours->getExtents();
    return extents.getdU() + 1 == nodesU && extents.getdV() + 1 == nodesV ? "" : "numbers of nodes";
}

Contest resampling(double nodes) {
    auto const state = std::make_shared<Resampled>();
    double const area = 11500.0 / nodes;
    RectMesh probe;
    probe.construct(*state->patch, area);
    std::size_t const nodesU = probe.getExtents().getdU() + 1;
    std::size_t const nodesV = probe.getExtents().getdV() + 1;
    return {[=] {
                state->ours = std::make_unique<RectMesh>();
                state->ours->construct(*state->patch, area);
            },
            [=] { writeNodes(*state, nodesU, nodesV); },
            [=] { return differenceInNodes(*state, nodesU, nodesV); },
            [=] {
                state->ours.reset();
                state->peer.reset();
            }};
}

/// Two grids of the same nodes, or the same grid twice.
struct Pair {
    explicit Pair(int newSide, bool isDisc = false) : side(newSide), source(makeWavyGrid(side, isDisc)) {}

    int side;
    RectMesh source;
    std::unique_ptr<RectMesh> ours;
    std::unique_ptr<RectMesh> peer;
};

void forget(Pair& pair) {
    pair.ours = std::make_unique<RectMesh>();
    pair.peer = std::make_unique<RectMesh>();
}

/// What makes a grid of a grid, against an assignment. `isKept` tells whether the nodes come out as they
/// were.
Contest derivation(int side, bool isKept, std::function<void(Pair&)> const& derive) {
    auto const pair = std::make_shared<Pair>(side);
    return {[=] { derive(*pair); }, [=] { *pair->peer = pair->source; },
            [=] {
                bool const isSameSize = pair->ours->getExtents().getdU() == pair->peer->getExtents().getdU();
                return isKept ? differenceBetween(*pair->ours, *pair->peer)
                              : std::string(isSameSize ? "" : "extents");
            },
            [=] { forget(*pair); }};
}

void flatten(Pair& pair) {
    pair.source.getFlattened(*pair.ours);
}

void normalise(Pair& pair) {
    pair.source.getNormalised(1.0, *pair.ours);
}

void subSample(Pair& pair) {
    pair.source.getSubSampled(RectMesh::Factor, 1, *pair.ours);
}

void restrictToIndices(Pair& pair) {
    pair.source.getRestrictedToAABB(TwoDimensional::BoundingBoxAA<int>({0, 0}, {pair.side, pair.side}),
                                    *pair.ours);
}

Contest flattening(int side) {
    return derivation(side, false, flatten);
}

Contest normalising(int side) {
    return derivation(side, false, normalise);
}

Contest subSampling(int side) {
    return derivation(side, true, subSample);
}

Contest restricting(int side) {
    return derivation(side, true, restrictToIndices);
}

/// The peer's five copies are of the disc as it is; the extended one is as large or larger.
Contest extension(int side) {
    auto const pair = std::make_shared<Pair>(side, true);
    return {[=] { pair->ours->extendBoundary(QuadMesh::Basic, passes, 0); },
            [=] {
                for (int i = 0; i < passes; ++i) {
                    *pair->peer = pair->source;
                }
            },
            [=] {
                return std::string(
                    pair->ours->getExtents().getdU() >= pair->peer->getExtents().getdU() ? "" : "extents");
            },
            [=] {
                pair->ours =
                    std::make_unique<RectMesh>(pair->source); // shares rows, which the first pass leaves
                pair->peer = std::make_unique<RectMesh>();
            }};
}

struct Filed : Pair {
    explicit Filed(int newSide) : Pair(newSide) {}

    TemporaryFile file{".quads"};
    TemporaryFile peerFile{".bytes"};
    std::vector<char> bytes;
};

/// In pieces of 64 kB.
void writeBytes(Filed const& state) {
    constexpr std::size_t piece = 1U << 16;
    std::FILE* const stream = std::fopen(state.peerFile.getPath(), "wb");
    for (std::size_t i = 0; i < state.bytes.size(); i += piece) {
        std::fwrite(state.bytes.data() + i, 1, std::min(piece, state.bytes.size() - i), stream);
    }
    std::fclose(stream);
}

void readBytes(Filed& state) {
    std::size_t const size = std::filesystem::file_size(state.file.getPath());
    state.bytes = std::vector<char>(size);
    std::FILE* const stream = std::fopen(state.file.getPath(), "rb");
    std::size_t const count = std::fread(state.bytes.data(), 1, size, stream);
    std::fclose(stream);
    if (count != size) {
        throw std::runtime_error("the file cannot be read");
    }
}

Contest saving(int side) {
    auto const state = std::make_shared<Filed>(side);
    state->source.save(state->file.getPath());
    readBytes(*state);
    return {[=] { state->source.save(state->file.getPath()); }, [=] { writeBytes(*state); },
            [=] {
                bool const isSame = std::filesystem::file_size(state->file.getPath()) ==
                                    std::filesystem::file_size(state->peerFile.getPath());
                return std::string(isSame ? "" : "sizes of files");
            },
            [] {}};
}

Contest loading(int side) {
    auto const state = std::make_shared<Filed>(side);
    state->source.save(state->file.getPath());
    return {[=] { state->ours->load(state->file.getPath()); }, [=] { readBytes(*state); },
            [=] {
                bool const areAll =
                    state->bytes.size() > bytesPerNode * static_cast<std::size_t>(side * side);
                return areAll ? differenceBetween(*state->ours, state->source) : "bytes";
            },
            [=] {
                state->bytes = {};
                forget(*state);
            }};
}

struct Measured {
    explicit Measured(int newSide)
        : side(static_cast<std::size_t>(newSide)),
          source(makeWavyGrid(newSide, false)),
          rows(plainRowsOf(source)) {}

    std::size_t side;
    RectMesh source;
    PlainRows rows;
    std::unique_ptr<RectMesh> settled;
    BoundingBoxAA box;
    Point low;
    Point high;
    double min = 0.0;
    double max = 0.0;
    double sum = 0.0;
};

bool isQuad(PlainRows const& rows, std::size_t u, std::size_t v) {
    return (rows.flags[v][u] & rows.flags[v][u + 1] & rows.flags[v + 1][u] & rows.flags[v + 1][u + 1] & 1) !=
           0;
}

void measureAreas(Measured& state) {
    state.min = 1e11;
    state.max = 0.0;
    state.sum = 0.0;
    for (std::size_t v = 0; v < state.side; ++v) {
        for (std::size_t u = 0; u < state.side; ++u) {
            if (!isQuad(state.rows, u, v)) {
                continue;
            }
            Point const& alongU = state.rows.points[v][u + 1];
            Point const& alongV = state.rows.points[v + 1][u];
            double const area =
                0.5 * TriangleMeasures::twoAT(state.rows.points[v][u], alongU, alongV) +
                0.5 * TriangleMeasures::twoAT(alongV, alongU, state.rows.points[v + 1][u + 1]);
            state.min = std::min(state.min, area);
            state.max = std::max(state.max, area);
            state.sum += area;
        }
    }
}

/// Areas are settled by all that makes a grid; a turn by nothing makes none, so its share is small.
Contest areas(int side) {
    auto const state = std::make_shared<Measured>(side);
    return {[=] {
                state->settled = std::make_unique<RectMesh>();
                state->source.getSubSampled(RectMesh::Factor, 1, *state->settled);
            },
            [=] { measureAreas(*state); },
            [=] {
                double const mean = state->sum / (double(side) * side);
                bool const isSame = state->settled->getMinQuadArea() == state->min &&
                                    state->settled->getMaxQuadArea() == state->max &&
                                    std::abs(state->settled->getMeanQuadArea() - mean) < 1e-9 * mean;
                return std::string(isSame ? "" : "areas");
            },
            [=] { state->settled.reset(); }};
}

void measureBox(Measured& state) {
    state.low = state.rows.points[0][0];
    state.high = state.low;
    for (std::size_t v = 0; v <= state.side; ++v) {
        for (std::size_t u = 0; u <= state.side; ++u) {
            if ((state.rows.flags[v][u] & 1) != 0) {
                state.low.setMin(state.rows.points[v][u]);
                state.high.setMax(state.rows.points[v][u]);
            }
        }
    }
}

Contest boxes(int side) {
    auto const state = std::make_shared<Measured>(side);
    return {[=] { state->box = state->source.getBoundingBoxAA(); }, [=] { measureBox(*state); },
            [=] {
                Vector const extent = state->high - state->low;
                Point const corner = state->box.getp();
                bool const isSame =
                    (corner - state->low).lSqr() == 0.0 && (state->box.getd() - extent).lSqr() < 1e-6;
                return std::string(isSame ? "" : "boxes");
            },
            [=] { state->box = BoundingBoxAA(); }};
}

Row rowOf(char const* task, char const* peer, Contest (*makeContest)(int)) {
    Row row{"grids", task, peer, "quads", {}};
    for (int const side : {500, 1000, 1500, 2000}) {
        row.sizes.push_back({double(side) * side, [=] { return makeContest(side); }});
    }
    return row;
}

} // namespace

std::vector<Row> gridRows() {
    Row resampled{"grids", "resample 200,000 triangles", "writing the nodes", "nodes", {}};
    for (double const nodes : {1e6, 2e6, 5e6, 1e7}) {
        resampled.sizes.push_back({nodes, [=] { return resampling(nodes); }});
    }
    return {resampled,
            rowOf("save .quads", "fwrite of as many bytes", saving),
            rowOf("load .quads", "fread of as many bytes", loading),
            rowOf("extend by 5 rows", "five assignments", extension),
            rowOf("flatten a grid", "assignment", flattening),
            rowOf("normalise a grid", "assignment", normalising),
            rowOf("sub-sample by 1", "assignment", subSampling),
            rowOf("restrict to all its indices", "assignment", restricting),
            rowOf("copy and areas of all quads", "plain loop over the areas", areas),
            rowOf("box of all nodes", "plain loop", boxes)};
}

} // namespace Comparison
