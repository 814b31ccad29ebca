#pragma once

#include "python/src/convert.h"
#include "structures_described.h"

/// Structures of options and results as classes. Each has a table of its fields, and all share one getter.
namespace QELT::Python {

template <class T, auto Member>
py::object getField(void const* structure, py::handle owner) {
    return toPython(static_cast<T const*>(structure)->*Member, owner);
}

/// What an accessor answers by value belongs to nobody.
template <class T, auto Accessor>
py::object askAccessor(void const* structure, py::handle owner) {
    using Answer = decltype((static_cast<T const*>(structure)->*Accessor)());
    constexpr bool isShown = std::is_reference_v<Answer> || std::is_pointer_v<Answer>;
    return Conversion<std::remove_cvref_t<Answer>>::toPython((static_cast<T const*>(structure)->*Accessor)(),
                                                             isShown ? owner : py::handle());
}

template <class T, auto Member>
void setField(void* structure, py::handle value, std::string const& subject) {
    auto& member = static_cast<T*>(structure)->*Member;
    member = fromPython<std::remove_cvref_t<decltype(member)>>(value, subject);
}

using AddressOf = void const* (*)(py::handle);

/// Adds the fields as properties, and what shows them all as text.
void defineFields(py::object type, std::span<Field const> fields, AddressOf address);

template <class T>
void bindStructure(py::module_& module) {
    using About = Description<T>;
    py::class_<T> type(module, About::name, plainType(), About::doc);
    defineFields(type, About::fields(),
                 [](py::handle self) -> void const* { return &self.cast<T const&>(); });
    if constexpr (About::isOption) {
        type.def(py::init([](py::kwargs const& given) {
            T structure;
            fillFields(&structure, About::fields(), given, std::string(About::name) + "()");
            return structure;
        }));
    }
}

} // namespace QELT::Python
