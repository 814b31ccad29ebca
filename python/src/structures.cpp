#include "python/src/structures.h"

namespace QELT::Python {

namespace {

py::object propertyOf(Field const& field, AddressOf address) {
    py::cpp_function const getter(
        [get = field.get, address](py::object const& self) { return get(address(self), self); });
    auto const type = py::reinterpret_borrow<py::object>(reinterpret_cast<PyObject*>(&PyProperty_Type));
    return type(getter, py::none(), py::none(), field.doc);
}

} // namespace

void defineFields(py::object type, std::span<Field const> fields, AddressOf address) {
    for (Field const& field : fields) {
        type.attr(field.name) = propertyOf(field, address);
    }
    auto const describe = [fields](py::object const& self) {
        std::string text = py::str(py::type::handle_of(self).attr("__name__"));
        char const* separator = "(";
        for (Field const& field : fields) {
            text += separator + std::string(field.name) + "=" + std::string(py::repr(self.attr(field.name)));
            separator = ", ";
        }
        return text + (fields.empty() ? "()" : ")");
    };
    type.attr("__repr__") = py::cpp_function(describe, py::name("__repr__"), py::is_method(type));
}

} // namespace QELT::Python
