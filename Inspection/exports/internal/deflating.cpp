#include "Inspection/exports/internal/deflating.h"

#include "Inspection/records/failure.h"

#include <algorithm>
#include <array>
#include <limits>
#include <zlib.h>

namespace QELT::Inspection {

namespace {

/// As well as zlib usually does: the best takes several times as long for a few percent.
constexpr int level = 6;
constexpr int memoryLevel = 8;
constexpr int windowBits = 15;
constexpr std::size_t chunkSize = 256 * 1024;

/// zlib's stream, which is given back whatever happens.
class DeflateStream {
public:
    explicit DeflateStream(DeflateForm form) {
        int const bits = form == DeflateForm::Raw ? -windowBits : windowBits;
        require(deflateInit2(&stream, level, Z_DEFLATED, bits, memoryLevel, Z_DEFAULT_STRATEGY) == Z_OK,
                "data cannot be compressed: not enough memory");
    }

    ~DeflateStream() { deflateEnd(&stream); }

    DeflateStream(DeflateStream const&) = delete;
    DeflateStream& operator=(DeflateStream const&) = delete;

    z_stream* operator->() { return &stream; }

    z_stream* get() { return &stream; }

private:
    z_stream stream{};
};

} // namespace

std::vector<std::byte> deflated(std::span<std::byte const> bytes, DeflateForm form) {
    DeflateStream stream(form);
    std::vector<std::byte> result;
    std::vector<Bytef> chunk(chunkSize);
    // zlib's interface takes what it only reads as if it could be changed, and counts in 32 bits.
    stream->next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(bytes.data()));
    std::size_t left = bytes.size();
    int state = Z_OK;
    while (state != Z_STREAM_END) {
        if (stream->avail_in == 0) {
            stream->avail_in =
                static_cast<uInt>(std::min<std::size_t>(left, std::numeric_limits<uInt>::max()));
            left -= stream->avail_in;
        }
        stream->next_out = chunk.data();
        stream->avail_out = static_cast<uInt>(chunk.size());
        state = deflate(stream.get(), left == 0 ? Z_FINISH : Z_NO_FLUSH);
        auto const* const begin = reinterpret_cast<std::byte const*>(chunk.data());
        result.insert(result.end(), begin, begin + (chunk.size() - stream->avail_out));
    }
    return result;
}

} // namespace QELT::Inspection
