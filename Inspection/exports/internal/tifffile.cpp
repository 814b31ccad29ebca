// Values as pages of a TIFF file: 32-bit floats, deflated after the predictor for floats, NaN without a
// value, the top row first. Files that could pass 4 GB are of the form for large ones.

#include "Inspection/exports/internal/writers.h"
#include "Inspection/records/failure.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <memory>
#include <tiffio.h>

namespace QELT::Inspection {

namespace {

/// Bytes before compression from where on the form for large files is taken.
constexpr double largeFile = 3.5e9;

struct CloseTiff {
    void operator()(TIFF* file) const { TIFFClose(file); }
};

struct FreeOptions {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

/// Keeps what libtiff says, which would print it.
int keepMessage(TIFF* /*file*/, void* kept, char const* /*module*/, char const* format, std::va_list values) {
    std::array<char, 256> text{};
    std::vsnprintf(text.data(), text.size(), format, values);
    *static_cast<std::string*>(kept) = text.data();
    return 1;
}

int dropMessage(TIFF* /*file*/, void* /*kept*/, char const* /*module*/, char const* /*format*/,
                std::va_list /*values*/) {
    return 1;
}

/// NaN stands for no value, and is what a float cannot hold.
float narrowed(double value) {
    constexpr double greatest = std::numeric_limits<float>::max();
    return value >= -greatest && value <= greatest ? static_cast<float>(value)
                                                   : std::numeric_limits<float>::quiet_NaN();
}

class TiffWriter {
public:
    TiffWriter(Destination const& to, bool isLarge) : name(to.name.string()) {
        std::unique_ptr<TIFFOpenOptions, FreeOptions> const options(TIFFOpenOptionsAlloc());
        require(options != nullptr, name + ": not enough memory");
        TIFFOpenOptionsSetErrorHandlerExtR(options.get(), keepMessage, &message);
        TIFFOpenOptionsSetWarningHandlerExtR(options.get(), dropMessage, nullptr);
        file.reset(TIFFOpenExt(to.file.c_str(), isLarge ? "wl8" : "wl", options.get()));
        requireDone(file != nullptr);
    }

    void addPage(Result const& result, ValueMap const& map, std::size_t page, std::size_t pageCount) {
        describe(result, map, page, pageCount);
        std::vector<float> row(result.width);
        for (std::size_t y = 0; y < result.height; ++y) {
            std::size_t const v = result.height - 1 - y;
            for (std::size_t u = 0; u < result.width; ++u) {
                row[u] = narrowed(map.values[result.indexOf(u, v)]);
            }
            requireDone(TIFFWriteScanline(file.get(), row.data(), static_cast<std::uint32_t>(y), 0) == 1);
        }
        requireDone(TIFFWriteDirectory(file.get()) == 1);
    }

private:
    std::string name;
    std::string message{};
    std::unique_ptr<TIFF, CloseTiff> file{};

    void requireDone(bool isDone) const {
        require(isDone, name + ": cannot be written" + (message.empty() ? "" : " (" + message + ")"));
    }

    template <class... Values>
    void set(std::uint32_t tag, Values... values) {
        requireDone(TIFFSetField(file.get(), tag, values...) == 1);
    }

    void describe(Result const& result, ValueMap const& map, std::size_t page, std::size_t pageCount) {
        constexpr std::uint32_t rowsTogether = 64;
        constexpr int bits = 32;
        set(TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(result.width));
        set(TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(result.height));
        set(TIFFTAG_BITSPERSAMPLE, bits);
        set(TIFFTAG_SAMPLESPERPIXEL, 1);
        set(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_IEEEFP);
        set(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        set(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
        set(TIFFTAG_ROWSPERSTRIP, rowsTogether);
        set(TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
        set(TIFFTAG_PREDICTOR, PREDICTOR_FLOATINGPOINT);
        std::string const label = labelOf(map);
        set(TIFFTAG_IMAGEDESCRIPTION, label.c_str());
        set(TIFFTAG_PAGENUMBER, static_cast<int>(page), static_cast<int>(pageCount));
    }
};

} // namespace

void writeTiff(Destination const& to, Result const& result, ValueMaps const& values) {
    double const size = static_cast<double>(sizeof(float)) * static_cast<double>(result.size()) *
                        static_cast<double>(values.size());
    TiffWriter writer(to, size > largeFile);
    for (std::size_t i = 0; i < values.size(); ++i) {
        writer.addPage(result, *values[i], i, values.size());
    }
}

} // namespace QELT::Inspection
