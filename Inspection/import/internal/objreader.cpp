#include "Inspection/import/internal/objreader.h"

#include "Inspection/import/internal/objdialect.h"

#include <algorithm>

namespace QELT::Inspection {

namespace {

constexpr char comment = '#';

/// What neither adds a point nor a polygon: names, groups, materials, points and lines of their own.
constexpr std::array<std::string_view, 18> passedOver{
    "vp", "g",     "o",   "s",        "usemtl",   "mtllib",     "usemap",    "maplib", "l",
    "p",  "bevel", "lod", "c_interp", "d_interp", "shadow_obj", "trace_obj", "mg",     "call"};

/// Free-form surfaces: they would be lost in silence.
constexpr std::array<std::string_view, 16> freeForms{"cstype", "deg",  "bmat", "step", "curv", "curv2",
                                                     "surf",   "parm", "trim", "hole", "scrv", "sp",
                                                     "end",    "con",  "bzp",  "bsp"};

template <std::size_t Size>
bool isOneOf(std::array<std::string_view, Size> const& words, std::string_view word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

bool holdsNumbers(std::string_view word) {
    return word == "v" || word == "vt" || word == "vn" || word == "f" || word == "fo";
}

/// What no cloud has use for.
constexpr std::array<std::string_view, 5> wordsOfSurfaces{"vt", "usemtl", "mtllib", "s", "l"};

/// How many points, texture coordinates and normals there are.
struct Counts {
    std::array<std::size_t, 3> of{};
};

constexpr std::array<char const*, 3> countedNames{"point", "texture coordinate", "normal"};

class ObjReader {
public:
    explicit ObjReader(PartSource const& file) : source(file), total(countAll(file)) {}

    PartAsRead read() {
        part.points.reserve(total.of[0]);
        SourceLines lines(source);
        while (auto const line = lines.nextData(comment)) {
            if (holdsNumbers(wordsOf(line->text)[0]) && line->text.back() == '\\') {
                std::string const whole = joined(*line, lines);
                readLine({source.name, line->number, whole});
            } else {
                readLine(*line);
            }
        }
        requireContent();
        part.isPlainObj = part.isMesh() && isPlainObj(source);
        return std::move(part);
    }

private:
    /// A file without polygons that speaks of a surface was cut off before them.
    void requireContent() const {
        if (part.points.empty()) {
            source.fail("holds no points");
        }
        if (!part.isMesh() && speaksOfSurface) {
            source.fail("holds no polygons (lines that begin with f), though it speaks of a surface; it may "
                        "have been cut off");
        }
    }

    /// Corners may name what stands further down.
    static Counts countAll(PartSource const& file) {
        Counts counts;
        SourceLines lines(file);
        while (auto const line = lines.next()) {
            auto const begin = std::min(line->text.find_first_not_of(" \t"), line->text.size());
            std::string_view const text = line->text.substr(begin);
            if (text.starts_with("v ") || text.starts_with("v\t")) {
                ++counts.of[0];
            } else if (text.starts_with("vt ") || text.starts_with("vt\t")) {
                ++counts.of[1];
            } else if (text.starts_with("vn ") || text.starts_with("vn\t")) {
                ++counts.of[2];
            }
        }
        if (counts.of[0] > maxPartPoints) {
            file.fail("holds too many points");
        }
        return counts;
    }

    /// A line that goes on in the next where it ends with a backslash.
    static std::string joined(TextLine const& first, SourceLines& lines) {
        std::string whole(first.text);
        while (whole.ends_with('\\')) {
            whole.back() = ' ';
            whole += lines.requireData(comment, "the rest of line " + std::to_string(first.number)).text;
        }
        return whole;
    }

    void readLine(TextLine const& line) {
        auto const words = wordsOf(line.text);
        std::string_view const keyword = words[0];
        if (keyword == "v") {
            readPoint(line, words);
        } else if (keyword == "f" || keyword == "fo") {
            readPolygon(line, words);
        } else if (keyword == "vt" || keyword == "vn") {
            readOther(line, words, keyword == "vt" ? 1 : 2);
        } else if (isOneOf(freeForms, keyword)) {
            line.fail(quoteOf(keyword) + " is of a free-form surface; export the part as triangles");
        } else if (!isOneOf(passedOver, keyword)) {
            line.fail(quoteOf(keyword) + " begins no line of an OBJ file");
        }
        speaksOfSurface = speaksOfSurface || isOneOf(wordsOfSurfaces, keyword);
    }

    /// Three numbers; behind them may stand a weight, a colour or both.
    void readPoint(TextLine const& line, std::vector<std::string_view> const& words) {
        std::size_t const count = words.size() - 1;
        if (count != 3 && count != 4 && count != 6 && count != 7) {
            line.fail("3 numbers expected for a point, " + std::to_string(count) + " found");
        }
        part.points.push_back(pointIn(line, words, 1));
        for (std::size_t i = 4; i <= count; ++i) {
            requireNumber(line, words[i]);
        }
        ++current.of[0];
    }

    void readOther(TextLine const& line, std::vector<std::string_view> const& words, std::size_t kind) {
        std::size_t const count = words.size() - 1;
        if (count > 3 || count < (kind == 1 ? 1U : 3U)) {
            line.fail(std::string(kind == 1 ? "1 to 3" : "3") + " numbers expected for a " +
                      countedNames[kind] + ", " + std::to_string(count) + " found");
        }
        for (std::size_t i = 1; i <= count; ++i) {
            requireNumber(line, words[i]);
        }
        ++current.of[kind];
    }

    void readPolygon(TextLine const& line, std::vector<std::string_view> const& words) {
        for (std::size_t i = 1; i < words.size(); ++i) {
            part.corners.push_back(cornerIn(line, words[i]));
        }
        std::string const fault = endPolygon(part);
        if (!fault.empty()) {
            line.fail(fault);
        }
    }

    /// "7", "7/2", "7//3" or "7/2/3"; the first one counts.
    std::uint32_t cornerIn(TextLine const& line, std::string_view word) const {
        std::uint32_t corner = 0;
        std::string_view rest = word;
        for (std::size_t kind = 0;; ++kind) {
            auto const slash = rest.find('/');
            std::string_view const field = rest.substr(0, slash);
            bool const mayBeEmpty = kind == 1 && slash != std::string_view::npos;
            if (kind > 2 || (field.empty() && !mayBeEmpty)) {
                line.fail(quoteOf(word) + " is no corner");
            }
            if (!field.empty()) {
                std::uint32_t const index = indexIn(line, field, kind);
                corner = kind == 0 ? index : corner;
            }
            if (slash == std::string_view::npos) {
                return corner;
            }
            rest.remove_prefix(slash + 1);
        }
    }

    /// From 0. Positive numbers count from the first, negative ones back from the last one above the line.
    std::uint32_t indexIn(TextLine const& line, std::string_view field, std::size_t kind) const {
        long long const number = wholeIn(line, field);
        auto const above = static_cast<long long>(current.of[kind]);
        bool const isThere =
            number > 0 ? number <= static_cast<long long>(total.of[kind]) : number < 0 && number >= -above;
        if (!isThere) {
            line.fail("there is no " + std::string(countedNames[kind]) + " " + std::to_string(number) +
                      ": the file holds " + std::to_string(total.of[kind]) + ", " + std::to_string(above) +
                      " of them above this line");
        }
        return static_cast<std::uint32_t>(number > 0 ? number - 1 : above + number);
    }

    PartSource const& source;
    Counts total;
    Counts current;
    bool speaksOfSurface = false;
    PartAsRead part;
};

} // namespace

bool isObjKeyword(std::string_view word) {
    return holdsNumbers(word) || isOneOf(passedOver, word) || isOneOf(freeForms, word);
}

PartAsRead readObj(PartSource const& source) {
    PartAsRead part = ObjReader(source).read();
    part.format = PartFormat::Obj;
    return part;
}

} // namespace QELT::Inspection
