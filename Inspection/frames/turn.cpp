#include "Inspection/frames/turn.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace QELT::Inspection {

namespace {

constexpr double degree = std::numbers::pi / 180.0;

/// Below this sine a way is taken as straight, which is right to the last digit.
constexpr double smallestSine = 1e-9;

/// About the axis of that number.
Turn turnAbout(int axis, double degrees) {
    double const half = 0.5 * degrees * degree;
    Turn turn{std::cos(half), 0.0, 0.0, 0.0};
    (axis == 0 ? turn.x : axis == 1 ? turn.y : turn.z) = std::sin(half);
    return turn;
}

Turn normalised(Turn const& turn) {
    double const length = std::sqrt(turn.w * turn.w + turn.x * turn.x + turn.y * turn.y + turn.z * turn.z);
    return {turn.w / length, turn.x / length, turn.y / length, turn.z / length};
}

/// How much of both ends goes into a point of the way between them, which is `angle` long.
struct Shares {
    double from;
    double to;
};

Shares sharesOf(double cosine, double share) {
    double const angle = std::acos(std::clamp(cosine, -1.0, 1.0));
    double const sine = std::sin(angle);
    if (sine < smallestSine) {
        return {1.0 - share, share};
    }
    return {std::sin((1.0 - share) * angle) / sine, std::sin(share * angle) / sine};
}

Triple cross(Triple const& a, Triple const& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

} // namespace

Turn Turn::operator*(Turn const& other) const {
    return {w * other.w - x * other.x - y * other.y - z * other.z,
            w * other.x + x * other.w + y * other.z - z * other.y,
            w * other.y - x * other.z + y * other.w + z * other.x,
            w * other.z + x * other.y - y * other.x + z * other.w};
}

Triple Turn::operator*(Triple const& vector) const {
    Triple const axis{x, y, z};
    Triple const twice = 2.0 * cross(axis, vector);
    return vector + w * twice + cross(axis, twice);
}

Turn turnOfDegrees(double a, double b, double c) {
    return turnAbout(2, a) * turnAbout(1, b) * turnAbout(0, c);
}

Turn turnOfRotationVector(Triple const& vector) {
    double const angle = lengthOf(vector);
    if (!(angle > 0.0)) {
        return {};
    }
    double const factor = std::sin(0.5 * angle) / angle;
    return {std::cos(0.5 * angle), factor * vector[0], factor * vector[1], factor * vector[2]};
}

Turn turnOfMatrix(std::array<Triple, 3> const& m) {
    std::array<double, 4> const squares{1.0 + m[0][0] + m[1][1] + m[2][2], 1.0 + m[0][0] - m[1][1] - m[2][2],
                                        1.0 - m[0][0] + m[1][1] - m[2][2], 1.0 - m[0][0] - m[1][1] + m[2][2]};
    Triple const differences{m[2][1] - m[1][2], m[0][2] - m[2][0], m[1][0] - m[0][1]};
    Triple const sums{m[2][1] + m[1][2], m[0][2] + m[2][0], m[1][0] + m[0][1]};
    switch (std::max_element(squares.begin(), squares.end()) - squares.begin()) {
    case 0:
        return normalised({squares[0], differences[0], differences[1], differences[2]});
    case 1:
        return normalised({differences[0], squares[1], sums[2], sums[1]});
    case 2:
        return normalised({differences[1], sums[2], squares[2], sums[0]});
    default:
        return normalised({differences[2], sums[1], sums[0], squares[3]});
    }
}

std::array<Triple, 3> matrixOf(Turn const& turn) {
    Triple const first = turn * Triple{1.0, 0.0, 0.0};
    Triple const second = turn * Triple{0.0, 1.0, 0.0};
    Triple const third = turn * Triple{0.0, 0.0, 1.0};
    return {Triple{first[0], second[0], third[0]}, Triple{first[1], second[1], third[1]},
            Triple{first[2], second[2], third[2]}};
}

Turn slerp(Turn const& from, Turn const& to, double share) {
    double const cosine = from.w * to.w + from.x * to.x + from.y * to.y + from.z * to.z;
    Shares shares = sharesOf(std::abs(cosine), share);
    shares.to = cosine < 0.0 ? -shares.to : shares.to; // both signs are the same rotation
    return normalised({shares.from * from.w + shares.to * to.w, shares.from * from.x + shares.to * to.x,
                       shares.from * from.y + shares.to * to.y, shares.from * from.z + shares.to * to.z});
}

Triple slerp(Triple const& from, Triple const& to, double share) {
    double const fromLength = lengthOf(from);
    double const toLength = lengthOf(to);
    double const cosine = dot(from, to) / (fromLength * toLength);
    if (cosine < -1.0 + smallestSine) {
        return share < 0.5 ? from : to;
    }
    Shares const shares = sharesOf(cosine, share);
    Triple const way = (shares.from / fromLength) * from + (shares.to / toLength) * to;
    return (((1.0 - share) * fromLength + share * toLength) / lengthOf(way)) * way;
}

Triple operator+(Triple const& a, Triple const& b) {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

Triple operator-(Triple const& a, Triple const& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

Triple operator*(double factor, Triple const& a) {
    return {factor * a[0], factor * a[1], factor * a[2]};
}

double dot(Triple const& a, Triple const& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

double lengthOf(Triple const& a) {
    return std::sqrt(dot(a, a));
}

} // namespace QELT::Inspection
