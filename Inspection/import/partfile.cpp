#include "Inspection/import/partfile.h"

#include "Inspection/import/internal/objreader.h"
#include "Inspection/import/internal/offreader.h"
#include "Inspection/import/internal/plyreader.h"
#include "Inspection/import/internal/scenereader.h"
#include "Inspection/import/internal/stlreader.h"
#include "Inspection/import/internal/tablereader.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <optional>

namespace QELT::Inspection {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

std::string lowered(std::string text) {
    for (char& character : text) {
        character =
            character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    }
    return text;
}

std::string const surfaceAdvice = "; export the part as STL, with a chord deviation under a tenth of a pixel";
std::string const meshAdvice = "; export the part as STL, PLY, OFF or OBJ";
std::string const cloudAdvice = "; export the points as XYZ, CSV or PLY";

/// The first bytes by which a file of another kind is known, and what is said of it.
struct Signature {
    std::string_view start;
    std::string description;
};

std::vector<Signature> signatures() {
    using namespace std::string_view_literals;
    return {{"ISO-10303-21"sv, "is a STEP file" + surfaceAdvice},
            {"\x89PNG"sv, "is a PNG picture"},
            {"\xFF\xD8\xFF"sv, "is a JPEG picture"},
            {"PK\x03\x04"sv, "is a ZIP archive; unpack it first"},
            {"\x1F\x8B"sv, "is compressed (gzip); unpack it first"},
            {"%PDF"sv, "is a PDF document"},
            {"QELTQuad"sv, "is a grid of quads, no part; scan it, or name the part that it was made of"},
            {"LASF"sv, "is a LAS file" + cloudAdvice},
            {"ASTM-E57"sv, "is an E57 file" + cloudAdvice},
            {"# vtk DataFile"sv, "is a VTK file" + meshAdvice},
            {"# .PCD"sv, "is a PCD file" + cloudAdvice},
            {"BZh"sv, "is compressed (bzip2); unpack it first"},
            {"\xFD"
             "7zXZ"sv,
             "is compressed (xz); unpack it first"},
            {"7z\xBC\xAF"sv, "is a 7z archive; unpack it first"},
            {"\xD0\xCF\x11\xE0"sv, "is a document of an office program"},
            {"\xFF\xFE"sv, "is text in UTF-16; save it as UTF-8"},
            {"\xFE\xFF"sv, "is text in UTF-16; save it as UTF-8"}};
}

/// Lines of 80 columns with a letter of the section in column 73.
bool isIges(std::string_view content) {
    constexpr std::size_t sectionColumn = 72;
    std::string_view const line = content.substr(0, content.find('\n'));
    return line.size() > sectionColumn + 1 && line.size() <= 81 && line[sectionColumn] == 'S' &&
           line.substr(sectionColumn + 1).find_first_not_of(" 01\r") == std::string_view::npos;
}

/// What text of another kind begins with.
std::string describeText(std::string_view content) {
    std::string const start = lowered(std::string(content.substr(0, 256)));
    std::string const text = start.substr(std::min(start.find_first_not_of(" \t\r\n"), start.size()));
    if (text.starts_with("<!doctype html") || text.starts_with("<html")) {
        return "is an HTML page, perhaps the answer to a failed download";
    }
    if (text.starts_with("0\nsection") || text.starts_with("0\r\nsection")) {
        return "is a DXF file" + meshAdvice;
    }
    if (text.starts_with("<")) {
        return "is an XML file" + meshAdvice;
    }
    if (text.starts_with("{")) {
        return "is a JSON file" + meshAdvice;
    }
    return isIges(content) ? "is an IGES file" + surfaceAdvice : std::string();
}

/// Fails where the content is known to be something else.
void requireNoOther(PartSource const& source) {
    if (source.bytes.empty()) {
        source.fail("is empty");
    }
    for (Signature const& signature : signatures()) {
        if (source.bytes.starts_with(signature.start)) {
            source.fail(signature.description);
        }
    }
    std::string const description = describeText(source.bytes);
    if (!description.empty()) {
        source.fail(description);
    }
}

/// The first word that is not in a comment.
std::string firstWordOf(PartSource const& source) {
    SourceLines lines(source);
    while (auto const line = lines.next()) {
        auto const words = wordsOf(line->text.substr(0, line->text.find('#')));
        if (!words.empty()) {
            return std::string(words[0]);
        }
    }
    return {};
}

[[noreturn]] void failOnExtension(PartSource const& source, std::string const& extension) {
    if (extension == ".step" || extension == ".stp") {
        source.fail("is a STEP file by its name" + surfaceAdvice);
    }
    if (extension == ".igs" || extension == ".iges") {
        source.fail("is an IGES file by its name" + surfaceAdvice);
    }
    constexpr std::array<std::string_view, 8> surfaceModels{".sat", ".x_t",    ".x_b",     ".jt",
                                                            ".ipt", ".sldprt", ".catpart", ".brep"};
    if (std::find(surfaceModels.begin(), surfaceModels.end(), extension) != surfaceModels.end()) {
        source.fail("is a CAD model by its name" + surfaceAdvice);
    }
    source.fail("is no STL, PLY, OFF or OBJ file and no table of points");
}

/// Names under which a table is expected whatever its first line is.
bool isTableExtension(std::string const& extension) {
    constexpr std::array<std::string_view, 4> extensions{".xyz", ".csv", ".tsv", ".asc"};
    return std::find(extensions.begin(), extensions.end(), extension) != extensions.end();
}

/// Of a text that has no word of its own to begin with.
PartFormat formatOfLines(PartSource const& source, std::string const& extension, std::string const& word) {
    if (isTableExtension(extension)) {
        return PartFormat::Table;
    }
    if (extension == ".obj" || isObjKeyword(word)) {
        return PartFormat::Obj;
    }
    if (isPointTable(source)) {
        return PartFormat::Table;
    }
    failOnExtension(source, extension);
}

/// glTF and 3MF lie in containers that others use too.
std::optional<PartFormat> sceneFormatOf(PartSource const& source) {
    std::string_view const bytes = source.bytes;
    auto const first = std::min(bytes.find_first_not_of(" \t\r\n"), bytes.size());
    if (bytes.starts_with("glTF") || (bytes.substr(first).starts_with('{') && isGltfText(bytes))) {
        return PartFormat::Gltf;
    }
    bool const isArchive = bytes.starts_with("PK\x03\x04");
    return isArchive && isThreeMf(source) ? std::optional(PartFormat::ThreeMf) : std::nullopt;
}

/// What no text holds.
bool hasZero(std::string_view bytes) {
    return bytes.find('\0') != std::string_view::npos;
}

PartFormat formatOfSource(PartSource const& source) {
    std::string const extension = lowered(std::filesystem::path(source.name).extension().string());
    if (extension == ".stl" && hasSizeOfBinaryStl(source.bytes)) {
        return PartFormat::StlBinary; // whatever its header begins with
    }
    if (auto const scene = sceneFormatOf(source)) {
        return *scene;
    }
    requireNoOther(source);
    std::string const word = firstWordOf(source);
    if (source.bytes.starts_with("ply\n") || source.bytes.starts_with("ply\r") || extension == ".ply") {
        return plyFormatOf(source);
    }
    bool const isOtherText = (isObjKeyword(word) || word.ends_with("OFF")) && !hasZero(source.bytes);
    if (lowered(word) == "solid" || (extension == ".stl" && !isOtherText)) {
        return isBinaryStl(source.bytes) ? PartFormat::StlBinary : PartFormat::StlText;
    }
    if (extension == ".off" || (word.size() <= 5 && word.ends_with("OFF"))) {
        return PartFormat::Off;
    }
    return formatOfLines(source, extension, word);
}

std::string_view withoutMark(std::string_view content) {
    return content.starts_with(byteOrderMark) ? content.substr(byteOrderMark.size()) : content;
}

std::string contentOf(std::filesystem::path const& path) {
    requireReadable(path);
    std::error_code error;
    require(std::filesystem::is_regular_file(path, error), path.string() + ": is not a plain file");
    auto const size = std::filesystem::file_size(path, error);
    require(!error, path.string() + ": cannot be read (" + error.message() + ")");
    std::string content(size, '\0');
    std::ifstream input(path, std::ios::binary);
    input.read(content.data(), static_cast<std::streamsize>(size));
    require(input.gcount() == static_cast<std::streamsize>(size),
            path.string() + ": cannot be read to its end");
    return content;
}

} // namespace

std::string nameOf(PartFormat format) {
    constexpr std::array<char const*, 10> names{"STL, text",
                                                "STL, binary",
                                                "PLY, text",
                                                "PLY, binary, little-endian",
                                                "PLY, binary, big-endian",
                                                "OFF",
                                                "OBJ",
                                                "table",
                                                "glTF",
                                                "3MF"};
    return names.at(static_cast<std::size_t>(format));
}

PartFormat formatOf(std::string const& name, std::string_view content) {
    return formatOfSource({name, withoutMark(content)});
}

PartFormat formatOfFile(std::filesystem::path const& path) {
    return naming(path.string(), [&] { return formatOf(path.string(), contentOf(path)); });
}

PartAsRead readPart(std::string const& name, std::string_view content) {
    PartSource const source{name, withoutMark(content)};
    switch (formatOfSource(source)) {
    case PartFormat::StlText:
        return readStlText(source);
    case PartFormat::StlBinary:
        return readStlBinary(source);
    case PartFormat::Off:
        return readOff(source);
    case PartFormat::Obj:
        return readObj(source);
    case PartFormat::Gltf:
        return readGltf(source);
    case PartFormat::ThreeMf:
        return readThreeMf(source);
    case PartFormat::Table:
        return readPointTable(source, TableNormals::Taken);
    default:
        return readPly(source);
    }
}

PartAsRead readPartFile(std::filesystem::path const& path) {
    return naming(path.string(), [&] { return readPart(path.string(), contentOf(path)); });
}

} // namespace QELT::Inspection
