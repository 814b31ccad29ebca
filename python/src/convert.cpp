#include "python/src/convert.h"

#include <algorithm>

namespace QELT::Python {

void refuse(py::handle value, std::string const& subject, char const* expected) {
    std::string const type = py::str(py::type::handle_of(value).attr("__name__"));
    throw py::type_error(subject + " needs " + expected + ", not " + type);
}

double numberFrom(py::handle value, std::string const& subject) {
    double const number = PyFloat_AsDouble(value.ptr());
    if (number == -1.0 && PyErr_Occurred() != nullptr) {
        PyErr_Clear();
        refuse(value, subject, "a number");
    }
    return number;
}

std::int64_t wholeFrom(py::handle value, std::string const& subject, std::int64_t low, std::uint64_t high) {
    auto const whole = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
    if (!whole || PyBool_Check(value.ptr())) {
        PyErr_Clear();
        refuse(value, subject, "a whole number");
    }
    if (whole < py::int_(low) || whole > py::int_(high)) {
        throw py::value_error(subject + " needs a whole number from " + std::to_string(low) + " to " +
                              std::to_string(high));
    }
    return static_cast<std::int64_t>(PyLong_AsUnsignedLongLongMask(whole.ptr()));
}

bool flagFrom(py::handle value, std::string const& subject) {
    bool const isFlag = PyBool_Check(value.ptr()) ||
                        std::string(py::str(py::type::handle_of(value).attr("__name__"))).starts_with("bool");
    if (!isFlag) {
        refuse(value, subject, "True or False");
    }
    return py::bool_(py::reinterpret_borrow<py::object>(value));
}

std::string textFrom(py::handle value, std::string const& subject) {
    if (!py::isinstance<py::str>(value)) {
        refuse(value, subject, "a str");
    }
    return value.cast<std::string>();
}

std::filesystem::path pathFrom(py::handle value, std::string const& subject) {
    py::detail::make_caster<std::filesystem::path> caster;
    if (!caster.load(value, true)) {
        PyErr_Clear();
        refuse(value, subject, "a str or os.PathLike");
    }
    return py::detail::cast_op<std::filesystem::path>(caster);
}

std::vector<py::object> itemsFrom(py::handle value, std::string const& subject, std::size_t length) {
    std::string const expected = length == 0 ? "a sequence" : "a sequence of " + std::to_string(length);
    if (!py::isinstance<py::sequence>(value) || py::isinstance<py::str>(value) ||
        py::isinstance<py::bytes>(value)) {
        refuse(value, subject, expected.c_str());
    }
    std::vector<py::object> items;
    for (py::handle const item : value) {
        items.push_back(py::reinterpret_borrow<py::object>(item));
    }
    if (length != 0 && items.size() != length) {
        throw py::value_error(subject + " needs " + expected + ", not of " + std::to_string(items.size()));
    }
    return items;
}

std::int64_t enumeratorFrom(py::handle value, std::string const& subject, std::span<Enumerator const> words) {
    std::string const word = textFrom(value, subject);
    auto const found =
        std::ranges::find(words, word, [](Enumerator const& each) { return std::string(each.word); });
    if (found != words.end()) {
        return found->value;
    }
    std::string known;
    for (Enumerator const& each : words) {
        known += std::string(known.empty() ? "'" : ", '") + each.word + "'";
    }
    throw py::value_error(subject + " needs one of " + known + ", not '" + word + "'");
}

py::object wordOf(std::int64_t value, std::span<Enumerator const> words) {
    auto const found = std::ranges::find(words, value, &Enumerator::value);
    return found == words.end() ? py::object(py::int_(value)) : py::object(py::str(found->word));
}

py::array shownArray(py::dtype const& type, std::vector<py::ssize_t> const& shape, void const* data,
                     py::handle owner) {
    py::array array(type, shape, {}, data, owner);
    py::detail::array_proxy(array.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
    return array;
}

namespace {

/// Of what `read` makes of each item: a row.
template <class T, std::size_t Width, class Item, class Read>
py::array rowsOf(std::vector<Item> const& items, Read read) {
    py::array_t<T> array({items.size(), Width});
    T* place = array.mutable_data();
    for (Item const& item : items) {
        place = std::ranges::copy(read(item), place).out;
    }
    return array;
}

} // namespace

py::array arrayOf(std::vector<Point> const& points) {
    return rowsOf<float, 3>(points, [](Point const& p) { return std::array{p.getX(), p.getY(), p.getZ()}; });
}

py::array arrayOf(std::vector<Vector> const& vectors) {
    return rowsOf<double, 3>(vectors, [](Vector const& v) {
        return std::array{v.getdX(), v.getdY(), v.getdZ()};
    });
}

py::array arrayOf(std::vector<FlatPoint> const& points) {
    return rowsOf<double, 2>(points, [](FlatPoint const& p) { return std::array{p.getU(), p.getV()}; });
}

py::array arrayOf(std::vector<GridIndex> const& indices) {
    return rowsOf<std::int32_t, 2>(indices, [](GridIndex const& i) {
        return std::array{i.getU(), i.getV()};
    });
}

py::object arrayOf(QELT::Geometry::ThreeDimensional::LinearMap const& map) {
    py::array_t<double> matrix({3, 3});
    double* entry = matrix.mutable_data();
    for (unsigned long i = 0; i < 9; ++i) {
        entry[i] = map.get(i / 3, i % 3);
    }
    return matrix;
}

AxisMap Conversion<AxisMap>::fromPython(py::handle value, std::string const& subject) {
    auto const map = parseAxisMap(textFrom(value, subject));
    if (!map) {
        throw py::value_error(subject + " needs three axes such as 'x,-z,y'");
    }
    return *map;
}

void fillFields(void* structure, std::span<Field const> fields, py::handle given,
                std::string const& subject) {
    auto const options = py::reinterpret_borrow<py::dict>(given);
    for (auto const& [key, value] : options) {
        std::string const name = textFrom(key, subject + ": a name");
        auto const field = std::ranges::find_if(
            fields, [&](Field const& each) { return each.set != nullptr && each.name == name; });
        if (field == fields.end()) {
            throw py::type_error(subject + " got an unexpected keyword argument '" + name + "'");
        }
        field->set(structure, value, subject + ": '" + name + "'");
    }
    for (Field const& field : fields) {
        if (field.isRequired && !options.contains(field.name)) {
            throw py::type_error(subject + " missing required keyword argument '" + field.name + "'");
        }
    }
}

} // namespace QELT::Python
