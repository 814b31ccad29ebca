// The layers of the library, read off the #include lines of its files: an arrow upward fails a test here.

#include "tests/architecture/includetable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

using namespace Architecture;

namespace {

/// The folders whose headers a folder's files may include, besides those of its own.
std::map<std::string, Names> const allowedFolders{
    {"foundations", {}},
    {"linearalgebra", {"foundations"}},
    {"spatial", {"foundations"}},
    {"fitting", {"foundations", "linearalgebra"}},
    {"trimesh", {"foundations", "linearalgebra", "spatial", "fitting"}},
    {"flattening", {"foundations", "linearalgebra", "fitting", "trimesh"}},
    {"quadmesh", {"foundations", "linearalgebra", "fitting", "trimesh", "search"}},
    {"search", {"foundations", "linearalgebra", "fitting", "trimesh", "quadmesh"}},
    {"groups", {"foundations", "fitting", "trimesh", "quadmesh", "search"}},
};

/// Files that may include one header of a layer above: a point of space is an element of the partition tree,
/// and the search of that tree keeps its candidates in the ranked pairs of the mesh, which know nothing of
/// meshes.
std::map<std::string, std::string> const permittedExceptions{
    {"Geometry/foundations/point.h", "Geometry/spatial/object.h"},
    {"Geometry/spatial/nearestneighbours.cpp", "Geometry/trimesh/map.h"},
};

/// The element of the partition tree lies below everything, so it may not pull anything in.
std::string const treeElementHeader = "Geometry/spatial/object.h";
std::string const exportHeader = "Geometry/foundations/export.h";
std::string const umbrellaHeader = "Geometry/geometry.h";

Names internalHeaders() {
    std::istringstream list(QELT_INTERNAL_HEADERS);
    Names names;
    for (std::string name; std::getline(list, name, ':');) {
        names.insert(name);
    }
    return names;
}

/// "trimesh" of "Geometry/trimesh/mesh.h"; empty for a file directly below Geometry and for any other name.
std::string folderOf(std::string const& name) {
    static std::regex const pattern(R"(Geometry/([^/]+)/.*)");
    std::smatch match;
    return std::regex_match(name, match, pattern) ? match[1].str() : std::string();
}

bool isPermitted(std::string const& file, std::string const& included) {
    auto const exception = permittedExceptions.find(file);
    if (exception != permittedExceptions.end() && exception->second == included) {
        return true;
    }
    if (file == treeElementHeader) {
        return included == exportHeader;
    }
    std::string const from = folderOf(file);
    std::string const to = folderOf(included);
    if (from == to && !to.empty()) {
        return true;
    }
    // The records name the grid that answered by forward declaration only.
    if (from == "search" && to == "quadmesh" && isHeader(file)) {
        return false;
    }
    auto const allowed = allowedFolders.find(from);
    return allowed != allowedFolders.end() && allowed->second.contains(to);
}

/// One line for each include that the layers forbid.
std::vector<std::string> findArrowsUpward(IncludeTable const& table) {
    std::vector<std::string> found;
    for (auto const& [file, includes] : table) {
        if (file == umbrellaHeader) {
            continue;
        }
        for (std::string const& included : includes.quoted) {
            if (!isPermitted(file, included)) {
                found.push_back(file + " includes " + included);
            }
        }
    }
    return found;
}

Names publicHeaders(IncludeTable const& table) {
    Names headers;
    for (auto const& [file, includes] : table) {
        if (isHeader(file) && !internalHeaders().contains(file)) {
            headers.insert(file);
        }
    }
    return headers;
}

IncludeTable tableOf(std::string const& file, std::string const& included) {
    return {{file, Includes{{included}, {}}}};
}

} // namespace

TEST(ArchitectureCheck, SeesAnArrowUpward) {
    EXPECT_EQ(1u,
              findArrowsUpward(tableOf("Geometry/foundations/point.h", "Geometry/trimesh/mesh.h")).size());
    EXPECT_EQ(1u, findArrowsUpward(tableOf("Geometry/trimesh/mesh.cpp", "Geometry/quadmesh/edge.h")).size());
    EXPECT_EQ(1u, findArrowsUpward(tableOf("Geometry/foundations/plane.h", treeElementHeader)).size());
    EXPECT_EQ(1u, findArrowsUpward(tableOf(treeElementHeader, "Geometry/foundations/plane.h")).size());
    EXPECT_EQ(1u, findArrowsUpward(tableOf("Geometry/search/status.h", "Geometry/quadmesh/edge.h")).size());
    EXPECT_EQ(1u, findArrowsUpward(tableOf("Geometry/unheardof/file.h", "Geometry/quadmesh/edge.h")).size());
    EXPECT_EQ(1u, findArrowsUpward(tableOf("Geometry/trimesh/mesh.h", "mesh.h")).size());
}

TEST(ArchitectureCheck, AcceptsArrowsDownwardAndThePermittedException) {
    EXPECT_TRUE(findArrowsUpward(tableOf("Geometry/foundations/point.h", treeElementHeader)).empty());
    EXPECT_TRUE(findArrowsUpward(tableOf("Geometry/trimesh/mesh.h", "Geometry/trimesh/edge.h")).empty());
    EXPECT_TRUE(findArrowsUpward(tableOf("Geometry/search/ray.cpp", "Geometry/quadmesh/edge.h")).empty());
    EXPECT_TRUE(findArrowsUpward(tableOf(treeElementHeader, exportHeader)).empty());
}

TEST(ArchitectureCheck, ReadsIncludeLinesOfBothForms) {
    std::istringstream text("#include \"Geometry/a.h\"\n  #  include <vector> // why\n// #include \"b.h\"\n");

    Includes const includes = parseIncludes(text);

    EXPECT_EQ(Names{"Geometry/a.h"}, includes.quoted);
    EXPECT_EQ(Names{"vector"}, includes.angled);
}

TEST(Architecture, NoFileIncludesALayerAboveItsOwn) {
    IncludeTable const table = readTree("Geometry");
    ASSERT_FALSE(table.empty());

    for (std::string const& arrow : findArrowsUpward(table)) {
        ADD_FAILURE() << arrow;
    }
}

TEST(Architecture, HeadersDoNotIncludeEachOtherInACircle) {
    IncludeTable const table = readTree("Geometry");

    for (auto const& [file, includes] : table) {
        for (std::string const& included : includes.quoted) {
            EXPECT_FALSE(reachableFrom(included, table).contains(file)) << file << " through " << included;
        }
    }
}

TEST(Architecture, QuotedIncludesNameFilesThatExist) {
    for (auto const& [file, includes] : readTree("Geometry")) {
        for (std::string const& included : includes.quoted) {
            EXPECT_TRUE(std::filesystem::exists(repository() / included)) << file << " includes " << included;
        }
    }
}

TEST(Architecture, TheLibraryNeedsTheStandardLibraryOnly) {
    for (auto const& [file, includes] : readTree("Geometry")) {
        for (std::string const& included : includes.angled) {
            EXPECT_EQ(std::string::npos, included.find('/')) << file << " includes <" << included << '>';
        }
    }
}

TEST(Architecture, PublicHeadersDoNotIncludeInternalOnes) {
    IncludeTable const table = readTree("Geometry");

    for (std::string const& header : publicHeaders(table)) {
        for (std::string const& included : table.at(header).quoted) {
            EXPECT_FALSE(internalHeaders().contains(included)) << header << " includes " << included;
        }
    }
}

TEST(Architecture, EveryInternalHeaderOfTheListExists) {
    ASSERT_FALSE(internalHeaders().empty());
    for (std::string const& header : internalHeaders()) {
        EXPECT_TRUE(std::filesystem::exists(repository() / header)) << header;
    }
}

TEST(Architecture, TheUmbrellaHeaderReachesEveryPublicHeader) {
    IncludeTable const table = readTree("Geometry");
    Names const reached = reachableFrom(umbrellaHeader, table);

    for (std::string const& header : publicHeaders(table)) {
        EXPECT_TRUE(reached.contains(header)) << header;
    }
}

/// Below which folder of the application each of its folders stands: those whose headers its files include.
std::map<std::string, Names> applicationFolders() {
    static std::regex const pattern(R"(apps/cscan/([^/]+)/.*)");
    auto const folderIn = [](std::string const& name) {
        std::smatch match;
        return std::regex_match(name, match, pattern) ? match[1].str() : std::string();
    };
    std::map<std::string, Names> folders;
    for (auto const& [file, includes] : readTree("apps/cscan")) {
        for (std::string const& included : includes.quoted) {
            std::string const from = folderIn(file);
            std::string const to = folderIn(included);
            if (!from.empty() && !to.empty() && from != to) {
                folders[from].insert(to);
            }
        }
    }
    return folders;
}

TEST(Architecture, TheFoldersOfTheApplicationStandInNoCircle) {
    auto folders = applicationFolders();
    ASSERT_FALSE(folders.empty());
    auto const isFree = [&](auto const& entry) {
        return std::none_of(entry.second.begin(), entry.second.end(),
                            [&](std::string const& below) { return folders.contains(below); });
    };
    // What stands on nothing that is left is taken away, until nothing is left or a circle.
    while (std::erase_if(folders, isFree) > 0) {
    }
    for (auto const& [folder, below] : folders) {
        ADD_FAILURE() << folder << " stands in a circle or on one";
    }
}

TEST(Architecture, ClientsIncludePublicHeadersAlone) {
    for (char const* folder : {"Inspection", "apps", "examples", "benchmarks", "fuzz"}) {
        for (auto const& [file, includes] : readTree(folder)) {
            for (std::string const& included : includes.quoted) {
                EXPECT_FALSE(internalHeaders().contains(included)) << file << " includes " << included;
                EXPECT_FALSE(included.ends_with(".cpp")) << file << " includes " << included;
            }
        }
    }
}
