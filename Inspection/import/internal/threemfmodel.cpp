#include "Inspection/import/internal/threemfmodel.h"

#include "Inspection/records/numbers.h"

#include <algorithm>
#include <cmath>
#include <map>

// A model is XML: objects hold points and triangles of their own or name other objects as their components,
// and the items of the build name objects; both may place what they name by a transform of twelve numbers,
// the rows of a matrix that points are multiplied to from the left. Only the tags of these are looked at, so
// that no parser is needed; comments are passed over. A transform that mirrors turns triangles, so that they
// face outward as before. How many triangles come is counted before any is made, each object once: objects
// that name each other many times cost neither time nor memory.

namespace QELT::Inspection {

namespace {

constexpr std::string_view blanks = " \t\r\n";

/// More are taken for a mistake, or for malice.
constexpr std::size_t maxTriangles = 100000000;
constexpr int maxDepth = 100;

struct Tag {
    std::string_view name; ///< without its namespace
    std::string_view text; ///< all of it
    std::size_t place = 0; ///< of its first character in the model
};

/// Hands over the tags that begin something, one after the other.
class TagReader {
public:
    explicit TagReader(std::string_view text) : xml(text) {}

    std::optional<Tag> next() {
        for (place = xml.find('<', place); place < xml.size(); place = xml.find('<', place)) {
            bool const isComment = xml.substr(place).starts_with("<!--");
            std::size_t const begin = place;
            place = std::min(xml.find(isComment ? "-->" : ">", place), xml.size());
            std::string_view const text = xml.substr(begin + 1, place - begin - 1);
            if (!isComment && !text.empty() && text[0] != '/' && text[0] != '?' && text[0] != '!') {
                return Tag{nameOf(text), text, begin};
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
std::optional<std::string_view> attributeOf(Tag const& tag, std::string_view key) {
    for (auto place = tag.text.find(key); place != std::string_view::npos;
         place = tag.text.find(key, place + 1)) {
        bool const isWhole =
            key[0] == ':' || (place > 0 && blanks.find(tag.text[place - 1]) != std::string_view::npos);
        std::string_view rest = tag.text.substr(place + key.size());
        rest.remove_prefix(std::min(rest.find_first_not_of(blanks), rest.size()));
        if (!isWhole || !rest.starts_with('=')) {
            continue;
        }
        auto const open = rest.find_first_of("\"'");
        auto const close = open == std::string_view::npos ? open : rest.find(rest[open], open + 1);
        if (close != std::string_view::npos) {
            return rest.substr(open + 1, close - open - 1);
        }
    }
    return std::nullopt;
}

using Triple = std::array<double, 3>;

/// Three rows of a matrix and a shift.
using Transform = std::array<Triple, 4>;

constexpr Transform unmoved{{{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}, {0.0, 0.0, 0.0}}};

Triple turned(Triple const& a, Transform const& by) {
    Triple result{};
    for (std::size_t i = 0; i < 3; ++i) {
        result[i] = a[0] * by[0][i] + a[1] * by[1][i] + a[2] * by[2][i];
    }
    return result;
}

Triple placed(Triple const& point, Transform const& by) {
    Triple result = turned(point, by);
    for (std::size_t i = 0; i < 3; ++i) {
        result[i] += by[3][i];
    }
    return result;
}

/// First the inner, then the outer.
Transform joined(Transform const& inner, Transform const& outer) {
    return {turned(inner[0], outer), turned(inner[1], outer), turned(inner[2], outer),
            placed(inner[3], outer)};
}

bool isMirror(Transform const& m) {
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
               m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
               m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]) <
           0.0;
}

/// An object that is named, and where it is placed.
struct Reference {
    std::string id;
    Transform transform = unmoved;
};

struct Object {
    std::vector<Triple> points;
    std::vector<std::array<std::uint32_t, 3>> triangles;
    std::vector<Reference> components;
    std::optional<std::size_t> count; ///< of triangles with those of its components, once it is known
};

class ModelReader {
public:
    explicit ModelReader(PartSource const& file) : package(file) {}

    PartAsRead read(std::string_view xml) {
        auto const end = xml.rfind("</");
        if (end == std::string_view::npos || xml.substr(end).find("model") == std::string_view::npos) {
            package.fail("its model does not end; it was cut off");
        }
        TagReader tags(xml);
        while (auto const tag = tags.next()) {
            take(*tag);
        }
        std::size_t sum = 0;
        for (Reference const& item : items) {
            add(sum, countOf(item.id, 0));
        }
        for (Reference const& item : items) {
            build(item.id, item.transform);
        }
        if (!part.isMesh()) {
            package.fail("holds no triangles");
        }
        return std::move(part);
    }

private:
    [[noreturn]] void fail(Tag const& tag, std::string const& complaint) const {
        package.fail("its model, byte " + std::to_string(tag.place) + ": " + complaint);
    }

    void take(Tag const& tag) {
        if (tag.name == "model") {
            part.unit = attributeOf(tag, "unit").value_or("millimeter");
        } else if (tag.name == "object") {
            current = &objects[std::string(attributeOf(tag, "id").value_or(""))];
        } else if (tag.name == "item") {
            items.push_back(referenceIn(tag));
        } else if (current != nullptr && tag.name == "vertex") {
            current->points.push_back({numberIn(tag, "x"), numberIn(tag, "y"), numberIn(tag, "z")});
        } else if (current != nullptr && tag.name == "triangle") {
            current->triangles.push_back({cornerIn(tag, "v1"), cornerIn(tag, "v2"), cornerIn(tag, "v3")});
        } else if (current != nullptr && tag.name == "component") {
            current->components.push_back(referenceIn(tag));
        }
    }

    double numberIn(Tag const& tag, std::string_view key) const {
        auto const number = parseNumber(attributeOf(tag, key).value_or(""));
        if (!number) {
            fail(tag, quoteOf(key) + " is not a finite number");
        }
        return *number;
    }

    /// A model names the points of an object before its triangles.
    std::uint32_t cornerIn(Tag const& tag, std::string_view key) const {
        double const corner = numberIn(tag, key);
        if (!(corner >= 0.0 && corner < static_cast<double>(current->points.size()))) {
            fail(tag, "a triangle names a point that is not there");
        }
        auto const index = static_cast<std::uint32_t>(corner);
        if (static_cast<double>(index) != corner) {
            fail(tag, quoteOf(key) + " is not a whole number");
        }
        return index;
    }

    Reference referenceIn(Tag const& tag) const {
        if (attributeOf(tag, ":path")) {
            fail(tag, "objects in several models are not read; export them as one");
        }
        Reference reference{std::string(attributeOf(tag, "objectid").value_or("")), unmoved};
        auto const text = attributeOf(tag, "transform");
        auto const words = wordsOf(text.value_or(""));
        if (text && words.size() != 12) {
            fail(tag, "a transform has 12 numbers, " + std::to_string(words.size()) + " found");
        }
        for (std::size_t i = 0; i < words.size(); ++i) {
            auto const number = parseNumber(words[i]);
            if (!number) {
                fail(tag, quoteOf(words[i]) + " is not a finite number");
            }
            reference.transform[i / 3][i % 3] = *number;
        }
        return reference;
    }

    std::size_t countOf(std::string const& id, int depth) {
        auto const found = objects.find(id);
        if (found == objects.end() || depth > maxDepth) {
            package.fail("its model names an object " + quoteOf(id) +
                         (depth > maxDepth ? " that lies too deep, or in itself" : " that is not there"));
        }
        Object& object = found->second;
        if (!object.count) {
            std::size_t sum = object.triangles.size();
            for (Reference const& component : object.components) {
                add(sum, countOf(component.id, depth + 1));
            }
            object.count = sum;
        }
        return *object.count;
    }

    void add(std::size_t& sum, std::size_t count) const {
        sum += count;
        if (sum > maxTriangles) {
            package.fail("holds too many triangles");
        }
    }

    void build(std::string const& id, Transform const& transform) {
        Object const& object = objects.at(id);
        if (*object.count == 0) {
            return;
        }
        std::size_t const first = part.points.size();
        for (Triple const& point : object.points) {
            part.points.push_back(finite(placed(point, transform)));
        }
        bool const isTurned = isMirror(transform);
        for (auto const& triangle : object.triangles) {
            for (std::size_t const i :
                 {std::size_t{0}, std::size_t{isTurned ? 2U : 1U}, std::size_t{isTurned ? 1U : 2U}}) {
                part.corners.push_back(static_cast<std::uint32_t>(first + triangle[i]));
            }
            endPolygon(part);
        }
        for (Reference const& component : object.components) {
            build(component.id, joined(component.transform, transform));
        }
    }

    Triple finite(Triple const& point) const {
        bool const isFinite = std::isfinite(point[0]) && std::isfinite(point[1]) && std::isfinite(point[2]);
        if (!isFinite || part.points.size() >= maxPartPoints) {
            package.fail(isFinite ? "holds too many points" : "a coordinate is not a finite number");
        }
        return point;
    }

    PartSource const& package;
    PartAsRead part;
    std::map<std::string, Object> objects;
    Object* current = nullptr;
    std::vector<Reference> items;
};

} // namespace

PartAsRead readThreeMfModel(PartSource const& package, std::string_view xml) {
    return ModelReader(package).read(xml);
}

} // namespace QELT::Inspection
