#include "tests/support/plain_linearalgebra.h"

#include "tests/support/float_bits.h"

#include <algorithm>
#include <cmath>

namespace QELT::Testing::PlainLinearAlgebra {

void Matrix::set(std::uint32_t r, std::uint32_t c, double v) {
    if (r >= rows.size() || c >= columns) {
        return;
    }
    Row& row = rows[r];
    if (row.capacity == 0) {
        row.capacity = approxPerRow;
    } else if (row.columns.size() + 1 >= row.capacity) {
        row.capacity *= 2;
    }
    std::size_t position = 0;
    while (position < row.columns.size() && row.columns[position] < c) {
        ++position;
    }
    if (position < row.columns.size() && row.columns[position] == c) {
        row.values[position] = v;
        return;
    }
    row.columns.insert(row.columns.begin() + static_cast<std::ptrdiff_t>(position), c);
    row.values.insert(row.values.begin() + static_cast<std::ptrdiff_t>(position), v);
}

double Matrix::get(std::uint32_t r, std::uint32_t c) const {
    if (r >= rows.size() || c >= columns) {
        return 0.0;
    }
    for (std::size_t k = 0; k < rows[r].columns.size(); ++k) {
        if (rows[r].columns[k] == c) {
            return rows[r].values[k];
        }
    }
    return 0.0;
}

Matrix transpose(Matrix const& a) {
    Matrix result(a.columns, a.numberOfRows(), a.approxPerRow);
    for (std::uint32_t r = 0; r < a.numberOfRows(); ++r) {
        for (std::size_t k = 0; k < a.rows[r].columns.size(); ++k) {
            result.set(a.rows[r].columns[k], r, a.rows[r].values[k]);
        }
    }
    return result;
}

Matrix sum(Matrix const& a, Matrix const& b) {
    Matrix result(a.numberOfRows(), a.columns, a.approxPerRow + b.approxPerRow);
    for (std::uint32_t r = 0; r < a.numberOfRows(); ++r) {
        Row const& left = a.rows[r];
        Row const& right = b.rows[r];
        Row& row = result.rows[r];
        row.capacity = static_cast<std::uint32_t>(left.columns.size() + right.columns.size());
        for (std::uint32_t c = 0; c < a.columns; ++c) {
            bool const inLeft = std::count(left.columns.begin(), left.columns.end(), c) != 0;
            bool const inRight = std::count(right.columns.begin(), right.columns.end(), c) != 0;
            if (inLeft || inRight) {
                row.columns.push_back(c);
                row.values.push_back(!inRight  ? a.get(r, c)
                                     : !inLeft ? b.get(r, c)
                                               : a.get(r, c) + b.get(r, c));
            }
        }
    }
    return result;
}

Matrix scaled(double factor, Matrix const& a) {
    Matrix result = a;
    for (Row& row : result.rows) {
        row.capacity = static_cast<std::uint32_t>(row.columns.size());
        for (double& value : row.values) {
            value = value * factor;
        }
    }
    return result;
}

Matrix product(Matrix const& a, Matrix const& b) {
    constexpr std::uint32_t none = 0xFFFFFFFFU;
    Matrix result(a.numberOfRows(), b.columns, std::max(a.approxPerRow, b.approxPerRow));
    for (std::uint32_t i = 0; i < a.numberOfRows(); ++i) {
        std::vector<std::size_t> cursors(b.rows.size(), 0);
        auto const head = [&](std::uint32_t k) {
            return cursors[k] < b.rows[k].columns.size() ? b.rows[k].columns[cursors[k]] : none;
        };
        for (std::uint32_t j = 0; j < b.columns; ++j) {
            double total = 0.0;
            for (std::size_t entry = 0; entry < a.rows[i].columns.size(); ++entry) {
                std::uint32_t const k = a.rows[i].columns[entry];
                if (head(k) == j) {
                    total = total + a.rows[i].values[entry] * b.rows[k].values[cursors[k]];
                    ++cursors[k];
                }
            }
            result.set(i, j, total);
        }
    }
    return result;
}

Values product(Matrix const& a, Values const& x) {
    Values result;
    for (Row const& row : a.rows) {
        double total = 0.0;
        for (std::size_t k = 0; k < row.columns.size(); ++k) {
            total = total + x.at(row.columns[k]) * row.values[k];
        }
        result.push_back(total);
    }
    return result;
}

double innerProduct(Values const& a, Values const& b) {
    double total = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        total = total + a[i] * b.at(i);
    }
    return total;
}

namespace {

Values difference(Values const& a, Values const& b) {
    Values result;
    for (std::size_t i = 0; i < a.size(); ++i) {
        result.push_back(a[i] - b.at(i));
    }
    return result;
}

/// a + factor * b
Values sumWithMultiple(Values const& a, double factor, Values const& b) {
    Values result;
    for (std::size_t i = 0; i < a.size(); ++i) {
        double const multiple = b.at(i) * factor;
        result.push_back(a[i] + multiple);
    }
    return result;
}

Values multiple(double factor, Values const& a) {
    Values result;
    for (double const value : a) {
        result.push_back(value * factor);
    }
    return result;
}

double norm(Values const& a) {
    return std::sqrt(innerProduct(a, a));
}

} // namespace

Solution solve(Matrix const& a, Values const& start, Values const& b) {
    Values iterate = start;
    Values residual = difference(b, product(a, start));
    Values currentResidual;
    Values direction;
    double length = norm(residual);
    Solution solution;
    while (length > 1e-20) {
        if (solution.iterations == 262144) {
            break;
        }
        ++solution.iterations;
        Values const previousResidual = currentResidual;
        currentResidual = residual;
        Values const previousIterate = iterate;
        Values const previousDirection = direction;
        if (solution.iterations == 1) {
            direction = currentResidual;
        } else {
            double const beta = innerProduct(currentResidual, currentResidual) /
                                innerProduct(previousResidual, previousResidual);
            direction = sumWithMultiple(currentResidual, beta, previousDirection);
        }
        double const alpha =
            innerProduct(currentResidual, currentResidual) / innerProduct(direction, product(a, direction));
        iterate = sumWithMultiple(previousIterate, alpha, direction);
        residual = difference(currentResidual, multiple(alpha, product(a, direction)));
        length = norm(residual);
        solution.norms.push_back(length);
    }
    solution.x = iterate;
    solution.isSolved = 1e-20 >= length;
    return solution;
}

LinearAlgebra::SparseMatrix toSparse(Matrix const& a) {
    LinearAlgebra::SparseMatrix result(a.numberOfRows(), a.columns, a.approxPerRow,
                                       LinearAlgebra::SparseMatrix::CanonicalEmpty);
    for (std::uint32_t r = 0; r < a.numberOfRows(); ++r) {
        for (std::size_t k = 0; k < a.rows[r].columns.size(); ++k) {
            result.set(r, a.rows[r].columns[k], a.rows[r].values[k]);
        }
    }
    return result;
}

LinearAlgebra::Vector toVector(Values const& values) {
    LinearAlgebra::Vector result(values.size());
    std::copy(values.begin(), values.end(), result.begin());
    return result;
}

Values toValues(LinearAlgebra::Vector const& vector) {
    return Values(vector.begin(), vector.end());
}

std::string getDifference(LinearAlgebra::SparseMatrix const& actual, Matrix const& expected) {
    if (actual.getNumberOfRows() != expected.numberOfRows() ||
        actual.getNumberOfColumns() != expected.columns) {
        return "other dimensions";
    }
    if (actual.getApproxNonZeroElementsPerRow() != expected.approxPerRow) {
        return "other room for new rows";
    }
    for (std::uint32_t r = 0; r < expected.numberOfRows(); ++r) {
        Row const& row = expected.rows[r];
        std::string const place = "row " + std::to_string(r);
        if (actual.getNumberOfRowValues(r) != row.columns.size()) {
            return place + ": other count";
        }
        if (actual.pRowCapacities[r] != row.capacity) {
            return place + ": capacity " + std::to_string(actual.pRowCapacities[r]) + ", not " +
                   std::to_string(row.capacity);
        }
        for (std::size_t k = 0; k < row.columns.size(); ++k) {
            if (actual.getpRowIndices(r)[k] != row.columns[k]) {
                return place + ": other columns";
            }
            if (testing::AssertionResult same = sameBits(actual.getpRowValues(r)[k], row.values[k]); !same) {
                return place + ": " + same.message();
            }
        }
    }
    return "";
}

Matrix randomMatrix(std::mt19937& generator, std::uint32_t rows, std::uint32_t columns, double density,
                    std::uint32_t approxPerRow) {
    std::uniform_real_distribution<double> chance(0.0, 1.0);
    std::uniform_real_distribution<double> value(-2.0, 2.0);
    Matrix result(rows, columns, approxPerRow);
    for (std::uint32_t r = 0; r < rows; ++r) {
        for (std::uint32_t c = 0; c < columns; ++c) {
            if (chance(generator) < density) {
                result.set(r, c, chance(generator) < 0.1 ? 0.0 : value(generator));
            }
        }
    }
    return result;
}

Values randomValues(std::mt19937& generator, std::size_t n) {
    std::uniform_real_distribution<double> value(-2.0, 2.0);
    Values result(n);
    std::generate(result.begin(), result.end(), [&] { return value(generator); });
    return result;
}

} // namespace QELT::Testing::PlainLinearAlgebra
