"""Writes the bindings of the inspection library's structures and functions, and the types of the Python module.

Options and results are structures, and each function takes one and gives one: what Python shows of them follows from
the headers, and so do names, texts and types. usage: describe.py SOURCE_DIR OUTPUT_DIR
"""

import pathlib
import re
import sys

import headers

CORE_HEADERS = [
    "Geometry/linearalgebra/solvereport.h",
    "Geometry/quadmesh/rectmesh.h",
    "Geometry/trimesh/boundary/boundaryloop.h",
    "Geometry/trimesh/conformalmapreport.h",
]

# Functions of options and a listener.
CALLS = [
    "importPart", "checkPart", "cropPart", "cut", "reconstruct", "findNeighbours", "prepare", "drawPreparation",
    "derive", "fileInfoOf", "countBeams", "scan", "drawScan", "drawFootprint", "selftest", "measuredScan",
    "drawMeasuredScan", "fit", "registerPoints", "correctFrame", "indications", "drawIndications", "planPath",
    "drawResult", "exportResult", "view", "report",
]  # fmt: skip

# What other functions of the module take as options, or give.
OPTIONS = ["IndicationOptions", "ValuePictureOptions", "LoadOptions", "SpreadingBeam", "TubeCut", "Frame"]
RESULTS = [
    "PartAsLoaded", "ShotRows", "FlatteningReport", "MapQuality", "MeshSummary", "GridSummary", "QuadSizes",
    "Registration", "FrameFit", "SphereFit", "CylinderFit", "ParaboloidFit", "CloudSpacing", "CutPlane",
    "ResultFileInfo", "Coverage", "IndicationSearch", "Footprint", "ValueMap",
]  # fmt: skip

# Classes with arrays of their own shapes.
OWN_CLASSES = {"Result", "QuadMap", "Distribution", "Patch"}

ALIASES = {
    "Derivation": "std::variant<FlattenGrid, NormaliseGrid, ThinOutGrid, RestrictGrid, MirrorGrid, ScaleGrid>",
    "FitResult": "std::variant<SphereFit, CylinderFit, ParaboloidFit>",
    "FileInfo": "std::variant<GridFileInfo, MeshFileInfo, CloudFileInfo, TableFileInfo, RecordedFileInfo>",
    "GridLine": "std::pair<GridIndex, GridIndex>",
    "Triple": "std::array<double, 3>",
    "SpacePoint": "std::array<double, 3>",
    "SideEnds": "std::array<std::uint32_t, 2>",
    "Entry": "ColumnNaming::Entry",
    "Relation": "Condition::Relation",
    "Outcome": "ShotRows::Outcome",
    "Kind": "PathPose::Kind",
    "FoundPoints": "Found<std::uint32_t>",
    "FoundFaces": "Found<std::uint32_t>",
    "FoundSides": "Found<SideEnds>",
}

TRIPLE = "tuple[float, float, float]"
TYPES = {
    "bool": "bool",
    "double": "float",
    "float": "float",
    "std::string": "str",
    "std::filesystem::path": "pathlib.Path",
    "Point": TRIPLE,
    "Vector": TRIPLE,
    "GridIndex": "tuple[int, int]",
    "GridOffset": "tuple[int, int]",
    "FlatPoint": "tuple[float, float]",
    "AxisMap": "str",
    "LinearMap": "npt.NDArray[np.float64]",
    "std::shared_ptr<Mesh>": "Mesh",
    "std::shared_ptr<Grid>": "Grid | None",
    "std::vector<Hit>": "Hits",
    "std::vector<Point>": "npt.NDArray[np.float32]",
    "std::vector<Vector>": "npt.NDArray[np.float64]",
    "std::vector<FlatPoint>": "npt.NDArray[np.float64]",
    "std::vector<GridIndex>": "npt.NDArray[np.int32]",
    "void": "None",
}
WHOLE = {
    "std::size_t": "uint64", "std::uint64_t": "uint64", "std::uintmax_t": "uint64", "std::uint32_t": "uint32",
    "std::uint16_t": "uint16", "std::uint8_t": "uint8", "unsigned long": "uint64", "int": "int32",
}  # fmt: skip
REAL = {"double": "float64", "float": "float32"}

# What may be given for it, where that is more than what is shown.
GIVEN_TYPES = {
    "std::filesystem::path": "_StrPath",
    "Point": "_Triple",
    "Vector": "_Triple",
    "GridIndex": "Sequence[int]",
    "GridOffset": "Sequence[int]",
    "FlatPoint": "Sequence[float]",
}
NEVER_DEFAULT = {"std::filesystem::path", "Point", "Vector", "GridIndex", "Derivation"}

# Enumerations that nothing shows.
HIDDEN = {"PrepareStage", "Hit::State", "Cell::Kind", "BoundaryExtensionAlgorithm", "RectMesh::PointFlagID"}

FILES = 4


def split_arguments(text):
    """The arguments of a template."""
    parts, depth = [""], 0
    for character in text:
        depth += (character == "<") - (character == ">")
        if character == "," and depth == 0:
            parts.append("")
        else:
            parts[-1] += character
    return [part.strip() for part in parts]


class Description:
    """The structures that the module shows, found from the functions that take and give them."""

    def __init__(self, contents):
        self.contents = contents
        self.calls = [self.call(name) for name in CALLS]
        self.options = {}
        self.shown = {}
        for function in self.calls:
            self.add(self.options_of(function), is_option=True)
            self.add(function.result, is_option=False)
        for name in OPTIONS:
            self.add(name, is_option=True)
        for name in RESULTS:
            self.add(name, is_option=False)

    def call(self, name):
        wanted = r"(\w+Options) const& options, ProgressListener\* listener( = nullptr|, PrepareObserver[^,]*)?"
        return next(f for f in self.contents.functions if f.name == name and re.fullmatch(wanted, f.parameters))

    @staticmethod
    def options_of(function):
        return function.parameters.partition(" ")[0]

    def resolved(self, cpp):
        cpp = re.sub(r" const[&*]$", "", cpp)
        cpp = re.sub(r"^(QELT|LinearAlgebra)::(\w+::)*", "", cpp)
        return ALIASES.get(cpp, cpp)

    def parts(self, cpp):
        """A template's name and arguments; the type alone if it is none."""
        match = re.fullmatch(r"std::(optional|vector|array|pair|variant)<(.*)>", cpp)
        return (match[1], split_arguments(match[2])) if match else (None, [cpp])

    def fields(self, name):
        structure = self.structure(name)
        inherited = self.fields(structure.base) if structure.base else []
        return inherited + [f for f in structure.fields if not f.type.startswith("std::unique_ptr")]

    def structure(self, name):
        if name.startswith("Found<"):
            name = "Found"
        return self.contents.structures[name]

    def add(self, cpp, is_option):
        cpp = self.resolved(cpp)
        template, arguments = self.parts(cpp)
        if template:
            for argument in arguments:
                self.add(argument, is_option)
        elif cpp.startswith("Found<"):
            self.shown.setdefault(cpp, None)
        elif cpp in self.contents.structures and cpp not in OWN_CLASSES and cpp != "Hit":
            known = self.options if is_option else self.shown
            if cpp not in known:
                known[cpp] = None
                for field in self.fields(cpp):
                    if not (is_option and field.is_accessor):
                        self.add(self.field_type(cpp, field), is_option and not field.is_accessor)

    def field_type(self, owner, field):
        if owner.startswith("Found<") and field.type == "std::vector<Name>":
            return "std::vector<" + owner[6:-1] + ">"
        return field.type

    def all(self):
        return sorted(set(self.options) | set(self.shown))

    def python_name(self, cpp):
        names = {"Found<std::uint32_t>": "FoundIndices", "Found<SideEnds>": "FoundSides"}
        return names.get(cpp, cpp.replace("::", ""))

    def is_required(self, field):
        """A field without a default that makes sense, or one in which there is such a field."""
        if field.is_accessor or field.has_default:
            return False
        cpp = self.resolved(field.type)
        nested = cpp in self.options and any(self.is_required(inner) for inner in self.fields(cpp))
        return field.type in NEVER_DEFAULT or nested

    def words(self, cpp):
        found = self.contents.enumerations.get(cpp)
        return [headers.snake_case(name) for name in found.enumerators] if found else None

    def python_type(self, cpp, is_given=False):
        """The annotation for a type; `is_given` for what may be handed in."""
        is_pointer = cpp.endswith(" const*")
        cpp = re.sub(r" const[&*]", "", cpp)
        if is_given and cpp in GIVEN_TYPES:
            return GIVEN_TYPES[cpp]
        if cpp in TYPES:
            return TYPES[cpp]
        cpp = self.resolved(cpp)
        words = self.words(cpp)
        if words:
            return "Literal[" + ", ".join(f'"{word}"' for word in words) + "]"
        if cpp in WHOLE:
            return "int"
        template, arguments = self.parts(cpp)
        if template:
            return self.template_type(template, arguments, is_given)
        name = self.python_name(cpp)
        if is_given:
            file = "_StrPath | " if name == "PlacedPart" else ""  # mostly a file alone
            return f"{file}{name} | dict[str, Any]"
        return name + (" | None" if is_pointer else "")

    def template_type(self, template, arguments, is_given):
        if template == "vector" and not is_given:
            numbers = self.number_type(arguments[0])
            if numbers:
                return f"npt.NDArray[np.{numbers}]"
        if template == "array":
            inner = self.python_type(arguments[0], is_given)
            if is_given:
                return f"Sequence[{inner}]"
            return "tuple[" + ", ".join([inner] * self.length(arguments[1])) + "]"
        inner = [self.python_type(argument, is_given) for argument in arguments]
        if template == "variant":
            return " | ".join(self.python_name(argument) for argument in arguments)
        forms = {"optional": "{} | None", "vector": "Sequence[{}]" if is_given else "tuple[{}, ...]"}
        return forms.get(template, "tuple[{}, {}]").format(*inner)

    def length(self, text):
        return {"pixelStateCount": 6}.get(text) or int(text)

    def number_type(self, cpp):
        cpp = self.resolved(cpp)
        template, arguments = self.parts(cpp)
        if template == "array":
            return self.number_type(arguments[0])
        enumeration = {"PixelState": "uint8", "ShotRows::Outcome": "uint8"}.get(cpp)
        return REAL.get(cpp) or WHOLE.get(cpp) or enumeration


def quoted(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def in_python(text):
    """A text of the headers with the names in it as Python's."""
    plain = re.sub(r"`([a-z]\w*)`", lambda match: "`" + headers.snake_case(match[1]) + "`", text)
    return plain[:1].upper() + plain[1:] + ("." if plain and plain[-1] not in ".?!" else "")


def parameters(description, name):
    """The options of a function, required ones first."""
    fields = [field for field in description.fields(name) if not field.is_accessor]
    return sorted(fields, key=lambda field: not description.is_required(field))


def options_text(description, name):
    """What the options are, for a docstring."""
    lines = []
    for field in parameters(description, name):
        state = "" if description.is_required(field) else " (optional)"
        lines.append(f"{field.python_name}{state}: {in_python(field.doc) or description.python_type(field.type, True)}")
    return "\n".join(lines)


def signature(description, name):
    """As `inspect.signature` reads it off a docstring."""
    given = [f.python_name + ("" if description.is_required(f) else "=...") for f in parameters(description, name)]
    return "(*, " + ", ".join([*given, "progress=None"]) + ")"


def field_line(description, cpp, field):
    qualified = field_owner(description, cpp, field)
    if field.is_accessor:
        get, put = f"askAccessor<T, &{qualified}::{field.name}>", "nullptr"
    else:
        get = f"getField<T, &{qualified}::{field.name}>"
        put = f"setField<T, &{qualified}::{field.name}>" if cpp in description.options else "nullptr"
    required = "true" if description.is_required(field) and cpp in description.options else "false"
    return f"        {{{quoted(field.python_name)}, {quoted(in_python(field.doc))}, {required}, {get}, {put}}},"


def field_owner(description, cpp, field):
    base = description.structure(cpp).base
    if base and field in description.fields(base):
        return base
    return "T"


def declaration(description, cpp):
    name = description.python_name(cpp)
    doc = in_python(description.structure(cpp).doc) or f"See `{name}` in the C++ library."
    return f"""template <>
struct Description<{cpp}> {{
    static constexpr char const* name = "{name}";
    static constexpr char const* expected = "a {name} or a dict of its fields";
    static constexpr char const* doc = {quoted(doc)};
    static constexpr bool isOption = {"true" if cpp in description.options else "false"};
    static std::span<Field const> fields();
}};
"""


def words_of(enumeration):
    name = enumeration.name
    rows = ", ".join(
        f'{{static_cast<std::int64_t>({name}::{value}), "{headers.snake_case(value)}"}}'
        for value in enumeration.enumerators
    )
    return f"""template <>
struct Enumerators<{name}> {{
    static constexpr Enumerator words[] = {{{rows}}};
}};
"""


def write(path, text):
    """Leaves a file alone that holds the text, so that nothing is compiled anew for it."""
    if not path.exists() or path.read_text() != text:
        path.write_text(text)


def write_header(description, path):
    text = "\n".join(words_of(each) for each in description.contents.enumerations.values() if each.name not in HIDDEN)
    text += "\n" + "\n".join(declaration(description, cpp) for cpp in description.all())
    write(path, f"""#pragma once

#include "python/src/convert.h"

namespace QELT::Python {{

using QELT::Geometry::ThreeDimensional::QuadMesh::CanonicalAxis;
using QELT::Geometry::ThreeDimensional::QuadMesh::CanonicalPlane;
using QELT::Geometry::ThreeDimensional::TriMesh::ConformalMapReport;

{text}
}} // namespace QELT::Python
""")


def write_structures(description, folder):
    names = description.all()
    for number in range(FILES):
        mine = names[number::FILES]
        bodies = []
        for cpp in mine:
            lines = "\n".join(field_line(description, cpp, field) for field in description.fields(cpp))
            table = f"    using T = {cpp};\n    static Field const table[] = {{\n{lines}\n    }};\n    return table;"
            body = table if lines else "    return {};"
            bodies.append(f"std::span<Field const> Description<{cpp}>::fields() {{\n{body}\n}}\n")
        binds = "\n".join(f"    bindStructure<{cpp}>(module);" for cpp in mine)
        write(folder / f"structures_{number}.cpp", f"""#include "structures_described.h"

#include "python/src/structures.h"

namespace QELT::Python {{

{chr(10).join(bodies)}
void bindStructures{number}(py::module_& module) {{
{binds}
}}

}} // namespace QELT::Python
""")


def write_calls(description, path):
    lines = []
    for function in description.calls:
        options = description.options_of(function)
        name = headers.snake_case(function.name)
        doc = f"{name}{signature(description, options)}\n--\n\n{in_python(function.doc)}\n\n"
        doc += options_text(description, options)
        text = "\\n".join(quoted(line)[1:-1] for line in doc.split("\n"))
        lines.append(f"""    defineCall<{options}>(module, "{name}", "{text}",
        [](auto const& options, ProgressListener* listener) {{ return {function.name}(options, listener); }});""")
    declared = "\n".join(f"void bindStructures{number}(py::module_& module);" for number in range(FILES))
    called = "\n".join(f"    bindStructures{number}(module);" for number in range(FILES))
    write(path, f"""#include "structures_described.h"

#include "python/src/objects.h"

namespace QELT::Python {{

{declared}

void bindStructures(py::module_& module) {{
{called}
}}

void bindCalls(py::module_& module) {{
    py::options docstrings;
    docstrings.disable_function_signatures();
{chr(10).join(lines)}
}}

}} // namespace QELT::Python
""")


def keyword_parameters(description, options):
    given = []
    for field in parameters(description, options):
        default = "" if description.is_required(field) else " = ..."
        given.append(f"{field.python_name}: {description.python_type(field.type, True)}{default}")
    return given


def stub_of_structure(description, cpp):
    lines = [f"class {description.python_name(cpp)}:"]
    if cpp in description.options:
        given = keyword_parameters(description, cpp)
        lines.append(f"    def __init__(self, {'*, ' if given else ''}{', '.join(given)}) -> None: ...")
    for field in description.fields(cpp):
        annotation = description.python_type(description.field_type(cpp, field))
        lines += ["    @property", f"    def {field.python_name}(self) -> {annotation}: ..."]
    if len(lines) == 1:
        lines.append("    ...")
    return "\n".join(lines)


def stub_of_call(description, function):
    given = keyword_parameters(description, description.options_of(function))
    given.append("progress: _Progress | None = ...")
    result = description.python_type(function.result)
    return f"def {headers.snake_case(function.name)}(*, {', '.join(given)}) -> {result}: ..."


def write_stub(description, source, path):
    generated = [stub_of_structure(description, cpp) for cpp in description.all()]
    generated += [stub_of_call(description, function) for function in description.calls]
    write(path, source.read_text() + "\n" + "\n\n".join(generated) + "\n")


def main():
    source, folder = map(pathlib.Path, sys.argv[1:3])
    paths = [p for p in sorted((source / "Inspection").rglob("*.h")) if "internal" not in p.parts]
    description = Description(headers.read_headers(paths + [source / name for name in CORE_HEADERS]))
    write_header(description, folder / "structures_described.h")
    write_structures(description, folder)
    write_calls(description, folder / "calls.cpp")
    write_stub(description, source / "python/qelt/_core.pyi.in", folder / "_core.pyi")


if __name__ == "__main__":
    main()
