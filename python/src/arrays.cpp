#include "python/src/arrays.h"

#include <cmath>
#include <cstring>

namespace QELT::Python {

namespace {

/// An array of real numbers; flags, complex numbers, texts and objects are refused.
py::array arrayFrom(py::handle value, std::string const& name) {
    auto const array = py::array::ensure(value);
    if (!array) {
        PyErr_Clear();
        refuse(value, name, "an array of numbers");
    }
    if (std::string("fiu").find(array.dtype().kind()) == std::string::npos) {
        throw py::type_error(name + " needs an array of numbers, not of " +
                             std::string(py::str(array.dtype())));
    }
    return array;
}

void requireShape(py::array const& array, std::string const& name, py::ssize_t width) {
    if (array.ndim() != 2 || array.shape(1) != width) {
        throw py::value_error(name + " needs the shape (n, " + std::to_string(width) + "), not " +
                              std::string(py::str(array.attr("shape"))));
    }
}

/// Whether the numbers are of this type, in this machine's order of bytes.
template <class T>
bool isOf(py::array const& array) {
    return array.dtype().is(py::dtype::of<T>()) || array.dtype().equal(py::dtype::of<T>());
}

py::array floatingFrom(py::array const& array) {
    return isOf<float>(array) || isOf<double>(array) ? array : py::array(array.attr("astype")("float64"));
}

} // namespace

Rows::Rows(py::handle value, char const* name, py::ssize_t newWidth) : array(arrayFrom(value, name)) {
    requireShape(array, name, newWidth);
    array = floatingFrom(array);
    first = static_cast<char const*>(array.data());
    count = array.shape(0);
    rowStride = array.strides(0);
    columnStride = array.strides(1);
    isSingle = isOf<float>(array);
}

std::vector<Point> finitePointsFrom(py::handle value, char const* name) {
    Rows const rows(value, name, 3);
    std::vector<Point> points;
    points.reserve(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        points.push_back(rows.point(i));
        Point const& p = points.back();
        if (!std::isfinite(p.getX()) || !std::isfinite(p.getY()) || !std::isfinite(p.getZ())) {
            throw py::value_error(std::string(name) + " needs finite coordinates; those of row " +
                                  std::to_string(i) + " are not, or not as 32-bit floats");
        }
    }
    return points;
}

std::vector<Vector> vectorsFrom(py::handle value, char const* name) {
    Rows const rows(value, name, 3);
    std::vector<Vector> vectors;
    vectors.reserve(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        vectors.push_back(rows.vector(i));
    }
    return vectors;
}

std::vector<Face> facesFrom(py::handle value, std::size_t pointCount) {
    py::array array = arrayFrom(value, "faces");
    if (array.dtype().kind() == 'f' && array.size() > 0) {
        throw py::type_error("faces needs an array of whole numbers, not of " +
                             std::string(py::str(array.dtype())));
    }
    requireShape(array, "faces", 3);
    bool const isBeyondSigned = array.dtype().kind() == 'u' && array.itemsize() == 8;
    auto const indices = isBeyondSigned ? py::array_t<std::int64_t>(array.attr("clip")(0, UINT32_MAX))
                                        : py::array_t<std::int64_t>::ensure(array);
    auto const rows = indices.unchecked<2>();
    std::vector<Face> faces(static_cast<std::size_t>(rows.shape(0)));
    for (py::ssize_t i = 0; i < rows.shape(0); ++i) {
        for (py::ssize_t k = 0; k < 3; ++k) {
            if (rows(i, k) < 0 || static_cast<std::uint64_t>(rows(i, k)) >= pointCount) {
                throw py::value_error("faces names a point in row " + std::to_string(i) +
                                      " that is not there");
            }
            faces[static_cast<std::size_t>(i)][static_cast<std::size_t>(k)] =
                static_cast<std::uint32_t>(rows(i, k));
        }
    }
    return faces;
}

} // namespace QELT::Python
