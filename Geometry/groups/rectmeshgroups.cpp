#include "Geometry/groups/rectmeshgroups.h"

#include "Geometry/groups/internal/bestintersection.h"
#include "Geometry/groups/internal/lengthcheck.h"

// The top of the search: groups of grids, asked by the same rule as the grids within a group
// (internal/bestintersection.h). Both levels reorder by themselves, and each remembers by itself whether its
// last answer was good; a group that is not asked keeps its order. In the best case a query reaches one group
// and in it one grid.
//
// What takes a vector of vectors checks the outer length first and leaves the inner ones to the groups, so an
// inner mismatch leaves the groups before it set. The messages name `RectMeshGroup` here and there: texts are
// fixed. Areas are summed up from headers, over all quads of the grids' rectangles, existing or not, since
// a header does not count holes; a NaN in a header counts in the mean and total and in neither limit, and
// numbers of quads wrap around in 32 bits. `areaBeyondAll` is what the smallest area reads as without files.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

constexpr double areaBeyondAll = 1e20;

/// The areas of the quads of some files, from what their headers say.
struct AreaSummary {
    double min = areaBeyondAll;
    double max = 0.0;
    double total = 0.0;
    std::uint32_t count = 0;

    void add(QuadFileHeader const& header) {
        min = header.minQuadArea < min ? header.minQuadArea : min;
        max = header.maxQuadArea > max ? header.maxQuadArea : max;
        total +=
            static_cast<double>(header.extentU) * static_cast<double>(header.extentV) * header.meanQuadArea;
        count += header.extentU * header.extentV;
    }
};

} // namespace

RectMeshGroups::~RectMeshGroups() = default;

RectMeshGroups& RectMeshGroups::operator=(RectMeshGroups const& other) {
    deleteGroups();
    for (RectMeshGroup const* const group : other.groups) {
        *addGroup() = *group;
    }
    return *this;
}

RectMeshGroup* RectMeshGroups::addGroup() {
    ownedGroups.push_back(std::make_shared<RectMeshGroup>());
    groups.push_back(ownedGroups.back().get());
    return groups.back();
}

void RectMeshGroups::deleteGroups() {
    groups.clear();
    ownedGroups.clear();
}

void RectMeshGroups::load(std::vector<std::vector<std::string>> const& groupFileNames,
                          std::vector<std::vector<TwoDimensional::Vector<int>>> const& groupOffsets) {
    checkLength(groupFileNames.size(), groupOffsets.size(),
                "Geometry::ThreeDimensional::QuadMesh::RectMeshGroups::load: number of groupFileNames and "
                "groupOffsets mismatch.");
    deleteGroups();
    for (std::size_t i = 0; i < groupFileNames.size(); ++i) {
        auto group = std::make_shared<RectMeshGroup>();
        group->load(groupFileNames[i], groupOffsets[i]);
        ownedGroups.push_back(std::move(group));
        groups.push_back(ownedGroups.back().get());
    }
}

QuadIndicesIntersectionStatus RectMeshGroups::getIntersectionStatus(Point const& origin,
                                                                    Vector const& direction, bool doReset) {
    return getBestIntersection(groups, isLastIntersectionGood, [&](RectMeshGroup* group) {
        return group->getIntersectionStatus(origin, direction, doReset);
    });
}

RectMesh* RectMeshGroups::getLastIntersectedRectMesh() const {
    return groups.empty() ? nullptr : groups.front()->getLastIntersectedRectMesh();
}

TwoDimensional::BoundingBoxAA<int> RectMeshGroups::getUVBoundingBox() const {
    TwoDimensional::BoundingBoxAA<int> box;
    for (RectMeshGroup const* const group : groups) {
        box.expand(group->getUVBoundingBox());
    }
    return box;
}

TwoDimensional::BoundingBoxAA<int>
RectMeshGroups::getUVBoundingBox(std::vector<std::vector<std::string>> const& groupFileNames,
                                 std::vector<std::vector<TwoDimensional::Vector<int>>> const& groupOffsets) {
    checkLength(groupFileNames.size(), groupOffsets.size(),
                "Geometry::ThreeDimensional::QuadMesh::RectMeshGroups::getUVBoundingBox: number of "
                "groupFileNames and groupOffsets mismatch.");
    TwoDimensional::BoundingBoxAA<int> box;
    for (std::size_t i = 0; i < groupFileNames.size(); ++i) {
        box.expand(RectMeshGroup::getUVBoundingBox(groupFileNames[i], groupOffsets[i]));
    }
    return box;
}

TwoDimensional::Vector<unsigned long> RectMeshGroups::getExtents() const {
    TwoDimensional::Point<int> const high = getUVBoundingBox().getp1();
    return {static_cast<std::uint32_t>(high.getU()), static_cast<std::uint32_t>(high.getV())};
}

bool RectMeshGroups::getQuadAreaInfos(std::vector<std::vector<std::string>> const& groupFileNames,
                                      double& minQuadArea, double& meanQuadArea, double& maxQuadArea,
                                      double& totalQuadArea) {
    AreaSummary summary;
    bool isAnyFile = false;
    for (std::vector<std::string> const& fileNames : groupFileNames) {
        for (std::string const& fileName : fileNames) {
            RectMesh const numbered; // counts as a grid made, like those that are loaded
            summary.add(RectMesh::getFileHeader(fileName.c_str()));
            isAnyFile = true;
        }
    }
    totalQuadArea = summary.total;
    meanQuadArea = summary.total / summary.count;
    minQuadArea = summary.min;
    maxQuadArea = summary.max;
    return isAnyFile;
}

void RectMeshGroups::setActivePositionFlags(
    std::vector<std::vector<unsigned long>> const& groupActivePositionFlags) {
    checkLength(groupActivePositionFlags.size(), groups.size(),
                "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::setActivePositionFlags: "
                "groupPositionActiveFlags size mismatch.");
    auto flags = groupActivePositionFlags.begin();
    for (RectMeshGroup* const group : groups) {
        group->setActivePositionFlags(*flags++);
    }
}

void RectMeshGroups::setDoFlipNormals(std::vector<std::vector<bool>> const& groupDoFlipNormals) {
    checkLength(groupDoFlipNormals.size(), groups.size(),
                "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::setDoFlipNormals: groupDoFlipNormals "
                "size mismatch.");
    auto doFlip = groupDoFlipNormals.begin();
    for (RectMeshGroup* const group : groups) {
        group->setDoFlipNormals(*doFlip++);
    }
}

void RectMeshGroups::setDoFlipAxes(std::vector<std::vector<bool>> const& groupDoFlipUAxes,
                                   std::vector<std::vector<bool>> const& groupDoFlipVAxes) {
    for (std::size_t const length : {groupDoFlipUAxes.size(), groupDoFlipVAxes.size()}) {
        checkLength(length, groups.size(),
                    "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::setDoFlipAxes: groupDoFlipUAxes or "
                    "groupDoFlipVAxes size mismatch.");
    }
    auto doFlipU = groupDoFlipUAxes.begin();
    auto doFlipV = groupDoFlipVAxes.begin();
    for (RectMeshGroup* const group : groups) {
        group->setDoFlipAxes(*doFlipU++, *doFlipV++);
    }
}

void RectMeshGroups::setPosition(unsigned long position) {
    for (RectMeshGroup* const group : groups) {
        group->setPosition(position);
    }
}

void RectMeshGroups::transform(std::vector<Point> const& groupOrigins,
                               std::vector<AffineMap> const& groupMaps) {
    checkLength(
        groupOrigins.size(), groups.size(),
        "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::transform: groupOrigins size mismatch.");
    checkLength(groupMaps.size(), groups.size(),
                "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::transform: groupMaps size mismatch.");
    auto origin = groupOrigins.begin();
    auto map = groupMaps.begin();
    for (RectMeshGroup* const group : groups) {
        group->transform(*origin++, *map++);
    }
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
