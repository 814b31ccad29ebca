#pragma once

#include "Inspection/parts/facemesh.h"

#include <cmath>
#include <numbers>

/// Parts of known shape, faces counter-clockwise as seen from outside or above.
namespace QELT::Inspection::Testing {

constexpr double fullTurn = 2.0 * std::numbers::pi;

inline void addSquare(FaceMesh& mesh, unsigned a, unsigned b, unsigned c, unsigned d) {
    mesh.faces.push_back({a, b, c});
    mesh.faces.push_back({a, c, d});
}

/// A sheet of unit squares in a plane z = const, from (x, y) on.
inline void addFlatSheet(FaceMesh& mesh, unsigned width, unsigned height, double x = 0.0, double y = 0.0,
                         double z = 0.0) {
    auto const first = static_cast<unsigned>(mesh.points.size());
    for (unsigned v = 0; v <= height; ++v) {
        for (unsigned u = 0; u <= width; ++u) {
            mesh.points.emplace_back(x + u, y + v, z);
        }
    }
    for (unsigned v = 0; v < height; ++v) {
        for (unsigned u = 0; u < width; ++u) {
            unsigned const a = first + v * (width + 1) + u;
            addSquare(mesh, a, a + 1, a + width + 2, a + width + 1);
        }
    }
}

inline FaceMesh flatSheet(unsigned width, unsigned height) {
    FaceMesh mesh;
    addFlatSheet(mesh, width, height);
    return mesh;
}

/// Rings of points around z, each joined to the next; `place(k, j)` is point j of ring k.
template <class Place>
FaceMesh ringsOf(unsigned rings, unsigned around, bool isClosedUp, Place place) {
    FaceMesh mesh;
    for (unsigned k = 0; k < rings; ++k) {
        for (unsigned j = 0; j < around; ++j) {
            mesh.points.push_back(place(k, j));
        }
    }
    for (unsigned k = 0; k + (isClosedUp ? 0 : 1) < rings; ++k) {
        for (unsigned j = 0; j < around; ++j) {
            unsigned const next = (j + 1) % around;
            unsigned const above = ((k + 1) % rings) * around;
            addSquare(mesh, k * around + j, k * around + next, above + next, above + j);
        }
    }
    return mesh;
}

/// Around z, its rims a little uneven.
inline FaceMesh tube(unsigned rings, unsigned around, double radius = 5.0, double height = 1.0) {
    return ringsOf(rings, around, false, [=](unsigned k, unsigned j) {
        double const angle = fullTurn * (j + 0.3) / around;
        double const rim = k == 0 || k + 1 == rings ? 0.05 * std::sin(angle + 0.3) : 0.0;
        return Point(radius * std::cos(angle), radius * std::sin(angle), height * k + rim);
    });
}

inline FaceMesh torus(unsigned rings, unsigned around) {
    return ringsOf(rings, around, true, [=](unsigned k, unsigned j) {
        double const angle = fullTurn * j / around;
        double const turn = -fullTurn * k / rings;
        double const reach = 10.0 + 3.0 * std::cos(turn);
        return Point(reach * std::cos(angle), reach * std::sin(angle), -3.0 * std::sin(turn));
    });
}

/// Of `rings` rings of `around` points between two poles.
inline FaceMesh sphere(unsigned rings, unsigned around, double radius = 10.0) {
    FaceMesh mesh = ringsOf(rings, around, false, [=](unsigned k, unsigned j) {
        double const height = fullTurn / 2.0 * ((k + 1.0) / (rings + 1.0) - 0.5);
        double const angle = fullTurn * j / around;
        return Point(radius * std::cos(height) * std::cos(angle), radius * std::cos(height) * std::sin(angle),
                     radius * std::sin(height));
    });
    unsigned const low = rings * around;
    mesh.points.emplace_back(0.0, 0.0, -radius);
    mesh.points.emplace_back(0.0, 0.0, radius);
    for (unsigned j = 0; j < around; ++j) {
        unsigned const next = (j + 1) % around;
        unsigned const top = (rings - 1) * around;
        mesh.faces.push_back({low, next, j});
        mesh.faces.push_back({low + 1, top + j, top + next});
    }
    return mesh;
}

/// From the origin to (a, b, c), two faces a side.
inline FaceMesh box(double a, double b, double c) {
    FaceMesh mesh;
    for (unsigned i = 0; i < 8; ++i) {
        mesh.points.emplace_back((i & 1U) != 0 ? a : 0.0, (i & 2U) != 0 ? b : 0.0, (i & 4U) != 0 ? c : 0.0);
    }
    addSquare(mesh, 0, 2, 3, 1);
    addSquare(mesh, 4, 5, 7, 6);
    addSquare(mesh, 0, 1, 5, 4);
    addSquare(mesh, 2, 6, 7, 3);
    addSquare(mesh, 0, 4, 6, 2);
    addSquare(mesh, 1, 3, 7, 5);
    return mesh;
}

/// A band of so many squares with half a turn in it.
inline FaceMesh twistedBand(unsigned around) {
    FaceMesh mesh;
    for (unsigned j = 0; j < around; ++j) {
        double const angle = fullTurn * j / around;
        for (double const side : {-1.0, 1.0}) {
            double const reach = 10.0 + side * std::cos(angle / 2.0);
            mesh.points.emplace_back(reach * std::cos(angle), reach * std::sin(angle),
                                     side * std::sin(angle / 2.0));
        }
    }
    for (unsigned j = 0; j + 1 < around; ++j) {
        addSquare(mesh, 2 * j, 2 * j + 1, 2 * j + 3, 2 * j + 2);
    }
    unsigned const last = 2 * (around - 1);
    addSquare(mesh, last, last + 1, 0, 1);
    return mesh;
}

/// Appends another mesh, moved.
inline void append(FaceMesh& mesh, FaceMesh const& other, Vector const& way) {
    auto const first = static_cast<unsigned>(mesh.points.size());
    for (Point const& point : other.points) {
        mesh.points.push_back(point + way);
    }
    for (auto const& [a, b, c] : other.faces) {
        mesh.faces.push_back({a + first, b + first, c + first});
    }
}

} // namespace QELT::Inspection::Testing
