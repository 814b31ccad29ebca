#include "Inspection/exports/exportresult.h"

#include "Inspection/exports/internal/deflating.h"
#include "Inspection/records/record.h"
#include "Inspection/results/resultfile.h"
#include "tests/inspection/exports/samples.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <random>
#include <zlib.h>

using namespace QELT::Inspection;
using namespace QELT::Inspection::Testing;

namespace {

std::string complaintOf(ExportOptions const& options) {
    return messageOf([&] { exportResult(options, nullptr); });
}

} // namespace

TEST(ExportResult, TheSameResultIsTheSameBytes) {
    ScratchDirectory const scratch;
    writeResult(scratch / "one.h5", exportSample());
    for (char const* extension : {".vts", ".npz", ".tif", ".ply"}) {
        std::string const value = extension == std::string(".ply") ? "amplitude" : "";
        exportResult({scratch / "one.h5", scratch / ("a" + std::string(extension)), value, {}}, nullptr);
        exportResult({scratch / "one.h5", scratch / ("b" + std::string(extension)), value, {}}, nullptr);

        std::string const bytes = readText(scratch / ("a" + std::string(extension)));
        EXPECT_GT(bytes.size(), 300u) << extension;
        EXPECT_EQ(bytes, readText(scratch / ("b" + std::string(extension)))) << extension;
    }
}

TEST(ExportResult, TellsWhatItWrote) {
    ScratchDirectory const scratch;
    writeResult(scratch / "one.h5", exportSample());

    Exported const exported = exportResult({scratch / "one.h5", scratch / "OUT.NPZ", "", {}}, nullptr);

    EXPECT_EQ(31u, exported.quads);
    EXPECT_EQ((std::vector<std::string>{"amplitude:max", "depth:mean"}), exported.values);
    EXPECT_EQ(std::vector<std::filesystem::path>{scratch / "OUT.NPZ"}, exported.files);
    EXPECT_TRUE(findRecord(scratch / "OUT.NPZ", nullptr)->misfits.empty());
}

TEST(ExportResult, SeveralGridsAreBlocksOfTheirOwn) {
    ScratchDirectory const scratch;
    writeResult(scratch / "two.h5", exportSampleOfTwo());

    Exported const exported = exportResult({scratch / "two.h5", scratch / "two.vtm", "", {}}, nullptr);

    EXPECT_EQ((std::vector<std::filesystem::path>{scratch / "two.vtm", scratch / "two_0.vts",
                                                  scratch / "two_1.vts"}),
              exported.files);
    EXPECT_NE(std::string::npos,
              readText(scratch / "two.vtm").find("name=\"grid2.quads\" file=\"two_1.vts\""));
    EXPECT_EQ((scratch / "two.vts").string() +
                  ": holds one grid, and the result has 2; export to a .vtm file",
              complaintOf({scratch / "two.h5", scratch / "two.vts", "", {}}));
}

TEST(ExportResult, WhatDoesNotFitIsRefusedWithTheRemedy) {
    ScratchDirectory const scratch;
    writeResult(scratch / "one.h5", exportSample());
    Result none = exportSample();
    none.values.clear();
    writeResult(scratch / "none.h5", none);
    auto const one = scratch / "one.h5";

    EXPECT_EQ((scratch / "x.stl").string() +
                  ": results are exported to .vts, .vtm, .ply, .npz, .tif or .tiff",
              complaintOf({one, scratch / "x.stl", "", {}}));
    EXPECT_EQ((scratch / "x.ply").string() + ": shows one value; say which of amplitude:max, depth:mean",
              complaintOf({one, scratch / "x.ply", "", {}}));
    EXPECT_EQ(one.string() + ": there is no value 'tof'; the result has amplitude:max, depth:mean",
              complaintOf({one, scratch / "x.ply", "tof", {}}));
    EXPECT_EQ((scratch / "x.npz").string() + ": has no colours to set limits for; a .ply file has",
              complaintOf({one, scratch / "x.npz", "", ColourLimits{}}));
    EXPECT_EQ("the lower limit of the colours must lie below the upper one",
              complaintOf({one, scratch / "x.ply", "depth", ColourLimits{2.0, 2.0}}));
    EXPECT_EQ((scratch / "none.h5").string() + ": holds no values to export",
              complaintOf({scratch / "none.h5", scratch / "x.tif", "", {}}));
    for (char const* name : {"x.stl", "x.ply", "x.npz", "x.tif"}) {
        EXPECT_FALSE(std::filesystem::exists(scratch / name)) << name;
    }
}

TEST(ExportResult, WithoutAValueThePlacesCanBeExported) {
    ScratchDirectory const scratch;
    Result none = exportSample();
    none.values.clear();
    writeResult(scratch / "none.h5", none);

    exportResult({scratch / "none.h5", scratch / "x.npz", "", {}}, nullptr);
    exportResult({scratch / "none.h5", scratch / "x.vts", "", {}}, nullptr);

    EXPECT_TRUE(std::filesystem::exists(scratch / "x.npz"));
    EXPECT_TRUE(std::filesystem::exists(scratch / "x.vts"));
}

TEST(ExportResult, AFullDeviceIsAFailure) {
    ScratchDirectory const scratch;
    writeResult(scratch / "one.h5", exportSample());
    for (char const* extension : {".vts", ".npz", ".tif", ".ply"}) {
        std::filesystem::path const link = scratch / ("full" + std::string(extension));
        std::filesystem::create_symlink("/dev/full", link);
        std::string const value = extension == std::string(".ply") ? "amplitude" : "";

        std::string const complaint = complaintOf({scratch / "one.h5", link, value, {}});

        EXPECT_NE(std::string::npos, complaint.find(link.string())) << extension << ": " << complaint;
    }
}

TEST(Deflating, BytesComeBackInBothForms) {
    std::mt19937 generator(5);
    std::vector<std::uint8_t> bytes(1000000);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(i % 3 == 0 ? generator() : i / 1000);
    }
    for (DeflateForm const form : {DeflateForm::Zlib, DeflateForm::Raw}) {
        auto const packed = deflated(bytesOf(bytes), form);
        std::vector<std::uint8_t> unpacked(bytes.size() + 1);
        z_stream stream{};
        ASSERT_EQ(Z_OK, inflateInit2(&stream, form == DeflateForm::Raw ? -15 : 15));
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(packed.data()));
        stream.avail_in = static_cast<uInt>(packed.size());
        stream.next_out = unpacked.data();
        stream.avail_out = static_cast<uInt>(unpacked.size());
        EXPECT_EQ(Z_STREAM_END, inflate(&stream, Z_FINISH));
        EXPECT_EQ(bytes.size(), stream.total_out);
        inflateEnd(&stream);
        unpacked.pop_back();
        EXPECT_EQ(bytes, unpacked);
    }
}

TEST(Deflating, OfNothingIsAStreamToo) {
    EXPECT_FALSE(deflated({}, DeflateForm::Zlib).empty());
}
