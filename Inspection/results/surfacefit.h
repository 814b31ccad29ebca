#pragma once

#include "Inspection/export.h"
#include "Inspection/frames/frame.h"
#include "Inspection/names.h"
#include "Inspection/results/result.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

/// Corrects the place of a part by where its surface was measured.
namespace QELT::Inspection {

/// A motion that hardly moves the measured points off the surface: the shape does not tell it.
struct FreeMotion {
    bool isTurn = false; ///< else a shift
    Triple direction{};  ///< of the shift, or of the turn's axis; of unit length
    Triple place{};      ///< on the axis of a turn, in the part's own place
    double effect = 0.0; ///< how far the points come off the surface, root mean square, for one unit of
                         ///< motion of theirs; 0 for a motion of the surface into itself
};

/// The rigid motion that takes measured points to the surface.
struct SurfaceFit {
    Frame correction;    ///< of the part's coordinates
    double shift = 0.0;  ///< how far it moves the middle of the points, in the part's unit
    double turn = 0.0;   ///< degrees
    double before = 0.0; ///< root mean square distance of the points from the surface, in the part's unit
    double after = 0.0;  ///< the same behind the correction
    std::size_t pointCount = 0;   ///< used
    std::size_t leftOutCount = 0; ///< beside the surface, or far off it
    std::vector<FreeMotion> freeMotions;
};

/// A motion that moves the points by 1 and them off the surface by less than this is free.
constexpr double leastEffect = 0.005;

/// Fits points, in the part's own place, to the surface of a result by moving them rigidly. Free motions are
/// left out of the correction. Fails with fewer than 20 points on the surface.
QELT_INSPECTION_EXPORT SurfaceFit fitToSurface(Result const& result, std::vector<Triple> const& points);

/// Which result to correct the frame of, and how.
struct FrameCorrectionOptions {
    std::filesystem::path result;               ///< with its shots kept
    std::string front;                          ///< column of the times at which the surface answered
    double couplantSpeed = 0.0;                 ///< metres a second
    std::optional<std::filesystem::path> frame; ///< that the shots were read with
    bool isAccepted = false;                    ///< write the correction even if motions are free
    std::filesystem::path out;
};

/// The corrected frame, and what speaks for it.
struct FrameCorrection {
    SurfaceFit fit;
    Frame frame;            ///< from the table's coordinates to the part's, corrected
    std::string unit;       ///< of lengths
    bool isWritten = false; ///< not if motions are free
};

/// Finds where the surface answered along each beam, fits these points to it and writes the frame to use from
/// now on. Fails if the result does not hold its shots, the column or its unit is not there, or the frame
/// that the shots were read with is not given.
QELT_INSPECTION_EXPORT FrameCorrection correctFrame(FrameCorrectionOptions const& options,
                                                    ProgressListener* listener);

} // namespace QELT::Inspection
