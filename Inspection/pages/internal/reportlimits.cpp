#include "Inspection/pages/internal/reportlimits.h"

#include "Inspection/records/numbers.h"
#include "Inspection/results/amplitudeunits.h"

#include <algorithm>
#include <cmath>

namespace QELT::Inspection {

namespace {

using Sentences = std::vector<std::string>;

std::string percentText(double part, double whole) {
    constexpr double percent = 100.0;
    constexpr int digits = 3;
    return toShortText(whole > 0.0 ? percent * part / whole : 0.0, digits) + " %";
}

std::string countText(std::size_t count, char const* one, char const* several) {
    return std::to_string(count) + " " + (count == 1 ? one : several);
}

std::string areaText(ReportContent const& content, double area) {
    return readableNumber(area) + content.area() + " (" + percentText(area, content.coverage.surfaceArea) +
           " of the surface)";
}

double areaOf(ReportContent const& content, PixelState state) {
    return content.coverage.areas[static_cast<std::size_t>(state)];
}

std::string pixelsText(ReportContent const& content, PixelState state) {
    return countText(content.coverage.pixels[static_cast<std::size_t>(state)], "pixel", "pixels");
}

void addNotReached(Sentences& sentences, ReportContent const& content) {
    Coverage const& coverage = content.coverage;
    if (areaOf(content, PixelState::NotReached) > 0.0) {
        std::string sentence = areaText(content, areaOf(content, PixelState::NotReached)) +
                               " were not reached by any shot: nothing is known of them.";
        if (!coverage.patches.empty()) {
            UnreachedPatch const& patch = coverage.patches.front();
            sentence += " The largest patch, " + readableNumber(patch.area) + content.area() + ", is at " +
                        placeText(content, content.result.indexOf(patch.u, patch.v)) + ".";
        }
        sentences.push_back(sentence);
    }
    if (areaOf(content, PixelState::Refused) > 0.0) {
        sentences.push_back(areaText(content, areaOf(content, PixelState::Refused)) + ", " +
                            pixelsText(content, PixelState::Refused) +
                            ", were met only by shots that were refused for their angle, their standoff or a "
                            "bad line: nothing is known of them.");
    }
    sentences.emplace_back(
        "Only the surface of the grid is told of. What the part has beyond it was not looked "
        "at, and does not count as surface here.");
}

void addFilled(Sentences& sentences, ReportContent const& content, ReportRecord const& record) {
    std::size_t count = 0;
    double area = 0.0;
    for (std::size_t pixel = 0; pixel < content.result.size(); ++pixel) {
        if (content.result.filledFrom[pixel] != Result::none) {
            ++count;
            area += content.result.areas[pixel];
        }
    }
    if (count == 0) {
        return;
    }
    auto const fill = record.number("settings", "fill");
    std::string const within =
        fill ? ", within " + readableNumber(*fill) + content.length() + " along the surface" : "";
    sentences.push_back(countText(count, "pixel", "pixels") + ", " + areaText(content, area) +
                        ", are shown with the values of the nearest shot" + within +
                        ". They are hatched in the pictures and do not count as reached.");
}

void addSaturated(Sentences& sentences, ReportContent const& content) {
    if (areaOf(content, PixelState::Saturated) > 0.0) {
        sentences.push_back(
            pixelsText(content, PixelState::Saturated) + ", " +
            areaText(content, areaOf(content, PixelState::Saturated)) +
            ", hold an echo at the instrument's ceiling: it was at least as large as is shown.");
    }
    if (areaOf(content, PixelState::NoEcho) > 0.0) {
        sentences.push_back(
            pixelsText(content, PixelState::NoEcho) + ", " +
            areaText(content, areaOf(content, PixelState::NoEcho)) +
            ", were shot and gave no echo within gates and conditions. That is a state of its "
            "own, not a value, and not a gap.");
    }
}

void addStretch(Sentences& sentences, ReportContent const& content) {
    PixelScale const& scale = content.scale;
    if (scale.count == 0 || scale.leastArea <= 0.0) {
        return;
    }
    constexpr double even = 1.01;
    constexpr int digits = 4;
    double const factor = scale.greatestArea / scale.leastArea;
    if (factor < even) {
        sentences.push_back("Pixels are equally large on the part to within 1 %.");
        return;
    }
    sentences.push_back(
        "A pixel of the pictures stands for " + readableNumber(scale.leastArea) + " to " +
        readableNumber(scale.greatestArea) + content.area() + " of the part, a factor of " +
        toShortText(factor, digits) + ": largest at " + placeText(content, scale.greatestPixel) +
        ", smallest at " + placeText(content, scale.leastPixel) +
        ". Sizes are to be taken from areas and lengths on the surface, not from the pictures.");
}

void addShotsNotUsed(Sentences& sentences, ReportRecord const& record) {
    auto const tell = [&](char const* name, char const* one, char const* several) {
        double const count = record.number("figures", name).value_or(0.0);
        if (count > 0.0) {
            sentences.push_back(countText(static_cast<std::size_t>(count), one, several));
        }
    };
    tell("missed", "shot met no pixel of the grid and counts for nothing.",
         "shots met no pixel of the grid and count for nothing.");
    tell("badLines", "line of the tables could not be read as it should.",
         "lines of the tables could not be read as they should.");
    tell("shotsInGapsOfPoses", "shot fell in a gap of the poses and was left out.",
         "shots fell in gaps of the poses and were left out.");
    tell("shotsOutsidePoses", "shot lay before or behind all poses and was left out.",
         "shots lay before or behind all poses and were left out.");
}

bool hasQuantity(ReportContent const& content, char const* quantity) {
    return std::any_of(content.result.values.begin(), content.result.values.end(),
                       [&](ValueMap const& map) { return map.quantity == quantity; });
}

void addDerived(Sentences& sentences, ReportContent const& content, ReportRecord const& record) {
    auto const speed = record.number("settings", "speed");
    auto const time = record.textOf("settings", "depthOf");
    if (hasQuantity(content, "depth") && speed && time) {
        bool const hasZero = record.has("settings", "zero") || record.has("settings", "zeroOf");
        sentences.push_back(
            "Depth is derived: half of " + *time + " times " + readableNumber(*speed) +
            " m/s, counted from " + (hasZero ? "the time of the surface" : "time 0 of the instrument") +
            ", along the path of the sound. An error of 1 % in the speed is one of 1 % in depth.");
    }
    if (auto const reference = record.number("settings", "reference")) {
        auto const unit = record.textOf("figures", "unit of amplitude").value_or("");
        sentences.push_back("Decibels are relative to a reference of " + readableNumber(*reference) +
                            (unit.empty() ? "" : " " + unit) + ", which is 0 dB.");
    }
    bool const hasMean =
        std::any_of(content.result.values.begin(), content.result.values.end(), [](ValueMap const& map) {
            return map.statistic == Statistic::Mean && isDecibel(map.unit);
        });
    if (hasMean) {
        sentences.emplace_back("Means of decibels are those of the linear amplitudes, told in decibels.");
    }
}

void addPlacing(Sentences& sentences, ReportRecord const& record) {
    if (auto const uncertainty = record.number("figures", "lagUncertainty")) {
        sentences.push_back(
            "The lag of the two clocks is known within " + readableNumber(*uncertainty) +
            " ms; places along the lines are uncertain by the way that the probe goes in that "
            "time.");
    }
    if (record.number("figures", "residualMedian")) {
        return;
    }
    sentences.emplace_back(
        "No time of the front wall was measured with the shots, so nothing in the data checks "
        "whether the poses are right: places are as good as poses and frame.");
}

void addNotes(Sentences& sentences, ReportRecord const& record) {
    for (std::string const& name : record.namesIn("figures")) {
        auto const note = record.textOf("figures", name);
        if (note && name.starts_with("note")) {
            sentences.push_back("Note of the scan: " + *note + ".");
        }
    }
}

void addUntold(Sentences& sentences, ReportContent const& content) {
    std::string names;
    for (auto const& [name, text] : content.fields) {
        if (!text) {
            names += (names.empty() ? "" : ", ") + name;
        }
    }
    if (!names.empty()) {
        sentences.push_back("Not given: " + names + ".");
    }
    sentences.emplace_back(
        "What stands under \"Part and procedure\" is as it was given, and was not checked.");
    if (!content.indications) {
        sentences.emplace_back(
            "No table of indications was given. That says nothing on whether there are any.");
    }
}

} // namespace

std::string placeText(ReportContent const& content, std::size_t pixel) {
    Result const& result = content.result;
    constexpr int decimals = 3;
    std::string text;
    for (std::size_t i = 0; i < result.move.size(); ++i) {
        double const place = static_cast<double>(result.points[3 * pixel + i]) - result.move[i];
        text += (text.empty() ? "(" : ", ") + toFixedText(place, decimals);
    }
    return text + ")" + content.length() + ", pixel " + std::to_string(pixel % result.width) + ", " +
           std::to_string(pixel / result.width);
}

std::vector<std::string> limitationsOf(ReportContent const& content, ReportRecord const& record) {
    Sentences sentences;
    addNotReached(sentences, content);
    addSaturated(sentences, content);
    addFilled(sentences, content, record);
    addStretch(sentences, content);
    addShotsNotUsed(sentences, record);
    addDerived(sentences, content, record);
    addPlacing(sentences, record);
    addNotes(sentences, record);
    addUntold(sentences, content);
    return sentences;
}

} // namespace QELT::Inspection
