#pragma once

#include "Geometry/trimesh/mesh.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// A second, plain program for the flattening of a mesh: every step spelled out on plain arrays, with its own
/// arithmetic and the plain solver, no care for speed. The library must give the same bits.
namespace QELT::Testing::PlainFlattening {

using Place = std::array<float, 3>;
using Flat = std::array<double, 2>;
using Direction = std::array<double, 3>;

/// A side of a triangle, by number. `triangle` is -1 where there is none.
struct Side {
    std::int64_t triangle = -1;
    std::uint32_t side = 0xFFFFFFFFU;

    bool operator==(Side const& other) const { return triangle == other.triangle && side == other.side; }
};

struct TriangleRecord {
    std::array<std::uint32_t, 3> vertices{};
    std::array<Side, 3> across;

    bool operator==(TriangleRecord const& other) const {
        return vertices == other.vertices && across == other.across;
    }
};

/// All that a mesh holds, with triangles named by their rank among the addresses of all triangles that can be
/// reached. Two records of one mesh, before and after an operation that makes no triangles, can be compared.
struct MeshRecord {
    std::vector<Place> places;
    std::vector<Flat> flats;
    std::vector<Direction> normals;
    std::vector<TriangleRecord> triangles;
    std::vector<std::vector<std::int64_t>> incidence;
    std::vector<std::uint32_t> cutFirst;
    std::vector<std::uint32_t> cutSecond;
};

MeshRecord takeRecord(Geometry::ThreeDimensional::TriMesh::Mesh const& mesh);

/// Navigation on a record. Crossing a boundary side gives a side with triangle -1.
std::uint32_t originOf(MeshRecord const& mesh, Side const& e);
std::uint32_t destinationOf(MeshRecord const& mesh, Side const& e);
Side nextAlongTriangle(Side const& e);
Side acrossOf(MeshRecord const& mesh, Side const& e);
bool isOnBoundary(MeshRecord const& mesh, Side const& e);
Side nextSpoke(MeshRecord const& mesh, Side const& e);
Side previousSpoke(MeshRecord const& mesh, Side const& e);
Side someSpoke(MeshRecord const& mesh, std::uint32_t vertex);
bool isBoundaryVertex(MeshRecord const& mesh, std::uint32_t vertex);

/// Numbers of the triangles in the order in which the mesh lists them.
std::vector<std::int64_t> listTriangles(MeshRecord const& mesh);

/// What an application that listens and reads standard output gets to know.
struct Report {
    bool isListening = true;
    /// As `RecordingListener` writes them, in order.
    std::vector<std::string> events;
    std::string output;

    void message(std::string const& text);
    void percentage(std::uint64_t value);
};

struct Counts {
    std::uint32_t interior = 0;
    std::uint32_t mainLoop = 0;
};

/// \throws std::runtime_error, with the mesh unchanged, if there is no boundary or it meets itself.
Counts promoteInterior(MeshRecord& mesh, bool pinCorners);

/// A matrix with all its stored entries, zeros included, by ascending column.
struct Entry {
    std::uint32_t column;
    double value;
};

using Rows = std::vector<std::vector<Entry>>;

struct Solve {
    bool converged = false;
    std::uint32_t iterations = 0;
};

/// Solves by `PlainLinearAlgebra::solve`, with what is reported on the way. `x` is start value and result.
Solve solve(Rows const& a, std::vector<double>& x, std::vector<double> const& b, Report& report);

/// Positions of the last `n` vertices, solved with the full normal matrix. `count` receives the iterations.
std::vector<Flat> developableBoundary(MeshRecord const& mesh, std::uint32_t n, Report& report,
                                      std::uint32_t& iterations);

/// Turns and shifts the flat places; the number of the best step of 8192 is the result.
std::uint32_t orient(MeshRecord& mesh, Report& report);

struct Outcome {
    MeshRecord mesh;
    Report report;
    /// Of the boundary, if it was solved for, and of the whole map.
    std::vector<std::uint32_t> iterations;
    bool converged = false;
    std::vector<double> solution;
};

/// The whole map. `start` may be null, then the solver starts at zero.
Outcome conformalMap(MeshRecord const& mesh, bool pinCorners, std::vector<double> const* start,
                     bool isListening);

} // namespace QELT::Testing::PlainFlattening
