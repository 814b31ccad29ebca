// The rooms of the inspection library, read off the #include lines of its files: each stands on those before
// it and on the core's public headers.

#include "tests/architecture/includetable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

using namespace Architecture;

namespace {

/// From the ground up: a room's files include those of rooms further to the left.
constexpr std::array<std::string_view, 17> rooms{
    "records", "tables", "frames",  "import",      "parts",    "maps",     "grids",   "scanning", "fits",
    "poses",   "shots",  "results", "indications", "planning", "pictures", "exports", "pages"};

std::string const umbrellaHeader = "Inspection/inspection.h";

/// What stands for itself below Inspection/ and may be included by every room.
Names const commonHeaders{"Inspection/export.h", "Inspection/names.h"};

/// "grids" of "Inspection/grids/prepare.h"; empty for any other name.
std::string roomOf(std::string const& name) {
    static std::regex const pattern(R"(Inspection/([^/]+)/.*)");
    std::smatch match;
    return std::regex_match(name, match, pattern) ? match[1].str() : std::string();
}

/// Its place from the ground up; behind the last if there is no such room.
std::ptrdiff_t placeOf(std::string const& room) {
    return std::find(rooms.begin(), rooms.end(), room) - rooms.begin();
}

bool isPermitted(std::string const& file, std::string const& included) {
    if (included.starts_with("Geometry/") || commonHeaders.contains(included)) {
        return true;
    }
    std::string const to = roomOf(included);
    return !commonHeaders.contains(file) && placeOf(to) <= placeOf(roomOf(file)) &&
           placeOf(to) < static_cast<std::ptrdiff_t>(rooms.size());
}

/// One line for each include that the order of the rooms forbids.
std::vector<std::string> findArrowsUpward(IncludeTable const& table) {
    std::vector<std::string> found;
    for (auto const& [file, includes] : table) {
        for (std::string const& included : includes.quoted) {
            if (file != umbrellaHeader && !isPermitted(file, included)) {
                found.push_back(file + " includes " + included);
            }
        }
    }
    return found;
}

std::size_t countUpward(std::string const& file, std::string const& included) {
    return findArrowsUpward({{file, Includes{{included}, {}, {}, {}}}}).size();
}

} // namespace

TEST(InspectionCheck, SeesAnArrowUpward) {
    EXPECT_EQ(1u, countUpward("Inspection/records/numbers.cpp", "Inspection/import/objfile.h"));
    EXPECT_EQ(1u, countUpward("Inspection/scanning/scan.cpp", "Inspection/pictures/image.h"));
    EXPECT_EQ(1u, countUpward("Inspection/parts/facemesh.h", "apps/cscan/names.h"));
    EXPECT_EQ(1u, countUpward("Inspection/parts/facemesh.h", umbrellaHeader));
    EXPECT_EQ(1u, countUpward("Inspection/parts/facemesh.h", "facemesh.h"));
    EXPECT_EQ(1u, countUpward("Inspection/names.h", "Inspection/records/failure.h"));
    EXPECT_EQ(1u, countUpward("Inspection/cellar/file.h", "Inspection/cellar/other.h"));
}

TEST(InspectionCheck, AcceptsArrowsDownward) {
    EXPECT_EQ(0u, countUpward("Inspection/pictures/image.h", "Inspection/records/numbers.h"));
    EXPECT_EQ(0u, countUpward("Inspection/grids/prepare.h", "Inspection/grids/gridsummary.h"));
    EXPECT_EQ(0u, countUpward("Inspection/records/failure.h", "Inspection/export.h"));
    EXPECT_EQ(0u, countUpward("Inspection/names.h", "Geometry/geometry.h"));
}

TEST(Inspection, NoRoomIncludesOneAboveIt) {
    IncludeTable const table = readTree("Inspection");
    ASSERT_FALSE(table.empty());

    for (std::string const& arrow : findArrowsUpward(table)) {
        ADD_FAILURE() << arrow;
    }
}

TEST(Inspection, EveryRoomOfTheListIsThere) {
    for (std::string_view const room : rooms) {
        EXPECT_TRUE(std::filesystem::is_directory(repository() / "Inspection" / room)) << room;
    }
}

TEST(Inspection, PublicHeadersShowNoInternalOneAndNoOtherLibrary) {
    for (auto const& [file, includes] : readTree("Inspection")) {
        if (!isHeader(file) || isInternal(file)) {
            continue;
        }
        for (std::string const& included : includes.quoted) {
            EXPECT_FALSE(isInternal(included)) << file << " includes " << included;
        }
        for (std::string const& included : includes.angled) {
            EXPECT_EQ(std::string::npos, included.find_first_of("./"))
                << file << " includes <" << included << '>';
        }
    }
}

TEST(Inspection, TheUmbrellaHeaderReachesEveryPublicHeader) {
    IncludeTable const table = readTree("Inspection");
    Names const reached = reachableFrom(umbrellaHeader, table);

    for (auto const& [file, includes] : table) {
        EXPECT_TRUE(!isHeader(file) || isInternal(file) || reached.contains(file)) << file;
    }
}

TEST(Inspection, ApplicationsIncludePublicHeadersAlone) {
    for (char const* folder : {"apps", "simulation", "python", "examples"}) {
        IncludeTable const table = readTree(folder);
        ASSERT_FALSE(table.empty()) << folder;
        for (auto const& [file, includes] : table) {
            for (std::string const& included : includes.quoted) {
                EXPECT_FALSE(isInternal(included)) << file << " includes " << included;
            }
        }
    }
}

TEST(Inspection, TheSimulationKnowsNoApplication) {
    for (auto const& [file, includes] : readTree("simulation")) {
        for (std::string const& included : includes.quoted) {
            EXPECT_FALSE(included.starts_with("apps/")) << file << " includes " << included;
        }
    }
}

TEST(Inspection, TheCoreAndItsFuzzersDoNotKnowIt) {
    for (char const* folder : {"Geometry", "fuzz"}) {
        for (auto const& [file, includes] : readTree(folder)) {
            for (std::string const& included : includes.quoted) {
                EXPECT_FALSE(included.starts_with("Inspection/")) << file << " includes " << included;
            }
        }
    }
}
