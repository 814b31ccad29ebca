#pragma once

#include "Inspection/export.h"
#include "Inspection/parts/facemesh.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

/// What a part is like, as triangles between points that may be wrong in every way. Points and faces are
/// numbered from 0.
namespace QELT::Inspection {

/// How many of one kind of fault there are, and where.
template <class Name>
struct Found {
    std::size_t count = 0;
    std::vector<Name> first; ///< at most `maxFoundTold`, in ascending order
    Point place;             ///< of the first
};

inline constexpr std::size_t maxFoundTold = 4;

/// Points, faces and sides that have a fault in common.
using FoundPoints = Found<std::uint32_t>;
/// The same of faces.
using FoundFaces = Found<std::uint32_t>;

/// The two ends of a side, the lower one first.
using SideEnds = std::array<std::uint32_t, 2>;
/// The same of sides.
using FoundSides = Found<SideEnds>;

/// A closed walk along sides of one face.
struct PartRim {
    std::vector<std::uint32_t> points; ///< in walking order
    double length = 0.0;               ///< in the part's unit
    double turning = 0.0; ///< of the walk within the surface, in radians; 2 pi around a flat disc
    std::size_t piece = 0;
    bool isClosed = true; ///< false where it ends at a side of more than two faces
    Point middle;         ///< of its points
};

/// Faces that hang together over sides.
struct PartPiece {
    std::size_t faceCount = 0;
    double area = 0.0;      ///< in the square of the part's unit
    double volume = 0.0;    ///< if it is closed; below 0 if its faces look inward
    double curvature = 0.0; ///< added up over all inner points, in radians; 4 pi for a sphere, 0 for a tube
    std::vector<std::size_t> rims; ///< numbers of its rims, the longest first
    std::optional<std::size_t>
        handleCount; ///< none told where more than two faces meet or windings cannot agree
    bool isOrientable = true;
    std::uint32_t firstFace = 0;
    Point place; ///< the middle of that face

    bool isClosed() const { return rims.empty(); }
};

/// How the surface turns at a side between two faces.
struct NormalJump {
    double angle = 0.0; ///< in radians
    SideEnds side{};
    Point place;
};

/// All that is known of a part.
struct PartAnalysis {
    std::size_t pointCount = 0;
    std::size_t faceCount = 0;
    Point low; ///< of the box around the points that faces use
    Point high;
    double area = 0.0;  ///< of all faces, in the square of the part's unit
    double pixel = 0.0; ///< that facets are measured by: the one asked for, or a suggestion

    std::vector<PartPiece>
        pieces; ///< of the faces that are left without strays and duplicates, the largest in area first
    std::vector<PartRim> rims;       ///< the longest first
    std::size_t lesserFaceCount = 0; ///< of all pieces but the first

    FoundFaces strayFaces;       ///< name a point that is not there
    FoundFaces collapsedFaces;   ///< name a point twice
    FoundFaces duplicateFaces;   ///< have the same three points as one before, in any order
    FoundFaces flatFaces;        ///< three points on a line: they have no normal
    FoundFaces turnedFaces;      ///< have to be turned over for the windings to agree, where that can be
    FoundFaces oneSidedFaces;    ///< of surfaces with a single side: no turning helps
    FoundSides crowdedSides;     ///< of more than two faces
    FoundSides misdirectedSides; ///< both faces run the same way
    FoundPoints pinchedPoints;   ///< where sheets, or a rim with itself, meet in the point alone
    FoundPoints unusedPoints;
    FoundPoints coincidentPoints; ///< lie where one before lies, to within a millionth of the part's size

    NormalJump largestJump;
    FoundSides facetSides; ///< jumps of more than `facetAngle` between faces wider than `facetPixels`

    std::array<double, 6> facingArea{}; ///< of the largest piece, within 60 degrees of x, -x, y, -y, z, -z
    /// Middle of the largest face of the largest smooth patch: of the faces that hang together over sides at
    /// which the surface bends by no more than `patchCrease`.
    Point placeOnLargestPatch;

    /// The diagonal of the box.
    QELT_INSPECTION_EXPORT double size() const;
    QELT_INSPECTION_EXPORT bool isTube() const;

    /// The rim of the most sides of the largest piece: what is rolled out. Null if that is closed.
    QELT_INSPECTION_EXPORT PartRim const* outline() const;

    /// What the turning of that rim lacks to a full turn, in radians: how far it misses its start where it is
    /// rolled out into the plane. 4 pi for a part that is closed but for a small hole.
    QELT_INSPECTION_EXPORT double rollingGap() const;
};

/// Faces of about a pixel are those of a scan, and bend with its noise; wider ones are facets.
inline constexpr double facetPixels = 4.0;

/// In radians; 30 degrees.
inline constexpr double patchCrease = 0.523598775598;

/// In radians; 5 degrees.
inline constexpr double facetAngle = 0.0872664625997;

/// Looks at everything at once and never refuses. Facets are measured by `pixel`, or by what `suggestedPixel`
/// says. Costs a few sorts of the faces' sides and a welding of the points.
QELT_INSPECTION_EXPORT PartAnalysis analysePart(FaceMesh const& mesh, std::optional<double> pixel = {});

/// The width of quads, in the part's unit, that fits a part of this area and so many faces: two faces to a
/// quad, but from about 40,000 to 1,000,000 quads in all; rounded to 1, 2 or 5 times a power of ten. 0 if
/// there is no area.
QELT_INSPECTION_EXPORT double suggestedPixel(double area, std::size_t faceCount);

} // namespace QELT::Inspection
