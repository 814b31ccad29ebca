#include "Inspection/pictures/pathpicture.h"

#include "Inspection/pictures/internal/pathmarks.h"
#include "Inspection/pictures/internal/sheet.h"
#include "Inspection/pictures/internal/statecolours.h"
#include "Inspection/pictures/pngfile.h"
#include "Inspection/records/internal/announce.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <cmath>

// The grid's pixels as squares of whole dots, as in every picture of a result, pale so that the path stands
// out: poses lie at their feet's places on the grid, in parts of a quad, and are joined in the order of
// travel. Pixels are magnified until lines are some dots apart, as far as a screen goes; overshoots have room
// beside the grid, up to a quarter of it. Single shots are dotted where there is room between them, and
// arrows stand on every so manieth line, an odd number apart, so that both directions show.

namespace QELT::Inspection {

namespace {

using Place = std::array<double, 2>;

constexpr double lineDots = 7.0; ///< between neighbouring lines, if there is room
constexpr int longestMap = 2000;
constexpr double roomyDots = 12.0; ///< between lines, from which on they are thick; between shots, dotted
constexpr double arrowDots = 50.0; ///< between lines with arrows, at least
constexpr double smallAngle = 0.1; ///< degrees, below which the largest angle is none to be marked

Colour colourOfPixel(Result const& pixels, std::size_t pixel) {
    if (!pixels.hasSurface(pixel)) {
        return stateColour(PixelState::NoSurface);
    }
    return pixels.isReached(pixel) ? coveredColour : leftColour;
}

Stretch stretchBetween(PathPose const& from, PathPose const& to) {
    if (from.kind == PathPose::Lift || to.kind == PathPose::Lift) {
        return Stretch::Lifted;
    }
    if (from.run != to.run) {
        return from.line != to.line ? Stretch::Turn : Stretch::Link;
    }
    bool const isOver = from.kind == PathPose::Overshoot || to.kind == PathPose::Overshoot;
    return isOver ? Stretch::Overshoot : Stretch::Line;
}

/// Room for what goes past the grid on one axis, in pixels.
int borderFor(double low, double high, std::size_t count) {
    double const beyond = std::max(-low, high - static_cast<double>(count));
    double const most = std::ceil(0.25 * static_cast<double>(count));
    return beyond > 0.0 ? static_cast<int>(std::min(std::ceil(beyond) + 1.0, most)) : 0;
}

/// Of the grid, across the lines.
double quadsAcross(Plan const& plan, PathSettings const& settings) {
    Result const& pixels = plan.check.pixels;
    return static_cast<double>(settings.along == PathAxis::AlongU ? pixels.height : pixels.width);
}

PixelDots dotsFor(Plan const& plan, PathSettings const& settings) {
    Result const& pixels = plan.check.pixels;
    PixelDots dots = pixelDotsOf(pixels);
    double const wished =
        std::ceil(lineDots * static_cast<double>(plan.path.lineCount) / quadsAcross(plan, settings));
    int const most = longestMap / static_cast<int>(std::max(pixels.width, pixels.height));
    dots.side = std::max(dots.side, static_cast<int>(std::min(wished, static_cast<double>(most))));
    Place low{0.0, 0.0};
    Place high{0.0, 0.0};
    for (PathPose const& pose : plan.path.poses) {
        low = {std::min(low[0], pose.at.getU()), std::min(low[1], pose.at.getV())};
        high = {std::max(high[0], pose.at.getU()), std::max(high[1], pose.at.getV())};
    }
    dots.borderU = borderFor(low[0], high[0], pixels.width);
    dots.borderV = borderFor(low[1], high[1], pixels.height);
    return dots;
}

/// The map with all that is drawn over it.
class PathMap {
public:
    PathMap(Plan const& newPlan, PixelDots const& newDots, double quadsAcross)
        : plan(newPlan),
          poses(newPlan.path.poses),
          dots(newDots),
          apart(newDots.side * quadsAcross / static_cast<double>(newPlan.path.lineCount)),
          image(pixelMapOf(
              newPlan.check.pixels, newDots,
              [&](std::size_t pixel) { return colourOfPixel(newPlan.check.pixels, pixel); },
              [](std::size_t) { return false; })) {}

    Image draw() {
        drawStretches();
        drawShots();
        drawArrows();
        drawMarks();
        return std::move(image);
    }

private:
    Plan const& plan;
    std::vector<PathPose> const& poses;
    PixelDots const& dots;
    double apart; ///< dots between neighbouring lines, on average
    Image image;

    /// A place on the grid in dots, within the map.
    Place placeOf(FlatPoint const& at) const {
        return {std::clamp(dots.x(at.getU()), 0.0, static_cast<double>(dots.imageWidth() - 1)),
                std::clamp(dots.y(at.getV()), 0.0, static_cast<double>(dots.imageHeight() - 1))};
    }

    double dotsBetween(PathPose const& a, PathPose const& b) const {
        return dots.side * std::hypot(a.at.getU() - b.at.getU(), a.at.getV() - b.at.getV());
    }

    void drawStretches() {
        int const thickness = apart < roomyDots ? 1 : 2;
        for (Stretch const stretch : allStretches) {
            for (std::size_t i = 1; i < poses.size(); ++i) {
                if (stretchBetween(poses[i - 1], poses[i]) == stretch) {
                    bool const isOffSurface = stretch != Stretch::Line && stretch != Stretch::Overshoot;
                    drawStretch(image, placeOf(poses[i - 1].at), placeOf(poses[i].at), stretch,
                                thickness + (isOffSurface ? 1 : 0));
                }
            }
        }
    }

    bool isRoomyBehind(std::size_t i) const {
        return i + 1 < poses.size() && poses[i].run == poses[i + 1].run &&
               dotsBetween(poses[i], poses[i + 1]) >= roomyDots;
    }

    bool isAlone(std::size_t i) const {
        return (i == 0 || poses[i - 1].run != poses[i].run) &&
               (i + 1 == poses.size() || poses[i + 1].run != poses[i].run);
    }

    /// A dot a shot, where they are far enough apart.
    void drawShots() {
        int const side = apart < roomyDots ? 3 : 5;
        for (std::size_t i = 0; i < poses.size(); ++i) {
            bool const isRoomy = isAlone(i) || isRoomyBehind(i) || (i > 0 && isRoomyBehind(i - 1));
            if (poses[i].kind == PathPose::Scan && isRoomy) {
                Place const place = placeOf(poses[i].at);
                image.fillRectangle(static_cast<int>(place[0]) - side / 2,
                                    static_cast<int>(place[1]) - side / 2, side, side, lineColour);
            }
        }
    }

    /// In the middle of long runs of every so manieth line.
    void drawArrows() {
        auto const period = static_cast<std::size_t>(std::ceil(arrowDots / apart)) | 1U;
        for (std::size_t begin = 0; begin < poses.size();) {
            std::size_t end = begin;
            while (end < poses.size() && poses[end].run == poses[begin].run) {
                ++end;
            }
            std::size_t const middle = begin + (end - begin) / 2;
            bool const isLong = dotsBetween(poses[begin], poses[end - 1]) >= arrowDots;
            if (isLong && poses[begin].line % period == 0 && middle > begin) {
                drawArrow(image, placeOf(poses[middle - 1].at), placeOf(poses[middle].at));
            }
            begin = end;
        }
    }

    void drawMarks() {
        PathCheck const& check = plan.check;
        for (SharpPlace const& sharp : plan.path.sharpPlaces) {
            drawPathMark(image, placeOf(sharp.at), PathMark::Sharp);
        }
        for (std::size_t i = 0; i < poses.size(); ++i) {
            if (check.fates[i] == PoseFate::Missed || check.fates[i] == PoseFate::Blocked) {
                drawPathMark(image, placeOf(poses[i].at),
                             check.fates[i] == PoseFate::Missed ? PathMark::Missed : PathMark::Blocked);
            }
        }
        PlacedLabels labels;
        auto const mark = [&](FlatPoint const& at, PathMark kind, std::string const& text) {
            drawPathMark(image, placeOf(at), kind);
            labels.draw(image, placeOf(at), text);
        };
        mark(poses.front().at, PathMark::Start, "start");
        mark(poses.back().at, PathMark::End, "end");
        if (Coverage const& coverage = check.coverage; coverage.longestGap > 0.0) {
            mark({static_cast<double>(coverage.gapU) + 0.5, static_cast<double>(coverage.gapV) + 0.5},
                 PathMark::LongestGap, "gap " + toShortText(coverage.longestGap, 3) + " " + plan.unit);
        }
        if (check.largestAngle >= smallAngle) {
            mark(poses[check.largestAnglePose].at, PathMark::LargestAngle,
                 toShortText(check.largestAngle, 3) + " deg");
        }
    }
};

Image symbolOf(Stretch stretch) {
    constexpr double middle = 0.5 * swatchSide;
    Image symbol(swatchSide, swatchSide);
    drawStretch(symbol, {0.0, middle}, {swatchSide, middle}, stretch, 2);
    return symbol;
}

Image symbolOf(PathMark mark) {
    constexpr double middle = 0.5 * swatchSide;
    Image symbol(swatchSide, swatchSide);
    drawPathMark(symbol, {middle, middle}, mark);
    return symbol;
}

class Legend {
public:
    explicit Legend(Plan const& newPlan, PathSettings const& newSettings)
        : plan(newPlan), settings(newSettings) {}

    std::vector<LegendEntry> entries() {
        addSurface();
        addStretches();
        addMarks();
        return std::move(legend);
    }

private:
    Plan const& plan;
    PathSettings const& settings;
    std::vector<LegendEntry> legend;

    void addSurface() {
        Coverage const& coverage = plan.check.coverage;
        legend.push_back({coveredColour, "covered by footprints of " +
                                             toShortText(settings.footprintDiameter(), 5) + " " + plan.unit +
                                             ": " + shareText(coverage.reachedArea, coverage.surfaceArea)});
        legend.push_back({leftColour, "left: " + shareText(coverage.surfaceArea - coverage.reachedArea,
                                                           coverage.surfaceArea)});
        legend.push_back({stateColour(PixelState::NoSurface), nameOf(PixelState::NoSurface)});
    }

    template <class Kind>
    void add(Kind kind, std::string const& text) {
        legend.push_back({white, text, false, symbolOf(kind)});
    }

    void addStretches() {
        std::array<std::size_t, allStretches.size()> counts{};
        auto const& poses = plan.path.poses;
        for (std::size_t i = 1; i < poses.size(); ++i) {
            bool const isCounted = poses[i].kind != PathPose::Lift;
            counts.at(static_cast<std::size_t>(stretchBetween(poses[i - 1], poses[i]))) +=
                isCounted ? 1U : 0U;
        }
        auto const countOf = [&](Stretch stretch) { return counts.at(static_cast<std::size_t>(stretch)); };
        add(Stretch::Line, "lines with shots, arrows the way of the probe");
        if (countOf(Stretch::Overshoot) > 0) {
            add(Stretch::Overshoot, "past the ends of lines");
        }
        if (std::size_t const count = countOf(Stretch::Turn); count > 0) {
            add(Stretch::Turn, "turns to the next line: " + std::to_string(count));
        }
        if (std::size_t const count = countOf(Stretch::Link); count > 0) {
            add(Stretch::Link, "over holes, not lifted: " + std::to_string(count));
        }
        if (std::size_t const count = countOf(Stretch::Lifted); count > 0) {
            add(Stretch::Lifted, "lifted by " + toShortText(settings.lift.value_or(0.0), 5) + " " +
                                     plan.unit + ": " + std::to_string(count));
        }
    }

    void addMarks() {
        PathCheck const& check = plan.check;
        add(PathMark::Start, "start");
        add(PathMark::End, "end");
        if (check.missedCount > 0) {
            add(PathMark::Missed, "shots that miss the part: " + std::to_string(check.missedCount));
        }
        if (check.blockedCount > 0) {
            add(PathMark::Blocked,
                "NOT fit: something of the part is before the place: " + std::to_string(check.blockedCount));
        }
        if (!plan.path.sharpPlaces.empty()) {
            add(PathMark::Sharp, "sharp edges, lost echoes are to be expected: " +
                                     std::to_string(plan.path.sharpPlaces.size()));
        }
        if (check.coverage.longestGap > 0.0) {
            add(PathMark::LongestGap, "the longest gap");
        }
        if (check.largestAngle >= smallAngle) {
            add(PathMark::LargestAngle, "the largest angle between beam and normal");
        }
    }
};

std::string placeText(double u, double v) {
    return " at pixel (" + toFixedText(u, 1) + ", " + toFixedText(v, 1) + ")";
}

std::vector<std::string> notesOf(Plan const& plan, PathSettings const& settings) {
    constexpr int digits = 5;
    Path const& path = plan.path;
    Coverage const& coverage = plan.check.coverage;
    auto const length = [&](double value) { return toShortText(value, digits) + " " + plan.unit; };
    FlatPoint const& steepest = path.poses[plan.check.largestAnglePose].at;
    std::string const gap =
        coverage.longestGap > 0.0
            ? length(coverage.longestGap) + placeText(static_cast<double>(coverage.gapU) + 0.5,
                                                      static_cast<double>(coverage.gapV) + 0.5)
            : "none";
    return {std::to_string(path.lineCount) + " lines along " +
                (settings.along == PathAxis::AlongU ? "u" : "v") + " in " + std::to_string(path.runCount) +
                " runs, at most " + length(path.widestSpacing) + " apart",
            std::to_string(plan.check.shotCount) + " shots, at most " + length(path.widestStep) +
                " apart on a line, way of " + length(path.length) +
                (settings.speed ? " in " + toShortText(path.length / *settings.speed, digits) + " s"
                                : std::string()),
            "longest gap: " + gap,
            "largest angle off head-on: " + toShortText(plan.check.largestAngle, 3) + " degrees" +
                placeText(steepest.getU(), steepest.getV()),
            scaleNote(plan.check.pixels)};
}

} // namespace

Image pathPictureOf(Plan const& plan, PathSettings const& settings) {
    PixelDots const dots = dotsFor(plan, settings);
    SheetContent content;
    content.title = "Path of the probe, " + toShortText(settings.standoff, 5) + " " + plan.unit + " off";
    content.notes = notesOf(plan, settings);
    content.legend = Legend(plan, settings).entries();
    return sheetOf(plan.check.pixels, dots, PathMap(plan, dots, quadsAcross(plan, settings)).draw(), content);
}

Plan drawPlan(DrawnPlanOptions const& options, ProgressListener* listener) {
    Record record("path");
    Outputs outputs(record);
    addPlanFiles(options.plan, record, outputs);
    if (options.image) {
        outputs.add(*options.image);
    }
    Plan plan = planPath(options.plan, listener, record, outputs);
    if (options.image) {
        announce(listener, "Drawing...");
        writePng(outputs.at(*options.image), pathPictureOf(plan, options.plan.settings));
    }
    outputs.commit(listener);
    return plan;
}

} // namespace QELT::Inspection
