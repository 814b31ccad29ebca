#include "Inspection/shots/internal/lagsearch.h"

#include "Inspection/records/internal/announce.h"
#include "Inspection/shots/internal/scanlines.h"
#include "Inspection/shots/internal/timedtable.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <limits>
#include <map>

// With a wrong lag, what lines there see is set off one way and what lines back see the other way, by speed
// times the error. So neighbouring lines that run in opposite directions agree best at the right lag.
//
// Both tables are read on together. The way of the probe is cut into lines; of each two lines that follow
// each other and run opposite ways, side by side, the shots are laid along the first line for every lag from
// -1 s to 1 s in steps of a millisecond, into bins, and the sums are kept of which the correlation of both is
// made. Two channels come of each quantity: its values, and whether there was an echo. Sums of all pairs
// together give one curve a channel, so that pairs with strong patterns weigh most; a parabola through the
// upper quarter of its peak gives the lag. The pairs are dealt into groups; by leaving out one group after
// the other (the jackknife, B. Efron, "The jackknife, the bootstrap and other resampling plans", 1982) the
// error of that is known without a model of the noise. Of all channels the one with the smallest error is
// believed, if the lines agree at all and its peak does not lie at the end of the range.
//
// Cost: a pass over both tables and at most 50 ms for each pair of lines, of which some hundreds are looked
// at; memory is that of two lines.

namespace QELT::Inspection {

namespace {

constexpr double maxLag = 1.0;
constexpr double lagStep = 0.001;
constexpr double rangeShare = 0.5; ///< of the time from line to line
constexpr std::size_t lagCount = 2001;
constexpr std::ptrdiff_t middleLag = lagCount / 2;
constexpr std::size_t maxShotsOfLine = 2000;
constexpr std::size_t minShotsOfLine = 16;
constexpr std::size_t maxBins = 1000;
constexpr std::size_t maxQuantities = 4;
constexpr std::size_t groupCount = 20;
constexpr std::size_t minPairs = 3;
constexpr std::size_t pairsBeforeThinning = 200;
constexpr std::size_t pairsBetweenThinnings = 50;

/// How well lines must agree, as a correlation, and by how much better than at other lags.
constexpr double minAgreement = 0.3;
constexpr double minProminence = 0.15;

/// The part of the peak, from its top, that the parabola goes through.
constexpr double topShare = 0.25;
constexpr std::ptrdiff_t minReach = 2;

constexpr double millisecondsPerSecond = 1e3;

double lagAt(std::size_t index) {
    return static_cast<double>(static_cast<std::ptrdiff_t>(index) - middleLag) * lagStep;
}

/// How many steps from the middle a lag of that many seconds is, within the range.
std::ptrdiff_t stepsOf(double seconds) {
    return static_cast<std::ptrdiff_t>(std::min(seconds, maxLag) / lagStep);
}

struct TimedValues {
    double time;
    std::vector<double> values;
};

/// The shots that can belong to a line, whatever the lag.
struct SeenLine {
    ScanLine line;
    std::vector<double> times;
    std::vector<std::vector<double>> channels; ///< a value a shot each
};

/// Sums for a correlation at each lag; those of several pairs add up.
struct Curve {
    std::vector<double> covariance = std::vector<double>(lagCount);
    std::vector<double> varianceThere = std::vector<double>(lagCount);
    std::vector<double> varianceBack = std::vector<double>(lagCount);

    void add(Curve const& other) {
        for (std::size_t i = 0; i < lagCount; ++i) {
            covariance[i] += other.covariance[i];
            varianceThere[i] += other.varianceThere[i];
            varianceBack[i] += other.varianceBack[i];
        }
    }

    std::vector<double> correlation() const {
        std::vector<double> result(lagCount);
        for (std::size_t i = 0; i < lagCount; ++i) {
            double const square = varianceThere[i] * varianceBack[i];
            result[i] = square > 0.0 ? covariance[i] / std::sqrt(square) : 0.0;
        }
        return result;
    }
};

/// Channel 2 q is the values of quantity q, 2 q + 1 whether there is one.
double channelOf(TimedValues const& shot, std::size_t channel) {
    double const value = shot.values[channel / 2];
    return channel % 2 == 0 ? value : (std::isnan(value) ? 0.0 : 1.0);
}

/// Shots laid along a line, averaged in bins.
class Profile {
public:
    Profile(double newLength, std::size_t binCount) : length(newLength), sums(binCount), counts(binCount) {}

    /// The shots of a line whose places have these ways along the common one.
    void lay(SeenLine const& seen, std::vector<double> const& way, double lag, std::size_t channel) {
        std::fill(sums.begin(), sums.end(), 0.0);
        std::fill(counts.begin(), counts.end(), 0.0);
        auto const& places = seen.line.places;
        auto const& values = seen.channels[channel];
        double const end = places.back().time + lag;
        auto const first = std::lower_bound(seen.times.begin(), seen.times.end(), places.front().time + lag);
        std::size_t segment = 0;
        for (auto i = static_cast<std::size_t>(first - seen.times.begin());
             i < values.size() && seen.times[i] <= end; ++i) {
            double const time = seen.times[i] - lag;
            while (segment + 2 < places.size() && places[segment + 1].time < time) {
                ++segment;
            }
            double const share =
                (time - places[segment].time) / (places[segment + 1].time - places[segment].time);
            put(way[segment] + share * (way[segment + 1] - way[segment]), values[i]);
        }
    }

    bool isFilled(std::size_t bin) const { return counts[bin] > 0.0; }

    double mean(std::size_t bin) const { return sums[bin] / counts[bin]; }

    std::size_t size() const { return sums.size(); }

private:
    double length;
    std::vector<double> sums;
    std::vector<double> counts;

    /// Into the two nearest bins by shares, so that curves are smooth.
    void put(double way, double value) {
        double const place = way / length * static_cast<double>(sums.size()) - 0.5;
        bool const isInside = place >= 0.0 && place < static_cast<double>(sums.size() - 1);
        if (!isInside || std::isnan(value)) {
            return;
        }
        auto const bin = static_cast<std::size_t>(place);
        double const share = place - static_cast<double>(bin);
        sums[bin] += (1.0 - share) * value;
        counts[bin] += 1.0 - share;
        sums[bin + 1] += share * value;
        counts[bin + 1] += share;
    }
};

void addSums(Curve& curve, std::size_t index, Profile const& there, Profile const& back) {
    double count = 0.0;
    double a = 0.0;
    double b = 0.0;
    double aa = 0.0;
    double bb = 0.0;
    double ab = 0.0;
    for (std::size_t bin = 0; bin < there.size(); ++bin) {
        if (there.isFilled(bin) && back.isFilled(bin)) {
            double const x = there.mean(bin);
            double const y = back.mean(bin);
            count += 1.0;
            a += x;
            b += y;
            aa += x * x;
            bb += y * y;
            ab += x * y;
        }
    }
    if (count > 0.0) {
        curve.covariance[index] = ab - a * b / count;
        curve.varianceThere[index] = std::max(0.0, aa - a * a / count);
        curve.varianceBack[index] = std::max(0.0, bb - b * b / count);
    }
}

/// Up to half the time from the one line to the other.
Curve curveOf(SeenLine const& there, SeenLine const& back, std::vector<double> const& backWay,
              std::size_t channel) {
    std::size_t const bins =
        std::clamp<std::size_t>(std::min(there.times.size(), back.times.size()) / 4, minShotsOfLine, maxBins);
    Profile first(there.line.length(), bins);
    Profile second(there.line.length(), bins);
    Curve curve;
    std::ptrdiff_t const reach = stepsOf(rangeShare * (back.line.begin() - there.line.begin()));
    for (auto i = static_cast<std::size_t>(middleLag - reach);
         lagAt(i) <= lagStep * static_cast<double>(reach); ++i) {
        first.lay(there, there.line.way, lagAt(i), channel);
        second.lay(back, backWay, lagAt(i), channel);
        addSums(curve, i, first, second);
    }
    return curve;
}

struct Peak {
    double lag = 0.0; ///< seconds
    double height = 0.0;
    double prominence = 0.0; ///< above the median of the curve
    bool isInside = false;
};

/// The highest place of the least squares parabola through y at -reach..reach, in steps.
double topOfParabola(std::vector<double> const& y, std::ptrdiff_t middle, std::ptrdiff_t reach) {
    double sum = 0.0;
    double sumX = 0.0;
    double sumXX = 0.0;
    double xx = 0.0;
    double xxxx = 0.0;
    for (std::ptrdiff_t i = -reach; i <= reach; ++i) {
        auto const x = static_cast<double>(i);
        double const value = y[static_cast<std::size_t>(middle + i)];
        sum += value;
        sumX += x * value;
        sumXX += x * x * value;
        xx += x * x;
        xxxx += x * x * x * x;
    }
    auto const count = static_cast<double>(2 * reach + 1);
    double const slope = sumX / xx;
    double const bend = (sumXX - sum * xx / count) / (xxxx - xx * xx / count);
    return bend < 0.0
               ? std::clamp(-slope / (2.0 * bend), -static_cast<double>(reach), static_cast<double>(reach))
               : 0.0;
}

/// Of the middle of a curve, so many steps to both sides.
std::vector<double> middleOf(std::vector<double> const& curve, std::ptrdiff_t range) {
    return {curve.begin() + middleLag - range, curve.begin() + middleLag + range + 1};
}

Peak peakOf(Curve const& sums, std::ptrdiff_t range) {
    auto const curve = middleOf(sums.correlation(), range);
    auto sorted = curve;
    std::nth_element(sorted.begin(), sorted.begin() + range, sorted.end());
    auto const top = std::max_element(curve.begin(), curve.end());
    std::ptrdiff_t const middle = top - curve.begin();
    double const usual = sorted[static_cast<std::size_t>(range)];
    Peak peak{lagStep * static_cast<double>(middle - range), *top, *top - usual, false};
    double const floor = *top - topShare * peak.prominence;
    std::ptrdiff_t reach = 1;
    std::ptrdiff_t const most = std::min(middle, 2 * range - middle);
    auto const isHigh = [&](std::ptrdiff_t at) { return curve[static_cast<std::size_t>(at)] > floor; };
    while (reach < most && isHigh(middle - reach) && isHigh(middle + reach)) {
        ++reach;
    }
    reach = std::max(reach, minReach);
    peak.isInside = reach < most;
    if (peak.isInside) {
        peak.lag += lagStep * topOfParabola(curve, middle, reach);
    }
    return peak;
}

/// The pairs of one channel, in groups.
struct Channel {
    std::map<std::size_t, Curve> groups;

    Curve allBut(std::size_t left) const {
        Curve sum;
        for (auto const& [group, curve] : groups) {
            if (group != left) {
                sum.add(curve);
            }
        }
        return sum;
    }

    Peak peak(std::ptrdiff_t range) const { return peakOf(allBut(groupCount), range); }

    /// The standard error of the peak's lag, in seconds.
    double error(std::ptrdiff_t range) const {
        std::vector<double> lags;
        for (auto const& [group, curve] : groups) {
            lags.push_back(peakOf(allBut(group), range).lag);
        }
        auto const count = static_cast<double>(lags.size());
        double mean = 0.0;
        for (double const lag : lags) {
            mean += lag / count;
        }
        double sum = 0.0;
        for (double const lag : lags) {
            sum += (lag - mean) * (lag - mean);
        }
        return std::sqrt((count - 1.0) / count * sum);
    }
};

/// Reads both tables on together and compares neighbouring lines.
class LagFinder {
public:
    LagFinder(ShotOptions const& newOptions, ProgressListener* newListener)
        : options(newOptions),
          listener(newListener),
          bad(counts, newOptions.doSkipBad),
          track(*newOptions.poses, newOptions.columns, newOptions.pose),
          shots(newOptions.shots) {
        auto const named = nameColumns(shots, options.columns).columns;
        TimeColumn const time = timeColumnOf(named, shots.getName());
        toSeconds = time.toSeconds;
        std::vector<std::size_t> indices{named[time.place].index};
        for (std::size_t i = 0; i < named.size() && quantities.size() < maxQuantities; ++i) {
            if (i != time.place && !named[i].isText) {
                indices.push_back(named[i].index);
                quantities.push_back(named[i].name);
            }
        }
        shots.choose(indices);
    }

    LagSearch find() {
        ScanLineFinder lines;
        while (auto const pose = track.next(bad)) {
            if (auto line = lines.add({pose->time, track.getReader().rayOf(pose->pose).origin})) {
                take(std::move(*line));
            }
        }
        if (auto line = lines.finish()) {
            take(std::move(*line));
        }
        return conclusion();
    }

private:
    ShotOptions const& options;
    ProgressListener* listener;
    ShotCounts counts;
    BadLines bad;
    PoseTrack track;
    Table shots;
    double toSeconds = 1.0;
    std::vector<std::string> quantities;
    std::deque<TimedValues> window; ///< shots that lines to come may need
    bool areShotsLeft = true;
    double lastShot = -std::numeric_limits<double>::infinity(); ///< its time
    std::optional<SeenLine> previous;
    std::map<std::size_t, Channel> channels;
    std::size_t pairCount = 0; ///< found
    std::size_t usedPairs = 0;
    double wayOfPairs = 0.0;
    double timeOfPairs = 0.0;
    double periodOfPairs = 0.0;
    double shotStep = 0.0;

    void take(ScanLine line) {
        checkpoint(listener);
        readShots(line.begin() - maxLag, line.end() + maxLag);
        dropBefore(line.begin() - maxLag);
        if (!(line.length() > 0.0)) {
            return;
        }
        SeenLine seen = seenLine(std::move(line));
        if (seen.times.size() < minShotsOfLine) {
            return;
        }
        if (previous && 2.0 * seen.line.length() < previous->line.length()) {
            return; // a step to the side
        }
        if (previous) {
            compare(*previous, seen);
        }
        previous = std::move(seen);
    }

    void readShots(double from, double until) {
        while (areShotsLeft && lastShot <= until) {
            areShotsLeft = shots.next();
            auto const& values = shots.getValues();
            bool const isGood = areShotsLeft && shots.getFaults().empty() && !std::isnan(values[0]);
            if (isGood) {
                lastShot = toSeconds * values[0];
            }
            if (isGood && lastShot >= from) {
                window.push_back({lastShot, {values.begin() + 1, values.end()}});
            } else if (areShotsLeft && !isGood) {
                bad.add(shots,
                        shots.getFaults().empty() ? "the shot has no time" : causesOf(shots.getFaults()));
            }
        }
    }

    void dropBefore(double time) {
        while (!window.empty() && window.front().time < time) {
            window.pop_front();
        }
    }

    /// With its shots, evenly thinned where there are many.
    SeenLine seenLine(ScanLine line) {
        SeenLine seen{std::move(line), {}, std::vector<std::vector<double>>(2 * quantities.size())};
        double const end = seen.line.end() + maxLag;
        double const seconds = seen.line.end() - seen.line.begin();
        auto const count =
            static_cast<std::size_t>(std::find_if(window.begin(), window.end(),
                                                  [&](TimedValues const& shot) { return shot.time > end; }) -
                                     window.begin());
        auto const most = static_cast<std::size_t>(static_cast<double>(maxShotsOfLine) *
                                                   (seconds + 2.0 * maxLag) / seconds);
        std::size_t const step = std::max<std::size_t>(1, (count + most - 1) / most);
        for (std::size_t i = 0; i < count; i += step) {
            seen.times.push_back(window[i].time);
            for (std::size_t channel = 0; channel < seen.channels.size(); ++channel) {
                seen.channels[channel].push_back(channelOf(window[i], channel));
            }
        }
        return seen;
    }

    void compare(SeenLine const& there, SeenLine const& back) {
        Projection const projection = projectionOn(there.line, back.line);
        if (!isBackOf(there.line, projection)) {
            return;
        }
        ++pairCount;
        if (pairCount % pairStep() != 0) {
            return;
        }
        for (std::size_t channel = 0; channel < 2 * quantities.size(); ++channel) {
            if (isWorth(there.channels[channel]) && isWorth(back.channels[channel])) {
                channels[channel].groups[usedPairs % groupCount].add(
                    curveOf(there, back, projection.way, channel));
            }
        }
        ++usedPairs;
        wayOfPairs += there.line.length();
        timeOfPairs += there.line.end() - there.line.begin();
        shotStep = (there.times.back() - there.times.front()) / static_cast<double>(there.times.size());
        periodOfPairs += back.line.begin() - there.line.begin();
    }

    /// Every pair at first, then every second, fourth and so on.
    std::size_t pairStep() const {
        return usedPairs < pairsBeforeThinning
                   ? 1
                   : std::size_t{2} << (usedPairs - pairsBeforeThinning) / pairsBetweenThinnings;
    }

    /// Whether the channel varies along the line, and does more than count.
    static bool isWorth(std::vector<double> const& values) {
        bool doesRise = false;
        bool doesFall = false;
        double last = std::numeric_limits<double>::quiet_NaN();
        for (double const value : values) {
            doesRise = doesRise || value > last;
            doesFall = doesFall || value < last;
            last = std::isnan(value) ? last : value;
        }
        return doesRise && doesFall;
    }

    /// In steps.
    std::ptrdiff_t range() const {
        return stepsOf(rangeShare * periodOfPairs / static_cast<double>(usedPairs));
    }

    LagSearch conclusion() const {
        if (usedPairs < minPairs) {
            return {std::nullopt, "the poses hold " + std::to_string(pairCount) +
                                      " pairs of neighbouring lines there and back that shots belong to, " +
                                      std::to_string(minPairs) + " are needed"};
        }
        LagSearch best{std::nullopt, "no measured value agrees between lines there and lines back at any lag "
                                     "of less than half a line"};
        for (auto const& [number, channel] : channels) {
            if (channel.groups.size() >= minPairs) {
                consider(best, number, channel);
            }
        }
        return best;
    }

    void consider(LagSearch& best, std::size_t number, Channel const& channel) const {
        Peak const peak = channel.peak(range());
        if (!peak.isInside || peak.height < minAgreement || peak.prominence < minProminence) {
            return;
        }
        // Twice the standard error, and what the step of the shots leaves open.
        double const uncertainty =
            millisecondsPerSecond * std::hypot(2.0 * channel.error(range()), 0.5 * shotStep);
        if (best.finding && best.finding->uncertainty <= uncertainty) {
            return;
        }
        best.finding =
            LagFinding{millisecondsPerSecond * peak.lag,
                       uncertainty,
                       peak.height,
                       wayOfPairs / timeOfPairs,
                       usedPairs,
                       quantities[number / 2] + (number % 2 == 0 ? "" : ", whether there is an echo")};
    }
};

} // namespace

LagSearch findLag(ShotOptions const& options, ProgressListener* listener) {
    announce(listener, "Comparing lines there and back...");
    return LagFinder(options, listener).find();
}

} // namespace QELT::Inspection
