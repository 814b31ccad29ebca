#include "Inspection/results/internal/hdf5file.h"

#include "Inspection/records/failure.h"

#include <algorithm>
#include <array>

// One writer and one reader of HDF5 files, kept to what results need: groups, data sets of numbers,
// attributes.
//
// The library stamps each object with the time unless told not to (`H5Pset_obj_track_times`, of the root
// group by the file's own properties), and it prints its refusals on standard error unless that is turned
// off. Both are done here. Files are of the library's version 1.8 at most, which every reader of today knows.
//
// Chunks hold whole rows, some 65,536 numbers, shuffled by bytes and deflated: neighbouring values have equal
// high bytes.

namespace QELT::Inspection {

namespace {

constexpr std::size_t chunkLength = 65536;
constexpr unsigned deflateLevel = 4;

/// The library's own messages belong to nobody.
void silence() {
    H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
}

Hdf5Handle propertiesOf(hid_t kind) {
    return {H5Pcreate(kind), H5Pclose};
}

Hdf5Handle accessProperties() {
    Hdf5Handle access = propertiesOf(H5P_FILE_ACCESS);
    H5Pset_libver_bounds(access.get(), H5F_LIBVER_EARLIEST, H5F_LIBVER_V18);
    H5Pset_fclose_degree(access.get(), H5F_CLOSE_STRONG);
    // What is being written has a lock already, by which other runs see that it is.
    H5Pset_file_locking(access.get(), false, true);
    return access;
}

std::vector<hsize_t> chunkOf(Hdf5Shape const& shape) {
    std::vector<hsize_t> chunk(shape.begin(), shape.end());
    std::size_t rowLength = 1;
    for (std::size_t i = 1; i < shape.size(); ++i) {
        rowLength *= std::max<std::size_t>(shape[i], 1);
    }
    std::size_t const rows = std::max<std::size_t>(chunkLength / rowLength, 1);
    chunk[0] = std::clamp<hsize_t>(chunk[0], 1, rows);
    for (hsize_t& extent : chunk) {
        extent = std::max<hsize_t>(extent, 1);
    }
    return chunk;
}

/// Text that is plain ASCII is called so: there are readers that take no other.
Hdf5Handle textType(std::string const& text) {
    bool const isPlain = std::all_of(text.begin(), text.end(),
                                     [](char sign) { return static_cast<unsigned char>(sign) < 0x80; });
    Hdf5Handle type(H5Tcopy(H5T_C_S1), H5Tclose);
    H5Tset_size(type.get(), std::max<std::size_t>(text.size(), 1));
    H5Tset_cset(type.get(), isPlain ? H5T_CSET_ASCII : H5T_CSET_UTF8);
    H5Tset_strpad(type.get(), H5T_STR_NULLPAD);
    return type;
}

/// Of fixed length, without the zeros that fill it up.
template <class Read>
std::string textBy(hid_t type, Read read) {
    constexpr std::size_t longest = 64U << 20U;
    std::size_t const size = H5Tget_size(type);
    if (H5Tget_class(type) != H5T_STRING || H5Tis_variable_str(type) > 0 || size > longest) {
        return {};
    }
    std::string text(size, '\0');
    if (read(type, text.data()) < 0) {
        return {};
    }
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

herr_t keepName(hid_t /*group*/, char const* name, H5L_info_t const* /*info*/, void* names) {
    static_cast<std::vector<std::string>*>(names)->emplace_back(name);
    return 0;
}

} // namespace

void Hdf5File::check(bool isGood, std::string const& path) const {
    require(isGood, name + ": " + path + " cannot be read or written");
}

Hdf5File Hdf5File::create(std::filesystem::path const& file, std::string const& name) {
    silence();
    Hdf5Handle const creation = propertiesOf(H5P_FILE_CREATE);
    H5Pset_obj_track_times(creation.get(), false);
    Hdf5Handle const access = accessProperties();
    Hdf5Handle made(H5Fcreate(file.c_str(), H5F_ACC_TRUNC, creation.get(), access.get()), H5Fclose);
    require(made.isOpen(), name + ": cannot be written as HDF5");
    return {name, std::move(made)};
}

Hdf5File Hdf5File::open(std::filesystem::path const& file, std::string const& name,
                        std::string const& refusal) {
    silence();
    require(H5Fis_hdf5(file.c_str()) > 0, refusal);
    Hdf5Handle const access = accessProperties();
    Hdf5Handle opened(H5Fopen(file.c_str(), H5F_ACC_RDONLY, access.get()), H5Fclose);
    require(opened.isOpen(), name + ": is an HDF5 file that is damaged or cut off");
    return {name, std::move(opened)};
}

void Hdf5File::makeGroup(std::string const& path) {
    Hdf5Handle const creation = propertiesOf(H5P_GROUP_CREATE);
    H5Pset_obj_track_times(creation.get(), false);
    Hdf5Handle const group(H5Gcreate2(file.get(), path.c_str(), H5P_DEFAULT, creation.get(), H5P_DEFAULT),
                           H5Gclose);
    check(group.isOpen(), path);
}

Hdf5Handle Hdf5File::makeDataSet(std::string const& path, hid_t inFile, Hdf5Shape const& shape,
                                 bool isGrowing) {
    std::vector<hsize_t> const extents(shape.begin(), shape.end());
    std::vector<hsize_t> limits = extents;
    std::vector<hsize_t> chunk = chunkOf(shape);
    if (isGrowing) {
        limits[0] = H5S_UNLIMITED;
        chunk[0] = chunkLength;
    }
    Hdf5Handle const space(H5Screate_simple(static_cast<int>(extents.size()), extents.data(), limits.data()),
                           H5Sclose);
    Hdf5Handle const creation = propertiesOf(H5P_DATASET_CREATE);
    H5Pset_obj_track_times(creation.get(), false);
    H5Pset_chunk(creation.get(), static_cast<int>(chunk.size()), chunk.data());
    H5Pset_shuffle(creation.get());
    H5Pset_deflate(creation.get(), deflateLevel);
    Hdf5Handle set(
        H5Dcreate2(file.get(), path.c_str(), inFile, space.get(), H5P_DEFAULT, creation.get(), H5P_DEFAULT),
        H5Dclose);
    check(set.isOpen(), path);
    return set;
}

void Hdf5File::writeNumbers(std::string const& path, void const* numbers, Hdf5Shape const& shape,
                            hid_t inMemory, hid_t inFile) {
    Hdf5Handle const set = makeDataSet(path, inFile, shape, false);
    bool const isEmpty = std::find(shape.begin(), shape.end(), 0U) != shape.end();
    check(isEmpty || H5Dwrite(set.get(), inMemory, H5S_ALL, H5S_ALL, H5P_DEFAULT, numbers) >= 0, path);
}

void Hdf5File::writeNamed(std::string const& path, std::uint8_t const* numbers, Hdf5Shape const& shape,
                          std::vector<std::string> const& names) {
    Hdf5Handle const type(H5Tenum_create(H5T_STD_U8LE), H5Tclose);
    for (std::size_t i = 0; i < names.size(); ++i) {
        auto const number = static_cast<std::uint8_t>(i);
        check(H5Tenum_insert(type.get(), names[i].c_str(), &number) >= 0, path);
    }
    writeNumbers(path, numbers, shape, type.get(), type.get());
}

void Hdf5File::appendNumbers(std::string const& path, void const* numbers, std::size_t count, hid_t inMemory,
                             hid_t inFile) {
    Hdf5Handle const set = has(path) ? Hdf5Handle(H5Dopen2(file.get(), path.c_str(), H5P_DEFAULT), H5Dclose)
                                     : makeDataSet(path, inFile, {0}, true);
    check(set.isOpen(), path);
    if (count == 0) {
        return;
    }
    hsize_t const length = count;
    hsize_t begin = 0;
    Hdf5Handle const before(H5Dget_space(set.get()), H5Sclose);
    H5Sget_simple_extent_dims(before.get(), &begin, nullptr);
    hsize_t const end = begin + length;
    check(H5Dset_extent(set.get(), &end) >= 0, path);
    Hdf5Handle const after(H5Dget_space(set.get()), H5Sclose);
    H5Sselect_hyperslab(after.get(), H5S_SELECT_SET, &begin, nullptr, &length, nullptr);
    Hdf5Handle const piece(H5Screate_simple(1, &length, nullptr), H5Sclose);
    check(H5Dwrite(set.get(), inMemory, piece.get(), after.get(), H5P_DEFAULT, numbers) >= 0, path);
}

void Hdf5File::writeText(std::string const& path, std::string const& text) {
    Hdf5Handle const type = textType(text);
    Hdf5Handle const space(H5Screate(H5S_SCALAR), H5Sclose);
    Hdf5Handle const creation = propertiesOf(H5P_DATASET_CREATE);
    H5Pset_obj_track_times(creation.get(), false);
    Hdf5Handle const set(H5Dcreate2(file.get(), path.c_str(), type.get(), space.get(), H5P_DEFAULT,
                                    creation.get(), H5P_DEFAULT),
                         H5Dclose);
    check(set.isOpen() && H5Dwrite(set.get(), type.get(), H5S_ALL, H5S_ALL, H5P_DEFAULT, text.c_str()) >= 0,
          path);
}

void Hdf5File::setText(std::string const& path, std::string const& attribute, std::string const& text) {
    Hdf5Handle const type = textType(text);
    Hdf5Handle const space(H5Screate(H5S_SCALAR), H5Sclose);
    Hdf5Handle const made(H5Acreate_by_name(file.get(), path.c_str(), attribute.c_str(), type.get(),
                                            space.get(), H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT),
                          H5Aclose);
    check(made.isOpen() && H5Awrite(made.get(), type.get(), text.c_str()) >= 0, path);
}

void Hdf5File::setNumbers(std::string const& path, std::string const& attribute,
                          std::vector<double> const& numbers) {
    hsize_t const count = numbers.size();
    Hdf5Handle const space(H5Screate_simple(1, &count, nullptr), H5Sclose);
    Hdf5Handle const made(H5Acreate_by_name(file.get(), path.c_str(), attribute.c_str(), H5T_IEEE_F64LE,
                                            space.get(), H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT),
                          H5Aclose);
    check(made.isOpen() && H5Awrite(made.get(), H5T_NATIVE_DOUBLE, numbers.data()) >= 0, path);
}

std::size_t Hdf5File::countFor(std::string const& path, Hdf5Shape const& shape) const {
    check(has(path), path);
    Hdf5Handle const set(H5Dopen2(file.get(), path.c_str(), H5P_DEFAULT), H5Dclose);
    check(set.isOpen(), path);
    Hdf5Handle const space(H5Dget_space(set.get()), H5Sclose);
    check(H5Sget_simple_extent_ndims(space.get()) == static_cast<int>(shape.size()), path);
    std::vector<hsize_t> extents(shape.size());
    H5Sget_simple_extent_dims(space.get(), extents.data(), nullptr);
    require(std::equal(shape.begin(), shape.end(), extents.begin()),
            name + ": " + path + " has another size than the pixels");
    std::size_t count = 1;
    for (std::size_t const extent : shape) {
        count *= extent;
    }
    return count;
}

std::size_t Hdf5File::countIn(std::string const& path) const {
    constexpr hssize_t most = hssize_t{1} << 33U;
    check(has(path), path);
    Hdf5Handle const set(H5Dopen2(file.get(), path.c_str(), H5P_DEFAULT), H5Dclose);
    check(set.isOpen(), path);
    Hdf5Handle const space(H5Dget_space(set.get()), H5Sclose);
    hssize_t const count = H5Sget_simple_extent_npoints(space.get());
    check(H5Sget_simple_extent_ndims(space.get()) == 1 && count >= 0 && count <= most, path);
    return static_cast<std::size_t>(count);
}

void Hdf5File::readNumbers(std::string const& path, void* numbers, hid_t inMemory) const {
    Hdf5Handle const set(H5Dopen2(file.get(), path.c_str(), H5P_DEFAULT), H5Dclose);
    Hdf5Handle const type(H5Dget_type(set.get()), H5Tclose);
    // Names come back as the numbers that stand for them.
    Hdf5Handle const kept(H5Tget_class(type.get()) == H5T_ENUM ? H5Tcopy(type.get()) : H5Tcopy(inMemory),
                          H5Tclose);
    check(H5Tget_size(kept.get()) == H5Tget_size(inMemory) &&
              H5Dread(set.get(), kept.get(), H5S_ALL, H5S_ALL, H5P_DEFAULT, numbers) >= 0,
          path);
}

std::string Hdf5File::readText(std::string const& path) const {
    check(has(path), path);
    Hdf5Handle const set(H5Dopen2(file.get(), path.c_str(), H5P_DEFAULT), H5Dclose);
    check(set.isOpen(), path);
    Hdf5Handle const type(H5Dget_type(set.get()), H5Tclose);
    Hdf5Handle const space(H5Dget_space(set.get()), H5Sclose);
    check(H5Sget_simple_extent_npoints(space.get()) == 1, path);
    return textBy(type.get(), [&](hid_t kind, char* text) {
        return H5Dread(set.get(), kind, H5S_ALL, H5S_ALL, H5P_DEFAULT, text);
    });
}

std::string Hdf5File::getText(std::string const& path, std::string const& attribute) const {
    Hdf5Handle const found(
        H5Aopen_by_name(file.get(), path.c_str(), attribute.c_str(), H5P_DEFAULT, H5P_DEFAULT), H5Aclose);
    if (!found.isOpen()) {
        return {};
    }
    Hdf5Handle const type(H5Aget_type(found.get()), H5Tclose);
    Hdf5Handle const space(H5Aget_space(found.get()), H5Sclose);
    check(H5Sget_simple_extent_npoints(space.get()) == 1, path);
    return textBy(type.get(), [&](hid_t kind, char* text) { return H5Aread(found.get(), kind, text); });
}

std::vector<double> Hdf5File::getNumbers(std::string const& path, std::string const& attribute) const {
    Hdf5Handle const found(
        H5Aopen_by_name(file.get(), path.c_str(), attribute.c_str(), H5P_DEFAULT, H5P_DEFAULT), H5Aclose);
    if (!found.isOpen()) {
        return {};
    }
    constexpr hssize_t most = 1024;
    Hdf5Handle const space(H5Aget_space(found.get()), H5Sclose);
    hssize_t const count = H5Sget_simple_extent_npoints(space.get());
    check(count >= 0 && count <= most, path);
    std::vector<double> numbers(static_cast<std::size_t>(count));
    check(count == 0 || H5Aread(found.get(), H5T_NATIVE_DOUBLE, numbers.data()) >= 0, path);
    return numbers;
}

std::vector<std::string> Hdf5File::namesIn(std::string const& path) const {
    std::vector<std::string> names;
    check(has(path), path);
    H5Literate_by_name(file.get(), path.c_str(), H5_INDEX_NAME, H5_ITER_INC, nullptr, keepName, &names,
                       H5P_DEFAULT);
    return names;
}

bool Hdf5File::has(std::string const& path) const {
    std::size_t end = 0;
    while (end != std::string::npos) {
        end = path.find('/', end + 1);
        if (H5Lexists(file.get(), path.substr(0, end).c_str(), H5P_DEFAULT) <= 0) {
            return false;
        }
    }
    return true;
}

void Hdf5File::finish() {
    bool const isWritten = H5Fflush(file.get(), H5F_SCOPE_GLOBAL) >= 0;
    require(file.finish() && isWritten, name + ": cannot be written to its end");
}

} // namespace QELT::Inspection
