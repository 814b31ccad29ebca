"""What of the public headers lacks a comment that it should have.

Every class, structure, enumeration, type and function has one, and every field that is a number, for its unit. What its
name and type say already needs none: what C++ gives any class, operators, constructors, plain accessors and their
counterparts, iterators.
"""

import re
import xml.etree.ElementTree as ElementTree

# What the standard library asks of iterators and containers.
STANDARD = {"begin", "end", "value_type", "difference_type", "Stored", "what"}
NUMBER = re.compile(r"(std::optional< )?(double|float)( >)?$")


def is_documented(element):
    return any(element.find(tag) is not None and "".join(element.find(tag).itertext()).strip()
               for tag in ("briefdescription", "detaileddescription"))


def is_plain_function(name, owner, arguments):
    if name in STANDARD or name.startswith(("operator", "~")) or name == re.sub("<.*", "", owner).strip():
        return True
    parameters = arguments[1 : arguments.rindex(")")].strip()
    if re.match(r"(get|is|has)[A-Za-z]", name):
        return not parameters
    return bool(re.match(r"set([A-Z]|$)", name))


def is_wanting(member, owner):
    kind, name = member.get("kind"), member.findtext("name")
    if member.get("prot") != "public" or kind in ("friend", "define") or is_documented(member) or name.startswith("@"):
        return False
    if kind == "variable":
        return bool(NUMBER.match("".join(member.find("type").itertext()).strip()))
    if kind == "function":
        return not is_plain_function(name, owner, member.findtext("argsstring"))
    return name not in STANDARD


def wanting(folder):
    """Names and places, of the XML that Doxygen left in the folder."""
    for path in sorted(folder.glob("*.xml")):
        if not path.name.startswith(("class", "struct", "namespace")):
            continue
        compound = ElementTree.parse(path).getroot().find("compounddef")
        name = compound.findtext("compoundname")
        is_class = compound.get("kind") in ("class", "struct") and compound.get("prot") == "public"
        if is_class and not is_documented(compound):
            yield f"{place_of(compound)}: {name} has no comment"
        if not is_class and compound.get("kind") != "namespace":
            continue
        for member in compound.iter("memberdef"):
            if is_wanting(member, name.split("::")[-1]):
                yield f"{place_of(member)}: {name}::{member.findtext('name')} has no comment"


def place_of(element):
    place = element.find("location")
    return f"{place.get('file')}:{place.get('line')}"
