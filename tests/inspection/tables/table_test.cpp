#include "Inspection/tables/table.h"

#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <cmath>

namespace QELT::Inspection {
namespace {

using Testing::messageOf;
using Testing::ScratchDirectory;
using Testing::writeText;

/// All rows of a table; a failure names the first bad line.
std::vector<std::vector<double>> rowsOf(Table& table) {
    std::vector<std::vector<double>> rows;
    while (table.next()) {
        for (TableFault const& fault : table.getFaults()) {
            table.fail(fault.cause);
        }
        rows.push_back(table.getValues());
    }
    return rows;
}

std::vector<std::vector<double>> rowsOf(std::string const& text) {
    ScratchDirectory const directory;
    writeText(directory / "t.csv", text);
    Table table(directory / "t.csv");
    return rowsOf(table);
}

using Rows = std::vector<std::vector<double>>;
Rows const wanted{{1.5, -2.0, 3.25}, {4.0, 5.5, 6e-3}};

TEST(Table, ReadsEverySeparatorAndDecimalMark) {
    for (char const* text : {
             "x,y,z\n1.5,-2,3.25\n4,5.5,6e-3\n",
             "x;y;z\n1.5;-2;3.25\n4;5.5;6e-3\n",
             "x;y;z\n1,5;-2;3,25\n4;5,5;6e-3\n",
             "x\ty\tz\n1.5\t-2\t3.25\n4\t5.5\t6e-3\n",
             "x\ty\tz\n1,5\t-2\t3,25\n4\t5,5\t6e-3\n",
             "x y z\n1.5 -2 3.25\n4  5.5\t6e-3\n",
             "  x   y  z\n 1,5 -2 3,25\n 4  5,5   6e-3  \n",
             "1,5 -2 3,25\n4 5,5 6e-3\n",
             "1.5,-2,3.25\n4,5.5,6e-3\n",
             "\"x\",\"y\",\"z\"\n\"1,5\",\"-2\",\"3,25\"\n\"4\",\"5,5\",\"6e-3\"\n",
             "\xEF\xBB\xBFx;y;z\r\n1,5;-2;3,25\r\n\r\n4;5,5;6e-3\r\n",
             "x,y,z\r1.5,-2,3.25\r4,5.5,6e-3",
             "# made by hand\n\n// more\n% and more\nx, y, z\n1.5, -2, 3.25\n# between\n4, 5.5, +6e-3 # "
             "behind\n",
             "sep=;\nx;y;z\n1,5;-2;3,25\n4;5,5;6e-3\n",
             "x;y;z;\n1,5;-2;3,25;\n4;5,5;6e-3;\n",
             "x\t\ty\tz\n1.5\t-2\t\t3.25\n4\t5.5\t6e-3\n",
         }) {
        EXPECT_EQ(rowsOf(text), wanted) << text;
    }
}

TEST(Table, TellsNamesAndUnitsOfColumns) {
    ScratchDirectory const directory;
    auto const columnsOf = [&](std::string const& text) {
        writeText(directory / "t.csv", text);
        std::string all;
        Table const table(directory / "t.csv");
        for (TableColumn const& column : table.getColumns()) {
            all += column.name + '|' + column.unit + (column.isText ? "|text " : " ");
        }
        return all;
    };
    EXPECT_EQ(columnsOf("tof[us],amp [%FSH],x (mm),remark\n1,2,3,good\n"),
              "tof|us amp|%FSH x|mm remark||text ");
    EXPECT_EQ(columnsOf("tof [us] amp (%)\n1 2\n"), "tof|us amp|% ");
    EXPECT_EQ(columnsOf("tof,amp\nus,%\n1,2\n"), "tof|us amp|% ");
    EXPECT_EQ(columnsOf("# x y z\n1 2 3\n"), "x| y| z| ");
    EXPECT_EQ(columnsOf("# measured by the second shift\n1 2 3\n"), "column 1| column 2| column 3| ");
    EXPECT_EQ(columnsOf("x,gate 1,7\n1,2,3\n"), "x| gate 1| 7| ");
}

TEST(Table, AnEmptyFieldHasNoValue) {
    auto const rows = rowsOf("a;b;c\n1;;3\n;NaN; \n7;n/a;9\n");
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_EQ(rows[0][0], 1.0);
    EXPECT_TRUE(std::isnan(rows[0][1]));
    EXPECT_EQ(rows[0][2], 3.0);
    EXPECT_TRUE(std::isnan(rows[1][0]) && std::isnan(rows[1][1]) && std::isnan(rows[1][2]));
    EXPECT_TRUE(std::isnan(rows[2][1]));
    EXPECT_EQ(rows[2][2], 9.0);
}

TEST(Table, NamesTheLineAndTheCauseOfAFault) {
    ScratchDirectory const directory;
    auto const path = (directory / "t.csv").string();
    auto const causeIn = [&](std::string const& text) {
        writeText(path, text);
        return messageOf([&] {
            Table table(path);
            rowsOf(table);
        });
    };
    EXPECT_EQ(causeIn("x,y\n1,2\n\n3,abc\n"), path + ", line 4: 'abc' in column 'y' is not a number");
    EXPECT_EQ(causeIn("x,y\n1,2\n3\n"), path + ", line 3: 2 fields expected, 1 found");
    EXPECT_EQ(causeIn("x,y\n1,2\n3,4,5\n"), path + ", line 3: 2 fields expected, 3 found");
    EXPECT_EQ(causeIn("x,y\n1,inf\n"), path + ", line 2: 'inf' in column 'y' is not a number");
    EXPECT_EQ(causeIn("x,y\n1,1e999\n"), path + ", line 2: '1e999' in column 'y' is not a number");
    EXPECT_EQ(
        causeIn("x;y\n1.5;2.5\n1;1,234\n"),
        path + ", line 3: '1,234' in column 'y' has a decimal comma, numbers before it have decimal points");
    EXPECT_EQ(
        causeIn("x;y\n1,5;2,5\n1;1.234\n"),
        path + ", line 3: '1.234' in column 'y' has a decimal point, numbers before it have decimal commas");
    EXPECT_EQ(causeIn("1,abc,3\n4,5,6\n"), path + ", line 1: 'abc' in column 'column 2' is not a number");
    EXPECT_EQ(causeIn(""), path + ": holds no line of data");
    EXPECT_EQ(causeIn("# nothing\n\n"), path + ": holds no line of data");
    EXPECT_EQ(causeIn(std::string("x,y\n1,\0\n", 9)), path + ": is no text; a table of numbers is wanted");
    EXPECT_EQ(causeIn("\xFF\xFEx"), path + ": is text in UTF-16; save it as UTF-8 or as plain CSV");
    EXPECT_EQ(causeIn("x\n" + std::string(1U << 21U, '1')),
              path + ": line 2 is longer than a line of a table can be");
    EXPECT_EQ(messageOf([&] { Table(directory / "none.csv"); }),
              (directory / "none.csv").string() + ": cannot be read (No such file or directory)");
}

TEST(Table, ReadsTheChosenColumnsInTheirOrder) {
    ScratchDirectory const directory;
    writeText(directory / "t.csv", "a,b,c\n1,oops,3\n");
    Table table(directory / "t.csv");
    table.choose({2, 0});
    EXPECT_EQ(rowsOf(table), (Rows{{3.0, 1.0}}));
}

TEST(Table, GoesOnBehindAFault) {
    ScratchDirectory const directory;
    writeText(directory / "t.csv", "a,b\n1,x\n2\n3,4\n");
    Table table(directory / "t.csv");
    ASSERT_TRUE(table.next());
    ASSERT_EQ(table.getFaults().size(), 1U);
    EXPECT_EQ(table.getFaults()[0].field, std::optional<std::size_t>(1));
    EXPECT_EQ(table.getValues()[0], 1.0);
    ASSERT_TRUE(table.next());
    EXPECT_FALSE(table.getFaults().at(0).field.has_value());
    ASSERT_TRUE(table.next());
    EXPECT_TRUE(table.getFaults().empty());
    EXPECT_EQ(table.getValues(), (std::vector<double>{3.0, 4.0}));
    EXPECT_EQ(table.getLine(), 4U);
    EXPECT_FALSE(table.next());
    EXPECT_EQ(table.getShareRead(), 1.0);
}

TEST(Table, LinesMayLieAcrossBlocks) {
    ScratchDirectory const directory;
    std::string text = "a,b\n";
    constexpr int count = 200000;
    for (int i = 0; i < count; ++i) {
        text += std::to_string(i) + ",0.5\n";
    }
    writeText(directory / "t.csv", text);
    Table table(directory / "t.csv");
    int rows = 0;
    while (table.next()) {
        ASSERT_EQ(table.getValues()[0], rows++);
        ASSERT_EQ(table.getValues()[1], 0.5);
    }
    EXPECT_EQ(rows, count);
}

} // namespace
} // namespace QELT::Inspection
