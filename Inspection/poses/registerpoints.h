#pragma once

#include "Inspection/fits/registration.h"
#include "Inspection/poses/framefit.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace QELT::Inspection {

/// What kind of map is wanted.
enum class RegisterMap : std::uint8_t {
    ByCount, ///< affine for four pairs, if no frame is to be written, else rigid
    Rigid,
    Affine ///< through four pairs
};

/// Which pairs to fit, and what to write.
struct RegisterOptions {
    std::filesystem::path pairs; ///< a table of 3 to 1000 pairs
    RegisterMap map = RegisterMap::ByCount;
    std::optional<std::filesystem::path> frame; ///< to write; the map is then rigid
    std::string unit;                           ///< of the targets, to go with the frame; empty if not known
};

/// The map that was found, and how well it fits.
struct RegisterResult {
    bool isRigid = true;
    Registration registration;
    Vector translation;       ///< where the map takes the origin
    double largestMiss = 0.0; ///< in the points' unit
    std::vector<FramePair> pairs;
    std::optional<FrameFit> fit;       ///< of least squares: for a frame, and for more than four pairs
    std::vector<std::string> warnings; ///< what makes the fit doubtful, a sentence each
};

/// Finds the map for a table's pairs and writes the frame if that is asked for. Fails if the table cannot be
/// read or does not hold a fitting number of pairs, if it leaves the map open, or if the lengths of both
/// sides are not of one unit.
QELT_INSPECTION_EXPORT RegisterResult registerPoints(RegisterOptions const& options,
                                                     ProgressListener* listener);

} // namespace QELT::Inspection
