#include "Inspection/results/resultfile.h"

#include "Inspection/records/failure.h"
#include "tests/inspection/sampleresults.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <hdf5.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

using namespace QELT::Inspection;
using namespace QELT::Inspection::Testing;

namespace {

Result sample() {
    Result result = surfaceOn(5, 3, flat(0.5));
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    result.patches[0].nodes[0] = nan;
    result.states = {PixelState::NoSurface, PixelState::NotReached, PixelState::NoEcho, PixelState::Echo,
                     PixelState::Saturated, PixelState::Refused,    PixelState::Echo,   PixelState::Echo,
                     PixelState::Echo,      PixelState::Echo,       PixelState::Echo,   PixelState::Echo,
                     PixelState::Echo,      PixelState::Echo,       PixelState::Echo};
    for (std::size_t i = 0; i < result.size(); ++i) {
        result.counts[i] = static_cast<std::uint32_t>(i * 7);
        result.refused[i] = static_cast<std::uint32_t>(i % 3);
    }
    result.filledFrom[1] = 3;
    ValueMap map;
    map.name = "tof/2:min";
    map.quantity = "tof/2";
    map.statistic = Statistic::Min;
    map.unit = "us";
    map.values.assign(result.size(), 0.1);
    map.values[1] = std::numeric_limits<double>::quiet_NaN();
    result.values.push_back(map);
    map.name = "amplitude:max";
    map.quantity = "amplitude";
    map.statistic = Statistic::Max;
    map.unit = "%FSH";
    map.ceiling = 100.0;
    result.values.push_back(map);
    result.move = {1.0, 0.1, -3.0};
    result.unit = "mm";
    result.record = "{\"kind\": \"sample\"}";
    return result;
}

std::string bytesOf(std::filesystem::path const& path) {
    std::ifstream input(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << input.rdbuf();
    return bytes.str();
}

void writeBytes(std::filesystem::path const& path, std::string const& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string complaintOf(std::filesystem::path const& path) {
    try {
        readResult(path);
    } catch (Failure const& failure) {
        return failure.what();
    }
    return "";
}

template <class Number>
void expectSameBits(std::vector<Number> const& expected, std::vector<Number> const& found) {
    ASSERT_EQ(expected.size(), found.size());
    EXPECT_EQ(0, std::memcmp(expected.data(), found.data(), expected.size() * sizeof(Number)));
}

} // namespace

class ResultFile : public testing::Test {
protected:
    QELT::Inspection::Testing::ScratchDirectory const folder;

    std::filesystem::path path(std::string const& name) const { return folder / name; }
};

TEST_F(ResultFile, aResultReadsBackBitForBit) {
    Result const written = sample();
    writeResult(path("r.h5"), written);

    Result const read = readResult(path("r.h5"));

    EXPECT_EQ(written.width, read.width);
    EXPECT_EQ(written.height, read.height);
    EXPECT_EQ(written.states, read.states);
    EXPECT_EQ(written.counts, read.counts);
    EXPECT_EQ(written.refused, read.refused);
    EXPECT_EQ(written.filledFrom, read.filledFrom);
    EXPECT_EQ(written.patch, read.patch);
    EXPECT_EQ(written.move, read.move);
    EXPECT_EQ(written.unit, read.unit);
    EXPECT_EQ(written.record, read.record);
    expectSameBits(written.areas, read.areas);
    expectSameBits(written.points, read.points);
    expectSameBits(written.normals, read.normals);
    ASSERT_EQ(1u, read.patches.size());
    EXPECT_EQ("grid1.quads", read.patches[0].name);
    EXPECT_EQ(5u, read.patches[0].width);
    EXPECT_EQ(3u, read.patches[0].height);
    expectSameBits(written.patches[0].nodes, read.patches[0].nodes);
    ASSERT_EQ(2u, read.values.size());
    EXPECT_EQ("tof/2:min", read.values[0].name);
    EXPECT_EQ("tof/2", read.values[0].quantity);
    EXPECT_EQ(Statistic::Min, read.values[0].statistic);
    EXPECT_EQ("us", read.values[0].unit);
    EXPECT_FALSE(read.values[0].ceiling);
    expectSameBits(written.values[0].values, read.values[0].values);
    EXPECT_EQ("amplitude:max", read.values[1].name);
    EXPECT_EQ(100.0, read.values[1].ceiling);
}

TEST_F(ResultFile, theSameResultIsTheSameBytes) {
    writeResult(path("one.h5"), sample());
    std::this_thread::sleep_for(std::chrono::milliseconds(1100)); // stamps of time count seconds
    writeResult(path("other.h5"), sample());

    EXPECT_EQ(bytesOf(path("one.h5")), bytesOf(path("other.h5")));
}

/// What the file calls the signs of its record.
H5T_cset_t signsOfRecord(std::filesystem::path const& path) {
    hid_t const file = H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT);
    hid_t const record = H5Dopen2(file, "record", H5P_DEFAULT);
    hid_t const type = H5Dget_type(record);
    H5T_cset_t const signs = H5Tget_cset(type);
    H5Tclose(type);
    H5Dclose(record);
    H5Fclose(file);
    return signs;
}

TEST_F(ResultFile, plainTextIsCalledAsciiForReadersThatTakeNoOther) {
    Result result = sample();
    writeResult(path("plain.h5"), result);
    EXPECT_EQ(signsOfRecord(path("plain.h5")), H5T_CSET_ASCII);
    result.record = "{\"kind\": \"Prüfung\"}";
    writeResult(path("accents.h5"), result);
    EXPECT_EQ(signsOfRecord(path("accents.h5")), H5T_CSET_UTF8);
    EXPECT_EQ(readResult(path("accents.h5")).record, result.record);
}

TEST_F(ResultFile, whatIsNoResultIsToldWithTheRemedy) {
    writeBytes(path("text.h5"), "no such thing");

    EXPECT_EQ(path("text.h5").string() + ": is no result of a scan; 'cscan scan --data' writes one",
              complaintOf(path("text.h5")));
    EXPECT_FALSE(isResultFile(path("text.h5")));
    EXPECT_NE("", complaintOf(path("nothing.h5")));
}

TEST_F(ResultFile, aFileCutOffAnywhereIsRefused) {
    writeResult(path("r.h5"), sample());
    EXPECT_TRUE(isResultFile(path("r.h5")));
    std::string const bytes = bytesOf(path("r.h5"));
    for (std::size_t length = 0; length < bytes.size(); length += 97) {
        writeBytes(path("cut.h5"), bytes.substr(0, length));
        EXPECT_NE("", complaintOf(path("cut.h5"))) << length;
    }
}

TEST_F(ResultFile, anEmptyPlaneIsAResult) {
    writeResult(path("r.h5"), surfaceOn(0, 0, flat(1.0)));

    EXPECT_EQ(0u, readResult(path("r.h5")).size());
}

TEST_F(ResultFile, aFullDeviceIsAFailure) {
    EXPECT_THROW(writeResult("/dev/full", sample()), Failure);
}
