// What a user's program might do with points: values that are narrowed to float and widened again side by
// side. The test compiles it at several optimisation levels, with flags of the user's own, and compares the
// bits that it prints.

#include "Geometry/foundations/boundingbox.h"
#include "Geometry/foundations/point.h"
#include "Geometry/foundations/vector.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <random>
#include <vector>

using QELT::Geometry::ThreeDimensional::BoundingBoxAA;
using QELT::Geometry::ThreeDimensional::Point;
using QELT::Geometry::ThreeDimensional::Vector;

namespace {

/// FNV-1a over the bytes of the results, one sum for each kind of computation.
class BitSum {
public:
    void add(double value) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        for (int byte = 0; byte < 8; ++byte) {
            sum = (sum ^ ((bits >> (8 * byte)) & 0xFF)) * 0x100000001B3u;
        }
    }

    void add(Point const& p) {
        add(static_cast<double>(p.getX()));
        add(static_cast<double>(p.getY()));
        add(static_cast<double>(p.getZ()));
    }

    void add(Vector const& v) {
        add(v.getdX());
        add(v.getdY());
        add(v.getdZ());
    }

    std::uint64_t get() const { return sum; }

private:
    std::uint64_t sum = 0xCBF29CE484222325u;
};

/// Numbers from [-1, 1], the same on every platform.
std::vector<double> makeNumbers(std::size_t count) {
    std::mt19937 generator(20250611);
    std::vector<double> numbers(count);
    for (double& number : numbers) {
        number = static_cast<double>(generator()) / 2147483648.0 - 1.0;
    }
    return numbers;
}

/// Narrowed by the constructor and widened at once, two and three coordinates side by side.
BitSum widenSideBySide(std::vector<double> const& n) {
    std::vector<double> widened(n.size());
    for (std::size_t i = 0; i + 2 < n.size(); i += 3) {
        Point const p(n[i], n[i + 1], n[i + 2]);
        widened[i] = static_cast<double>(p.getX());
        widened[i + 1] = static_cast<double>(p.getY());
        widened[i + 2] = static_cast<double>(p.getZ());
    }
    BitSum sum;
    for (double const value : widened) {
        sum.add(value);
    }
    return sum;
}

/// As above, with arithmetic on both sides of the narrowing.
BitSum narrowSums(std::vector<double> const& n) {
    BitSum sum;
    for (std::size_t i = 0; i + 5 < n.size(); i += 6) {
        Point const p(n[i] + n[i + 3], n[i + 1] + n[i + 4], n[i + 2] + n[i + 5]);
        sum.add(Vector(static_cast<double>(p.getX()) * 3.0, static_cast<double>(p.getY()) * 3.0,
                       static_cast<double>(p.getZ()) * 3.0));
    }
    return sum;
}

BitSum movePoints(std::vector<double> const& n) {
    BitSum sum;
    for (std::size_t i = 0; i + 5 < n.size(); i += 6) {
        Point const p(n[i], n[i + 1], n[i + 2]);
        Vector const step(n[i + 3], n[i + 4], n[i + 5]);
        Point moved = p;
        moved += step;
        sum.add(moved);
        moved -= step * 0.5;
        sum.add(moved);
        sum.add(p + step);
        sum.add((p - step) - p);
    }
    return sum;
}

BitSum measureDistances(std::vector<double> const& n) {
    BitSum sum;
    for (std::size_t i = 0; i + 5 < n.size(); i += 6) {
        Point const p(n[i], n[i + 1], n[i + 2]);
        Point const q(n[i + 3], n[i + 4], n[i + 5]);
        sum.add(p.dSqr(q));
        sum.add((p - q).dot(q - p));
        sum.add((p - q).cross(q - Point()));
    }
    return sum;
}

BitSum growBoxes(std::vector<double> const& n) {
    BitSum sum;
    BoundingBoxAA box;
    for (std::size_t i = 0; i + 2 < n.size(); i += 3) {
        box.expand(Point(n[i], n[i + 1], n[i + 2]).getBoundingBox());
        sum.add(box.getp());
        sum.add(box.getd());
        sum.add(box.getCentrePoint());
    }
    return sum;
}

} // namespace

int main() {
    std::vector<double> const numbers = makeNumbers(6000);
    std::cout << std::hex;
    std::cout << "widened " << widenSideBySide(numbers).get() << '\n';
    std::cout << "sums " << narrowSums(numbers).get() << '\n';
    std::cout << "moved " << movePoints(numbers).get() << '\n';
    std::cout << "distances " << measureDistances(numbers).get() << '\n';
    std::cout << "boxes " << growBoxes(numbers).get() << '\n';
}
