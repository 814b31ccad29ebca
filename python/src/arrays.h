#pragma once

#include "python/src/convert.h"

#include <cstring>

/// Arrays from Python.
namespace QELT::Python {

/// Rows of two or three numbers in an array of any strides, read where they lie. Arrays of other numbers than
/// floats and doubles are converted first.
class Rows {
public:
    /// `value` is an array (n, `width`), or what NumPy makes one of. \throws py::type_error, py::value_error
    Rows(py::handle value, char const* name, py::ssize_t newWidth);

    std::size_t size() const { return static_cast<std::size_t>(count); }

    double at(std::size_t row, std::size_t column) const {
        char const* const place = first + static_cast<py::ssize_t>(row) * rowStride +
                                  static_cast<py::ssize_t>(column) * columnStride;
        return isSingle ? static_cast<double>(read<float>(place)) : read<double>(place);
    }

    Point point(std::size_t row) const { return Point(at(row, 0), at(row, 1), at(row, 2)); }

    Vector vector(std::size_t row) const { return Vector(at(row, 0), at(row, 1), at(row, 2)); }

private:
    py::array array; ///< keeps what is read
    char const* first = nullptr;
    py::ssize_t count = 0;
    py::ssize_t rowStride = 0;
    py::ssize_t columnStride = 0;
    bool isSingle = false;

    template <class T>
    static T read(char const* place) {
        T value;
        std::memcpy(&value, place, sizeof(T)); // an array may lie at any address
        return value;
    }
};

/// \throws py::value_error if one is infinite or NaN, which names its row.
std::vector<Point> finitePointsFrom(py::handle value, char const* name);
std::vector<Vector> vectorsFrom(py::handle value, char const* name);

/// Whole numbers (m, 3), each below `pointCount`.
std::vector<Face> facesFrom(py::handle value, std::size_t pointCount);

} // namespace QELT::Python
