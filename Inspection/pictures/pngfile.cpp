#include "Inspection/pictures/pngfile.h"

#include "Inspection/records/failure.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <png.h>
#include <string>
#include <system_error>

namespace QELT::Inspection {

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

[[noreturn]] void failFor(std::filesystem::path const& path, std::string const& reason) {
    throw Failure(path.string() + ": the image cannot be written (" + reason + ")");
}

std::string systemReason() {
    return std::generic_category().message(errno);
}

png_image descriptionOf(Image const& image) {
    png_image description{};
    description.version = PNG_IMAGE_VERSION;
    description.width = static_cast<png_uint_32>(image.getWidth());
    description.height = static_cast<png_uint_32>(image.getHeight());
    description.format = PNG_FORMAT_RGB;
    return description;
}

} // namespace

static_assert(sizeof(Colour) == 3, "a picture of colours is handed to libpng as it lies in memory");

// libpng is given an open stream and not the name: by name it deletes what it failed to write, be it a
// device.
void writePng(Destination const& to, Image const& image) {
    std::unique_ptr<std::FILE, CloseFile> file(std::fopen(to.file.c_str(), "wb"));
    if (!file) {
        failFor(to.name, systemReason());
    }
    png_image description = descriptionOf(image);
    if (png_image_write_to_stdio(&description, file.get(), 0, image.getRow(0), 0, nullptr) == 0) {
        failFor(to.name, description.message);
    }
    if (std::fflush(file.get()) != 0 || std::fclose(file.release()) != 0) {
        failFor(to.name, systemReason());
    }
}

std::vector<std::uint8_t> pngBytesOf(Image const& image) {
    png_image description = descriptionOf(image);
    std::vector<std::uint8_t> bytes(PNG_IMAGE_PNG_SIZE_MAX(description));
    png_alloc_size_t size = bytes.size();
    if (png_image_write_to_memory(&description, bytes.data(), &size, 0, image.getRow(0), 0, nullptr) == 0) {
        throw Failure("a picture cannot be made (" + std::string(description.message) + ")");
    }
    bytes.resize(size);
    return bytes;
}

} // namespace QELT::Inspection
