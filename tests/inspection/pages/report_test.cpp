#include "Inspection/pages/report.h"

#include "Inspection/grids/gridfile.h"
#include "Inspection/pages/internal/html.h"
#include "Inspection/pages/internal/reportcontent.h"
#include "Inspection/pages/internal/reportlimits.h"
#include "Inspection/pages/internal/sections.h"
#include "Inspection/pictures/pngfile.h"
#include "Inspection/pictures/valuepicture.h"
#include "Inspection/records/numbers.h"
#include "Inspection/results/measuredscan.h"
#include "Inspection/results/resultfile.h"
#include "tests/inspection/sampleresults.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <png.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <regex>
#include <set>
#include <sstream>

namespace QELT::Inspection {
namespace {

using namespace Testing;
using Json = nlohmann::ordered_json;

std::string replacedIn(std::string text, std::string const& from, std::string const& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

/// As a browser shows it.
std::string unescaped(std::string text) {
    for (auto const& [name, letter] :
         {std::pair{"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&#39;", "'"}, {"&amp;", "&"}}) {
        text = replacedIn(text, name, letter);
    }
    return text;
}

/// A number of the page that comes from the record.
struct Told {
    std::string name;
    std::string exact;
    std::string shown;
};

std::vector<Told> toldIn(std::string const& page) {
    static std::regex const pattern(R"re(<data value="([^"]*)" data-name="([^"]*)">([^<]*)</data>)re");
    std::vector<Told> told;
    for (std::sregex_iterator at(page.begin(), page.end(), pattern); at != std::sregex_iterator(); ++at) {
        told.push_back({unescaped((*at)[2]), unescaped((*at)[1]), unescaped((*at)[3])});
    }
    return told;
}

/// The numbers that a text shows.
std::vector<double> numbersIn(std::string const& text) {
    static std::regex const pattern(R"(-?\d+(\.\d+)?(e[+-]?\d+)?)");
    std::vector<double> numbers;
    for (std::sregex_iterator at(text.begin(), text.end(), pattern); at != std::sregex_iterator(); ++at) {
        numbers.push_back(std::stod(at->str()));
    }
    return numbers;
}

std::vector<double> numbersOf(Json const& value) {
    return value.is_array() ? value.get<std::vector<double>>() : std::vector{value.get<double>()};
}

std::string withoutPictures(std::string const& page) {
    // Far too long for a regular expression of the standard library, which calls itself for each letter.
    std::string rest;
    std::size_t begin = 0;
    for (std::size_t at = page.find("base64,"); at != std::string::npos; at = page.find("base64,", begin)) {
        rest += page.substr(begin, at - begin);
        begin = std::min(page.find('"', at), page.size());
    }
    return rest + page.substr(begin);
}

/// A scan of ten by six quads of half a millimetre: two lines are left out, an echo is lost, one is at the
/// ceiling, one shot comes at an angle.
class ReportTest : public testing::Test {
protected:
    ReportTest() {
        Grid grid;
        grid.setAsPlane({10.0, 6.0}, 1.0, false, 10);
        for (int v = 0; v <= 6; ++v) {
            for (int u = 0; u <= 10; ++u) {
                auto const x = static_cast<float>(u) * (u > 5 ? 1.25F : 1.0F);
                grid.setPoint(GridIndex(u, v), Point(x, static_cast<float>(v), 0.0F));
            }
        }
        saveGrid(grid, folder / "g.quads");
        writeText(folder / "shots.csv", shots());
        MeasuredScanOptions options;
        options.grids.push_back({folder / "g.quads"});
        options.shots.shots = folder / "shots.csv";
        options.quantities.depth = DepthOptions{"tof", 2900.0, {}, {}};
        options.quantities.reference = ColumnNumber{"", 80.0};
        options.quantities.gates.push_back({"tof", 0.5, 8.4});
        options.acceptance.maxAngle = 70.0;
        options.fill = 1.1;
        options.unit = "mm";
        options.result = folder / "r.h5";
        measuredScan(options, nullptr);
        writeText(folder / "f.json", R"({"part": "Blade <7>", "serial": 12, "Operator": "A & B",
            "couplant": "water", "remarks": ["one", "two"]})");
        report.result = folder / "r.h5";
        report.page = folder / "out.html";
        report.fields = folder / "f.json";
    }

    static std::string shots() {
        std::ostringstream text;
        text << "ox,oy,oz,dx,dy,dz,amplitude[%FSH],tof[us],remark\n";
        for (int v = 0; v < 6; ++v) {
            for (int u = 0; u < 10; ++u) {
                double const x = u > 5 ? 1.25 * u + 0.6 : u + 0.5;
                if (v == 2) {
                    continue;
                }
                bool const isSlanting = u == 1 && v == 1;
                text << (isSlanting ? x - 80.0 : x) << ',' << v + 0.4 << ",20,";
                text << (isSlanting ? "4,0,-1," : "0,0,-1,");
                text << (u == 3 && v == 4 ? "," : u == 4 ? "100,2" : "40.5,2.25") << ",x\n";
            }
        }
        return text.str();
    }

    std::string page() {
        outcome = QELT::Inspection::report(report, nullptr);
        return readText(folder / "out.html");
    }

    Json record() const { return Json::parse(readResult(folder / "r.h5").record); }

    ScratchDirectory folder;
    ReportOptions report;
    Report outcome;
};

TEST_F(ReportTest, everyNumberOfTheRecordIsToldAndEqualsIt) {
    std::string const html = page();
    Json const json = record();
    std::set<std::string> names;
    for (Told const& told : toldIn(html)) {
        std::size_t const dot = told.name.find('.');
        Json const& value = json.at(told.name.substr(0, dot)).at(told.name.substr(dot + 1));
        names.insert(told.name);
        ASSERT_EQ(Json::parse(told.exact), value) << told.name;
        if (!value.is_number() && !value.is_array()) {
            continue;
        }
        double const factor = told.name == "figures.coverage" ? 100.0 : 1.0;
        auto const shown = numbersIn(told.shown);
        auto const exact = numbersOf(value);
        ASSERT_EQ(shown.size(), exact.size()) << told.name;
        for (std::size_t i = 0; i < exact.size(); ++i) {
            EXPECT_NEAR(shown[i], factor * exact[i], 5e-5 * std::abs(factor * exact[i])) << told.name;
        }
    }
    for (char const* const group : {"settings", "figures"}) {
        for (auto const& item : json.at(group).items()) {
            EXPECT_TRUE(names.contains(std::string(group) + "." + item.key())) << item.key();
        }
    }
}

TEST_F(ReportTest, theRecordStandsInThePageWordForWord) {
    std::string const html = page();
    std::size_t const begin = html.find("<pre>");
    ASSERT_NE(begin, std::string::npos);
    std::string const text = html.substr(begin + 5, html.find("</pre>") - begin - 5);
    EXPECT_EQ(unescaped(text), readResult(folder / "r.h5").record);
}

TEST_F(ReportTest, theAreasOfStatesAreThoseOfTheQuads) {
    std::string const html = page();
    // Along v there are six rows of quads, each 5 of 1, one of 2.5 and 4 of 1.25; one row was left out.
    EXPECT_NE(html.find("<td>not reached</td><td class=\"number\">12.5 mm\xC2\xB2</td>"), std::string::npos);
    EXPECT_NE(html.find("<td>no echo</td><td class=\"number\">1 mm\xC2\xB2</td>"), std::string::npos);
    EXPECT_NE(html.find("<td>refused</td><td class=\"number\">1 mm\xC2\xB2</td>"), std::string::npos);
    EXPECT_NE(html.find("<td>saturated</td><td class=\"number\">5 mm\xC2\xB2</td>"), std::string::npos);
    EXPECT_NE(html.find("<td>all</td><td class=\"number\">75 mm\xC2\xB2</td>"), std::string::npos);
    EXPECT_NE(html.find("<td>greatest</td><td class=\"number\">2.5 mm\xC2\xB2</td><td class=\"number\">"
                        "1.5811 mm</td><td class=\"number\">2.5</td>"),
              std::string::npos)
        << "a median of 1 or of 1.25 is told elsewhere";
}

TEST_F(ReportTest, fieldsStandAsTheyWereGivenAndEscaped) {
    std::string const html = page();
    EXPECT_NE(html.find("<title>C-scan report: Blade &lt;7&gt;</title>"), std::string::npos);
    EXPECT_EQ(html.find("<7>"), std::string::npos);
    EXPECT_NE(html.find("Operator</th><td>A &amp; B</td>"), std::string::npos);
    EXPECT_NE(html.find("Serial</th><td>12</td>"), std::string::npos);
    EXPECT_NE(html.find("Remarks</th><td>one<br>two</td>"), std::string::npos);
    EXPECT_LT(html.find("Calibration</th>"), html.find("Couplant</th><td>water</td>"));
    EXPECT_NE(html.find("Probe</th><td><span class=\"absent\">not given</span></td>"), std::string::npos);
    EXPECT_NE(html.find("Not given: drawing, procedure, instrument, probe, reference, calibration."),
              std::string::npos);
}

TEST_F(ReportTest, withoutFieldsAllOfThemAreNotGiven) {
    report.fields.reset();
    EXPECT_NE(
        page().find("Not given: part, drawing, serial, procedure, operator, instrument, probe, reference, "
                    "calibration."),
        std::string::npos);
}

TEST_F(ReportTest, itJudgesNothing) {
    std::string html = withoutPictures(page());
    std::transform(html.begin(), html.end(), html.begin(),
                   [](unsigned char letter) { return std::tolower(letter); });
    for (char const* const word :
         {"accept", "reject", "pass", "fail", "complies", "conforms", "iso ", "astm"}) {
        EXPECT_EQ(html.find(word), std::string::npos) << word;
    }
    EXPECT_NE(html.find("claims conformity to no standard"), std::string::npos);
}

TEST_F(ReportTest, limitsAreToldWithTheirFigures) {
    std::string const html = page();
    for (char const* const sentence :
         {"12.5 mm\xC2\xB2 (16.7 % of the surface) were not reached by any shot",
          "1 mm\xC2\xB2 (1.33 % of the surface), 1 pixel, were met only by shots that were refused",
          "5 pixels, 5 mm\xC2\xB2 (6.67 % of the surface), hold an echo at the instrument&#39;s ceiling",
          "1 pixel, 1 mm\xC2\xB2 (1.33 % of the surface), were shot and gave no echo",
          "A pixel of the pictures stands for 1 to 2.5 mm\xC2\xB2 of the part, a factor of 2.5",
          "Depth is derived: half of tof times 2900 m/s, counted from time 0 of the instrument",
          "Decibels are relative to a reference of 80 %FSH, which is 0 dB.",
          "are shown with the values of the nearest shot, within 1.1 mm along the surface"}) {
        EXPECT_NE(html.find(sentence), std::string::npos) << sentence;
    }
}

TEST_F(ReportTest, picturesAreInThePageDotForDot) {
    std::string const html = page();
    Result const result = readResult(folder / "r.h5");
    EXPECT_EQ(outcome.pictureCount, result.values.size() + 1);
    for (ValueMap const& map : result.values) {
        EXPECT_NE(html.find(toBase64(pngBytesOf(valuePicture(result, map)))), std::string::npos) << map.name;
    }
    EXPECT_NE(html.find(toBase64(pngBytesOf(statePicture(result)))), std::string::npos);
}

TEST_F(ReportTest, itNeedsNothingElse) {
    std::string const html = page();
    for (char const* const mark : {"<script", "http:", "https:", "url(", "<link", "@import", "<iframe"}) {
        EXPECT_EQ(html.find(mark), std::string::npos) << mark;
    }
    static std::regex const source("src=\"(?!data:image/png;base64,)");
    EXPECT_FALSE(std::regex_search(html, source));
}

TEST_F(ReportTest, sameInputSameBytes) {
    std::string const first = page();
    EXPECT_EQ(page(), first);
}

TEST_F(ReportTest, inputsThatAreAsTheyWereFit) {
    std::string const html = page();
    EXPECT_TRUE(outcome.isAsRecorded());
    EXPECT_NE(html.find("2 of 2 inputs are as they were when scanned; the result fits its record."),
              std::string::npos);
    Json const told = record();
    for (Json const& input : told.at("inputs")) {
        EXPECT_NE(html.find("<code>" + input.at("sha256").get<std::string>() + "</code>"), std::string::npos);
    }
}

TEST_F(ReportTest, aChangedInputIsTold) {
    writeText(folder / "shots.csv", shots() + "\n");
    std::string const html = page();
    EXPECT_FALSE(outcome.isAsRecorded());
    EXPECT_EQ(outcome.inputs.at(0).state, InputState::AsRecorded);
    EXPECT_EQ(outcome.inputs.at(1).state, InputState::Changed);
    EXPECT_NE(html.find("Input shots.csv is not as it was when scanned."), std::string::npos);
    EXPECT_NE(html.find("<span class=\"changed\">not as it was when scanned</span>"), std::string::npos);
}

TEST_F(ReportTest, aMissingInputIsLookedForWhereTold) {
    std::filesystem::create_directories(folder / "elsewhere");
    std::filesystem::rename(folder / "shots.csv", folder / "elsewhere/shots.csv");
    EXPECT_NE(page().find("1 of 2 inputs are as they were when scanned, 1 not found"), std::string::npos);
    EXPECT_TRUE(outcome.isAsRecorded());
    EXPECT_EQ(outcome.inputs.at(1).state, InputState::NotFound);

    report.inputFolders = {folder / "elsewhere"};
    page();
    EXPECT_EQ(outcome.inputs.at(1).state, InputState::AsRecorded);

    writeText(folder / "shots.csv", "another table of that name");
    page();
    EXPECT_EQ(outcome.inputs.at(1).state, InputState::AsRecorded) << "the right one is there, too";
}

TEST_F(ReportTest, aResultThatIsNotItsRecordsIsTold) {
    Result result = readResult(folder / "r.h5");
    result.states[0] = PixelState::NotReached;
    writeResult(folder / "r.h5", result);
    std::string const html = page();
    EXPECT_FALSE(outcome.isAsRecorded());
    EXPECT_NE(html.find("R.h5 is not as it was written."), std::string::npos);
    EXPECT_NE(
        html.find("The pixels of the result give another figure than its record: surface reached 60.5 in "
                  "place of 61.5."),
        std::string::npos);
}

TEST_F(ReportTest, aRecordBesideThatTellsOtherwiseIsTold) {
    auto const beside = recordFileOf(folder / "r.h5");
    writeText(beside, replacedIn(readText(beside), "\"speed\": 2900.0", "\"speed\": 3200.0"));
    page();
    EXPECT_EQ(outcome.misfits,
              std::vector<std::string>{"r.h5.json tells otherwise than the record within the "
                                       "result"});
}

TEST_F(ReportTest, withoutARecordBesideItIsSaidThatBytesWereNotCompared) {
    std::filesystem::remove(recordFileOf(folder / "r.h5"));
    EXPECT_NE(
        page().find("R.h5.json is not there, so the bytes of the result could not be compared with it."),
        std::string::npos);
    EXPECT_TRUE(outcome.isAsRecorded());
}

TEST_F(ReportTest, indicationsAreShownWithAllTheirColumns) {
    writeText(folder / "i.csv", "number,state,peak[dB],x[mm],y[mm],u,v,area[mm^2],under_beam,odd <one>\n"
                                "1,echo,-5.91234567891,2.5,3.5,2.5,3.5,4.25,0,a&b\n"
                                "2,no echo,,3.5,4.5,3.5,4.5,1,1,\n");
    report.indications = folder / "i.csv";
    std::string const html = page();
    EXPECT_EQ(outcome.indicationCount, 2U);
    for (char const* const part : {"peak [dB]", "x [mm]", "u [pixels]", "area [mm\xC2\xB2]", "under beam",
                                   "<td class=\"number\">no</td>", "odd &lt;one&gt;", "a&amp;b", "no echo",
                                   "<data value=\"-5.91234567891\">-5.9123</data>"}) {
        EXPECT_NE(html.find(part), std::string::npos) << part;
    }
    EXPECT_NE(html.find("<td class=\"number\">yes</td>"), std::string::npos) << "under the beam's width";
    EXPECT_NE(html.find("From i.csv: 2 indications."), std::string::npos);
    ValuePictureOptions marks;
    marks.labels = {{FlatPoint(2.5, 3.5), "1"}, {FlatPoint(3.5, 4.5), "2"}};
    Result const result = readResult(folder / "r.h5");
    EXPECT_NE(html.find(toBase64(pngBytesOf(valuePicture(result, result.values[0], marks)))),
              std::string::npos)
        << "numbered in the pictures";
}

TEST_F(ReportTest, indicationsOfAnotherResultAreTold) {
    Record record("indications");
    record.addCompanion(folder / "shots.csv");
    record.setting("threshold", "-6dB");
    Outputs outputs(record);
    outputs.add(folder / "i.csv");
    writeText(outputs.at(folder / "i.csv").file, "number,state\n1,echo\n");
    outputs.commit(nullptr);
    report.indications = folder / "i.csv";
    EXPECT_NE(page().find("<li>threshold -6dB</li>"), std::string::npos);
    EXPECT_EQ(outcome.misfits,
              std::vector<std::string>{"the indications were found in another result than this one"});
}

TEST_F(ReportTest, chosenValuesAloneAreShown) {
    report.values = {"depth"};
    std::string const html = page();
    EXPECT_EQ(outcome.pictureCount, 2U);
    EXPECT_NE(html.find("alt=\"C-scan: depth:min\""), std::string::npos);
    EXPECT_EQ(html.find("alt=\"C-scan: amplitude:max\""), std::string::npos);
}

TEST_F(ReportTest, whatCannotBeReadIsNamed) {
    auto const complaint = [&] { return messageOf([&] { QELT::Inspection::report(report, nullptr); }); };
    writeText(folder / "f.json", "[1]");
    EXPECT_EQ(complaint(), (folder / "f.json").string() +
                               ": is no JSON object, such as {\"part\": \"Blade 7\", \"operator\": \"...\"}");
    writeText(folder / "f.json", R"({"part": {"name": "x"}})");
    EXPECT_EQ(complaint(),
              (folder / "f.json").string() + ": 'part' is not a text, a number or a list of them");
    writeText(folder / "f.json", R"({"part": "x", "Part": "y"})");
    EXPECT_EQ(complaint(), (folder / "f.json").string() + ": 'Part' is given more than once");
    writeText(folder / "f.json", "{}");
    writeText(folder / "i.csv", "number,state\n1\n");
    report.indications = folder / "i.csv";
    EXPECT_EQ(complaint(),
              (folder / "i.csv").string() + ", line 2: has 1 fields in place of the heading's 2");
    writeText(folder / "i.csv", "x,y\n1,2\n");
    EXPECT_EQ(complaint(), (folder / "i.csv").string() +
                               ": is no table of indications, as 'cscan indications' "
                               "writes it: it has no column 'number'");
    report.indications.reset();
    Result result = readResult(folder / "r.h5");
    result.record = "{}";
    writeResult(folder / "r.h5", result);
    EXPECT_EQ(complaint(), (folder / "r.h5").string() +
                               ": holds no record of how it was made, so there is nothing to report on; scan "
                               "again with 'cscan scan --data'");
    EXPECT_FALSE(std::filesystem::exists(folder / "out.html"));
}

TEST(ReportRecordText, figuresThatAreNotKnownAreShownAsTheyStand) {
    ReportRecord record(R"({"kind": "record of a result", "command": "scan",
                            "figures": {"newFigure": 0.125, "shots": 3}})",
                        "r.h5");
    record.told("figures", "shots");
    EXPECT_EQ(record.restOf("figures"), std::vector<std::string>{"newFigure"});
    EXPECT_EQ(ReportRecord::labelOf("newFigure"), "newFigure");
    EXPECT_EQ(record.told("figures", "newFigure").getText(),
              "<data value=\"0.125\" data-name=\"figures.newFigure\">0.125</data>");
    EXPECT_TRUE(record.restOf("figures").empty());
}

TEST(ReportRecordText, unitsStandBehindNumbers) {
    ReportRecord record(R"({"kind": "record of a result", "command": "scan", "units": {"length": "in"},
        "settings": {"gate tof": [2.1, 8.4], "gate amp": [1, 2], "maxAngle": 70, "speed": 2900.0},
        "figures": {"unit of tof": "us", "surfaceArea": 123456.75, "coverage": 0.5, "lag": 50.5}})",
                        "r.h5");
    auto const shown = [&](char const* group, char const* name) {
        static std::regex const tag("<[^>]*>");
        return std::regex_replace(record.told(group, name).getText(), tag, "");
    };
    EXPECT_EQ(shown("settings", "gate tof"), "2.1 to 8.4 us");
    EXPECT_EQ(shown("settings", "gate amp"), "1 to 2 in the column&#39;s unit");
    EXPECT_EQ(shown("settings", "maxAngle"), "70\xC2\xB0");
    EXPECT_EQ(shown("settings", "speed"), "2900 m/s");
    EXPECT_EQ(shown("figures", "surfaceArea"), "123457 in\xC2\xB2");
    EXPECT_EQ(shown("figures", "coverage"), "50 %");
    EXPECT_EQ(shown("figures", "lag"), "50.5 ms");
    EXPECT_EQ(shown("figures", "residualMedian"), "\xE2\x80\x93");
}

TEST(ReportText, nothingIsTakenForMarkup) {
    EXPECT_EQ(textHtml("<b a=\"1\" c='2'>&").getText(), "&lt;b a=&quot;1&quot; c=&#39;2&#39;&gt;&amp;");
    EXPECT_EQ(textHtml(std::string("a\0b\x1B\xFF", 5)).getText(), "a\xEF\xBF\xBD"
                                                                  "b\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(element("td", textHtml("x"), {{"title", "\"><script>"}}).getText(),
              "<td title=\"&quot;&gt;&lt;script&gt;\">x</td>");
}

TEST(ReportText, aTextInAStyleCannotEndIt) {
    EXPECT_EQ(styleText("A 7\"</style>;").getText(), R"("A 7\22 \3c \2f style\3e \3b ")");
}

TEST(ReportText, picturesInMemoryAreThoseOfFiles) {
    ScratchDirectory const folder;
    Image image(7, 5);
    image.drawText(0, 0, "a", 1, black);
    writePng(folder / "a.png", image);
    auto const bytes = pngBytesOf(image);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), readText(folder / "a.png"));
}

TEST(PixelScale, isThatOfTheTrueAreas) {
    // Columns 1, 2, 3 and 4 wide.
    Result const result =
        surfaceOn(4, 1, [](double u, double v) { return Vector(u * (u + 1.0) / 2.0, v, 0.0); });
    PixelScale const scale = pixelScaleOf(result);
    EXPECT_EQ(scale.count, 4U);
    EXPECT_DOUBLE_EQ(scale.leastArea, 1.0);
    EXPECT_DOUBLE_EQ(scale.medianArea, 2.0);
    EXPECT_DOUBLE_EQ(scale.greatestArea, 4.0);
    EXPECT_EQ(scale.leastPixel, 0U);
    EXPECT_EQ(scale.greatestPixel, 3U);
    EXPECT_EQ(pixelScaleOf(Result()).count, 0U);
}

} // namespace
} // namespace QELT::Inspection
