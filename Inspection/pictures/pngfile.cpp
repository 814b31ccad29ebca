#include "Inspection/pictures/pngfile.h"

#include "Inspection/records/failure.h"

#include <array>
#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>
#include <png.h>
#include <string>
#include <system_error>

namespace QELT::Inspection {

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

using File = std::unique_ptr<std::FILE, CloseFile>;

/// The text of the error that libpng met, kept where a long jump does no harm.
using ErrorText = std::array<char, 160>;

/// libpng demands that its error function does not return. Throwing through its C frames is not defined, so
/// the text is put aside and the jump taken; the exception is thrown behind it.
void keepErrorAndJump(png_structp png, char const* text) {
    auto& kept = *static_cast<ErrorText*>(png_get_error_ptr(png));
    std::strncpy(kept.data(), text, kept.size() - 1);
    png_longjmp(png, 1);
}

void ignoreWarning(png_structp, char const*) {}

/// Owns libpng's two structures.
class Writer {
public:
    explicit Writer(ErrorText& error)
        : png(png_create_write_struct(PNG_LIBPNG_VER_STRING, &error, keepErrorAndJump, ignoreWarning)),
          info(png != nullptr ? png_create_info_struct(png) : nullptr) {}

    ~Writer() { png_destroy_write_struct(&png, &info); }

    Writer(Writer const&) = delete;
    Writer& operator=(Writer const&) = delete;

    bool isReady() const { return info != nullptr; }

    png_structp png;
    png_infop info;
};

/// Hands the picture to libpng; false after an error. Nothing in here has a destructor that the jump would
/// pass over.
bool writePixels(Writer const& writer, std::FILE* file, Image const& image) {
    if (setjmp(png_jmpbuf(writer.png)) != 0) {
        return false;
    }
    png_init_io(writer.png, file);
    png_set_IHDR(writer.png, writer.info, static_cast<png_uint_32>(image.getWidth()),
                 static_cast<png_uint_32>(image.getHeight()), 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(writer.png, writer.info);
    for (int y = 0; y < image.getHeight(); ++y) {
        png_write_row(writer.png, reinterpret_cast<png_const_bytep>(image.getRow(y)));
    }
    png_write_end(writer.png, writer.info);
    return true;
}

[[noreturn]] void failFor(std::filesystem::path const& path, std::string const& reason) {
    throw Failure(path.string() + ": the image cannot be written (" + reason + ")");
}

std::string systemReason() {
    return std::generic_category().message(errno);
}

} // namespace

static_assert(sizeof(Colour) == 3, "a row of colours is handed to libpng as it lies in memory");

void writePng(std::filesystem::path const& path, Image const& image) {
    File file(std::fopen(path.c_str(), "wb"));
    if (!file) {
        failFor(path, systemReason());
    }
    ErrorText error{};
    Writer const writer(error);
    if (!writer.isReady()) {
        failFor(path, "libpng is out of memory");
    }
    if (!writePixels(writer, file.get(), image)) {
        failFor(path, error.data());
    }
    if (std::fclose(file.release()) != 0) {
        failFor(path, systemReason());
    }
}

} // namespace QELT::Inspection
