#pragma once

#include "Inspection/export.h"
#include "Inspection/import/part.h"
#include "Inspection/parts/partanalysis.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// What is wrong with a part, in words: cause, place and remedy.
namespace QELT::Inspection {

/// What can be wrong with a part, each with a remedy of its own.
enum class FaultKind : std::uint8_t {
    NoFaces,
    StrayFaces,
    CollapsedFaces,
    DuplicateFaces,
    CrowdedSides,
    Windings,
    OneSided,
    Pieces,
    PinchedPoints,
    Closed,
    Handles,
    Tube,
    ShortRim,
    NearlyClosed,
    FlatFaces,
    UnusedPoints,
    CoincidentPoints,
    Facets,
};

/// A fault, where it is, and what to do.
struct PartFault {
    FaultKind kind = FaultKind::NoFaces;
    std::string cause;       ///< "2 pieces that share no side"
    std::string place;       ///< "faces 3, 7 near (1, 2, 3)", counted from 1
    std::string remedy;      ///< a command to type as it stands, or what else to do
    bool isInTheWay = false; ///< the part cannot be prepared as it is

    /// Both in one text.
    std::string causeAndPlace() const { return place.empty() ? cause : cause + " (" + place + ")"; }
};

/// Whether one of the faults keeps the part from being prepared.
QELT_INSPECTION_EXPORT bool isAnyInTheWay(std::vector<PartFault> const& faults);

/// All faults of a part, those in the way first. The commands name `part` and what they write beside it.
/// Where a tube has to be slit, the cut that is named has been tried.
QELT_INSPECTION_EXPORT std::vector<PartFault> faultsOf(FaceMesh const& mesh, PartAnalysis const& analysis,
                                                       PlacedPart const& part);

/// Which map is likely to suit a part, and why.
struct SuggestedMode {
    bool isPinned = false; ///< two points of the rim; otherwise the whole rim, rolled out
    std::string reason;
};

/// Judges by how far the rim is from closing when it is rolled out.
QELT_INSPECTION_EXPORT SuggestedMode suggestedModeOf(PartAnalysis const& analysis);

/// What to type next: where nothing is in the way, the preparation; otherwise the repair with another check
/// behind it, or the cut.
QELT_INSPECTION_EXPORT std::vector<std::string>
nextCommands(PartAnalysis const& analysis, std::vector<PartFault> const& faults, PlacedPart const& part);

/// The command that makes a face to inspect of a part whose map is bad: a tube is slit; out of others a face
/// is cut, and that has been tried: it is one sheet, smaller than the part and open enough to be laid flat.
/// Empty if no way leaves such a face.
QELT_INSPECTION_EXPORT std::string cutOutCommand(FaceMesh const& mesh, PlacedPart const& part);

/// What is behind a refusal of the core to build or to flatten a part, of which `refusal` is the text.
/// Nothing if it is none that is known, or if no fault is found.
QELT_INSPECTION_EXPORT std::optional<PartFault> faultBehind(std::string const& refusal, FaceMesh const& mesh,
                                                            PlacedPart const& part);

/// The same as one line of cause, place and remedy. A refusal that is not known is given back.
QELT_INSPECTION_EXPORT std::string explainRefusal(std::string const& refusal, FaceMesh const& mesh,
                                                  PlacedPart const& part);

/// Throws the exception at hand anew: as a `Failure` that names the part and explains it, if it is a refusal
/// that is known, unchanged otherwise. Only to be called where an exception is handled.
[[noreturn]] QELT_INSPECTION_EXPORT void
rethrowExplained(std::string const& refusal, std::function<FaceMesh()> const& faces, PlacedPart const& part);

/// Runs what has the core load, build or flatten a part. A refusal of the core becomes a `Failure` with
/// cause, place and remedy, for which `faces` is asked for the faces that were refused.
template <class Action>
auto explaining(PlacedPart const& part, std::function<FaceMesh()> const& faces, Action&& action)
    -> decltype(action()) {
    try {
        return std::forward<Action>(action)();
    } catch (std::runtime_error const& error) {
        rethrowExplained(error.what(), faces, part);
    }
}

} // namespace QELT::Inspection
