#include "Geometry/groups/rectmeshgroup.h"

#include "Geometry/groups/internal/bestintersection.h"
#include "Geometry/groups/internal/lengthcheck.h"

// Grids side by side in one plane of indices. How they answer a beam stands in internal/bestintersection.h;
// here is who owns them and where they lie.
//
// Grids are placed by their offsets alone: the plane's box is the union of theirs, begun with the point
// (0, 0), so that a plane whose grids all lie in the positive starts at its origin nevertheless. Owned grids
// are held twice, in the list by a plain pointer, which queries reorder, and by what copies share. The
// shared pointer holds a pointer that can be given away: `clear` does that for all copies at once, and so
// destroys nothing. Grids are loaded one by one, each owned as soon as it is whole, so that those before
// a file that fails stay. The box of files makes a nameless grid for each, since the numbers of unnamed grids
// count those too. Cost: all but queries and loading is linear in the number of grids.

namespace QELT::Geometry::ThreeDimensional::QuadMesh {

namespace {

using UVBox = TwoDimensional::BoundingBoxAA<int>;

UVBox getPlacedBox(TwoDimensional::Vector<int> const& offset, unsigned long extentU, unsigned long extentV) {
    return {TwoDimensional::Point<int>() + offset,
            {static_cast<int>(toUInt32(extentU)), static_cast<int>(toUInt32(extentV))}};
}

} // namespace

RectMeshGroup::~RectMeshGroup() = default;

RectMeshGroup& RectMeshGroup::operator=(RectMeshGroup const& other) {
    deleteMeshes();
    for (RectMeshData const& member : other.quadMeshes) {
        auto mesh = std::make_unique<RectMesh>();
        *mesh = *member.quadMesh;
        addOwnedMesh(std::move(mesh));
    }
    return *this;
}

void RectMeshGroup::addOwnedMesh(std::unique_ptr<RectMesh> mesh) {
    ownedMeshes.push_back(std::make_shared<std::unique_ptr<RectMesh>>(std::move(mesh)));
    quadMeshes.push_back({ownedMeshes.back()->get(), true});
}

void RectMeshGroup::clear() {
    quadMeshes.clear();
    for (SharedMesh const& owned : ownedMeshes) {
        static_cast<void>(owned->release());
    }
    ownedMeshes.clear();
}

void RectMeshGroup::deleteMeshes() {
    quadMeshes.clear();
    ownedMeshes.clear();
}

void RectMeshGroup::load(std::vector<std::string> const& fileNames,
                         std::vector<TwoDimensional::Vector<int>> const& offsets) {
    checkLength(fileNames.size(), offsets.size(),
                "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::load: number of fileNames and offsets "
                "mismatch.");
    deleteMeshes();
    for (std::size_t i = 0; i < fileNames.size(); ++i) {
        auto mesh = std::make_unique<RectMesh>();
        mesh->load(fileNames[i].c_str());
        mesh->setOffset(offsets[i]);
        addOwnedMesh(std::move(mesh));
    }
}

QuadIndicesIntersectionStatus RectMeshGroup::getIntersectionStatus(Point const& origin,
                                                                   Vector const& direction, bool doReset) {
    return getBestIntersection(quadMeshes, isLastIntersectionGood, [&](RectMeshData const& member) {
        return member.quadMesh->getIntersectionStatus(origin, direction, doReset);
    });
}

RectMesh* RectMeshGroup::getLastIntersectedRectMesh() const {
    return quadMeshes.empty() ? nullptr : quadMeshes.front().quadMesh;
}

UVBox RectMeshGroup::getUVBoundingBox() const {
    UVBox box;
    for (RectMeshData const& member : quadMeshes) {
        auto const extents = member.quadMesh->getExtents();
        box.expand(getPlacedBox(member.quadMesh->getOffset(), extents.getdU(), extents.getdV()));
    }
    return box;
}

UVBox RectMeshGroup::getUVBoundingBox(std::vector<std::string> const& fileNames,
                                      std::vector<TwoDimensional::Vector<int>> const& offsets) {
    checkLength(fileNames.size(), offsets.size(),
                "Geometry::ThreeDimensional::QuadMesh::RectMeshGroup::getUVBoundingBox: number of fileNames "
                "and offsets mismatch.");
    UVBox box;
    for (std::size_t i = 0; i < fileNames.size(); ++i) {
        RectMesh const numbered; // counts as a grid made, like those that are loaded
        unsigned long extentU = 0;
        unsigned long extentV = 0;
        double meanArea = 0.0;
        double minArea = 0.0;
        double maxArea = 0.0;
        RectMesh::getFileHeaderItems(fileNames[i].c_str(), extentU, extentV, meanArea, minArea, maxArea);
        box.expand(getPlacedBox(offsets[i], extentU, extentV));
    }
    return box;
}

void RectMeshGroup::setActivePositionFlags(std::vector<unsigned long> const& activePositionFlags) {
    checkLength(activePositionFlags.size(), quadMeshes.size(),
                "Geometry::ThreeDimensional::QuadMesh::setActivePositionFlags::load: number of "
                "activePositionFlags and quad meshes mismatch.");
    auto flags = activePositionFlags.begin();
    for (RectMeshData const& member : quadMeshes) {
        member.quadMesh->setActivePositionFlags(*flags++);
    }
}

void RectMeshGroup::setDoFlipNormals(std::vector<bool> const& doFlipNormals) {
    checkLength(doFlipNormals.size(), quadMeshes.size(),
                "Geometry::ThreeDimensional::QuadMesh::setDoFlipNormals::load: number of doFlipNormals and "
                "quad meshes mismatch.");
    auto doFlip = doFlipNormals.begin();
    for (RectMeshData const& member : quadMeshes) {
        member.quadMesh->setDoFlipNormals(*doFlip++);
    }
}

void RectMeshGroup::setDoFlipAxes(std::vector<bool> const& doFlipUAxes,
                                  std::vector<bool> const& doFlipVAxes) {
    for (std::size_t const length : {doFlipUAxes.size(), doFlipVAxes.size()}) {
        checkLength(length, quadMeshes.size(),
                    "Geometry::ThreeDimensional::QuadMesh::setDoFlipAxes::load: number of doFlipUAxes or "
                    "doFlipVAxes and quad meshes mismatch.");
    }
    auto doFlipU = doFlipUAxes.begin();
    auto doFlipV = doFlipVAxes.begin();
    for (RectMeshData const& member : quadMeshes) {
        member.quadMesh->setAxisFlipFlags(*doFlipU++, *doFlipV++);
    }
}

void RectMeshGroup::setPosition(unsigned long position) {
    for (RectMeshData const& member : quadMeshes) {
        member.quadMesh->setPosition(position);
    }
}

void RectMeshGroup::transform(Point const& origin, AffineMap const& map) {
    for (RectMeshData const& member : quadMeshes) {
        member.quadMesh->transform(origin, map);
    }
}

} // namespace QELT::Geometry::ThreeDimensional::QuadMesh
