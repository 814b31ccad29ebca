// Lines across a grid, nowhere farther apart on the surface than a given spacing.
//
// The distance of two lines of constant b is taken in every column of nodes as the length of the surface's
// polyline between them: an upper bound of the shortest way, and the way itself where columns cross lines at
// right angles, as they nearly do on a conformal map. From one line the next lies as far on as no column's
// length exceeds the limit; where a column's surface begins or ends in between, the piece that is there
// counts. That greedy walk gives the fewest lines. A smaller limit with the same number of lines spreads them
// evenly: it is found by halving.
//
// Lengths come of single-precision points, so a length of 9 may be 9.000001: the limit is widened by a
// millionth, which keeps a spacing that fits exactly from taking a line more. The cost is some thirty passes
// over the steps between nodes, of which one number each is kept.

#include "Inspection/planning/internal/linespacing.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace QELT::Inspection {

namespace {

constexpr double hair = 1e-6;
constexpr int halvings = 24;

/// The lengths of all steps across a chart; where there is no surface they are negative.
class Steps {
public:
    explicit Steps(Chart const& chart) : columns(chart.width() + 1), rows(chart.height()) {
        lengths.reserve(columns * rows);
        for (std::size_t b = 0; b < rows; ++b) {
            for (std::size_t a = 0; a < columns; ++a) {
                lengths.push_back(static_cast<float>(chart.stepAcross(a, b).value_or(-1.0)));
            }
        }
    }

    std::size_t rowCount() const { return rows; }

    bool hasSurface(std::size_t row) const {
        auto const begin = lengths.begin() + static_cast<std::ptrdiff_t>(row * columns);
        return std::any_of(begin, begin + static_cast<std::ptrdiff_t>(columns),
                           [](float length) { return length >= 0.0F; });
    }

    /// The place up to `end` that lies as far from `begin` as no column is longer than `limit`; downwards if
    /// the end is below.
    double advanced(double begin, double end, double limit) const {
        std::vector<double> done(columns, 0.0);
        bool const isUpwards = end >= begin;
        double place = begin;
        while (place != end) {
            std::size_t const row = rowBeyond(place, isUpwards);
            double const border = static_cast<double>(isUpwards ? row + 1 : row);
            double const stop = isUpwards ? std::min(border, end) : std::max(border, end);
            double const whole = std::abs(stop - place);
            double const share = shareWithin(done, row, whole, limit);
            if (share < whole) {
                return isUpwards ? place + share : place - share;
            }
            add(done, row, whole);
            place = stop;
        }
        return end;
    }

    /// The longest column between two places.
    double widest(double begin, double end) const {
        std::vector<double> done(columns, 0.0);
        double widest = 0.0;
        for (double place = begin; place < end;) {
            std::size_t const row = rowBeyond(place, true);
            double const stop = std::min(static_cast<double>(row + 1), end);
            add(done, row, stop - place);
            widest = std::max(widest, *std::max_element(done.begin(), done.end()));
            place = stop;
        }
        return widest;
    }

private:
    std::size_t columns;
    std::size_t rows;
    std::vector<float> lengths;

    static std::size_t rowBeyond(double place, bool isUpwards) {
        return static_cast<std::size_t>(isUpwards ? std::floor(place) : std::ceil(place) - 1.0);
    }

    float const* row(std::size_t index) const { return &lengths[index * columns]; }

    /// How much of a row may be added to what is done until a column reaches the limit, at most `whole`.
    double shareWithin(std::vector<double> const& done, std::size_t index, double whole, double limit) const {
        float const* const steps = row(index);
        double share = whole;
        for (std::size_t a = 0; a < columns; ++a) {
            if (steps[a] > 0.0F) {
                share = std::min(share, std::max(0.0, limit - done[a]) / static_cast<double>(steps[a]));
            }
        }
        return share;
    }

    void add(std::vector<double>& done, std::size_t index, double share) const {
        float const* const steps = row(index);
        for (std::size_t a = 0; a < columns; ++a) {
            done[a] = steps[a] < 0.0F ? 0.0 : done[a] + static_cast<double>(steps[a]) * share;
        }
    }
};

std::vector<double> linesWithin(Steps const& steps, double first, double last, double limit) {
    std::vector<double> lines{first};
    while (lines.back() < last) {
        double const next = steps.advanced(lines.back(), last, limit);
        lines.push_back(next > lines.back() ? next : last); // a limit below all rounding
    }
    return lines;
}

} // namespace

LinePlaces linePlacesOn(Chart const& chart, double spacing, double margin) {
    Steps const steps(chart);
    std::size_t low = 0;
    std::size_t high = steps.rowCount();
    while (!steps.hasSurface(low)) {
        ++low;
    }
    while (!steps.hasSurface(high - 1)) {
        --high;
    }
    double const rimBelow = static_cast<double>(low);
    double const rimAbove = static_cast<double>(high);
    double const first = steps.advanced(rimBelow, rimAbove, margin);
    double const last = steps.advanced(rimAbove, rimBelow, margin);
    if (!(first < last)) {
        return {{0.5 * (rimBelow + rimAbove)}, 0.0};
    }
    double enough = spacing * (1.0 + hair);
    LinePlaces places{linesWithin(steps, first, last, enough)};
    double tooLittle = 0.0;
    for (int i = 0; i < halvings; ++i) {
        double const middle = 0.5 * (tooLittle + enough);
        auto lines = linesWithin(steps, first, last, middle);
        if (lines.size() > places.b.size()) {
            tooLittle = middle;
        } else {
            enough = middle;
            places.b = std::move(lines);
        }
    }
    for (std::size_t i = 1; i < places.b.size(); ++i) {
        places.widestSpacing = std::max(places.widestSpacing, steps.widest(places.b[i - 1], places.b[i]));
    }
    return places;
}

} // namespace QELT::Inspection
