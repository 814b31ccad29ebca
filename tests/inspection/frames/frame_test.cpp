#include "Inspection/frames/frame.h"

#include "Inspection/poses/registerpoints.h"
#include "Inspection/records/numbers.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace QELT::Inspection {
namespace {

using Testing::messageOf;
using Testing::readText;
using Testing::ScratchDirectory;
using Testing::writeText;

Frame sampleFrame() {
    return {turnOfDegrees(30.0, -20.0, 110.0), {1000.5, -2000.25, 33.0}, "mm"};
}

double distanceOf(Frame const& a, Frame const& b, Triple const& point) {
    return lengthOf(a.placeOf(point) - b.placeOf(point));
}

TEST(Frame, ReadsBackAndChains) {
    ScratchDirectory const directory;
    Frame const frame = sampleFrame();
    writeFrame(frame, directory / "f.json");
    Frame const again = readFrame(directory / "f.json");
    EXPECT_EQ(again.translation, frame.translation);
    EXPECT_EQ(again.unit, "mm");
    EXPECT_LT(distanceOf(again, frame, {500.0, 600.0, -700.0}), 1e-11);
    Frame const back = frame.getInverse() * frame;
    EXPECT_LT(lengthOf(back.placeOf({1.0, 2.0, 3.0}) - Triple{1.0, 2.0, 3.0}), 1e-12);
    Frame const other{turnOfDegrees(5.0, 6.0, 7.0), {1.0, 2.0, 3.0}, {}};
    EXPECT_LT(
        lengthOf((other * frame).placeOf({4.0, 5.0, 6.0}) - other.placeOf(frame.placeOf({4.0, 5.0, 6.0}))),
        1e-11);
}

TEST(Frame, RefusesWhatIsNone) {
    ScratchDirectory const directory;
    auto const path = (directory / "f.json").string();
    auto const complaint = [&](std::string const& text) {
        writeText(path, text);
        return messageOf([&] { readFrame(path); });
    };
    std::string const broken = path + ": is no frame that can be read; write it anew with 'cscan register'";
    std::string const none = path + ": is no frame; 'cscan register PAIRS.csv --out FRAME.json' writes one";
    EXPECT_EQ(complaint(""), broken);
    EXPECT_EQ(complaint("{"), broken);
    EXPECT_EQ(complaint("[1]"), none);
    EXPECT_EQ(complaint(R"({"kind": 3})"), broken);
    EXPECT_EQ(complaint(R"({"kind": "other"})"), none);
    EXPECT_EQ(complaint(R"({"kind": "rigid frame", "version": 2})"),
              path + ": is a frame of another version");
    std::string const start =
        R"({"kind": "rigid frame", "version": 1, "translation": [0, 0, 0], "rotation": )";
    EXPECT_EQ(complaint(start + "[[1, 0, 0], [0, 1, 0], [0, 0, 2]]}"), path + ": its matrix is no rotation");
    EXPECT_EQ(complaint(start + "[[1, 0, 0], [0, 1, 0], [0, 0, -1]]}"), path + ": its matrix is no rotation");
    EXPECT_EQ(complaint(start + "[[1, 0, 0], [0, 1, 0]]}"), broken);
    EXPECT_EQ(complaint(start + "[[1, 0, 0], [0, 1, 0], [0, 0, 1]]}"), "");
}

std::vector<FramePair> pairsOf(Frame const& frame, std::size_t count, double noise) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> place(-300.0, 300.0);
    std::normal_distribution<double> error(0.0, 1.0);
    std::vector<FramePair> pairs;
    for (std::size_t i = 0; i < count; ++i) {
        Triple const source{place(random), place(random), place(random)};
        Triple const miss{error(random), error(random), error(random)};
        pairs.push_back({source, frame.placeOf(source) + noise * miss, i + 2});
    }
    return pairs;
}

TEST(FrameFit, FindsTheMotionOfAnyNumberOfPairs) {
    for (std::size_t const count : {3U, 4U, 10U, 1000U}) {
        FrameFit const fit = fitFrame(pairsOf(sampleFrame(), count, 0.0));
        EXPECT_LT(distanceOf(fit.frame, sampleFrame(), {400.0, -300.0, 200.0}), 1e-9) << count;
        EXPECT_LT(fit.rms, 1e-10) << count;
        EXPECT_NEAR(fit.scale, 1.0, 1e-12) << count;
        EXPECT_FALSE(fit.isMirrored || fit.isNearLine()) << count;
    }
}

TEST(FrameFit, IsTheLeastOfSquares) {
    auto const pairs = pairsOf(sampleFrame(), 12, 0.5);
    FrameFit const fit = fitFrame(pairs);
    EXPECT_GT(fit.rms, 0.4);
    EXPECT_LT(fit.rms, 1.2);
    auto const rmsOf = [&](Frame const& frame) {
        double sum = 0.0;
        for (FramePair const& pair : pairs) {
            Triple const miss = frame.placeOf(pair.source) - pair.target;
            sum += dot(miss, miss) / static_cast<double>(pairs.size());
        }
        return std::sqrt(sum);
    };
    EXPECT_NEAR(rmsOf(fit.frame), fit.rms, 1e-12);
    for (double const step : {-1e-3, 1e-3}) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            Frame moved = fit.frame;
            moved.translation[axis] += step;
            EXPECT_GT(rmsOf(moved), fit.rms) << axis;
            Triple vector{};
            vector[axis] = 1e-3 * step;
            Frame const turned{turnOfRotationVector(vector) * fit.frame.turn, fit.frame.translation, {}};
            EXPECT_GT(rmsOf(turned), fit.rms) << axis;
        }
    }
}

TEST(FrameFit, NamesOutliersLinesMirrorsAndUnits) {
    auto pairs = pairsOf(sampleFrame(), 30, 0.01);
    pairs[17].target[1] += 5.0;
    FrameFit const outlier = fitFrame(pairs);
    EXPECT_EQ(outlier.worst, 17U);
    EXPECT_EQ(outlier.getOutliers(), std::vector<std::size_t>{17});

    auto line = pairsOf({}, 10, 0.0);
    for (std::size_t i = 0; i < line.size(); ++i) {
        double const t = 10.0 * static_cast<double>(i);
        line[i].source = line[i].target = {t, 2.0 * t + (i == 4 ? 0.5 : 0.0), -t};
    }
    EXPECT_TRUE(fitFrame(line).isNearLine());
    line[4].source = line[4].target = {40.0, 80.0, -40.0};
    EXPECT_EQ(messageOf([&] { fitFrame(line); }),
              "the points lie on a line, which leaves the turn about it open");

    auto mirrored = pairsOf({}, 10, 0.0);
    for (FramePair& pair : mirrored) {
        pair.target[2] = -pair.target[2];
    }
    EXPECT_TRUE(fitFrame(mirrored).isMirrored);
    auto flat = pairsOf({}, 10, 0.0);
    for (FramePair& pair : flat) {
        pair.source[2] = pair.target[2] = 0.0;
        pair.target[1] = -pair.target[1]; // a half turn about x
    }
    EXPECT_FALSE(fitFrame(flat).isMirrored);
    EXPECT_LT(fitFrame(flat).rms, 1e-9);
    auto metres = pairsOf({}, 5, 0.0);
    for (FramePair& pair : metres) {
        pair.source = 0.001 * pair.source;
    }
    EXPECT_NEAR(fitFrame(metres).scale, 1000.0, 1e-6);
}

std::string const heading = "sx,sy,sz,tx,ty,tz\n";
std::string const three = heading + "0,0,0,1,1,1\n1,0,0,1,2,1\n0,1,0,0,1,1\n";
std::string const four = three + "0,0,1,0,0,3\n";

TEST(RegisterPoints, PairsAreReadFromAnyTable) {
    ScratchDirectory const directory;
    writeText(directory / "p.csv", "name;tx;ty;tz;sx;sy;sz\nA;4,5;5;6;1;2;3\n\n# more\nB;0;0;2;-1;0;0\n");
    auto const pairs = readFramePairs(directory / "p.csv");
    ASSERT_EQ(pairs.size(), 2U);
    EXPECT_EQ(pairs[0].source, (Triple{1.0, 2.0, 3.0}));
    EXPECT_EQ(pairs[0].target, (Triple{4.5, 5.0, 6.0}));
    EXPECT_EQ(pairs[1].line, 5U);
    auto const path = (directory / "p.csv").string();
    writeText(path, "ox,oy,oz,dx,dy,dz\n1,2,3,4,5,6\n");
    EXPECT_EQ(messageOf([&] { readFramePairs(path); }),
              path + ": no column 'sx'; the heading must name sx,sy,sz,tx,ty,tz");
    writeText(path, heading + "1,2,3,4,5,\n");
    EXPECT_EQ(messageOf([&] { readFramePairs(path); }), path + ", line 2: the pair is not complete");
    writeText(path, heading + "1,2,3,4,5,x\n");
    EXPECT_EQ(messageOf([&] { readFramePairs(path); }),
              path + ", line 2: 'x' in column 'tz' is not a number");
}

TEST(RegisterPoints, ThreePairsAreRigidAndFourAffineIfNothingElseIsAsked) {
    ScratchDirectory const directory;
    writeText(directory / "p.csv", three);
    RegisterOptions options;
    options.pairs = directory / "p.csv";
    RegisterResult const rigid = registerPoints(options, nullptr);
    EXPECT_TRUE(rigid.isRigid);
    EXPECT_FALSE(rigid.fit.has_value());
    EXPECT_LT(rigid.largestMiss, 1e-4);
    EXPECT_NEAR(rigid.translation.getdZ(), 1.0, 1e-4);
    writeText(directory / "p.csv", four);
    EXPECT_FALSE(registerPoints(options, nullptr).isRigid);
    options.map = RegisterMap::Affine;
    EXPECT_FALSE(registerPoints(options, nullptr).isRigid);
    writeText(directory / "p.csv", three + "0,0,1,1,1,2\n");
    options.map = RegisterMap::Rigid;
    RegisterResult const fitted = registerPoints(options, nullptr);
    EXPECT_TRUE(fitted.isRigid);
    ASSERT_TRUE(fitted.fit.has_value());
    EXPECT_NEAR(fitted.largestMiss, fitted.fit->residuals[fitted.fit->worst], 1e-12);
}

TEST(RegisterPoints, WritesTheFrameWithItsRecord) {
    ScratchDirectory const directory;
    std::string table = heading;
    for (FramePair const& pair : pairsOf(sampleFrame(), 7, 0.0)) {
        for (double const number :
             {pair.source[0], pair.source[1], pair.source[2], pair.target[0], pair.target[1]}) {
            table += toExactText(number) + ',';
        }
        table += toExactText(pair.target[2]) + '\n';
    }
    writeText(directory / "p.csv", table);
    RegisterOptions options;
    options.pairs = directory / "p.csv";
    options.frame = directory / "f.json";
    options.unit = "mm";
    RegisterResult const result = registerPoints(options, nullptr);
    EXPECT_LT(result.largestMiss, 1e-9);
    EXPECT_LT(distanceOf(readFrame(directory / "f.json"), sampleFrame(), {100.0, 200.0, 300.0}), 1e-9);
    EXPECT_EQ(readFrame(directory / "f.json").unit, "mm");
    EXPECT_TRUE(std::filesystem::exists(recordFileOf(directory / "f.json")));
    std::string const before = readText(directory / "f.json");
    registerPoints(options, nullptr);
    EXPECT_EQ(readText(directory / "f.json"), before);
}

TEST(RegisterPoints, RefusesWithoutWritingAnything) {
    ScratchDirectory const directory;
    RegisterOptions options;
    options.pairs = directory / "p.csv";
    options.frame = directory / "f.json";
    std::string const path = options.pairs.string();
    auto const complaint = [&](std::string const& text) {
        writeText(options.pairs, text);
        std::string const message = messageOf([&] { registerPoints(options, nullptr); });
        EXPECT_FALSE(std::filesystem::exists(directory / "f.json"));
        return message;
    };
    EXPECT_EQ(complaint(heading + "0,0,0,1,1,1\n"), path + ": 3 to 1000 pairs of points expected, 1 found");
    std::string many = heading;
    for (int i = 0; i < 1001; ++i) {
        many += "0,0," + std::to_string(i) + ",1,1,1\n";
    }
    EXPECT_EQ(complaint(many), path + ": 3 to 1000 pairs of points expected, 1001 found");
    EXPECT_EQ(complaint(heading + "0,0,0,0,0,0\n1,0,0,1,0,0\n2,0,0,2,0,0\n"),
              path + ": the points lie on a line, which leaves the turn about it open");
    EXPECT_EQ(complaint(heading + "0,0,0,0,0,0\n1,0,0,25.4,0,0\n0,1,0,0,25.4,0\n"),
              path +
                  ": the targets lie 25.4 times as far apart as the sources; give both in one unit, and each "
                  "target beside its own source");
    options.map = RegisterMap::Affine;
    EXPECT_EQ(complaint(four), "a frame is a rigid motion; leave out --affine or --out");
    options.frame.reset();
    writeText(options.pairs, three);
    EXPECT_EQ(messageOf([&] { registerPoints(options, nullptr); }),
              path + ": 4 pairs of points expected, 3 found");
}

TEST(RegisterPoints, WarnsOfWhatIsDoubtful) {
    ScratchDirectory const directory;
    RegisterOptions options;
    options.pairs = directory / "p.csv";
    options.map = RegisterMap::Rigid;
    writeText(options.pairs, heading + "0,0,0,0,0,0\n100,0,0,100,0,0\n50,1,0,50,1,0\n");
    auto const warnings = registerPoints(options, nullptr).warnings;
    ASSERT_EQ(warnings.size(), 1U);
    EXPECT_EQ(warnings[0].substr(0, 32), "the points lie nearly on a line,");
    writeText(options.pairs, heading + "0,0,0,0,0,0\n9,0,0,9,0,0\n0,9,0,0,9,0\n0,0,9,0,0,-9\n4,4,4,4,4,-4\n");
    ASSERT_EQ(registerPoints(options, nullptr).warnings.size(), 1U);
    EXPECT_EQ(registerPoints(options, nullptr).warnings[0].substr(0, 31), "the targets are a mirror image ");
}

} // namespace
} // namespace QELT::Inspection
