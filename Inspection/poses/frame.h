#pragma once

#include "Inspection/poses/turn.h"
#include "Inspection/records/outputs.h"

#include <filesystem>
#include <string>

namespace QELT::Inspection {

/// A rigid motion that takes coordinates of one frame to those of another, such as the cell's to the part's.
struct Frame {
    Turn turn;
    Triple translation{};
    std::string unit; ///< of the translation; empty if it is not known

    /// Of a place, and of a direction.
    QELT_INSPECTION_EXPORT Triple placeOf(Triple const& point) const;
    QELT_INSPECTION_EXPORT Triple directionOf(Triple const& direction) const;

    /// First `other`, then this one.
    QELT_INSPECTION_EXPORT Frame operator*(Frame const& other) const;

    QELT_INSPECTION_EXPORT Frame getInverse() const;
};

/// Writes the frame as JSON: the rotation's matrix row by row, the translation, the unit. Every number reads
/// back as the same value.
QELT_INSPECTION_EXPORT void writeFrame(Frame const& frame, Destination const& to);

/// Fails if the file is no frame, or if its matrix is no rotation within 1e-6.
QELT_INSPECTION_EXPORT Frame readFrame(std::filesystem::path const& file);

} // namespace QELT::Inspection
