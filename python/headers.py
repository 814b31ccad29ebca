"""Reads the structures, enumerations and functions off the public headers.

The headers are formatted by one tool and hold declarations with comments, so that lines, braces and semicolons are
all there is to follow; this is no parser of C++. What is not a structure of values, such as a class, is passed over.
"""

import dataclasses
import keyword
import re


@dataclasses.dataclass
class Field:
    """A member of a structure, or an accessor of its that takes nothing."""

    name: str
    type: str
    doc: str
    has_default: bool = True
    is_accessor: bool = False

    @property
    def python_name(self):
        return snake_case(re.sub("^get(?=[A-Z])", "", self.name))


@dataclasses.dataclass
class Structure:
    name: str  # as C++ qualifies it
    doc: str
    base: str = ""
    fields: list = dataclasses.field(default_factory=list)


@dataclasses.dataclass
class Enumeration:
    name: str
    doc: str
    enumerators: list


@dataclasses.dataclass
class Function:
    name: str
    result: str
    parameters: str
    doc: str


@dataclasses.dataclass
class Contents:
    structures: dict = dataclasses.field(default_factory=dict)
    enumerations: dict = dataclasses.field(default_factory=dict)
    functions: list = dataclasses.field(default_factory=list)


def snake_case(name):
    """`doFlipNormals` becomes `do_flip_normals`, `extentU` `extent_u`; a word of Python's gets an underscore."""
    snake = re.sub("(?<=[a-z0-9])([A-Z])", lambda match: "_" + match[1], name).lower()
    return snake + "_" if keyword.iskeyword(snake) else snake


def statements(lines):
    """Each declaration of a block as (comment, text, body): the text without comments, the lines in its braces."""
    comment, text, body, depth = [], "", [], 0
    done = None
    for line in lines:
        code, _, remark = line.partition("//")
        code = code.strip()
        remark = remark.strip()
        if depth > 0:
            body.append(line)
            depth += code.count("{") - code.count("}")
            if depth > 0:
                continue
            body.pop()
            code = code[code.rindex("}") + 1 :]
        elif not code:
            if remark.startswith("/<"):
                if text:
                    comment.append(remark[2:].strip())
                elif done:
                    done[0].append(remark[2:].strip())
            elif remark.startswith("/"):
                comment.append(remark[1:].strip())
            elif not remark and not text:
                comment = []
            continue
        elif remark.startswith("/<"):
            comment.append(remark[2:].strip())
        text += (" " if text else "") + code
        if depth == 0 and not code.endswith((";", "}")) and code.endswith("{"):
            depth = 1
            body = []
            text = text[:-1].rstrip()
            continue
        if text.endswith((";", "}")) or (body and not code):
            if done:
                yield done
            done = (comment, text, body)
            comment, text, body = [], "", []
    if done:
        yield done


def words(comment):
    return " ".join(line for line in comment if line)


def read_enumeration(owner, text, body, comment):
    match = re.match(r"enum (?:class )?(\w+)", text)
    inner = " ".join(line.partition("//")[0] for line in body) or text.partition("{")[2].partition("}")[0]
    names = [part.partition("=")[0].strip() for part in inner.split(",")]
    return Enumeration(owner + match[1], words(comment), [name for name in names if name])


def read_member(text, comment):
    """A field or an accessor; nothing for what is neither."""
    is_exported = text.startswith("QELT_INSPECTION_EXPORT ")
    text = text.removeprefix("QELT_INSPECTION_EXPORT ")
    if re.match(r"(static|using|template|friend|struct|enum|explicit|void)\b", text):
        return None
    accessor = re.match(r"([\w:<>]+(?: const[&*])?) (\w+)\(\) const(?: \{.*\}|;)?$", text)
    if accessor and not is_exported and text.endswith(";"):
        return None  # the library keeps it to itself
    if accessor:
        return Field(accessor[2], accessor[1], words(comment), is_accessor=True)
    member = re.match(r"([\w:<>, ]+?) (\w+)( = .*|\{.*\})?;$", text)
    if member:
        return Field(member[2], member[1], words(comment), has_default=member[3] is not None)
    return None


def read_structure(contents, text, body, comment):
    match = re.match(r"struct ([\w:]+)(?: : (\w+))?", text)
    structure = Structure(match[1], words(comment), match[2] or "")
    owner = match[1] + "::"
    for inner_comment, inner, inner_body in statements(body):
        if inner.startswith("enum"):
            found = read_enumeration(owner, inner, inner_body, inner_comment)
            contents.enumerations[found.name] = found
        elif inner.startswith("struct"):
            read_structure(contents, inner.replace("struct ", "struct " + owner, 1), inner_body, inner_comment)
        else:
            member = read_member(inner + (" {}" if inner_body else ""), inner_comment)
            if member:
                structure.fields.append(member)
    contents.structures[structure.name] = structure


def read_header(contents, path):
    lines = path.read_text().splitlines()
    lines = [line for line in lines if not re.match(r"#|namespace|\} // namespace|$", line) or not line]
    for comment, text, body in statements(lines):
        text = re.sub(r"^template <class \w+> (?=struct)", "", text)
        if re.match(r"struct \w+( : \w+)?( \{\})? ?;$", text) and (body or "{}" in text):
            read_structure(contents, text, body, comment)
        elif text.startswith("enum"):
            found = read_enumeration("", text, body, comment)
            contents.enumerations[found.name] = found
        else:
            match = re.match(r"QELT_INSPECTION_EXPORT (.+?) (\w+)\((.*)\);$", text)
            if match:
                contents.functions.append(Function(match[2], match[1], match[3], words(comment)))


def read_headers(paths):
    contents = Contents()
    for path in paths:
        read_header(contents, path)
    return contents
