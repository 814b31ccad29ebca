#pragma once

#include "tests/inspection/scratchdirectory.h"

#include <cmath>
#include <cstdlib>
#include <numbers>
#include <string>

/// Small parts as files hold them.
namespace QELT::Inspection::Testing {

/// A gently curved patch of 13 by 11 points, sheared and stretched, so that no two distances are equal; a
/// point a line behind `prefix`.
inline std::string patchPoints(std::string const& prefix) {
    std::string text;
    for (int i = 0; i < 13; ++i) {
        for (int j = 0; j < 11; ++j) {
            double const x = i * (1.0 + 0.02 * i) + 0.5 * std::sin(0.7 * j);
            double const y = j * (1.0 + 0.03 * j) + 0.03 * i * j;
            text += prefix + std::to_string(x) + " " + std::to_string(y) + " " +
                    std::to_string(0.02 * x * x) + "\n";
        }
    }
    return text;
}

inline std::string faceText(int a, int b, int c) {
    return "f " + std::to_string(a) + " " + std::to_string(b) + " " + std::to_string(c) + "\n";
}

/// The patch as a mesh of 240 triangles, seen from above counter-clockwise.
inline std::string patchMesh() {
    std::string text = patchPoints("v ");
    for (int i = 0; i < 12; ++i) {
        for (int j = 0; j < 10; ++j) {
            int const a = 11 * i + j + 1;
            text += faceText(a, a + 11, a + 12) + faceText(a, a + 12, a + 1);
        }
    }
    return text;
}

/// A tube of radius 5 around z, open at both ends, of 20 rings of 40 points; its rims are a little uneven.
inline std::string tubeMesh() {
    constexpr int around = 40;
    constexpr int rings = 20;
    std::string text;
    for (int k = 0; k < rings; ++k) {
        for (int j = 0; j < around; ++j) {
            double const angle = 2.0 * std::numbers::pi * (j + 0.3) / around;
            double const rim = k == 0 || k + 1 == rings ? 0.05 * std::sin(angle + 0.3) : 0.0;
            text += "v " + std::to_string(5.0 * std::cos(angle)) + " " +
                    std::to_string(5.0 * std::sin(angle)) + " " + std::to_string(0.7 * k + rim) + "\n";
        }
    }
    for (int k = 0; k + 1 < rings; ++k) {
        for (int j = 0; j < around; ++j) {
            int const a = k * around + j + 1;
            int const b = k * around + (j + 1) % around + 1;
            text += faceText(a, b, b + around) + faceText(a, b + around, a + around);
        }
    }
    return text;
}

char const* const closedMesh = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nf 1 3 2\nf 1 2 4\nf 2 3 4\nf 3 1 4\n";

} // namespace QELT::Inspection::Testing
