#include "Geometry/linearalgebra/internal/compactrows.h"

#include "tests/support/float_bits.h"
#include "tests/support/plain_linearalgebra.h"

#include <algorithm>
#include <limits>
#include <random>

#include <gtest/gtest.h>

namespace QELT::LinearAlgebra {
namespace {

namespace Plain = Testing::PlainLinearAlgebra;
using Plain::Values;
using Testing::sameBits;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

void expectPlainProduct(Plain::Matrix const& a, Values const& x) {
    std::size_t const n = a.rows.size();
    Values input = x;
    input.resize(n + CompactRows::valuesBehind, 0.0);
    Values actual(n + CompactRows::valuesBehind, -7.0);
    double const inner = CompactRows(Plain::toSparse(a)).multiply(input.data(), actual.data());
    Values const expected = Plain::product(a, x);
    for (std::size_t i = 0; i < n; ++i) {
        ASSERT_TRUE(sameBits(actual[i], expected[i])) << "row " << i << " of " << n;
    }
    ASSERT_TRUE(sameBits(inner, Plain::innerProduct(x, expected))) << "inner product, order " << n;
}

/// Rows of up to `maxLength` entries at random columns, some of them 0.0 or -0.0; some rows without any.
Plain::Matrix randomRows(std::mt19937& generator, std::uint32_t n, std::uint32_t maxLength) {
    std::uniform_real_distribution<double> value(-2.0, 2.0);
    Plain::Matrix a(n, n);
    for (std::uint32_t r = 0; r < n; ++r) {
        auto const length = static_cast<std::uint32_t>(generator() % (maxLength + 1));
        for (std::uint32_t k = 0; k < length; ++k) {
            auto const column = static_cast<std::uint32_t>(generator() % n);
            auto const kind = generator() % 12;
            a.set(r, column, kind == 0 ? 0.0 : kind == 1 ? -0.0 : value(generator));
        }
    }
    return a;
}

/// Each row twice, for the even columns and for the odd ones behind them.
Plain::Matrix twofold(Plain::Matrix const& a) {
    Plain::Matrix result(2 * a.numberOfRows(), 2 * a.columns);
    for (std::uint32_t r = 0; r < a.numberOfRows(); ++r) {
        for (std::size_t k = 0; k < a.rows[r].columns.size(); ++k) {
            result.set(2 * r, 2 * a.rows[r].columns[k], a.rows[r].values[k]);
            result.set(2 * r + 1, 2 * a.rows[r].columns[k] + 1, a.rows[r].values[k]);
        }
    }
    return result;
}

/// Changes a value here and there, so that the rows on either side pair no more.
void breakPairs(std::mt19937& generator, Plain::Matrix& a, std::size_t count) {
    for (; count > 0; --count) {
        auto const r = static_cast<std::uint32_t>(generator() % a.rows.size());
        auto const c = static_cast<std::uint32_t>(generator() % a.columns);
        a.set(r, c, a.get(r, c) + 0.25);
    }
}

TEST(CompactRows, GiveThePlainProductsBitsForRowsOfAnyLength) {
    std::mt19937 generator(61);
    for (std::uint32_t const n :
         {1U, 2U, 3U, 4U, 5U, 8U, 9U, 31U, 255U, 256U, 257U, 259U, 511U, 513U, 700U, 1030U}) {
        for (std::uint32_t const maxLength : {0U, 1U, 9U, 40U}) {
            Plain::Matrix const a = randomRows(generator, n, maxLength);
            expectPlainProduct(a, Plain::randomValues(generator, n));
        }
    }
}

TEST(CompactRows, GiveThePlainProductsBitsForPairsOfRows) {
    std::mt19937 generator(62);
    for (std::uint32_t const points : {1U, 2U, 3U, 4U, 5U, 63U, 255U, 256U, 257U, 515U, 777U}) {
        for (std::size_t const breaks : {0U, 1U, 2U, 40U}) {
            Plain::Matrix a = twofold(randomRows(generator, points, 9));
            breakPairs(generator, a, breaks);
            expectPlainProduct(a, Plain::randomValues(generator, 2 * std::size_t{points}));
        }
    }
}

TEST(CompactRows, GiveThePlainProductsBitsForRowsOfOneLength) {
    // As on a rim: bands that wrap around.
    std::mt19937 generator(63);
    for (std::uint32_t const n : {9U, 10U, 11U, 12U, 256U, 600U, 1021U}) {
        Plain::Matrix a(n, n);
        for (std::uint32_t r = 0; r < n; ++r) {
            Values const band = Plain::randomValues(generator, 9);
            for (std::uint32_t k = 0; k < 9; ++k) {
                a.set(r, (r + n - 4 + k) % n, band[k]);
            }
        }
        expectPlainProduct(a, Plain::randomValues(generator, n));
    }
}

TEST(CompactRows, TakeNothingFromOtherRowsWhereNumbersAreNotFinite) {
    // Whatever stands at the places that fill a slice up must not reach a sum.
    std::mt19937 generator(64);
    for (int round = 0; round < 60; ++round) {
        auto const points = static_cast<std::uint32_t>(1 + generator() % 300);
        Plain::Matrix a =
            round % 2 == 0 ? twofold(randomRows(generator, points, 7)) : randomRows(generator, 2 * points, 7);
        Values x = Plain::randomValues(generator, 2 * std::size_t{points});
        double const odd = round % 3 == 0 ? infinity : round % 3 == 1 ? -infinity : notANumber;
        if (round % 5 == 0) {
            std::fill(x.begin(), x.end(), odd);
        } else {
            x[generator() % x.size()] = odd;
        }
        if (round % 7 == 0) {
            a.set(static_cast<std::uint32_t>(generator() % a.rows.size()),
                  static_cast<std::uint32_t>(generator() % a.columns), odd);
        }
        expectPlainProduct(a, x);
    }
}

TEST(CompactRows, KeepTheSignsOfZeros) {
    std::mt19937 generator(65);
    for (int round = 0; round < 40; ++round) {
        auto const n = static_cast<std::uint32_t>(1 + generator() % 20);
        Plain::Matrix const a = randomRows(generator, n, 5);
        Values x(n);
        for (double& value : x) {
            value = generator() % 2 == 0 ? 0.0 : -0.0;
        }
        expectPlainProduct(a, x);
    }
}

TEST(CompactRows, OfAMatrixWithoutRowsGiveAnInnerProductOfZero) {
    Values input(CompactRows::valuesBehind, 0.0);
    Values output(CompactRows::valuesBehind, 0.0);
    EXPECT_TRUE(sameBits(
        CompactRows(Plain::toSparse(Plain::Matrix(0, 0))).multiply(input.data(), output.data()), 0.0));
}

} // namespace
} // namespace QELT::LinearAlgebra
