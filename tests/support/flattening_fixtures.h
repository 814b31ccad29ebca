#pragma once

#include "tests/support/float_bits.h"
#include "tests/support/meshfamilies.h"
#include "tests/support/plain_flattening.h"
#include "tests/support/plain_meshcopy.h"
#include "tests/support/recordinglistener.h"

#include "Geometry/linearalgebra/vector.h"
#include "Geometry/trimesh/mesh.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// What the tests of flattening and resampling share.
namespace QELT::Testing {

using TriangleMesh = Geometry::ThreeDimensional::TriMesh::Mesh;
using MeshPointer = std::unique_ptr<TriangleMesh>;

/// Adds the face across the first of its sides that an earlier face has on its boundary.
inline bool addFace(TriangleMesh& mesh, std::array<std::uint32_t, 3> const& v) {
    for (std::size_t k = 0; k < 3; ++k) {
        Geometry::ThreeDimensional::TriMesh::Edge e;
        if (mesh.getDoesEdgeExist(v[(k + 1) % 3], v[k], &e) && e.isBoundary()) {
            return mesh.addBoundaryTriangle(e, static_cast<int>(v[(k + 2) % 3]));
        }
    }
    return false;
}

/// A mesh built from faces by the mesh's own operations, which keep what a file loader would drop: vertices
/// without a face. Faces that cannot be joined yet are tried again after the others.
inline MeshPointer buildMesh(Soup const& soup) {
    auto mesh = std::make_unique<TriangleMesh>();
    for (auto const& p : soup.points) {
        mesh->addVertex(
            Geometry::ThreeDimensional::TriMesh::Vertex(Geometry::ThreeDimensional::Point(p[0], p[1], p[2])));
    }
    auto const& first = soup.faces.at(0);
    EXPECT_TRUE(mesh->addFloatingTriangle({first[0], first[1], first[2]}));
    std::vector<std::array<std::uint32_t, 3>> waiting(soup.faces.begin() + 1, soup.faces.end());
    for (std::size_t before = waiting.size() + 1; waiting.size() < before && !waiting.empty();) {
        before = waiting.size();
        std::erase_if(waiting, [&](auto const& face) { return addFace(*mesh, face); });
    }
    EXPECT_TRUE(waiting.empty()) << waiting.size() << " faces could not be joined";
    return mesh;
}

/// A flat patch of `columns` x 2 squares, less the triangle at one corner if `n` is odd, with a main loop of
/// exactly `n` vertices, n >= 7.
inline Soup makePatchWithLoopOf(std::uint32_t n) {
    std::uint32_t const even = n + n % 2;
    Soup soup = makeGridPatch(even / 2 - 2, 2, even / 2 - 2, 2.0);
    if (n % 2 != 0) {
        // The second triangle of the last row's first square is alone at the vertex of that corner.
        soup.faces.erase(soup.faces.begin() + (even - 4) + 1);
    }
    return withoutUnusedVertices(soup);
}

/// That patch on a wavy surface, with every vertex moved a little.
inline Soup makeRoughPatchWithLoopOf(std::uint32_t n, std::uint32_t seed) {
    Soup soup = makePatchWithLoopOf(n);
    for (auto& p : soup.points) {
        p[2] = 0.4 * std::sin(0.7 * p[0]) + 0.3 * std::cos(1.1 * p[1]);
    }
    return withNoise(soup, 0.1, seed);
}

/// A fan of triangles around the outline's vertices: vertex 0 is the centre, the outline follows.
inline Soup makeFan(std::vector<std::array<double, 3>> const& outline) {
    Soup soup;
    soup.points.push_back({0.0, 0.0, 0.0});
    auto const n = static_cast<std::uint32_t>(outline.size());
    for (std::uint32_t k = 0; k < n; ++k) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            soup.points[0][axis] += outline[k][axis] / n;
        }
        soup.points.push_back(outline[k]);
        soup.faces.push_back({0, 1 + k, 1 + (k + 1) % n});
    }
    return soup;
}

/// The closed polygon of unit sides that turns by `degrees[k]` at corner k + 1, if they close it.
inline std::vector<std::array<double, 3>> polygonOfTurns(std::vector<double> const& degrees) {
    std::vector<std::array<double, 3>> points;
    std::array<double, 3> p{};
    double heading = 0.0;
    for (double turn : degrees) {
        points.push_back(p);
        p[0] += std::cos(heading);
        p[1] += std::sin(heading);
        heading += turn * 3.141592653589793 / 180.0;
    }
    return points;
}

/// A point-symmetric polygon of `count` sides with two opposite corners that turn by `degrees`, at positions
/// `count / 2 - 1` and `count - 1` plus one; the others share the rest of the full turn evenly.
inline std::vector<std::array<double, 3>> makeLens(std::uint32_t count, double degrees) {
    std::vector<double> turns(count, (360.0 - 2.0 * degrees) / (count - 2));
    turns[count / 2 - 1] = degrees;
    turns[count - 1] = degrees;
    return polygonOfTurns(turns);
}

template <class Values>
testing::AssertionResult sameNumbers(char const* what, std::size_t place, Values const& actual,
                                     Values const& expected) {
    for (std::size_t k = 0; k < actual.size(); ++k) {
        auto const result = sameBits(static_cast<double>(actual[k]), static_cast<double>(expected[k]));
        if (!result) {
            return testing::AssertionFailure() << what << ' ' << place << ": " << result.message();
        }
    }
    return testing::AssertionSuccess();
}

inline testing::AssertionResult sameVector(std::vector<double> const& actual,
                                           std::vector<double> const& expected) {
    if (actual.size() != expected.size()) {
        return testing::AssertionFailure() << actual.size() << " values, not " << expected.size();
    }
    return sameNumbers("value of vector", 0, actual, expected);
}

/// Order of the vertices with all their numbers to the bit, connectivity, incidence lists, cut and name.
inline testing::AssertionResult samePlainMesh(PlainMesh const& actual, PlainMesh const& expected) {
    if (actual.vertices.size() != expected.vertices.size()) {
        return testing::AssertionFailure() << "different numbers of vertices";
    }
    using namespace PlainFlattening;
    for (std::size_t v = 0; v < actual.vertices.size(); ++v) {
        if (auto r = sameNumbers("point3D", v, placeOf(actual, v), placeOf(expected, v)); !r) {
            return r;
        }
        if (auto r = sameNumbers("point2D", v, flatOf(actual, v), flatOf(expected, v)); !r) {
            return r;
        }
        if (auto r = sameNumbers("normal3D", v, normalOf(actual, v), normalOf(expected, v)); !r) {
            return r;
        }
    }
    if (actual.triangles != expected.triangles) {
        return testing::AssertionFailure() << "different triangles";
    }
    if (actual.incidence != expected.incidence) {
        return testing::AssertionFailure() << "different incidence lists";
    }
    if (actual.cut != expected.cut) {
        return testing::AssertionFailure() << "different cuts";
    }
    if (actual.name != expected.name) {
        return testing::AssertionFailure() << actual.name << ", not " << expected.name;
    }
    return testing::AssertionSuccess();
}

inline std::vector<double> valuesOf(LinearAlgebra::Vector const& vector) {
    return {vector.begin(), vector.end()};
}

inline LinearAlgebra::Vector vectorOf(std::vector<double> const& values) {
    LinearAlgebra::Vector vector(static_cast<unsigned long>(values.size()));
    std::copy(values.begin(), values.end(), vector.begin());
    return vector;
}

/// The number after the last "262144: " of a solver's output, 0 if there is none.
inline std::uint32_t iterationsIn(std::string const& output) {
    std::string const label = "262144: ";
    std::size_t const place = output.rfind(label);
    return place == std::string::npos
               ? 0
               : static_cast<std::uint32_t>(std::stod(output.substr(place + label.size())));
}

/// A lip of two vertices, so that there is a cut to renumber.
inline void giveCut(TriangleMesh& mesh, std::vector<std::uint32_t> const& first,
                    std::vector<std::uint32_t> const& second) {
    for (std::uint32_t index : first) {
        mesh.cutEdgeIndices.first.push_back({index});
    }
    for (std::uint32_t index : second) {
        mesh.cutEdgeIndices.second.push_back({index});
    }
}

/// The orientation-preserving similarity z -> a z + b that fits best in the sense of least squares, and the
/// largest distance that it leaves, relative to the size of the image.
struct SimilarityFit {
    std::complex<double> factor;
    std::complex<double> shift;
    double relativeError = 0.0;
};

inline SimilarityFit fitSimilarity(std::vector<std::complex<double>> const& from,
                                   std::vector<std::complex<double>> const& to) {
    auto const n = static_cast<double>(from.size());
    std::complex<double> meanFrom;
    std::complex<double> meanTo;
    for (std::size_t i = 0; i < from.size(); ++i) {
        meanFrom += from[i] / n;
        meanTo += to[i] / n;
    }
    std::complex<double> product;
    double square = 0.0;
    for (std::size_t i = 0; i < from.size(); ++i) {
        product += (to[i] - meanTo) * std::conj(from[i] - meanFrom);
        square += std::norm(from[i] - meanFrom);
    }
    SimilarityFit fit;
    fit.factor = product / square;
    fit.shift = meanTo - fit.factor * meanFrom;
    double size = 0.0;
    double error = 0.0;
    for (std::size_t i = 0; i < from.size(); ++i) {
        size = std::max(size, std::abs(to[i] - meanTo));
        error = std::max(error, std::abs(fit.factor * from[i] + fit.shift - to[i]));
    }
    fit.relativeError = error / size;
    return fit;
}

} // namespace QELT::Testing
