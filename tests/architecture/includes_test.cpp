// The layers of the library, read off the #include lines and the forward declarations of its files: an arrow
// upward fails a test here, and so does an arrow that is allowed and that no file uses.

#include "tests/architecture/includetable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using namespace Architecture;

namespace {

/// The folders whose headers a folder's files may include, besides those of its own, from the top layer down.
std::map<std::string, Names> const allowedFolders{
    {"groups", {"foundations", "quadmesh"}},
    {"search", {"foundations", "quadmesh"}},
    {"quadmesh", {"foundations", "trimesh"}},
    {"flattening", {"foundations", "linearalgebra", "trimesh"}},
    {"trimesh", {"foundations", "linearalgebra", "spatial"}},
    {"fitting", {"foundations", "linearalgebra"}},
    {"spatial", {"foundations"}},
    {"linearalgebra", {"foundations"}},
    {"foundations", {}},
};

std::string const umbrellaHeader = "Geometry/geometry.h";

/// "trimesh" of "Geometry/trimesh/mesh.h"; empty for a file directly below Geometry and for any other name.
std::string folderOf(std::string const& name) {
    static std::regex const pattern(R"(Geometry/([^/]+)/.*)");
    std::smatch match;
    return std::regex_match(name, match, pattern) ? match[1].str() : std::string();
}

/// An arrow between folders, and where it is drawn.
struct Arrow {
    std::string from;
    std::string to;
    std::string reason;
};

/// Where each class is defined.
std::map<std::string, std::string> homesOfClasses(IncludeTable const& table) {
    std::map<std::string, std::string> homes;
    for (auto const& [file, includes] : table) {
        for (std::string const& name : includes.defined) {
            homes[name] = file;
        }
    }
    return homes;
}

/// The arrows from folder to folder that the files of a tree draw by what they include or declare.
std::vector<Arrow> arrowsOf(IncludeTable const& table) {
    auto const homes = homesOfClasses(table);
    std::vector<Arrow> arrows;
    auto const add = [&](std::string const& file, std::string const& target, std::string const& reason) {
        if (folderOf(file) != folderOf(target) || folderOf(file).empty()) {
            arrows.push_back({folderOf(file), folderOf(target), reason});
        }
    };
    for (auto const& [file, includes] : table) {
        if (file == umbrellaHeader) {
            continue;
        }
        for (std::string const& included : includes.quoted) {
            add(file, included, file + " includes " + included);
        }
        for (std::string const& name : includes.declared) {
            if (auto const home = homes.find(name); home != homes.end()) {
                add(file, home->second, file + " declares " + name);
            }
        }
    }
    return arrows;
}

/// One line for each arrow that the layers forbid.
std::vector<std::string> findArrowsUpward(IncludeTable const& table) {
    std::vector<std::string> found;
    for (Arrow const& arrow : arrowsOf(table)) {
        auto const allowed = allowedFolders.find(arrow.from);
        if (allowed == allowedFolders.end() || !allowed->second.contains(arrow.to)) {
            found.push_back(arrow.reason);
        }
    }
    return found;
}

Names publicHeaders(IncludeTable const& table) {
    Names headers;
    for (auto const& [file, includes] : table) {
        if (isHeader(file) && !isInternal(file)) {
            headers.insert(file);
        }
    }
    return headers;
}

IncludeTable tableOf(std::string const& file, std::string const& included) {
    return {{file, Includes{{included}, {}, {}, {}}}};
}

} // namespace

TEST(ArchitectureCheck, SeesAnArrowUpward) {
    EXPECT_EQ(1u,
              findArrowsUpward(tableOf("Geometry/foundations/point.h", "Geometry/trimesh/mesh.h")).size());
    EXPECT_EQ(1u, findArrowsUpward(tableOf("Geometry/trimesh/mesh.cpp", "Geometry/quadmesh/edge.h")).size());
    EXPECT_EQ(1u, findArrowsUpward(tableOf("Geometry/quadmesh/grid.cpp", "Geometry/search/walk.h")).size());
    EXPECT_EQ(1u, findArrowsUpward(tableOf("Geometry/unheardof/file.h", "Geometry/quadmesh/edge.h")).size());
    EXPECT_EQ(1u, findArrowsUpward(tableOf("Geometry/trimesh/mesh.h", "mesh.h")).size());
}

TEST(ArchitectureCheck, CountsAForwardDeclarationAsAnArrow) {
    std::istringstream lower("namespace B {\nclass Upper;\n}\n"
                             "namespace A {\nclass Upper;\nclass Peer;\nclass Peer {\n} // namespace A\n");
    std::istringstream upper("namespace A {\nclass QELT_EXPORT Upper : Peer {\n};\n} // namespace A\n");
    IncludeTable const table{{"Geometry/spatial/lower.h", parseIncludes(lower)},
                             {"Geometry/quadmesh/upper.h", parseIncludes(upper)}};

    EXPECT_EQ(std::vector<std::string>{"Geometry/spatial/lower.h declares A::Upper"},
              findArrowsUpward(table));
}

TEST(ArchitectureCheck, AcceptsArrowsDownward) {
    EXPECT_TRUE(findArrowsUpward(tableOf("Geometry/foundations/a.h", "Geometry/foundations/b.h")).empty());
    EXPECT_TRUE(findArrowsUpward(tableOf("Geometry/trimesh/files/a.h", "Geometry/trimesh/edge.h")).empty());
    EXPECT_TRUE(findArrowsUpward(tableOf("Geometry/search/ray.cpp", "Geometry/quadmesh/edge.h")).empty());
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

TEST(Architecture, TheAllowedArrowsAloneStandInNoCircle) {
    auto folders = allowedFolders;
    auto const isFree = [&](auto const& entry) {
        return std::none_of(entry.second.begin(), entry.second.end(),
                            [&](std::string const& below) { return folders.contains(below); });
    };
    while (std::erase_if(folders, isFree) > 0) {
    }
    EXPECT_TRUE(folders.empty());
}

TEST(Architecture, EveryAllowedArrowIsUsed) {
    auto unused = allowedFolders;
    for (Arrow const& arrow : arrowsOf(readTree("Geometry"))) {
        unused[arrow.from].erase(arrow.to);
    }
    for (auto const& [from, folders] : unused) {
        for (std::string const& to : folders) {
            ADD_FAILURE() << from << " may include " << to << " and does not";
        }
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
            EXPECT_FALSE(isInternal(included)) << header << " includes " << included;
        }
    }
}

TEST(Architecture, InternalFoldersHoldHeadersThatTheLibraryUses) {
    IncludeTable const table = readTree("Geometry");
    for (auto const& entryOfFile : table) {
        std::string const& file = entryOfFile.first;
        if (isHeader(file) && isInternal(file)) {
            bool const isUsed = std::any_of(table.begin(), table.end(), [&](auto const& entry) {
                return entry.second.quoted.contains(file);
            });
            EXPECT_TRUE(isUsed) << file;
        }
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
    for (char const* folder : {"Inspection", "apps", "examples", "benchmarks", "fuzz", "python"}) {
        for (auto const& [file, includes] : readTree(folder)) {
            for (std::string const& included : includes.quoted) {
                bool const isOfTheCore = included.starts_with("Geometry/");
                EXPECT_FALSE(isOfTheCore && isInternal(included)) << file << " includes " << included;
                EXPECT_FALSE(included.ends_with(".cpp")) << file << " includes " << included;
            }
        }
    }
}
