#pragma once

#include "Inspection/parts/facemesh.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace QELT::Inspection {

/// A face by its number and one of its corners, 0 to 2: three times the one plus the other. It stands for the
/// side from that corner to the next as well.
using Corner = std::size_t;

inline Corner nextCorner(Corner corner) {
    return corner % 3 == 2 ? corner - 2 : corner + 1;
}

inline Corner previousCorner(Corner corner) {
    return corner % 3 == 0 ? corner + 2 : corner - 1;
}

/// How faces hang together, whatever that is: a side may have any number of faces, in either direction.
/// The faces must have three different corners each. They have to stay as long as the object.
class FaceTopology {
public:
    FaceTopology(std::vector<Face> const& faces, std::size_t pointCount);

    std::size_t sideCount() const { return sideEnds.size(); }

    /// The faces at a side, in ascending order.
    std::span<Corner const> cornersAt(std::size_t side) const {
        std::size_t const begin = side == 0 ? 0 : sideEnds[side - 1];
        return std::span(corners).subspan(begin, sideEnds[side] - begin);
    }

    std::size_t sideOf(Corner corner) const { return sides[corner]; }

    /// The fan that a corner belongs to: the corners at one point whose faces share sides there.
    std::size_t fanOf(Corner corner) const { return fans[corner]; }

    std::size_t fanCount() const { return numberOfFans; }

    /// How many fans there are at a point.
    std::size_t fansAt(std::uint32_t point) const { return fansAtPoint[point]; }

    /// The piece that a face belongs to: what hangs together over sides. The first face has piece 0.
    std::size_t pieceOf(std::size_t face) const { return pieces[face]; }

    std::size_t pieceCount() const { return numberOfPieces; }

    std::uint32_t pointAt(Corner corner) const { return faceList[corner / 3].at(corner % 3); }

    /// Both of a side's corners run the same way.
    bool isSameWay(Corner a, Corner b) const { return pointAt(a) == pointAt(b); }

private:
    std::vector<Face> const& faceList;
    std::vector<Corner> corners;       ///< of all sides, one after the other
    std::vector<std::size_t> sideEnds; ///< where in `corners` each side ends
    std::vector<std::size_t> sides;    ///< of each corner
    std::vector<std::size_t> fans;     ///< of each corner
    std::vector<std::size_t> pieces;   ///< of each face
    std::vector<std::uint32_t> fansAtPoint;
    std::size_t numberOfFans = 0;
    std::size_t numberOfPieces = 0;

    void collectSides();
    void collectFans(std::size_t pointCount);
    void collectPieces();
};

/// Which faces have to be turned over so that all run the same way.
struct Windings {
    std::vector<bool> isTurned;      ///< of each face, against the first of its sheet
    std::vector<std::size_t> sheets; ///< of each face: what hangs together over sides of two faces
    std::vector<bool> isOrientable;  ///< of each sheet; false if no turning helps
};

Windings windingsOf(FaceTopology const& topology, std::size_t faceCount);

} // namespace QELT::Inspection
