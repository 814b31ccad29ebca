#pragma once

#include "Inspection/inspection.h"

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <pybind11/stl/filesystem.h>

#include <array>
#include <concepts>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

/// Values of the libraries as Python's and back.
///
/// What a result holds is shown, not copied: structures and arrays of numbers within it keep it alive and
/// cannot be written. Points become tuples of three, lists of points arrays (n, 3), enumerations words.
/// Messages begin with a subject such as "prepare(): 'resolution'".
namespace QELT::Python {

namespace py = pybind11;

using namespace QELT::Inspection;

/// What is known of a structure of options or results; specialised for each by what `describe.py` writes.
template <class T>
struct Description;

/// An enumeration's values and the words for them; written likewise.
template <class T>
struct Enumerators;

template <class T>
concept Described = requires {
    Description<T>::name;
};

template <class T>
concept Enumerated = std::is_enum_v<T>;

template <class T>
concept Number = std::is_arithmetic_v<T> && !std::same_as<T, bool>;

struct Enumerator {
    std::int64_t value;
    char const* word;
};

/// A member of a structure.
struct Field {
    char const* name; ///< in Python
    char const* doc;
    bool isRequired; ///< an option that has no default
    py::object (*get)(void const* structure, py::handle owner);
    void (*set)(void* structure, py::handle value, std::string const& subject); ///< null but for options
};

/// The metaclass of all our classes: Python's own, as their types are declared.
inline py::metaclass plainType() {
    return py::metaclass(py::handle(reinterpret_cast<PyObject*>(&PyType_Type)));
}

/// \throws py::type_error with what is expected and what came.
[[noreturn]] void refuse(py::handle value, std::string const& subject, char const* expected);

double numberFrom(py::handle value, std::string const& subject);

/// \throws py::value_error beyond the limits.
std::int64_t wholeFrom(py::handle value, std::string const& subject, std::int64_t low, std::uint64_t high);
bool flagFrom(py::handle value, std::string const& subject);
std::string textFrom(py::handle value, std::string const& subject);

/// Of a `str` or an `os.PathLike`.
std::filesystem::path pathFrom(py::handle value, std::string const& subject);

/// The items of a sequence that is no text, of that length unless it is 0.
std::vector<py::object> itemsFrom(py::handle value, std::string const& subject, std::size_t length = 0);

/// \throws py::value_error that names the words that there are.
std::int64_t enumeratorFrom(py::handle value, std::string const& subject, std::span<Enumerator const> words);
py::object wordOf(std::int64_t value, std::span<Enumerator const> words);

/// An array that cannot be written: a view of what `owner` holds, or a copy if that is null.
py::array shownArray(py::dtype const& type, std::vector<py::ssize_t> const& shape, void const* data,
                     py::handle owner);

py::array arrayOf(std::vector<Point> const& points);
py::array arrayOf(std::vector<Vector> const& vectors);
py::array arrayOf(std::vector<FlatPoint> const& points);
py::array arrayOf(std::vector<GridIndex> const& indices);
py::object arraysOf(std::vector<Hit> const& hits);
py::object arrayOf(QELT::Geometry::ThreeDimensional::LinearMap const& map);
py::object gridOf(Grid const& grid);

/// Fills the fields of a structure from a dictionary. \throws py::type_error that names an unknown or a
/// missing one.
void fillFields(void* structure, std::span<Field const> fields, py::handle given, std::string const& subject);

/// Classes that are bound on their own: by reference to what the owner holds, or by copy.
template <class T>
struct Conversion {
    static py::object toPython(T const& value, py::handle owner) {
        if (owner) {
            return py::cast(&value, py::return_value_policy::reference_internal, owner);
        }
        return py::cast(value, py::return_value_policy::copy);
    }

    static T fromPython(py::handle value, std::string const& subject) requires Described<T> {
        if (py::isinstance<T>(value)) {
            return value.cast<T const&>();
        }
        if constexpr (std::same_as<T, PlacedPart>) { // mostly a file alone
            if (!py::isinstance<py::dict>(value)) {
                return pathFrom(value, subject);
            }
        }
        if (!py::isinstance<py::dict>(value)) {
            refuse(value, subject, Description<T>::expected);
        }
        T structure;
        fillFields(&structure, Description<T>::fields(), value, subject);
        return structure;
    }
};

template <class T>
py::object toPython(T const& value, py::handle owner) {
    return Conversion<T>::toPython(value, owner);
}

template <class T>
T fromPython(py::handle value, std::string const& subject) {
    return Conversion<T>::fromPython(value, subject);
}

template <class T>
py::object tupleOf(T const& values, py::handle owner) {
    py::tuple tuple(std::size(values));
    std::size_t i = 0;
    for (auto const& value : values) {
        tuple[i++] = toPython(value, owner);
    }
    return tuple;
}

template <Number T>
struct Conversion<T> {
    static py::object toPython(T value, py::handle) { return py::cast(value); }

    static T fromPython(py::handle value, std::string const& subject) {
        if constexpr (std::floating_point<T>) {
            return static_cast<T>(numberFrom(value, subject));
        } else {
            using Limits = std::numeric_limits<T>;
            return static_cast<T>(wholeFrom(value, subject, static_cast<std::int64_t>(Limits::min()),
                                            static_cast<std::uint64_t>(Limits::max())));
        }
    }
};

template <>
struct Conversion<bool> {
    static py::object toPython(bool value, py::handle) { return py::bool_(value); }

    static bool fromPython(py::handle value, std::string const& subject) { return flagFrom(value, subject); }
};

template <>
struct Conversion<std::string> {
    static py::object toPython(std::string const& value, py::handle) { return py::str(value); }

    static std::string fromPython(py::handle value, std::string const& subject) {
        return textFrom(value, subject);
    }
};

template <>
struct Conversion<std::filesystem::path> {
    static py::object toPython(std::filesystem::path const& value, py::handle) { return py::cast(value); }

    static std::filesystem::path fromPython(py::handle value, std::string const& subject) {
        return pathFrom(value, subject);
    }
};

template <Enumerated T>
struct Conversion<T> {
    static py::object toPython(T value, py::handle) {
        return wordOf(static_cast<std::int64_t>(value), Enumerators<T>::words);
    }

    static T fromPython(py::handle value, std::string const& subject) {
        return static_cast<T>(enumeratorFrom(value, subject, Enumerators<T>::words));
    }
};

template <class T>
struct Conversion<std::optional<T>> {
    static py::object toPython(std::optional<T> const& value, py::handle owner) {
        return value ? Python::toPython(*value, owner) : py::none();
    }

    static std::optional<T> fromPython(py::handle value, std::string const& subject) {
        if (value.is_none()) {
            return std::nullopt;
        }
        return Python::fromPython<T>(value, subject);
    }
};

template <class T>
constexpr bool isRowOfNumbers = false;
template <Number T, std::size_t N>
constexpr bool isRowOfNumbers<std::array<T, N>> = true;

template <class T>
struct Conversion<std::vector<T>> {
    static py::object toPython(std::vector<T> const& values, py::handle owner) {
        auto const count = static_cast<py::ssize_t>(values.size());
        if constexpr (Number<T>) {
            return shownArray(py::dtype::of<T>(), {count}, values.data(), owner);
        } else if constexpr (Enumerated<T>) {
            return shownArray(py::dtype::of<std::underlying_type_t<T>>(), {count}, values.data(), owner);
        } else if constexpr (isRowOfNumbers<T>) {
            auto const width = static_cast<py::ssize_t>(std::tuple_size_v<T>);
            return shownArray(py::dtype::of<typename T::value_type>(), {count, width}, values.data(), owner);
        } else if constexpr (requires { arrayOf(values); }) {
            return arrayOf(values);
        } else {
            return tupleOf(values, owner);
        }
    }

    static std::vector<T> fromPython(py::handle value, std::string const& subject) {
        std::vector<T> values;
        for (py::object const& item : itemsFrom(value, subject)) {
            values.push_back(Python::fromPython<T>(item, subject));
        }
        return values;
    }
};

template <>
struct Conversion<std::vector<Hit>> {
    static py::object toPython(std::vector<Hit> const& hits, py::handle) { return arraysOf(hits); }
};

template <class T, std::size_t N>
struct Conversion<std::array<T, N>> {
    static py::object toPython(std::array<T, N> const& values, py::handle owner) {
        return tupleOf(values, owner);
    }

    static std::array<T, N> fromPython(py::handle value, std::string const& subject) {
        std::array<T, N> values{};
        auto const items = itemsFrom(value, subject, N);
        for (std::size_t i = 0; i < N; ++i) {
            values[i] = Python::fromPython<T>(items[i], subject);
        }
        return values;
    }
};

template <>
struct Conversion<AxisMap> {
    static py::object toPython(AxisMap const& map, py::handle) { return py::str(toText(map)); }

    static AxisMap fromPython(py::handle value, std::string const& subject);
};

template <class A, class B>
struct Conversion<std::pair<A, B>> {
    static py::object toPython(std::pair<A, B> const& value, py::handle owner) {
        return py::make_tuple(Python::toPython(value.first, owner), Python::toPython(value.second, owner));
    }

    static std::pair<A, B> fromPython(py::handle value, std::string const& subject) {
        auto const items = itemsFrom(value, subject, 2);
        return {Python::fromPython<A>(items[0], subject), Python::fromPython<B>(items[1], subject)};
    }
};

template <class... T>
struct Conversion<std::variant<T...>> {
    static py::object toPython(std::variant<T...> const& value, py::handle owner) {
        return std::visit([&](auto const& chosen) { return Python::toPython(chosen, owner); }, value);
    }

    /// Of an object of one of the classes: a dictionary would not tell which is meant.
    static std::variant<T...> fromPython(py::handle value, std::string const& subject) {
        std::optional<std::variant<T...>> chosen;
        ((py::isinstance<T>(value) ? void(chosen = value.cast<T const&>()) : void()), ...);
        if (!chosen) {
            std::string names;
            ((names += (names.empty() ? "" : ", ") + std::string(Description<T>::name)), ...);
            refuse(value, subject, ("one of " + names).c_str());
        }
        return *chosen;
    }
};

template <class T>
T tripleFrom(py::handle value, std::string const& subject) {
    auto const numbers = fromPython<std::array<double, 3>>(value, subject);
    return T(numbers[0], numbers[1], numbers[2]);
}

template <>
struct Conversion<Point> {
    static py::object toPython(Point const& p, py::handle) {
        return py::make_tuple(p.getX(), p.getY(), p.getZ());
    }

    static Point fromPython(py::handle value, std::string const& subject) {
        return tripleFrom<Point>(value, subject);
    }
};

template <>
struct Conversion<Vector> {
    static py::object toPython(Vector const& v, py::handle) {
        return py::make_tuple(v.getdX(), v.getdY(), v.getdZ());
    }

    static Vector fromPython(py::handle value, std::string const& subject) {
        return tripleFrom<Vector>(value, subject);
    }
};

template <class T, class Component>
T pairFrom(py::handle value, std::string const& subject) {
    auto const numbers = fromPython<std::array<Component, 2>>(value, subject);
    return T(numbers[0], numbers[1]);
}

template <class T>
struct Conversion<QELT::Geometry::TwoDimensional::Point<T>> {
    using FlatPlace = QELT::Geometry::TwoDimensional::Point<T>;

    static py::object toPython(FlatPlace const& p, py::handle) { return py::make_tuple(p.getU(), p.getV()); }

    static FlatPlace fromPython(py::handle value, std::string const& subject) {
        return pairFrom<FlatPlace, T>(value, subject);
    }
};

template <class T>
struct Conversion<QELT::Geometry::TwoDimensional::Vector<T>> {
    using FlatVector = QELT::Geometry::TwoDimensional::Vector<T>;

    static py::object toPython(FlatVector const& v, py::handle) {
        return py::make_tuple(v.getdU(), v.getdV());
    }

    static FlatVector fromPython(py::handle value, std::string const& subject) {
        return pairFrom<FlatVector, T>(value, subject);
    }
};

template <>
struct Conversion<QELT::Geometry::ThreeDimensional::LinearMap> {
    static py::object toPython(QELT::Geometry::ThreeDimensional::LinearMap const& map, py::handle) {
        return arrayOf(map);
    }
};

template <>
struct Conversion<std::shared_ptr<Mesh>> {
    static py::object toPython(std::shared_ptr<Mesh> const& mesh, py::handle) { return py::cast(mesh); }
};

template <>
struct Conversion<std::shared_ptr<Grid>> {
    static py::object toPython(std::shared_ptr<Grid> const& grid, py::handle) {
        return grid ? gridOf(*grid) : py::none();
    }
};

/// A pointer into what the owner holds.
template <class T>
struct Conversion<T const*> {
    static py::object toPython(T const* value, py::handle owner) {
        return value == nullptr ? py::none() : Python::toPython(*value, owner);
    }
};

} // namespace QELT::Python
