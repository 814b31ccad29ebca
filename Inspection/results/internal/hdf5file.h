#pragma once

#include <hdf5.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// What is used of HDF5, with its handles closed and its refusals as failures.
namespace QELT::Inspection {

/// A handle of the library and what closes it.
class Hdf5Handle {
public:
    using Close = herr_t (*)(hid_t);

    Hdf5Handle(hid_t newId, Close newClose) : id(newId), close(newClose) {}

    Hdf5Handle(Hdf5Handle&& other) noexcept : id(std::exchange(other.id, -1)), close(other.close) {}

    Hdf5Handle(Hdf5Handle const&) = delete;
    Hdf5Handle& operator=(Hdf5Handle const&) = delete;
    Hdf5Handle& operator=(Hdf5Handle&&) = delete;

    ~Hdf5Handle() {
        if (id >= 0) {
            close(id);
        }
    }

    hid_t get() const { return id; }

    bool isOpen() const { return id >= 0; }

    /// Closes it now; whether that went well, which tells that all was written.
    bool finish() { return close(std::exchange(id, -1)) >= 0; }

private:
    hid_t id;
    Close close;
};

/// The type that a number of this kind has in memory, and in a file: little-endian, whatever the machine.
template <class Number>
struct Hdf5Type;

template <>
struct Hdf5Type<std::uint8_t> {
    static hid_t inMemory() { return H5T_NATIVE_UINT8; }

    static hid_t inFile() { return H5T_STD_U8LE; }
};

template <>
struct Hdf5Type<std::uint16_t> {
    static hid_t inMemory() { return H5T_NATIVE_UINT16; }

    static hid_t inFile() { return H5T_STD_U16LE; }
};

template <>
struct Hdf5Type<std::uint32_t> {
    static hid_t inMemory() { return H5T_NATIVE_UINT32; }

    static hid_t inFile() { return H5T_STD_U32LE; }
};

template <>
struct Hdf5Type<std::uint64_t> {
    static hid_t inMemory() { return H5T_NATIVE_UINT64; }

    static hid_t inFile() { return H5T_STD_U64LE; }
};

template <>
struct Hdf5Type<float> {
    static hid_t inMemory() { return H5T_NATIVE_FLOAT; }

    static hid_t inFile() { return H5T_IEEE_F32LE; }
};

template <>
struct Hdf5Type<double> {
    static hid_t inMemory() { return H5T_NATIVE_DOUBLE; }

    static hid_t inFile() { return H5T_IEEE_F64LE; }
};

using Hdf5Shape = std::vector<std::size_t>;

/// A file that is written or read. Nothing in it tells of the time it was made at, so that the same content
/// is the same bytes. What HDF5 refuses is a `Failure` with the name that the user gave the file.
class Hdf5File {
public:
    static Hdf5File create(std::filesystem::path const& file, std::string const& name);

    /// Fails with what `refusal` says unless it is such a file.
    static Hdf5File open(std::filesystem::path const& file, std::string const& name,
                         std::string const& refusal);

    void makeGroup(std::string const& path);

    /// Compressed in chunks of whole rows; of the numbers, `shape` all together.
    template <class Number>
    void write(std::string const& path, Number const* numbers, Hdf5Shape const& shape) {
        writeNumbers(path, numbers, shape, Hdf5Type<Number>::inMemory(), Hdf5Type<Number>::inFile());
    }

    /// The same for numbers that stand for names: 0 for the first.
    void writeNamed(std::string const& path, std::uint8_t const* numbers, Hdf5Shape const& shape,
                    std::vector<std::string> const& names);

    /// One dimension that is appended to, piece by piece.
    template <class Number>
    void append(std::string const& path, Number const* numbers, std::size_t count) {
        appendNumbers(path, numbers, count, Hdf5Type<Number>::inMemory(), Hdf5Type<Number>::inFile());
    }

    void writeText(std::string const& path, std::string const& text);

    void setText(std::string const& path, std::string const& name, std::string const& text);
    void setNumbers(std::string const& path, std::string const& name, std::vector<double> const& numbers);

    /// All numbers of a data set that has to have this shape.
    template <class Number>
    std::vector<Number> read(std::string const& path, Hdf5Shape const& shape) const {
        std::vector<Number> numbers(countFor(path, shape));
        readNumbers(path, numbers.data(), Hdf5Type<Number>::inMemory());
        return numbers;
    }

    /// How many numbers a data set of one dimension has.
    std::size_t countIn(std::string const& path) const;

    std::string readText(std::string const& path) const;

    /// Empty if there is no such attribute.
    std::string getText(std::string const& path, std::string const& name) const;
    std::vector<double> getNumbers(std::string const& path, std::string const& name) const;

    /// What lies in a group, in the order of the names.
    std::vector<std::string> namesIn(std::string const& path) const;

    bool has(std::string const& path) const;

    /// Closes what was written. Fails if it could not be written to its end.
    void finish();

private:
    std::string name;
    Hdf5Handle file;

    Hdf5File(std::string newName, Hdf5Handle newFile) : name(std::move(newName)), file(std::move(newFile)) {}

    void check(bool isGood, std::string const& path) const;
    std::size_t countFor(std::string const& path, Hdf5Shape const& shape) const;
    void writeNumbers(std::string const& path, void const* numbers, Hdf5Shape const& shape, hid_t inMemory,
                      hid_t inFile);
    void appendNumbers(std::string const& path, void const* numbers, std::size_t count, hid_t inMemory,
                       hid_t inFile);
    void readNumbers(std::string const& path, void* numbers, hid_t inMemory) const;
    Hdf5Handle makeDataSet(std::string const& path, hid_t inFile, Hdf5Shape const& shape, bool isGrowing);
};

} // namespace QELT::Inspection
