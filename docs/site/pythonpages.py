"""Writes the reference of the Python module: what it declares, from its stub, and what it says of itself, from its
docstrings."""

import ast
import dataclasses
import inspect
import re

# Pages by what a declaration is, in the order in which they are shown.
PAGES = {
    "classes": ("Classes and functions", "What works on arrays: meshes, grids, groups, fits and results."),
    "commands": ("Commands", "What each command of `cscan` does, as a function. Options are given by keyword; a file is "
                             "a text or a path, a structure an object of its class or a dictionary."),
    "structures": ("Options and results", "What commands take and give. A class that can be made takes its fields by "
                                          "keyword."),
}


@dataclasses.dataclass
class Entry:
    name: str
    node: ast.AST
    value: object
    page: str


def entries_of(stub, module):
    """What the stub declares, each with the page it is on."""
    found = []
    for node in ast.parse(stub).body:
        if isinstance(node, (ast.ClassDef, ast.FunctionDef)) and not node.name.startswith("_"):
            value = getattr(module, node.name)
            found.append(Entry(node.name, node, value, page_of(node, value)))
    return found


def page_of(node, value):
    if isinstance(node, ast.FunctionDef):
        is_command = node.args.kwonlyargs and not node.args.args and "\n\n" in (inspect.getdoc(value) or "")
        return "commands" if is_command else "classes"
    members = [member for member in node.body if isinstance(member, ast.FunctionDef)]
    is_plain = all(member.name == "__init__" or is_property(member) for member in members)
    return "structures" if is_plain and members else "classes"


def is_property(member):
    return any(isinstance(each, ast.Name) and each.id == "property" for each in member.decorator_list)


def is_static(member):
    return any(isinstance(each, ast.Name) and each.id == "staticmethod" for each in member.decorator_list)


class Writer:
    def __init__(self, stub, module):
        self.entries = entries_of(stub, module)
        self.places = {entry.name: entry for entry in self.entries}

    def page(self, key):
        title, about = PAGES[key]
        parts = [f"# {title} of qelt", about, ""]
        for entry in sorted((e for e in self.entries if e.page == key), key=lambda e: (e.name.lower())):
            parts.append(f"## `{entry.name}`\n")
            parts += self.function(entry) if isinstance(entry.node, ast.FunctionDef) else self.class_(entry)
        return "\n".join(parts) + "\n"

    def function(self, entry):
        about, options = split_doc(entry.value)
        parts = [signature(entry.node, entry.name, bool(options)), about, ""]
        if options:
            types = {argument.arg: ast.unparse(argument.annotation) for argument in entry.node.args.kwonlyargs}
            defaults = dict(zip(types, entry.node.args.kw_defaults))
            rows = [(name, types[name], defaults[name] is None, options.get(name, "")) for name in types]
            parts += self.table("option", rows)
        parts += [f"Gives {self.type(ast.unparse(entry.node.returns))}.", ""]
        return parts

    def class_(self, entry):
        parts = [plain(inspect.getdoc(entry.value)), ""]
        members = [member for member in entry.node.body if isinstance(member, ast.FunctionDef)]
        fields = [member for member in members if is_property(member)]
        given = next((m for m in members if m.name == "__init__" and (m.args.kwonlyargs or m.args.args[1:])), None)
        options = {argument.arg for argument in given.args.kwonlyargs} if given else set()
        required = {a.arg for a, d in zip(given.args.kwonlyargs, given.args.kw_defaults) if d is None} if given else set()
        attributes = [node for node in entry.node.body if isinstance(node, ast.AnnAssign)]
        rows = [(node.target.id, ast.unparse(node.annotation), False, "can be set") for node in attributes]
        rows += [(f.name, ast.unparse(f.returns), f.name in required, self.doc_of(entry, f.name)) for f in fields]
        parts += self.table("field" if not options else "option", rows) if rows else []
        for member in members:
            if not is_property(member) and member.name != "__init__":
                prefix = f"{entry.name}." if is_static(member) else f"{entry.name.lower()}."
                name = member.name if member.name.startswith("__") else prefix + member.name
                parts += [signature(member, name, False), plain(self.doc_of(entry, member.name)), ""]
        return parts

    def doc_of(self, entry, name):
        return split_doc(getattr(entry.value, name))[0]

    def table(self, kind, rows):
        lines = [f"| {kind} | type | meaning |", "|---|---|---|"]
        for name, type_, is_required, about in rows:
            must = " **required.**" if is_required else ""
            about = plain(about).replace("\n", " ")
            about = "" if about == type_ or about == type_ + "." else about
            lines.append(f"| `{name}` | {self.type(type_)} | {about}{must} |")
        return [*lines, ""]

    def type(self, text):
        """A type with links to what it names."""
        text = text.replace("npt.", "").replace("np.", "").replace("_StrPath", "path").replace("_Triple", "three numbers")
        text = text.replace("pathlib.Path", "path").replace("_Progress", "function(stage, percent)")
        text = re.sub(r"tuple\[(\w+), \.\.\.\]", r"tuple of \1", text)
        pieces = re.split(r"(\b[A-Z]\w+\b)", text)
        return "".join(self.linked(piece) for piece in pieces)

    def linked(self, piece):
        entry = self.places.get(piece)
        if not entry:
            return piece.replace("|", "or").replace("_", "\\_").replace("[", "\\[").replace("]", "\\]")
        return f"[{piece}]({entry.page}.md#{piece.lower()})"


def plain(text):
    return (text or "").replace("\n:", "\n")


def signature(node, name, is_short):
    """How it is called, as code; of a command the options follow in a table."""
    arguments = ast.unparse(node.args).removeprefix("self, ").removeprefix("self")
    if is_short:
        arguments = ", ".join(a.arg for a, d in zip(node.args.kwonlyargs, node.args.kw_defaults) if d is None)
        arguments = f"*, {arguments}, ..." if arguments else "*, ..."
    call = f"{name}({arguments}) -> {ast.unparse(node.returns)}"
    if len(call) > 100:
        arguments = re.sub(r", (?![^\[]*\])", ",\n    ", arguments)
        call = f"{name}(\n    {arguments}\n) -> {ast.unparse(node.returns)}"
    return f"```python\n{call}\n```\n"


def split_doc(value):
    """What a docstring says, and of which options it tells."""
    doc = inspect.getdoc(value) or ""
    lines = [line for line in doc.split("\n") if not re.match(r"\w+\(.*\)( -> .+)?$|--$", line)]
    options, about = {}, []
    for line in lines:
        told = re.match(r"(\w+)(?: \(optional\))?: (.*)", line)
        if told and (options or about and not about[-1]):
            options[told[1]] = told[2]
        else:
            about.append(line)
    return "\n".join(about).strip(), options
