#include "Inspection/import/partfile.h"

#include "Inspection/import/internal/objreader.h"
#include "Inspection/import/internal/offreader.h"
#include "Inspection/import/internal/plyreader.h"
#include "Inspection/import/internal/stlreader.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/files.h"

#include <fstream>

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
            {"PK\x03\x04"sv, "is a ZIP archive (3MF files are such)" + meshAdvice},
            {"\x1F\x8B"sv, "is compressed (gzip); unpack it first"},
            {"%PDF"sv, "is a PDF document"},
            {"glTF"sv, "is a binary glTF file" + meshAdvice},
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
    if (text.starts_with("<")) {
        return "is an XML file" + meshAdvice;
    }
    if (text.starts_with("{")) {
        return "is a JSON file (glTF files are such)" + meshAdvice;
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
    if (extension == ".xyz") {
        source.fail("is a table of points, which need not be imported");
    }
    source.fail("is no STL, PLY, OFF or OBJ file");
}

PartFormat formatOfSource(PartSource const& source) {
    std::string const extension = lowered(std::filesystem::path(source.name).extension().string());
    if (extension == ".stl" && hasSizeOfBinaryStl(source.bytes)) {
        return PartFormat::StlBinary; // whatever its header begins with
    }
    requireNoOther(source);
    std::string const word = firstWordOf(source);
    if (source.bytes.starts_with("ply\n") || source.bytes.starts_with("ply\r") || extension == ".ply") {
        return plyFormatOf(source);
    }
    if (extension == ".stl" || lowered(word) == "solid") {
        return isBinaryStl(source.bytes) ? PartFormat::StlBinary : PartFormat::StlText;
    }
    if (extension == ".off" || (word.size() <= 5 && word.ends_with("OFF"))) {
        return PartFormat::Off;
    }
    if (extension == ".obj" || isObjKeyword(word)) {
        return PartFormat::Obj;
    }
    failOnExtension(source, extension);
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
    constexpr std::array<char const*, 7> names{
        "STL, text", "STL, binary", "PLY, text", "PLY, binary, little-endian", "PLY, binary, big-endian",
        "OFF",       "OBJ"};
    return names.at(static_cast<std::size_t>(format));
}

PartFormat formatOf(std::string const& name, std::string_view content) {
    return formatOfSource({name, withoutMark(content)});
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
    default:
        return readPly(source);
    }
}

PartAsRead readPartFile(std::filesystem::path const& path) {
    return naming(path.string(), [&] { return readPart(path.string(), contentOf(path)); });
}

} // namespace QELT::Inspection
