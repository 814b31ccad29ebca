#include "Inspection/tables/columnnames.h"

#include "Inspection/tables/units.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <numbers>

namespace QELT::Inspection {
namespace {

using Testing::messageOf;
using Testing::ScratchDirectory;
using Testing::writeText;

std::string textOf(NamedColumns const& named) {
    std::string text;
    for (NamedColumn const& column : named.columns) {
        text += column.name + '[' + column.unit + "]=" + std::to_string(column.index) + ' ';
    }
    for (std::string const& name : named.unused) {
        text += "unused " + name + ' ';
    }
    for (std::string const& name : named.missing) {
        text += "missing " + name + ' ';
    }
    return text;
}

std::string namedIn(std::string const& table, std::string const& naming) {
    ScratchDirectory const directory;
    writeText(directory / "t.csv", table);
    return textOf(
        nameColumns(Table(directory / "t.csv"), naming.empty() ? ColumnNaming() : columnNamingIn(naming)));
}

TEST(ColumnNames, ComeFromTheHeadingOrAreTold) {
    std::string const table = "X [mm],Y,Amp (%),3,2\n1,2,3,4,5\n";
    EXPECT_EQ(namedIn(table, ""), "X[mm]=0 Y[]=1 Amp[%]=2 3[]=3 2[]=4 ");
    EXPECT_EQ(namedIn(table, "ox=X,amplitude[%FSH]=amp"), "ox[mm]=0 Y[]=1 amplitude[%FSH]=2 3[]=3 2[]=4 ");
    EXPECT_EQ(namedIn(table, "gate=3,first=1"),
              "first[mm]=0 Y[]=1 Amp[%]=2 gate[]=3 2[]=4 "); // a name before a number
    EXPECT_EQ(namedIn(table, "a,b,-,c"), "a[mm]=0 b[]=1 c[]=3 2[]=4 unused Amp ");
    EXPECT_EQ(namedIn(table, "-=Y,q=none"), "X[mm]=0 Amp[%]=2 3[]=3 2[]=4 unused Y missing none ");
    EXPECT_EQ(namedIn(table, "x=Y"), "x[]=1 Amp[%]=2 3[]=3 2[]=4 unused X "); // the told one takes the name
}

TEST(ColumnNames, WithoutAHeadingOnlyWhatIsTold) {
    std::string const table = "1,2,3\n4,5,6\n";
    EXPECT_EQ(namedIn(table, ""), "unused column 1 unused column 2 unused column 3 ");
    EXPECT_EQ(namedIn(table, "x=2,amp[%]=3"), "x[]=1 amp[%]=2 unused column 1 ");
    EXPECT_EQ(namedIn(table, "x,y,z,amp"), "x[]=0 y[]=1 z[]=2 missing amp ");
    EXPECT_EQ(namedIn(table, "x=9"), "unused column 1 unused column 2 unused column 3 missing 9 ");
}

TEST(ColumnNames, ThatAreOpenAreRefused) {
    EXPECT_EQ(messageOf([] { columnNamingIn("ox=X,oy"); }),
              "'ox=X,oy' names some columns and counts others; write NAME=COLUMN for each, or names alone");
    EXPECT_EQ(messageOf([] { columnNamingIn("ox="); }), "'ox=' does not name a column; write NAME=COLUMN");
    EXPECT_EQ(messageOf([] { columnNamingIn(""); }), "'' does not name a column; write NAME=COLUMN");
    ScratchDirectory const directory;
    writeText(directory / "t.csv", "a,A,b\n1,2,3\n");
    Table const table(directory / "t.csv");
    std::string const path = table.getName();
    EXPECT_EQ(textOf(nameColumns(table, columnNamingIn("x=A"))), "a[]=0 x[]=1 b[]=2 ");
    EXPECT_EQ(messageOf([&] { nameColumns(table, columnNamingIn("x=b,y=3")); }),
              path + ": column 'b' is told to be two things");
    writeText(directory / "t.csv", "amp_1,Amp 1,b\n1,2,3\n");
    Table const alike(directory / "t.csv");
    EXPECT_EQ(messageOf([&] { nameColumns(alike, columnNamingIn("x=amp1")); }),
              path + ": two columns are named 'amp1'; tell the wanted one by its number");
    auto const columns = nameColumns(alike, {}).columns;
    EXPECT_EQ(messageOf([&] { findColumn(columns, {"amp1"}); }),
              "two columns are named 'Amp 1'; tell which with --columns");
    EXPECT_EQ(findColumn(columns, {"none", "b"}), std::optional<std::size_t>(2));
    EXPECT_EQ(findColumn(columns, {"none"}), std::nullopt);
}

TEST(Units, AreKnownByTheirNames) {
    EXPECT_EQ(metresIn("mm"), 0.001);
    EXPECT_EQ(metresIn("Millimetres"), 0.001);
    EXPECT_EQ(metresIn("inches"), 0.0254);
    EXPECT_EQ(metresIn("s"), std::nullopt);
    EXPECT_EQ(secondsIn("µs"), 1e-6);
    EXPECT_EQ(secondsIn("ms"), 1e-3);
    EXPECT_EQ(secondsIn("us"), 1e-6);
    EXPECT_EQ(radiansIn("Deg"), std::numbers::pi / 180.0);
    EXPECT_EQ(radiansIn(""), std::nullopt);
}

} // namespace
} // namespace QELT::Inspection
