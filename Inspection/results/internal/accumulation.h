#pragma once

#include "Inspection/results/quantities.h"
#include "Inspection/results/result.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

namespace QELT::Inspection {

/// Shots whose sums are taken together. Sums of a pixel are those of its blocks, in their order, and within a
/// block in that of the shots: a table that is worked through block by block, by whomever, gives the same
/// bits.
constexpr std::uint64_t shotsPerBlock = 65536;

/// Numbers that wait on disk, in a temporary file that has no name, for the median of each pixel.
class MedianSpill {
public:
    explicit MedianSpill(std::size_t newPixelCount);

    void add(std::uint32_t pixel, double number);

    /// NaN where there was none. The middle of an even count is the mean of both.
    std::vector<double> medians();

private:
    static constexpr std::size_t bucketCount = 64;

    struct Entry {
        std::uint32_t pixel;
        double number;
    };

    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::size_t pixelCount;
    std::vector<std::unique_ptr<std::FILE, CloseFile>> files; ///< one for each range of pixels
    std::vector<std::vector<Entry>> waiting;

    void flush(std::size_t bucket);
    std::vector<Entry> entriesOf(std::size_t bucket);
};

/// One value of all pixels, shot after shot.
class ValueAccumulator {
public:
    ValueAccumulator(ShotQuantities::Value const& newValue, std::size_t pixelCount);

    /// `shot` counts the table's shots from 0 and never falls.
    void add(std::uint32_t pixel, double number, std::uint64_t shot);

    ValueMap finish();

private:
    ShotQuantities::Value value;
    std::vector<double> numbers; ///< the least, the greatest, the last or the sum, NaN where there is none
    std::vector<double> parts;   ///< of means, the sum of the block at hand
    std::vector<std::uint32_t> blocks; ///< and which block that is
    std::vector<std::uint32_t> counts; ///< of means and counts
    std::unique_ptr<MedianSpill> spill;

    void addToMean(std::uint32_t pixel, double number, std::uint64_t shot);
    std::vector<double> means();
};

} // namespace QELT::Inspection
