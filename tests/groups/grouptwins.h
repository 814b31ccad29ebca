#pragma once

#include "Geometry/groups/rectmeshgroup.h"
#include "Geometry/groups/rectmeshgroups.h"
#include "tests/search/searchtwin.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/plain_groups.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

/// What the tests of both levels of groups share: grids in one scan plane, files of them, and the comparison
/// of a group with its plain twin.
namespace QELT::Testing {

using Geometry::ThreeDimensional::QuadMesh::RectMeshGroup;
using Geometry::ThreeDimensional::QuadMesh::RectMeshGroups;
using IndexBox = Geometry::TwoDimensional::BoundingBoxAA<int>;

/// A scratch directory for each test, and the settings of the whole process put back.
class GroupTest : public SearchTest {
protected:
    GroupTest() {
        auto const* const test = testing::UnitTest::GetInstance()->current_test_info();
        directory = std::filesystem::path(testing::TempDir()) /
                    (std::string("qelt_") + test->test_suite_name() + "_" + test->name());
        std::filesystem::create_directories(directory);
    }

    ~GroupTest() override { std::filesystem::remove_all(directory); }

    std::string file(std::string const& name) const { return (directory / name).string(); }

    /// Writes a flat grid at a height, and gives its path.
    std::string writeFlat(std::string const& name, std::uint32_t u, std::uint32_t v, double height = 0.0,
                          double spacing = 1.0) const {
        RectMesh grid =
            makeGrid(u, v, [&](int i, int j) { return SpacePoint(spacing * i, spacing * j, height); });
        std::string const path = file(name);
        grid.save(path.c_str());
        return path;
    }

private:
    std::filesystem::path directory;
};

/// A flat grid at a height over (u, v), moved along x.
inline RectMesh flatAt(double x, double height, std::uint32_t u = 5, std::uint32_t v = 5) {
    return makeGrid(u, v, [=](int i, int j) { return SpacePoint(x + i, j, height); });
}

/// A flat grid that notes that it is read.
inline std::unique_ptr<NotingGrid> notingFlat(double x, double height) {
    auto grid = std::make_unique<NotingGrid>();
    RectMesh::Extents const extents{5, 5};
    grid->init({extents.u, extents.v});
    for (int u = 0; u <= 5; ++u) {
        for (int v = 0; v <= 5; ++v) {
            grid->setPoint({u, v}, SpacePoint(x + u, v, height));
        }
    }
    settle(*grid);
    grid->nodes.clear();
    return grid;
}

inline Beam downAt(double x, double y, double height = 50.0) {
    return {SpacePoint(x, y, height), SpaceVector(0.0, 0.0, -1.0)};
}

inline testing::AssertionResult isBox(IndexBox const& box, int u, int v, int sizeU, int sizeV) {
    if (box.getp() == GridIndex(u, v) && box.getd() == GridStep(sizeU, sizeV)) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "corner (" << box.getp().getU() << ", " << box.getp().getV() << "), size ("
           << box.getd().getdU() << ", " << box.getd().getdV() << ")";
}

/// Nothing in it: no mesh, no name, no hit.
inline testing::AssertionResult isDefault(QuadIndicesIntersectionStatus const& status) {
    if (!status.getIsValid() && status.quadMesh == nullptr && status.getFileName().empty() &&
        status.getIndices() == GridIndex(0, 0) && status.getQuadPoint() == SpacePoint() &&
        status.getIntersectionData().getDistanceToObject() == 0.0) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "not a default status";
}

inline std::vector<RectMesh*> meshesOf(RectMeshGroup const& group) {
    std::vector<RectMesh*> meshes;
    for (auto const& member : group.quadMeshes) {
        meshes.push_back(member.quadMesh);
    }
    return meshes;
}

/// Grids that overlap in space, with holes, flips, offsets and position flags of all kinds.
inline std::vector<std::unique_ptr<RectMesh>> randomGrids(std::mt19937& generator, std::size_t count) {
    std::uniform_real_distribution<double> number(-1.0, 1.0);
    std::vector<std::unique_ptr<RectMesh>> grids;
    for (std::size_t i = 0; i < count; ++i) {
        double const x = 6.0 * number(generator);
        double const height = 4.0 * number(generator);
        double const tilt = number(generator);
        double const wave = generator() % 2 == 0 ? 0.0 : 0.5;
        RectMesh made = makeGrid(8, 10, [&](int u, int v) {
            return SpacePoint(x + u, v, height + tilt * u + wave * ((u * 7 + v * 3) % 5));
        });
        if (generator() % 3 == 0) {
            punchMiddle(made);
        }
        auto grid = std::make_unique<RectMesh>();
        *grid = made;
        grid->setFileName("grid " + std::to_string(i));
        grid->setDoFlipNormals(generator() % 3 == 0);
        grid->setAxisFlipFlags(generator() % 2 == 0, generator() % 2 == 0);
        grid->setOffset(GridStep(static_cast<int>(generator() % 50) - 25, static_cast<int>(i) * 100));
        grid->setActivePositionFlags(generator() % 4 == 0 ? generator() : 0xFFFFFFFFUL);
        grids.push_back(std::move(grid));
    }
    return grids;
}

/// A path of beams over the grids, with jumps, steep ones and ones from below.
inline Beam nextBeam(std::mt19937& generator, Beam const& last) {
    std::uniform_real_distribution<double> number(-1.0, 1.0);
    double const x = number(generator);
    double const y = number(generator);
    double const z = number(generator);
    if (generator() % 4 != 0) {
        return {last.origin + SpaceVector(0.4 * x, 0.4 * y, 0.0),
                last.direction + SpaceVector(0.05 * y, 0.05 * z, 0.0)};
    }
    bool const isBelow = generator() % 4 == 0;
    return {SpacePoint(10.0 * x + 2.0, 6.0 * y + 5.0, isBelow ? -20.0 : 20.0),
            SpaceVector(0.3 * z, 0.3 * x, isBelow ? 1.0 : -1.0)};
}

inline PlainSearch twinOf(RectMesh& grid) {
    return SearchTwin(grid).twin;
}

/// The answer of a group against that of its twin, `grids` being numbered as the members are.
inline testing::AssertionResult sameAnswer(QuadIndicesIntersectionStatus const& actual,
                                           PlainAnswer const& expected, std::vector<RectMesh*> const& grids) {
    if (expected.member < 0) {
        return isDefault(actual);
    }
    RectMesh const* const mesh = grids[static_cast<std::size_t>(expected.member)];
    if (actual.quadMesh != mesh || actual.getFileName() != mesh->fileName) {
        return testing::AssertionFailure() << "another mesh than number " << expected.member;
    }
    PlainStatus const& status = expected.status;
    QuadIntersectionData const& data = actual.getIntersectionData();
    if (actual.getIsValid() != status.isValid || plain(actual.getIndices()) != status.indices) {
        return testing::AssertionFailure() << "other indices or validity";
    }
    for (auto const& same :
         {sameBits(actual.getQuadPoint().getX(), status.quadPoint.x),
          sameBits(actual.getQuadPoint().getY(), status.quadPoint.y),
          sameBits(actual.getQuadPoint().getZ(), status.quadPoint.z),
          sameBits(data.getDistanceToObject(), status.data.distanceToObject),
          sameBits(data.getAngleToObjectNormal(), status.data.angleToObjectNormal),
          sameBits(data.getDistanceSqrToQuadCentre(), status.data.distanceSqrToQuadCentre)}) {
        if (!same) {
            return same;
        }
    }
    return testing::AssertionSuccess();
}

/// The order of a group, its flag and the search memory of its members.
inline testing::AssertionResult sameState(RectMeshGroup const& group, PlainGroup const& expected,
                                          std::vector<RectMesh*> const& grids) {
    std::vector<RectMesh*> const order = meshesOf(group);
    if (order.size() != expected.members.size() ||
        group.isLastIntersectionGood != expected.isLastIntersectionGood) {
        return testing::AssertionFailure() << "size or flag";
    }
    for (std::size_t i = 0; i < order.size(); ++i) {
        auto const& [number, search] = expected.members[i];
        if (order[i] != grids[static_cast<std::size_t>(number)]) {
            return testing::AssertionFailure() << "place " << i;
        }
        if (order[i]->doResetSearch != search.doResetSearch ||
            plain(order[i]->lastQuadIndices) != search.lastQuadIndices) {
            return testing::AssertionFailure() << "memory at place " << i;
        }
    }
    return testing::AssertionSuccess();
}

} // namespace QELT::Testing
