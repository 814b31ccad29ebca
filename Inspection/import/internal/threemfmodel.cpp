#include "Inspection/import/internal/threemfmodel.h"

#include <algorithm>
#include <map>

// A model is XML: objects hold triangles of their own or name other objects as their components, and the
// items of the build name objects. Only the tags of these are looked at, so that no parser is needed;
// comments are passed over. The count of an object is found once, so that objects that name each other many
// times cost nothing.

namespace QELT::Inspection {

namespace {

constexpr std::string_view blanks = " \t\r\n";

struct Tag {
    std::string_view name; ///< without its namespace
    std::string_view text; ///< all of it
};

/// Hands over the tags that begin something, one after the other.
class TagReader {
public:
    explicit TagReader(std::string_view text) : xml(text) {}

    std::optional<Tag> next() {
        for (place = xml.find('<', place); place < xml.size(); place = xml.find('<', place)) {
            bool const isComment = xml.substr(place).starts_with("<!--");
            auto const end = std::min(xml.find(isComment ? "-->" : ">", place), xml.size());
            std::string_view const text = xml.substr(place + 1, end - place - 1);
            place = end;
            if (!isComment && !text.empty() && text[0] != '/' && text[0] != '?' && text[0] != '!') {
                return Tag{nameOf(text), text};
            }
        }
        return std::nullopt;
    }

private:
    static std::string_view nameOf(std::string_view text) {
        std::string_view const name = text.substr(0, std::min(text.find_first_of(" \t\r\n/"), text.size()));
        auto const colon = name.find(':');
        return colon == std::string_view::npos ? name : name.substr(colon + 1);
    }

    std::string_view xml;
    std::size_t place = 0;
};

/// The value of an attribute, with any namespace if the key begins with a colon.
std::optional<std::string> attributeOf(Tag const& tag, std::string const& key) {
    for (auto place = tag.text.find(key); place != std::string_view::npos;
         place = tag.text.find(key, place + 1)) {
        bool const isWhole = key[0] == ':' || (place > 0 && blanks.find(tag.text[place - 1]) != blanks.npos);
        std::string_view rest = tag.text.substr(place + key.size());
        rest.remove_prefix(std::min(rest.find_first_not_of(blanks), rest.size()));
        if (!isWhole || !rest.starts_with('=')) {
            continue;
        }
        auto const open = rest.find_first_of("\"'");
        auto const close = open == std::string_view::npos ? open : rest.find(rest[open], open + 1);
        if (close != std::string_view::npos) {
            return std::string(rest.substr(open + 1, close - open - 1));
        }
    }
    return std::nullopt;
}

struct Object {
    std::size_t triangles = 0;
    std::vector<std::string> components;
    std::optional<std::size_t> count; ///< with those of its components, once it is known
    bool isOpen = false;              ///< while its components are counted
};

class ModelReader {
public:
    explicit ModelReader(PartSource const& file) : package(file) {}

    ThreeMfModel read(std::string_view xml) {
        TagReader tags(xml);
        while (auto const tag = tags.next()) {
            take(*tag);
        }
        for (std::string const& item : items) {
            add(model.triangleCount, countOf(item));
        }
        return model;
    }

private:
    void take(Tag const& tag) {
        if (tag.name == "model") {
            model.unit = attributeOf(tag, "unit").value_or("millimeter");
        } else if (tag.name == "object") {
            current = &objects[attributeOf(tag, "id").value_or("")];
        } else if (tag.name == "triangle" && current != nullptr) {
            ++current->triangles;
        } else if (tag.name == "component" && current != nullptr) {
            current->components.push_back(objectNamedBy(tag));
        } else if (tag.name == "item") {
            items.push_back(objectNamedBy(tag));
        }
    }

    std::string objectNamedBy(Tag const& tag) const {
        if (attributeOf(tag, ":path")) {
            package.fail("keeps its objects in several models, which are not read; export it as one");
        }
        return attributeOf(tag, "objectid").value_or("");
    }

    std::size_t countOf(std::string const& id) {
        auto const found = objects.find(id);
        if (found == objects.end() || found->second.isOpen) {
            package.fail("its model names an object " + quoteOf(id) +
                         (found == objects.end() ? " that is not there" : " that holds itself"));
        }
        Object& object = found->second;
        if (!object.count) {
            object.isOpen = true;
            std::size_t sum = object.triangles;
            for (std::string const& component : object.components) {
                add(sum, countOf(component));
            }
            object.isOpen = false;
            object.count = sum;
        }
        return *object.count;
    }

    void add(std::size_t& sum, std::size_t count) const {
        sum += count;
        if (sum > maxPartPoints) {
            package.fail("holds too many triangles");
        }
    }

    PartSource const& package;
    ThreeMfModel model;
    std::map<std::string, Object> objects;
    Object* current = nullptr;
    std::vector<std::string> items;
};

} // namespace

ThreeMfModel threeMfModelIn(PartSource const& package, std::string_view xml) {
    return ModelReader(package).read(xml);
}

} // namespace QELT::Inspection
