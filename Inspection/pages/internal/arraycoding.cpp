// Numbers of neighbouring pixels made small before they are deflated.
//
// A number is predicted from those before it, in rows: by the plane through its left, its lower and its lower
// left neighbour where all three are present, else by the left one, else by the lower one, else by the last
// number that was coded. What is kept is the difference, modulo 2^32 and folded so that small ones of either
// sign become small numbers (0, -1, 1, -2 become 0, 1, 2, 3). The bytes of these are kept apart by their
// rank: the high ones are almost all zero, and deflation makes next to nothing of them. The plane is what is
// best on a smooth surface: a paraboloid leaves one constant. No number is lost; the reader does the same
// sums. Cost: linear.

#include "Inspection/pages/internal/arraycoding.h"

#include <algorithm>

namespace QELT::Inspection {

namespace {

class Predictor {
public:
    explicit Predictor(NumberRaster const& newRaster) : raster(newRaster) {}

    /// Asked of the present numbers in their order.
    std::uint32_t predictionOf(std::size_t index) {
        std::size_t const width = raster.width;
        bool const hasLeft = index % width != 0 && raster.isPresent[index - 1] != 0;
        bool const hasLower = index >= width && raster.isPresent[index - width] != 0;
        std::uint32_t const fallback = last;
        last = raster.numbers[index];
        if (hasLeft && hasLower && raster.isPresent[index - width - 1] != 0) {
            return raster.numbers[index - 1] + raster.numbers[index - width] -
                   raster.numbers[index - width - 1];
        }
        return hasLeft ? raster.numbers[index - 1] : hasLower ? raster.numbers[index - width] : fallback;
    }

private:
    NumberRaster const& raster;
    std::uint32_t last = 0;
};

std::uint32_t folded(std::uint32_t difference) {
    return difference << 1U ^ (difference >> 31U != 0 ? ~0U : 0U);
}

} // namespace

CodedNumbers coded(NumberRaster const& raster) {
    std::vector<std::uint32_t> rests;
    std::uint32_t greatest = 0;
    Predictor predictor(raster);
    for (std::size_t i = 0; i < raster.size(); ++i) {
        if (raster.isPresent[i] != 0) {
            rests.push_back(folded(raster.numbers[i] - predictor.predictionOf(i)));
            greatest = std::max(greatest, rests.back());
        }
    }
    CodedNumbers result;
    for (; greatest != 0; greatest >>= 8U) {
        for (std::uint32_t const rest : rests) {
            result.bytes.push_back(static_cast<std::uint8_t>(rest >> 8U * result.planeCount));
        }
        ++result.planeCount;
    }
    return result;
}

} // namespace QELT::Inspection
