// Arrays for NumPy: a ZIP archive (APPNOTE 6.3, without its extensions to 64 bits) of .npy files (NEP 1,
// version 1.0). All entries bear the first time that the format knows, so that the same result is the same
// bytes.

#include "Inspection/exports/internal/deflating.h"
#include "Inspection/exports/internal/writers.h"
#include "Inspection/records/failure.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstdint>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <zlib.h>

namespace QELT::Inspection {

namespace {

static_assert(std::endian::native == std::endian::little, "numbers are written as they lie in memory");

using Shape = std::vector<std::size_t>;

constexpr std::uint32_t localHead = 0x04034b50;
constexpr std::uint32_t centralHead = 0x02014b50;
constexpr std::uint32_t archiveEnd = 0x06054b50;
constexpr std::uint16_t neededVersion = 20;
constexpr std::uint16_t deflateMethod = 8;
constexpr std::uint16_t firstTime = 0;
constexpr std::uint16_t firstDay = 0x21; // the first of January 1980

std::uint32_t checksumOf(std::span<std::byte const> bytes) {
    uLong sum = crc32_z(0, nullptr, 0);
    sum = crc32_z(sum, reinterpret_cast<Bytef const*>(bytes.data()), bytes.size());
    return static_cast<std::uint32_t>(sum);
}

/// A ZIP archive that is written entry by entry.
class ZipWriter {
public:
    explicit ZipWriter(Destination const& to) : name(to.name.string()), output(to.file, std::ios::binary) {}

    void add(std::string const& entryName, std::span<std::byte const> bytes) {
        auto const packed = deflated(bytes, DeflateForm::Raw);
        Entry const entry{entryName, checksumOf(bytes), fitting(packed.size()), fitting(bytes.size()),
                          offset};
        put(localHead);
        putCommon(entry);
        put(std::uint16_t{0}); // no extra field
        write(entryName.data(), entryName.size());
        write(packed.data(), packed.size());
        entries.push_back(entry);
    }

    void finish() {
        std::uint32_t const begin = offset;
        for (Entry const& entry : entries) {
            put(centralHead);
            put(neededVersion);
            putCommon(entry);
            put(std::uint16_t{0}); // neither extra field nor comment, disk 0, no attributes
            put(std::uint16_t{0});
            put(std::uint16_t{0});
            put(std::uint16_t{0});
            put(std::uint32_t{0});
            put(entry.offset);
            write(entry.name.data(), entry.name.size());
        }
        std::uint32_t const size = offset - begin;
        auto const count = static_cast<std::uint16_t>(entries.size());
        put(archiveEnd);
        put(std::uint32_t{0}); // disks 0 and 0
        put(count);
        put(count);
        put(size);
        put(begin);
        put(std::uint16_t{0});
        output.close();
        require(static_cast<bool>(output), name + ": cannot be written");
    }

private:
    struct Entry {
        std::string name;
        std::uint32_t checksum;
        std::uint32_t packedSize;
        std::uint32_t size;
        std::uint32_t offset;
    };

    std::string name;
    std::ofstream output;
    std::uint32_t offset = 0;
    std::vector<Entry> entries{};

    /// What both heads of an entry tell, up to the length of its name.
    void putCommon(Entry const& entry) {
        put(neededVersion);
        put(std::uint16_t{0}); // no flags
        put(deflateMethod);
        put(firstTime);
        put(firstDay);
        put(entry.checksum);
        put(entry.packedSize);
        put(entry.size);
        put(static_cast<std::uint16_t>(entry.name.size()));
    }

    std::uint32_t fitting(std::size_t size) const {
        require(size <= std::numeric_limits<std::uint32_t>::max() - offset,
                name + ": holds more than the 4 GB of a .npz file; export a .vts or .tif file instead");
        return static_cast<std::uint32_t>(size);
    }

    void write(void const* bytes, std::size_t size) {
        output.write(static_cast<char const*>(bytes), static_cast<std::streamsize>(size));
        offset += fitting(size);
    }

    template <class Number>
    void put(Number number) {
        write(&number, sizeof number);
    }
};

/// The head of a .npy file, filled up so that the numbers begin at a multiple of 64 bytes.
std::string npyHead(std::string const& type, Shape const& shape) {
    std::string text = "{'descr': '" + type + "', 'fortran_order': False, 'shape': (";
    for (std::size_t const length : shape) {
        text += std::to_string(length) + ",";
    }
    text += "), }";
    constexpr std::size_t fixedSize = 10;
    constexpr std::size_t alignment = 64;
    std::size_t const used = (fixedSize + text.size() + 1) % alignment;
    text += std::string(used == 0 ? 0 : alignment - used, ' ') + "\n";
    std::string head("\x93NUMPY\x01\x00", 8);
    head += static_cast<char>(text.size() & 0xFFU);
    head += static_cast<char>(text.size() >> 8U);
    return head + text;
}

template <class Number>
void addArray(ZipWriter& zip, std::string const& name, std::string const& type, Shape const& shape,
              std::vector<Number> const& numbers) {
    std::string const head = npyHead(type, shape);
    auto const headBytes = std::as_bytes(std::span<char const>(head));
    auto const body = bytesOf(numbers);
    std::vector<std::byte> all(headBytes.begin(), headBytes.end());
    all.insert(all.end(), body.begin(), body.end());
    zip.add(name + ".npy", all);
}

/// Less the move, three numbers a place.
std::vector<double> unmoved(Result const& result, std::vector<float> const& places) {
    std::vector<double> numbers(places.size());
    for (std::size_t i = 0; i < places.size(); ++i) {
        numbers[i] = static_cast<double>(places[i]) - result.move.at(i % 3);
    }
    return numbers;
}

void addPixels(ZipWriter& zip, Result const& result) {
    Shape const plane{result.height, result.width};
    Shape const places{result.height, result.width, 3};
    addArray(zip, "state", "|u1", plane, result.states);
    addArray(zip, "count", "<u4", plane, result.counts);
    addArray(zip, "refused", "<u4", plane, result.refused);
    addArray(zip, "area", "<f8", plane, result.areas);
    addArray(zip, "point", "<f8", places, unmoved(result, result.points));
    addArray(zip, "normal", "<f4", places, result.normals);
    addArray(zip, "patch", "<u2", plane, result.patch);
    for (std::size_t i = 0; i < result.patches.size(); ++i) {
        Patch const& patch = result.patches[i];
        addArray(zip, "nodes_" + std::to_string(i), "<f8", {patch.height + 1, patch.width + 1, 3},
                 unmoved(result, patch.nodes));
    }
}

/// A name of letters, digits and underscores that no other array has.
std::string keyOf(std::string const& name, std::set<std::string>& taken) {
    std::string key = name;
    for (char& character : key) {
        bool const isPlain = std::isalnum(static_cast<unsigned char>(character)) != 0;
        character = isPlain ? character : '_';
    }
    std::string unique = key;
    for (int i = 2; !taken.insert(unique).second; ++i) {
        unique = key + "_" + std::to_string(i);
    }
    return unique;
}

nlohmann::ordered_json describe(ValueMap const& map, std::string const& key) {
    nlohmann::ordered_json about{{"array", key},
                                 {"name", map.name},
                                 {"quantity", map.quantity},
                                 {"statistic", nameOf(map.statistic)},
                                 {"unit", map.unit}};
    if (map.ceiling) {
        about["ceiling"] = *map.ceiling;
    }
    return about;
}

} // namespace

void writeNpz(Destination const& to, Result const& result, ValueMaps const& values) {
    ZipWriter zip(to);
    addPixels(zip, result);
    nlohmann::ordered_json about;
    about["unit"] = result.unit;
    for (std::size_t i = 0; i < pixelStateCount; ++i) {
        about["states"].push_back(nameOf(static_cast<PixelState>(i)));
    }
    about["values"] = nlohmann::ordered_json::array();
    for (Patch const& patch : result.patches) {
        about["grids"].push_back({{"name", patch.name}, {"left", patch.left}, {"bottom", patch.bottom}});
    }
    std::set<std::string> taken{"state", "count", "refused", "area", "point", "normal", "patch"};
    for (ValueMap const* const map : values) {
        std::string const key = keyOf(map->name, taken);
        addArray(zip, key, "<f8", {result.height, result.width}, map->values);
        about["values"].push_back(describe(*map, key));
    }
    std::string const text =
        about.dump(1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
    zip.add("about.json", std::as_bytes(std::span<char const>(text)));
    zip.finish();
}

} // namespace QELT::Inspection
