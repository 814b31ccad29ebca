#pragma once

#include "Inspection/frames/turn.h"
#include "Inspection/names.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"

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

    /// The same of vectors of the core.
    QELT_INSPECTION_EXPORT Vector moved(Vector const& place) const;
    QELT_INSPECTION_EXPORT Vector turned(Vector const& direction) const;

    /// First `other`, then this one.
    QELT_INSPECTION_EXPORT Frame operator*(Frame const& other) const;

    QELT_INSPECTION_EXPORT Frame getInverse() const;
};

/// Writes the frame as JSON: the rotation's matrix row by row, the translation, the unit. Every number reads
/// back as the same value.
QELT_INSPECTION_EXPORT void writeFrame(Frame const& frame, Destination const& to);

/// Fails if the file is no frame, or if its matrix is no rotation: if the products of its rows are off by
/// more than 2e-6, as six decimals of a rotation never are.
QELT_INSPECTION_EXPORT Frame readFrame(std::filesystem::path const& file);

/// The same of a frame for coordinates in a unit. Fails also if both units are known and differ.
QELT_INSPECTION_EXPORT Frame readFrame(std::filesystem::path const& file, std::string const& unit);

/// Tells the numbers of a motion as settings whose names begin with `name`, the matrix row by row.
QELT_INSPECTION_EXPORT void addMotion(Record& record, std::string const& name, Frame const& motion);

/// Tells that a run uses a frame: its file and its numbers.
QELT_INSPECTION_EXPORT void addFrame(Record& record, std::filesystem::path const& file);

} // namespace QELT::Inspection
