#include "Inspection/results/distribution.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

using QELT::Inspection::Distribution;

TEST(Distribution, ofNothingIsNothing) {
    Distribution distribution;
    distribution.add(std::numeric_limits<double>::quiet_NaN());

    EXPECT_EQ(0u, distribution.getCount());
    EXPECT_EQ(0.0, distribution.median());
}

TEST(Distribution, endsAreExact) {
    Distribution distribution;
    for (double const number : {3.3, -0.1, 8.7}) {
        distribution.add(number);
    }

    EXPECT_EQ(-0.1, distribution.least());
    EXPECT_EQ(8.7, distribution.greatest());
    EXPECT_EQ(8.7, distribution.quantile(1.0));
    EXPECT_NEAR(-0.1, distribution.quantile(0.0), 5e-5);
}

TEST(Distribution, quantilesAreThoseOfTheSortedNumbers) {
    std::mt19937_64 random(3);
    for (double const scale : {1e-6, 1.0, 1e6}) {
        std::normal_distribution<double> number(0.3 * scale, scale);
        Distribution distribution;
        std::vector<double> plain;
        for (int i = 0; i < 10001; ++i) {
            plain.push_back(number(random));
            distribution.add(plain.back());
        }
        std::sort(plain.begin(), plain.end());
        for (double const share : {0.05, 0.5, 0.95}) {
            auto const place = static_cast<std::size_t>(std::ceil(share * 10001.0)) - 1;
            EXPECT_NEAR(plain[place], distribution.quantile(share), 5e-4 * std::abs(plain[place]))
                << scale << ' ' << share;
        }
    }
}
