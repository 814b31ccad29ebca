#include "Inspection/import/internal/zippackage.h"

#include "Inspection/import/internal/bytes.h"

#include <zlib.h>

// An archive ends with a record that names the place of its directory; this tells of each entry its name, its
// sizes, its sum (CRC-32) and where it lies, behind a short header of its own. Entries are stored as they are
// or deflated. Archives in parts, with more than 65,534 entries or of more than 4 GiB are not read.

namespace QELT::Inspection {

namespace {

constexpr std::string_view endMark("PK\x05\x06");
constexpr std::string_view directoryMark("PK\x01\x02");
constexpr std::string_view entryMark("PK\x03\x04");
constexpr std::size_t endSize = 22;
constexpr std::size_t directorySize = 46;
constexpr std::size_t entrySize = 30;
constexpr unsigned stored = 0;
constexpr unsigned deflated = 8;

/// No model is packed closer: what claims to be is made to fill the memory.
constexpr std::size_t maxPacking = 1000;

struct Entry {
    std::string_view name;
    unsigned method = 0;
    std::uint32_t sum = 0;
    std::size_t packedSize = 0;
    std::size_t size = 0;
    std::size_t place = 0;
};

std::size_t wordAt(std::string_view bytes, std::size_t place) {
    return unsignedAt<std::uint32_t>(bytes, place, std::endian::little);
}

std::size_t halfAt(std::string_view bytes, std::size_t place) {
    return unsignedAt<std::uint16_t>(bytes, place, std::endian::little);
}

[[noreturn]] void failDamaged(PartSource const& archive, std::size_t place) {
    archive.failAtByte(place, "the archive is damaged or was cut off");
}

void requireMark(PartSource const& archive, std::size_t place, std::string_view mark, std::size_t size) {
    std::size_t const total = archive.bytes.size();
    if (place > total || total - place < size || !archive.bytes.substr(place).starts_with(mark)) {
        failDamaged(archive, place);
    }
}

Entry entryIn(PartSource const& archive, std::size_t place) {
    requireMark(archive, place, directoryMark, directorySize);
    std::string_view const bytes = archive.bytes;
    Entry entry;
    entry.method = static_cast<unsigned>(halfAt(bytes, place + 10));
    entry.sum = static_cast<std::uint32_t>(wordAt(bytes, place + 16));
    entry.packedSize = wordAt(bytes, place + 20);
    entry.size = wordAt(bytes, place + 24);
    entry.place = wordAt(bytes, place + 42);
    std::size_t const nameLength = halfAt(bytes, place + 28);
    if (nameLength > bytes.size() - place - directorySize) {
        failDamaged(archive, place);
    }
    entry.name = bytes.substr(place + directorySize, nameLength);
    return entry;
}

/// The bytes of an entry as they lie in the archive.
std::string_view packedBytesOf(PartSource const& archive, Entry const& entry) {
    requireMark(archive, entry.place, entryMark, entrySize);
    std::size_t const begin = entry.place + entrySize + halfAt(archive.bytes, entry.place + 26) +
                              halfAt(archive.bytes, entry.place + 28);
    if (begin > archive.bytes.size() || archive.bytes.size() - begin < entry.packedSize) {
        failDamaged(archive, entry.place);
    }
    return archive.bytes.substr(begin, entry.packedSize);
}

/// Whether all of `packed` came to exactly the size of `text`.
bool inflateInto(std::string& text, std::string_view packed) {
    z_stream stream{};
    constexpr int withoutHeader = -MAX_WBITS;
    if (inflateInit2(&stream, withoutHeader) != Z_OK) {
        return false;
    }
    std::string input(packed);
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(text.data());
    stream.avail_out = static_cast<uInt>(text.size());
    int const result = inflate(&stream, Z_FINISH);
    bool const isWhole = result == Z_STREAM_END && stream.avail_out == 0;
    inflateEnd(&stream);
    return isWhole;
}

std::string unpacked(PartSource const& archive, Entry const& entry) {
    std::string_view const packed = packedBytesOf(archive, entry);
    if (entry.method != stored && entry.method != deflated) {
        archive.failAtByte(entry.place, "an entry is packed in a way that is not read");
    }
    if (entry.size / maxPacking > packed.size() || (entry.method == stored && entry.size != packed.size())) {
        failDamaged(archive, entry.place);
    }
    std::string text(entry.method == stored ? packed : std::string_view());
    text.resize(entry.size);
    bool const isWhole = entry.method == stored || inflateInto(text, packed);
    auto const* const bytes = reinterpret_cast<Bytef const*>(text.data());
    if (!isWhole || crc32(0, bytes, static_cast<uInt>(text.size())) != entry.sum) {
        failDamaged(archive, entry.place);
    }
    return text;
}

} // namespace

std::optional<std::string> entryOf(PartSource const& archive, std::string_view ending) {
    std::size_t const end = archive.bytes.rfind(endMark);
    if (end == std::string_view::npos) {
        failDamaged(archive, archive.bytes.size());
    }
    requireMark(archive, end, endMark, endSize);
    std::size_t const count = halfAt(archive.bytes, end + 10);
    std::size_t place = wordAt(archive.bytes, end + 16);
    for (std::size_t i = 0; i < count; ++i) {
        Entry const entry = entryIn(archive, place);
        if (entry.name.ends_with(ending)) {
            return unpacked(archive, entry);
        }
        place += directorySize + entry.name.size() + halfAt(archive.bytes, place + 30) +
                 halfAt(archive.bytes, place + 32);
    }
    return std::nullopt;
}

} // namespace QELT::Inspection
