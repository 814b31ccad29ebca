#include "Inspection/pictures/indicationpicture.h"

#include "Inspection/indications/findindications.h"
#include "Inspection/results/resultfile.h"
#include "tests/inspection/sampleresults.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace QELT::Inspection;
using namespace QELT::Inspection::Testing;

namespace {

std::size_t countColour(Image const& image, Colour const& colour) {
    std::size_t count = 0;
    for (int y = 0; y < image.getHeight(); ++y) {
        for (int x = 0; x < image.getWidth(); ++x) {
            count += image.getPixel(x, y) == colour ? 1U : 0U;
        }
    }
    return count;
}

Result sample() {
    Result result = resultOn(30, 30, flat(1.0));
    measure(result, [](Vector const& point) {
        return std::hypot(point.getdX() - 12.0, point.getdY() - 14.0) < 5.0 ? 80.0 : point.getdX() / 10.0;
    });
    return result;
}

IndicationOptions halfOfPeak() {
    IndicationOptions options;
    options.value = "amplitude";
    options.threshold = {true, 0.5};
    options.minPeak = 20.0;
    return options;
}

} // namespace

TEST(IndicationPicture, HasTheRimAndTheNumber) {
    Result const result = sample();
    Image const plain = indicationPictureOf(result, result.values[0], {});
    Image const drawn = indicationPictureOf(result, result.values[0], findIndications(result, halfOfPeak()));

    // A quad is 30 dots wide: the rim is a circle of radius 150, one dot thick between white ones, and there
    // is the number.
    std::size_t const rim = countColour(drawn, black) - countColour(plain, black);
    EXPECT_GT(rim, 800u);
    EXPECT_LT(rim, 1500u);
}

TEST(IndicationPicture, IsWrittenWithTheTable) {
    ScratchDirectory const scratch;
    writeResult(scratch / "scan.h5", sample());
    DrawnIndicationsOptions options;
    options.indications.result = scratch / "scan.h5";
    options.indications.search = halfOfPeak();
    options.indications.table = scratch / "found.csv";
    options.image = scratch / "found.png";

    EXPECT_EQ(1u, drawIndications(options, nullptr).search.indications.size());
    EXPECT_GT(std::filesystem::file_size(scratch / "found.png"), 1000u);
    EXPECT_TRUE(std::filesystem::exists(scratch / "found.csv"));
}
