// Listeners that detach themselves in one of their calls, for every operation that reports progress.

#include "tests/support/leavinglistener.h"

#include "Geometry/quadmesh/rectmesh.h"
#include "Geometry/trimesh/mesh.h"
#include "tests/support/capturedoutput.h"
#include "tests/support/flattening_fixtures.h"
#include "tests/support/gridfamilies.h"
#include "tests/support/recordinglistener.h"

#include <cstdio>
#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace QELT::Geometry::ThreeDimensional {
namespace {

using QuadMesh::RectMesh;
using Testing::LeavingListener;
using Testing::RecordingListener;
using TriMesh::Mesh;
using Fate = LeavingListener::Fate;

/// Runs `operation` on what `makeOwner` makes, with a listener that leaves at its first call, at its second
/// and so on to the last but one, and expects no call after that one. A listener that stays in memory shows
/// the failure; one that is deleted shows under a sanitizer that its memory is not touched either.
template <class MakeOwner, class Operation>
void expectNoCallAfterLeaving(MakeOwner makeOwner, Operation operation, std::size_t minCalls) {
    Testing::CapturedOutput const captured;
    RecordingListener recorder;
    auto const watched = makeOwner();
    watched->setProgressListener(&recorder);
    operation(*watched);
    ASSERT_GE(recorder.events.size(), minCalls);
    for (unsigned lastCall = 1; lastCall < recorder.events.size(); ++lastCall) {
        for (Fate const fate : {Fate::Stays, Fate::IsDeleted}) {
            auto const owner = makeOwner();
            unsigned calls = 0;
            auto listener = std::make_unique<LeavingListener>(
                lastCall, fate, [&] { owner->setProgressListener(nullptr); }, calls);
            owner->setProgressListener(listener.get());
            if (fate == Fate::IsDeleted) {
                static_cast<void>(listener.release());
            }
            operation(*owner);
            ASSERT_EQ(calls, lastCall);
        }
    }
}

std::unique_ptr<Mesh> makeSmallPatch() {
    return Testing::buildMesh(Testing::makeWavyPatch(4, 3));
}

std::unique_ptr<RectMesh> makeRimmedGrid() {
    auto grid = std::make_unique<RectMesh>();
    RectMesh plane = Testing::flatGrid(10, 12);
    Testing::punchHole(plane, {0, 0}, {10, 2});
    *grid = plane;
    return grid;
}

std::string pathOf(std::string const& name) {
    return testing::TempDir() + "leavinglistener_" + name;
}

} // namespace

TEST(LeavingListener, IsCalledNoMoreWhileAMeshIsLoaded) {
    std::string const path = pathOf("load.obj");
    makeSmallPatch()->save(path.c_str(), true, false);
    expectNoCallAfterLeaving([] { return std::make_unique<Mesh>(); },
                             [&](Mesh& mesh) { mesh.load(path.c_str()); }, 60);
    std::remove(path.c_str());
}

TEST(LeavingListener, IsCalledNoMoreWhileAMeshIsSaved) {
    std::string const path = pathOf("save.obj");
    expectNoCallAfterLeaving(
        makeSmallPatch, [&](Mesh& mesh) { mesh.save(path.c_str(), true, false); }, 60);
    std::remove(path.c_str());
}

TEST(LeavingListener, IsCalledNoMoreWhileAMeshIsFlattenedWithTwoPins) {
    expectNoCallAfterLeaving(
        makeSmallPatch, [](Mesh& mesh) { mesh.conformalMap(true, nullptr, false); }, 110);
}

TEST(LeavingListener, IsCalledNoMoreWhileAMeshIsFlattenedWithADevelopableBoundary) {
    expectNoCallAfterLeaving(
        makeSmallPatch, [](Mesh& mesh) { mesh.conformalMap(false, nullptr, false); }, 110);
}

TEST(LeavingListener, IsCalledNoMoreWhileAFlatMapIsOriented) {
    expectNoCallAfterLeaving(
        makeSmallPatch, [](Mesh& mesh) { mesh.transformMinBBArea2D(); }, 101);
}

TEST(LeavingListener, IsCalledNoMoreWhileAGridIsResampled) {
    std::unique_ptr<Mesh> const mesh = Testing::buildMesh(Testing::makeGridPatch(6, 6, 6.0, 6.0));
    for (unsigned long v = 0; v < mesh->getNumberOfVertices(); ++v) {
        Point const& point = mesh->getVertex(v).getPoint3D();
        mesh->getVertex(v).setPoint2D({point.getX(), point.getY()});
    }
    expectNoCallAfterLeaving([] { return std::make_unique<RectMesh>(); },
                             [&](RectMesh& grid) { grid.construct(*mesh, 0.25); }, 60);
}

TEST(LeavingListener, IsCalledNoMoreWhileAGridIsExtended) {
    expectNoCallAfterLeaving(
        makeRimmedGrid, [](RectMesh& grid) { grid.extendBoundary(QuadMesh::Basic, 5, 1); }, 7);
}

TEST(LeavingListener, IsCalledNoMoreWhileAGridIsSaved) {
    std::string const path = pathOf("save.quads");
    expectNoCallAfterLeaving(
        makeRimmedGrid, [&](RectMesh& grid) { grid.save(path.c_str()); }, 200);
    std::remove(path.c_str());
}

} // namespace QELT::Geometry::ThreeDimensional
