// Tables with bytes changed, dropped and doubled: rows or one line of complaint, whatever comes.

#include "Inspection/records/failure.h"
#include "Inspection/tables/columnnames.h"
#include "tests/inspection/scratchdirectory.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace QELT::Inspection {
namespace {

using Testing::ScratchDirectory;
using Testing::writeText;

constexpr std::array<char const*, 5> samples{
    "ox,oy,oz,dx,dy,dz,amp[%FSH],tof (us)\n1,2,3,0,0,-1,50,2.5\n4,5,6,0,1,0,,\n",
    "sep=;\r\n\"x\";\"y\";\"amp\"\r\n\"1,5\";2;\"3,25\"\r\n;;4\r\n",
    "# x y z\n1,5 2,5 3e-3 # end\n// more\n4 5 6\n",
    "\xEF\xBB\xBFt\tx\ty\nms\tmm\tmm\n1\t2\t\n3\tnan\t4\n",
    "1;2;3\n4;5;6\n7;8;9",
};

std::string mutated(std::string text, std::mt19937& random) {
    constexpr std::string_view letters("0123456789.,;\t \n\r\"#/%-+einaf[]()=x\xC2\x7F\0", 37);
    auto const below = [&](std::size_t end) {
        return std::uniform_int_distribution<std::size_t>(0, end - 1)(random);
    };
    for (std::size_t changes = 1 + below(4); changes > 0 && !text.empty(); --changes) {
        std::size_t const place = below(text.size());
        switch (below(4)) {
        case 0:
            text[place] = letters[below(letters.size())];
            break;
        case 1:
            text.erase(place, 1 + below(5));
            break;
        case 2:
            text.insert(place, 1, letters[below(letters.size())]);
            break;
        default:
            text.insert(place, text.substr(below(text.size()), 1 + below(20)));
        }
    }
    return text;
}

/// Reads all of it; the number of rows, or nothing where it is refused.
std::optional<std::size_t> rowsIn(std::filesystem::path const& path) {
    try {
        Table table(path);
        NamedColumns const named = nameColumns(table, {});
        EXPECT_EQ(named.columns.size() + named.unused.size(), table.getColumns().size());
        std::size_t rows = 0;
        while (table.next()) {
            EXPECT_EQ(table.getValues().size(), table.getColumns().size());
            for (TableFault const& fault : table.getFaults()) {
                EXPECT_FALSE(fault.cause.empty());
                EXPECT_EQ(fault.cause.find('\n'), std::string::npos);
            }
            ++rows;
        }
        return rows;
    } catch (Failure const& failure) {
        EXPECT_EQ(std::string(failure.what()).find('\n'), std::string::npos);
        return std::nullopt;
    }
}

TEST(Table, AnyBytesAreRowsOrAFailure) {
    ScratchDirectory const directory;
    std::mt19937 random(3);
    std::size_t read = 0;
    std::size_t refused = 0;
    for (int i = 0; i < 300; ++i) {
        for (char const* sample : samples) {
            writeText(directory / "t.csv", mutated(sample, random));
            ++(rowsIn(directory / "t.csv") ? read : refused);
        }
    }
    EXPECT_GT(read, 1000U);
    EXPECT_GT(refused, 10U);
}

} // namespace
} // namespace QELT::Inspection
