#include "Inspection/records/record.h"

#include "Inspection/records/internal/recordtext.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/version.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>

namespace QELT::Inspection {
namespace {

using Testing::messageOf;
using Testing::readText;
using Testing::ScratchDirectory;
using Testing::writeText;

Record exampleOf(ScratchDirectory const& directory) {
    writeText(directory / "part.obj", "abc");
    Record record("prepare");
    record.addInput(directory / "part.obj");
    record.setting("quadArea", 0.5);
    record.setting("mode", "pinned");
    record.setting("maxSide", std::optional<double>());
    record.setting("fillHoles", std::optional<unsigned>(3));
    record.addMove(Vector(1.0, -2.5, 0.0));
    record.setUnit("mm");
    record.figure("isDone", true);
    record.figure("count", -7);
    record.figure("low", Point(0.1, 2.0, -3.0));
    return record;
}

void write(Record const& record, ScratchDirectory const& directory, std::string const& text) {
    Outputs outputs(record);
    outputs.add(directory / "part.quads");
    outputs.addBeside(directory / "part.cut", directory / "part.quads");
    outputs.addBeside(directory / "unwritten", directory / "part.quads");
    writeText(outputs.at(directory / "part.quads").file, text);
    writeText(outputs.at(directory / "part.cut").file, "cut");
    outputs.commit(nullptr);
}

TEST(Record, holdsHowItsResultWasMade) {
    ScratchDirectory const directory;
    write(exampleOf(directory), directory, "abc");
    std::string const abc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
    EXPECT_EQ(readText(directory / "part.quads.json"), R"({
  "kind": "record of a result",
  "format": 1,
  "version": ")" + libraryVersion() + R"(",
  "command": "prepare",
  "files": [
    {
      "file": "part.quads",
      "bytes": 3,
      "sha256": ")" + abc + R"("
    },
    {
      "file": "part.cut",
      "bytes": 3,
      "sha256": "378bfce5cda2599a6cda399f1cacef861e4e575ec794744dcf0e55e9c4780633"
    }
  ],
  "inputs": [
    {
      "file": "part.obj",
      "bytes": 3,
      "sha256": ")" + abc + R"("
    }
  ],
  "settings": {
    "quadArea": 0.5,
    "mode": "pinned",
    "fillHoles": 3
  },
  "moves": [
    [
      1.0,
      -2.5,
      0.0
    ]
  ],
  "units": {
    "length": "mm"
  },
  "figures": {
    "isDone": true,
    "count": -7,
    "low": [
      0.1,
      2.0,
      -3.0
    ]
  }
}
)");
}

TEST(Record, ofTheSameRunHasTheSameBytesAndNoPath) {
    ScratchDirectory const directory;
    write(exampleOf(directory), directory, "abc");
    std::string const first = readText(directory / "part.quads.json");
    EXPECT_EQ(first.find('/'), std::string::npos);
    write(exampleOf(directory), directory, "abc");
    EXPECT_EQ(readText(directory / "part.quads.json"), first);
}

TEST(Record, keepsNumbersToTheBit) {
    ScratchDirectory const directory;
    Record record("test");
    std::vector<double> const numbers{
        0.1, 1.0 / 3.0, -1e-300, 5e-324, std::numeric_limits<double>::max(), 4503599627370497.5};
    record.figure("numbers", numbers);
    record.figure("none", std::nan(""));
    record.figure("large", std::numeric_limits<std::uint64_t>::max());
    auto const json = nlohmann::json::parse(textOf(record, {}, {}));
    EXPECT_EQ(json["figures"]["numbers"].get<std::vector<double>>(), numbers);
    EXPECT_TRUE(json["figures"]["none"].is_null());
    EXPECT_EQ(json["figures"]["large"].get<std::uint64_t>(), std::numeric_limits<std::uint64_t>::max());
}

TEST(Record, isFoundAndFits) {
    ScratchDirectory const directory;
    EXPECT_FALSE(findRecord(directory / "part.quads", nullptr).has_value());
    write(exampleOf(directory), directory, "abc");
    auto const found = findRecord(directory / "part.quads", nullptr);
    ASSERT_TRUE(found.has_value());
    EXPECT_TRUE(found->misfits.empty());
    using Line = std::pair<std::string, std::string>;
    ASSERT_GE(found->lines.size(), 3U);
    EXPECT_EQ(found->lines[0], Line("made by", "prepare, version " + libraryVersion()));
    EXPECT_EQ(found->lines[1],
              Line("input", "part.obj, 3 bytes, SHA-256 "
                            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"));
    EXPECT_EQ(found->lines[2], Line("setting", "quadArea 0.5"));
    EXPECT_EQ(found->lines.back(), Line("figure", "low [0.1,2.0,-3.0]"));
    // The pair may be renamed.
    std::filesystem::rename(directory / "part.quads", directory / "new.quads");
    std::filesystem::rename(directory / "part.quads.json", directory / "new.quads.json");
    EXPECT_TRUE(findRecord(directory / "new.quads", nullptr)->misfits.empty());
}

TEST(Record, thatDoesNotFitIsTold) {
    ScratchDirectory const directory;
    auto const misfits = [&] { return findRecord(directory / "part.quads", nullptr)->misfits; };
    using Misfits = std::vector<std::string>;
    write(exampleOf(directory), directory, "abc");
    writeText(directory / "part.quads", "abd");
    EXPECT_EQ(misfits(), Misfits{"part.quads is not as it was written"});
    writeText(directory / "part.cut", "");
    EXPECT_EQ(misfits(),
              (Misfits{"part.quads is not as it was written", "part.cut is not as it was written"}));
    std::filesystem::remove(directory / "part.cut");
    EXPECT_EQ(misfits().back(), "part.cut is not there");
    for (char const* const text : {"", "[]", "{", "{\"kind\": 3}", "null"}) {
        writeText(directory / "part.quads.json", text);
        EXPECT_EQ(misfits(), Misfits{"part.quads.json is no record"}) << text;
    }
    for (char const* const text : {"", ", \"files\": 3", ", \"files\": {\"a\": 1}", ", \"files\": [[]]"}) {
        writeText(directory / "part.quads.json",
                  std::string("{\"kind\": \"record of a result\"") + text + "}");
        EXPECT_FALSE(misfits().empty()) << text;
    }
}

TEST(Record, refusesAnInputThatChangesMeanwhile) {
    ScratchDirectory const directory;
    Record const record = exampleOf(directory);
    writeText(directory / "part.obj", "abcd");
    EXPECT_EQ(messageOf([&] { write(record, directory, "abc"); }),
              (directory / "part.obj").string() + ": was changed while it was worked with; run this again");
    EXPECT_FALSE(std::filesystem::exists(directory / "part.quads"));
}

TEST(Record, namesInputsThatAreNoFilesWithoutADigest) {
    Record record("test");
    record.addInput("/dev/null");
    auto const inputs = recordedInputsOf(record, nullptr);
    ASSERT_EQ(inputs.size(), 1U);
    EXPECT_EQ(inputs[0].name, "null");
    auto const json = nlohmann::json::parse(textOf(record, {}, inputs));
    EXPECT_TRUE(json["inputs"][0]["sha256"].is_null());
}

/// A result `name` whose record tells of a move and a unit.
void writeMoved(ScratchDirectory const& directory, std::string const& name, Vector const& move) {
    Record record("import");
    record.addMove(move);
    record.setUnit("inch");
    Outputs outputs(record);
    outputs.add(directory / name);
    writeText(outputs.at(directory / name).file, name);
    outputs.commit(nullptr);
}

TEST(Record, takesMovesAndUnitOverFromItsInputs) {
    ScratchDirectory const directory;
    writeMoved(directory, "a.obj", Vector(1.0, 2.0, -4.0));
    writeMoved(directory, "b.obj", Vector(1.0, 2.0, -4.0));
    Record record("prepare");
    EXPECT_EQ(record.getUnitName(), "units");
    record.addInput(directory / "a.obj");
    record.addInput(directory / "b.obj");
    record.addMove(Vector(0.5, 0.0, 0.0));
    record.setUnit("");
    EXPECT_EQ(record.getUnitName(), "inch");
    EXPECT_EQ(record.getMoves().size(), 2U);
    EXPECT_EQ(record.getMove().getdX(), 1.5);
    EXPECT_EQ(record.getMove().getdY(), 2.0);
    EXPECT_EQ(record.getMove().getdZ(), -4.0);
    record.setUnit("mm");
    EXPECT_EQ(record.getUnitName(), "mm");
}

TEST(Record, refusesInputsThatWereMovedDifferently) {
    ScratchDirectory const directory;
    writeMoved(directory, "a.obj", Vector(1.0, 2.0, -4.0));
    writeMoved(directory, "b.obj", Vector(1.0, 2.0, -5.0));
    writeText(directory / "c.obj", "c");
    for (char const* const other : {"b.obj", "c.obj"}) {
        Record record("scan");
        record.addInput(directory / "a.obj");
        EXPECT_TRUE(
            messageOf([&] { record.addInput(directory / other); }).ends_with("do not lie in one space"));
    }
}

TEST(Record, refusesAnInputThatDoesNotFitItsRecordOfMoves) {
    ScratchDirectory const directory;
    writeMoved(directory, "a.obj", Vector(1.0, 2.0, -4.0));
    writeText(directory / "a.obj", "other");
    Record record("scan");
    EXPECT_NE(messageOf([&] { record.addInput(directory / "a.obj"); }).find("does not fit it any more"),
              std::string::npos);
}

} // namespace
} // namespace QELT::Inspection
