#pragma once

#include "Inspection/parts/facemesh.h"
#include "Inspection/parts/internal/facetopology.h"

#include <cstddef>
#include <optional>
#include <vector>

/// Leaving faces out of a mesh. Each function tells how many it left out; points stay.
namespace QELT::Inspection {

/// Keeps the faces for which it holds, in their order.
std::size_t keepFaces(FaceMesh& mesh, std::vector<bool> const& isKept);

std::size_t dropStrayFaces(FaceMesh& mesh);     ///< that name a point that is not there
std::size_t dropCollapsedFaces(FaceMesh& mesh); ///< that name a point twice
std::size_t dropDuplicateFaces(FaceMesh& mesh); ///< of equal three points, in any order, the first stays

/// At sides of more than two faces those two stay that go on into each other with the least bend.
std::size_t dropFacesAtCrowdedSides(FaceMesh& mesh);

/// Of the pieces that hang together over sides the one with the face of that number stays, or the largest in
/// area.
std::size_t keepOnePiece(FaceMesh& mesh, std::optional<std::size_t> faceToKeep = {});

/// Twice the area of a face, along its normal.
Vector normalOf(FaceMesh const& mesh, std::size_t face);

/// How the surface bends at a side between two faces, in radians, whichever way they are wound.
double bendAt(FaceMesh const& mesh, FaceTopology const& topology, Corner a, Corner b);

} // namespace QELT::Inspection
