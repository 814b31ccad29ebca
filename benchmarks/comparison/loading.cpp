// OBJ files into meshes that know their neighbours, their faces in orders from kind to unkind.

#include "benchmarks/comparison/cgalpeer.h"
#include "benchmarks/comparison/contest.h"
#include "benchmarks/temporaryfile.h"
#include "benchmarks/wavygrid.h"

#include <tiny_obj_loader.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <memory>
#include <numeric>
#include <random>
#include <stdexcept>

namespace Comparison {

namespace {

using namespace Benchmarks;

enum class FaceOrder { AsWritten, Shuffled, Reversed };

std::vector<std::uint32_t> squaresInOrder(std::uint32_t count, FaceOrder order) {
    std::vector<std::uint32_t> squares(count);
    std::iota(squares.begin(), squares.end(), 0U);
    if (order == FaceOrder::Shuffled) {
        std::shuffle(squares.begin(), squares.end(), std::mt19937(3));
    } else if (order == FaceOrder::Reversed) {
        std::reverse(squares.begin(), squares.end());
    }
    return squares;
}

/// A wavy patch of side * side squares, two triangles each.
void writePatch(char const* path, std::uint32_t side, FaceOrder order) {
    std::ofstream file(path);
    double const step = 100.0 / side;
    for (std::uint32_t v = 0; v <= side; ++v) {
        for (std::uint32_t u = 0; u <= side; ++u) {
            Point const p = wavyPlace(u * step, v * step);
            file << "v " << p.getX() << ' ' << p.getY() << ' ' << p.getZ() << '\n';
        }
    }
    for (std::uint32_t const square : squaresInOrder(side * side, order)) {
        std::uint32_t const a = square / side * (side + 1) + square % side + 1;
        std::uint32_t const b = a + side + 1;
        file << "f " << a << ' ' << a + 1 << ' ' << b + 1 << "\nf " << a << ' ' << b + 1 << ' ' << b << '\n';
    }
}

using TriangleList = std::vector<std::array<std::uint32_t, 3>>;

/// Each triangle beginning at its least corner, in ascending order.
TriangleList sorted(TriangleList triangles) {
    for (auto& corners : triangles) {
        std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()), corners.end());
    }
    std::sort(triangles.begin(), triangles.end());
    return triangles;
}

PeerMesh meshOf(TriMesh::Mesh& mesh) {
    PeerMesh result;
    for (unsigned long i = 0; i < mesh.getNumberOfVertices(); ++i) {
        Point const p = mesh.getVertex(i).getPoint3D();
        result.points.push_back({p.getX(), p.getY(), p.getZ()});
    }
    std::vector<TriMesh::Triangle*> list;
    std::vector<TriMesh::Triangle*>::iterator first;
    std::vector<TriMesh::Triangle*>::iterator last;
    mesh.getTriangles(list, first, last);
    for (; first != last; ++first) {
        auto const corner = [&](unsigned long i) {
            return static_cast<std::uint32_t>((*first)->getAdjacentVertexIndex(i));
        };
        result.triangles.push_back({corner(0), corner(1), corner(2)});
    }
    return result;
}

/// The same points to the bits of a float, and the same triangles, wound alike.
std::string differenceBetween(PeerMesh const& ours, PeerMesh const& peer) {
    if (ours.points.size() != peer.points.size()) {
        return std::to_string(ours.points.size()) + " and " + std::to_string(peer.points.size()) + " points";
    }
    for (std::size_t i = 0; i < ours.points.size(); ++i) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (static_cast<float>(ours.points[i][axis]) != static_cast<float>(peer.points[i][axis])) {
                return "point " + std::to_string(i);
            }
        }
    }
    return sorted(ours.triangles) == sorted(peer.triangles) ? "" : "triangles";
}

struct Loaded {
    TemporaryFile file{".obj"};
    std::unique_ptr<TriMesh::Mesh> ours;
};

void loadOurs(Loaded& state) {
    state.ours = std::make_unique<TriMesh::Mesh>();
    state.ours->load(state.file.getPath());
}

struct LoadedByCgal : Loaded {
    CgalMesh peer;
};

Contest contestWithCgal(std::uint32_t side, FaceOrder order) {
    auto const state = std::make_shared<LoadedByCgal>();
    writePatch(state->file.getPath(), side, order);
    return {[=] { loadOurs(*state); }, [=] { state->peer.load(state->file.getPath()); },
            [=] { return differenceBetween(meshOf(*state->ours), state->peer.get()); },
            [=] {
                state->ours.reset();
                state->peer.clear();
            }};
}

struct LoadedByTinyObj : Loaded {
    std::unique_ptr<tinyobj::ObjReader> peer;
};

PeerMesh meshOf(tinyobj::ObjReader const& reader) {
    PeerMesh result;
    auto const& places = reader.GetAttrib().vertices;
    for (std::size_t i = 0; i + 2 < places.size(); i += 3) {
        result.points.push_back({places[i], places[i + 1], places[i + 2]});
    }
    for (tinyobj::shape_t const& shape : reader.GetShapes()) {
        auto const& indices = shape.mesh.indices;
        auto const corner = [&](std::size_t i) {
            return static_cast<std::uint32_t>(indices[i].vertex_index);
        };
        for (std::size_t i = 0; i + 2 < indices.size(); i += 3) {
            result.triangles.push_back({corner(i), corner(i + 1), corner(i + 2)});
        }
    }
    return result;
}

Contest contestWithTinyObj(std::uint32_t side, FaceOrder order) {
    auto const state = std::make_shared<LoadedByTinyObj>();
    writePatch(state->file.getPath(), side, order);
    return {[=] { loadOurs(*state); },
            [=] {
                state->peer = std::make_unique<tinyobj::ObjReader>();
                if (!state->peer->ParseFromFile(state->file.getPath())) {
                    throw std::runtime_error("tinyobjloader does not read the file");
                }
            },
            [=] { return differenceBetween(meshOf(*state->ours), meshOf(*state->peer)); },
            [=] {
                state->ours.reset();
                state->peer.reset();
            }};
}

std::vector<Size> loadSizes(FaceOrder order, Contest (*makeContest)(std::uint32_t, FaceOrder)) {
    std::vector<Size> sizes;
    for (std::uint32_t const side : {71U, 224U, 447U, 707U}) {
        sizes.push_back({2.0 * side * side, [=] { return makeContest(side, order); }});
    }
    return sizes;
}

} // namespace

std::vector<Row> loadingRows() {
    std::vector<Row> rows;
    for (auto const& [name, order] : {std::pair("faces in file order", FaceOrder::AsWritten),
                                      std::pair("faces shuffled", FaceOrder::Shuffled),
                                      std::pair("faces reversed", FaceOrder::Reversed)}) {
        std::string const task = std::string("load OBJ, ") + name;
        rows.push_back({"loading", task, "CGAL's read_OBJ into a Surface_mesh", "triangles",
                        loadSizes(order, contestWithCgal)});
        rows.push_back({"loading", task, "tinyobjloader, arrays without neighbours", "triangles",
                        loadSizes(order, contestWithTinyObj)});
    }
    return rows;
}

} // namespace Comparison
