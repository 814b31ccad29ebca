#include "Inspection/parts/partfaults.h"

#include "Inspection/parts/partcrop.h"
#include "Inspection/parts/tubecut.h"
#include "Inspection/records/failure.h"
#include "Inspection/records/numbers.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <numbers>
#include <string_view>
#include <utility>

namespace QELT::Inspection {

namespace {

constexpr int digits = 6;

/// A part of which so many of a hundred points belong to no face is taken for one whose file was cut off.
constexpr std::size_t bearableUnusedPercent = 1;

/// The core rolls out rims of at least so many sides.
constexpr std::size_t minRollableSides = 5;

/// Half of what a closed part bends: a map shrinks some of the area to a quarter of the rest.
constexpr double nearlyClosedGap = 2.0 * std::numbers::pi;

/// In radians; a rim that misses its start by more is not rolled out.
constexpr double rollableGap = 0.5;

constexpr double degrees = 180.0 / std::numbers::pi;

/// Of the cuts that are suggested.
constexpr double usualFacing = 60.0 / degrees;
constexpr double usualIslandShare = 0.01;

/// A cut that leaves less of the area than this is no face to inspect but a splinter.
constexpr double splinterShare = 0.05;

/// Noise of a scan leaves holes with rims shorter than so many pixels where a face is cut out along creases.
constexpr double noiseRimPixels = 10.0;

constexpr std::array<char const*, 6> axisTexts{"1,0,0", "-1,0,0", "0,1,0", "0,-1,0", "0,0,1", "0,0,-1"};

std::string countText(std::size_t count, std::string const& singular, std::string const& plural) {
    return std::to_string(count) + " " + (count == 1 ? singular : plural);
}

std::string pointText(Point const& point) {
    return "(" + toShortText(point.getX(), digits) + ", " + toShortText(point.getY(), digits) + ", " +
           toShortText(point.getZ(), digits) + ")";
}

/// For the command line, without blanks.
std::string argumentText(Point const& point) {
    return toShortText(point.getX(), digits) + "," + toShortText(point.getY(), digits) + "," +
           toShortText(point.getZ(), digits);
}

std::string nameText(std::uint32_t number) {
    return std::to_string(std::uint64_t{number} + 1);
}

std::string nameText(SideEnds const& side) {
    return nameText(side[0]) + "-" + nameText(side[1]);
}

/// "faces 3, 7, ... near (1, 2, 3)"
template <class Name>
std::string placeText(Found<Name> const& found, std::string const& singular, std::string const& plural) {
    std::string text = found.count == 1 ? singular : plural;
    for (std::size_t i = 0; i < found.first.size(); ++i) {
        text += (i == 0 ? " " : ", ") + nameText(found.first[i]);
    }
    return text + (found.count > found.first.size() ? ", ..." : "") + ", the first near " +
           pointText(found.place);
}

/// As a shell takes it: in quotes where it holds more than letters, digits and a few signs.
std::string quoted(std::string const& name) {
    bool const isPlain = !name.empty() && std::all_of(name.begin(), name.end(), [](unsigned char sign) {
        return std::isalnum(sign) != 0 || sign >= 0x80 ||
               std::string_view("._-/+,").find(static_cast<char>(sign)) != std::string_view::npos;
    });
    if (isPlain) {
        return name;
    }
    std::string text = "'";
    for (char const sign : name) {
        text += sign == '\'' ? std::string("'\\''") : std::string(1, sign);
    }
    return text + "'";
}

/// The part as commands are told it.
std::string wordsFor(PlacedPart const& part) {
    return quoted(part.string()) + (part.frame ? " --frame " + quoted(part.frame->string()) : "");
}

/// A name beside the part: "wing.stl" and "_face.obj" give "wing_face.obj".
std::string beside(PlacedPart const& part, std::string const& ending) {
    return quoted((part.file.parent_path() / (part.file.stem().string() + ending)).string());
}

/// For a cloud.
std::string surfaceCommand(PlacedPart const& cloud) {
    return "cscan reconstruct " + wordsFor(cloud) + " " + beside(cloud, ".obj");
}

/// Puts the faults of one part together.
class FaultList {
public:
    FaultList(FaceMesh const& faceMesh, PartAnalysis const& partAnalysis, PlacedPart const& source)
        : mesh(faceMesh), analysis(partAnalysis), part(source) {}

    std::vector<PartFault> collect() {
        collectBrokenFaces();
        collectBrokenSurface();
        if (!analysis.pieces.empty()) {
            collectShape();
        }
        collectNotes();
        std::stable_partition(faults.begin(), faults.end(),
                              [](PartFault const& fault) { return fault.isInTheWay; });
        return std::move(faults);
    }

    /// The first way of cutting a face out that leaves one which can go on: the side of the largest face up
    /// to creases, or what faces along an axis, the axis with the most area first. Empty if none does.
    std::string soundCrop();

    /// How a tube without other faults is slit, if a cut is found; else a face is cut out of it.
    std::string tubeRemedy();

private:
    FaceMesh const& mesh;
    PartAnalysis const& analysis;
    PlacedPart const& part;
    std::vector<PartFault> faults;
    std::optional<bool> growsSoundFace; ///< once it is looked for
    std::string foundCrop;              ///< the command, once it is looked for

    void tellInTheWay(FaultKind kind, std::string const& cause, std::string const& place,
                      std::string const& remedy) {
        faults.push_back({kind, cause, place, remedy, true});
    }

    void tell(FaultKind kind, std::string const& cause, std::string const& place, std::string const& remedy) {
        faults.push_back({kind, cause, place, remedy, false});
    }

    /// One command that mends all that can be.
    std::string repairCommand() const {
        bool const hasPieces = analysis.pieces.size() > 1 && analysis.coincidentPoints.count == 0;
        return "cscan import " + wordsFor(part) + " " + beside(part, "_repaired.obj") + " --repair" +
               (hasPieces ? " --keep-largest" : "");
    }

    std::string cropStart() const { return "cscan crop " + wordsFor(part) + " " + beside(part, "_face.obj"); }

    bool hasCreases() const { return analysis.largestJump.angle > patchCrease; }

    std::string cropGrowing() const {
        return cropStart() + " --grow " + argumentText(analysis.placeOnLargestPatch) + " --crease 30";
    }

    std::string cropFacing(std::size_t axis) const {
        return cropStart() + " --facing " + axisTexts.at(axis) + " --angle 60 --islands 1";
    }

    std::string const& cropCommand();
    bool doesGrowingLeaveSoundFace();
    std::optional<std::size_t> axisOfSoundFace() const;
    std::vector<std::size_t> axesByArea() const;
    bool leavesSoundFace(CropChoice const& choice) const;
    bool isPiercedByNoise(PartAnalysis const& face) const;

    void collectBrokenFaces();
    void collectBrokenSurface();
    void tellPieces();
    void collectShape();
    void tellTube();
    std::pair<PartRim const&, PartRim const&> tubeRims() const;
    void collectNotes();
    void tellUnusedPoints();
};

/// Less than before but no splinter, in one sheet with a rim, that can be laid flat without squeezing much of
/// it.
bool FaultList::leavesSoundFace(CropChoice const& choice) const {
    FaceMesh face = mesh;
    try {
        if (cropFaces(face, choice).unwantedCount == 0) {
            return false;
        }
    } catch (Failure const&) {
        return false;
    }
    PartAnalysis const left = analysePart(face);
    return !(choice.growth && isPiercedByNoise(left)) && left.pieces.size() == 1 &&
           left.pieces.front().handleCount == 0U && left.turnedFaces.count == 0 && !left.isTube() &&
           left.area >= splinterShare * analysis.area && left.rollingGap() <= nearlyClosedGap;
}

bool FaultList::isPiercedByNoise(PartAnalysis const& face) const {
    return std::any_of(face.rims.begin(), face.rims.end(),
                       [&](PartRim const& rim) { return rim.length < noiseRimPixels * analysis.pixel; });
}

bool FaultList::doesGrowingLeaveSoundFace() {
    if (!growsSoundFace) {
        CropChoice choice;
        choice.growth = CropGrowth{analysis.placeOnLargestPatch, patchCrease};
        growsSoundFace = hasCreases() && leavesSoundFace(choice);
    }
    return *growsSoundFace;
}

/// The one that the most area faces comes first.
std::vector<std::size_t> FaultList::axesByArea() const {
    std::vector<std::size_t> axes{0, 1, 2, 3, 4, 5};
    std::stable_sort(axes.begin(), axes.end(), [&](std::size_t a, std::size_t b) {
        return analysis.facingArea.at(a) > analysis.facingArea.at(b);
    });
    return axes;
}

std::optional<std::size_t> FaultList::axisOfSoundFace() const {
    CropChoice choice;
    choice.islandShare = usualIslandShare;
    for (std::size_t const axis : axesByArea()) {
        std::array<double, 3> way{};
        way.at(axis / 2) = axis % 2 == 0 ? 1.0 : -1.0;
        choice.facing = CropFacing{Vector(way[0], way[1], way[2]), usualFacing};
        if (leavesSoundFace(choice)) {
            return axis;
        }
    }
    return std::nullopt;
}

std::string FaultList::soundCrop() {
    if (doesGrowingLeaveSoundFace()) {
        return cropGrowing();
    }
    auto const axis = axisOfSoundFace();
    return axis ? cropFacing(*axis) : "";
}

/// The sound one; if there is none, what faces along the axis with the most area.
std::string const& FaultList::cropCommand() {
    if (foundCrop.empty()) {
        std::string const sound = soundCrop();
        foundCrop = sound.empty() ? cropFacing(axesByArea().front()) : sound;
    }
    return foundCrop;
}

void FaultList::collectBrokenFaces() {
    if (analysis.pointCount == 0) {
        tellInTheWay(FaultKind::NoFaces, "neither points nor faces", "", "export the part again");
    } else if (analysis.faceCount == 0) {
        tell(FaultKind::NoFaces, "points and no faces: a cloud, through which a surface has to be built", "",
             surfaceCommand(part));
    }
    if (auto const& found = analysis.strayFaces; found.count > 0) {
        tellInTheWay(FaultKind::StrayFaces,
                     countText(found.count, "face names a point", "faces name points") + " that is not there",
                     placeText(found, "face", "faces"), repairCommand());
    }
    if (auto const& found = analysis.collapsedFaces; found.count > 0) {
        tellInTheWay(FaultKind::CollapsedFaces,
                     countText(found.count, "face names", "faces name") + " a point twice",
                     placeText(found, "face", "faces"), repairCommand());
    }
    if (auto const& found = analysis.duplicateFaces; found.count > 0) {
        tellInTheWay(FaultKind::DuplicateFaces,
                     countText(found.count, "face stands", "faces stand") + " there a second time",
                     placeText(found, "face", "faces"), repairCommand());
    }
}

void FaultList::collectBrokenSurface() {
    if (auto const& found = analysis.crowdedSides; found.count > 0) {
        tellInTheWay(FaultKind::CrowdedSides,
                     countText(found.count, "side has", "sides have") + " more than two faces",
                     placeText(found, "points", "points"), repairCommand());
    }
    if (auto const& found = analysis.turnedFaces; found.count > 0) {
        tellInTheWay(FaultKind::Windings,
                     countText(found.count, "face runs", "faces run") + " against the others around it",
                     placeText(found, "face", "faces"), repairCommand());
    }
    if (auto const& found = analysis.oneSidedFaces; found.count > 0) {
        tellInTheWay(FaultKind::OneSided,
                     "a surface of " + countText(found.count, "face", "faces") +
                         " has one side only, like a twisted band",
                     placeText(found, "face", "faces"), cropCommand());
    }
    tellPieces();
    if (auto const& found = analysis.pinchedPoints; found.count > 0) {
        tellInTheWay(FaultKind::PinchedPoints,
                     "sheets meet in " + countText(found.count, "point alone", "points alone"),
                     placeText(found, "point", "points"), repairCommand());
    }
}

void FaultList::tellPieces() {
    if (analysis.pieces.size() < 2) {
        return;
    }
    PartPiece const& second = analysis.pieces[1];
    tellInTheWay(FaultKind::Pieces,
                 std::to_string(analysis.pieces.size()) + " pieces that share no side; outside the largest " +
                     countText(analysis.lesserFaceCount, "face", "faces"),
                 "the second from face " + nameText(second.firstFace) + " on near " + pointText(second.place),
                 repairCommand());
}

/// Of the largest piece.
void FaultList::collectShape() {
    PartPiece const& piece = analysis.pieces.front();
    std::string const place = "around " + pointText(piece.place);
    if (piece.isClosed()) {
        tellInTheWay(FaultKind::Closed, "the part is closed, it has no rim", place, cropCommand());
    } else if (piece.handleCount.value_or(0) > 0) {
        tellInTheWay(FaultKind::Handles,
                     countText(*piece.handleCount, "handle", "handles") +
                         ": the surface cannot be laid flat in one piece",
                     place, cropCommand());
    } else if (analysis.isTube()) {
        tellTube();
    }
    if (analysis.rollingGap() > nearlyClosedGap) {
        tell(FaultKind::NearlyClosed,
             "nearly closed: within its rim the part bends by " +
                 toFixedText(analysis.rollingGap() * degrees, 0) +
                 " of the 720 degrees of a closed one, so a map squeezes some of it",
             place, "if cscan prepare refuses it: " + cropCommand());
    }
    PartRim const* const rim = analysis.outline();
    if (rim != nullptr && rim->points.size() < minRollableSides) {
        tell(FaultKind::ShortRim,
             "the rim has " + countText(rim->points.size(), "side", "sides") +
                 " only, too few to be rolled out",
             "around " + pointText(rim->middle), "cscan prepare with --mode pinned");
    }
}

std::string FaultList::tubeRemedy() {
    auto const [first, second] = tubeRims();
    auto const cut = findTubeCut(mesh, first.middle, second.middle);
    constexpr std::string_view axes = "xyz";
    return cut ? "cscan cut " + wordsFor(part) + " " + beside(part, "_slit.obj") + " --metric " +
                     (cut->isFromGreatest ? "max" : "min") + " --axis " + axes[cut->axis] + " --across " +
                     axes[cut->normalAxis]
               : cropCommand();
}

std::pair<PartRim const&, PartRim const&> FaultList::tubeRims() const {
    auto const& rims = analysis.pieces.front().rims;
    return {analysis.rims[rims[0]], analysis.rims[rims[1]]};
}

void FaultList::tellTube() {
    auto const [first, second] = tubeRims();
    tellInTheWay(FaultKind::Tube, "a tube that is not slit",
                 "rims around " + pointText(first.middle) + " and " + pointText(second.middle),
                 faults.empty() ? tubeRemedy() : repairCommand());
}

void FaultList::tellUnusedPoints() {
    auto const& found = analysis.unusedPoints;
    if (found.count == 0 || analysis.faceCount == 0) {
        return;
    }
    bool const areMany = 100 * found.count > bearableUnusedPercent * analysis.pointCount;
    std::string const cause = countText(found.count, "point belongs", "points belong") + " to no face";
    std::string const place = placeText(found, "point", "points");
    if (areMany) {
        tellInTheWay(FaultKind::UnusedPoints, cause + ": so it is where a file was cut off", place,
                     "compare with the program it is from; if it is whole: " + repairCommand());
    } else {
        tell(FaultKind::UnusedPoints, cause + " and will be left out", place, "none needed");
    }
}

void FaultList::collectNotes() {
    tellUnusedPoints();
    if (auto const& found = analysis.flatFaces; found.count > 0) {
        tell(FaultKind::FlatFaces, countText(found.count, "face has", "faces have") + " no area",
             placeText(found, "face", "faces"), repairCommand());
    }
    if (auto const& found = analysis.coincidentPoints; found.count > 0) {
        tell(FaultKind::CoincidentPoints,
             countText(found.count, "point lies", "points lie") + " where another does, as along a slit",
             placeText(found, "point", "points"), "if there is no slit: " + repairCommand());
    }
    if (auto const& found = analysis.facetSides; found.count > 0) {
        tell(FaultKind::Facets,
             "facets or creases: normals jump at " + countText(found.count, "side", "sides") +
                 " between faces wider than " + toFixedText(facetPixels, 0) + " pixels",
             placeText(found, "points", "points"),
             "facets: export with a chord under " + toShortText(analysis.pixel / 10.0, 2) +
                 (doesGrowingLeaveSoundFace() ? "; creases: " + cropGrowing() : ""));
    }
}

/// The kinds of faults that a refusal of the core can mean, the likeliest first.
std::vector<FaultKind> kindsBehind(std::string_view refusal) {
    using enum FaultKind;
    static std::vector<std::pair<std::string_view, std::vector<FaultKind>>> const table{
        {"Mesh construction failure",
         {NoFaces, StrayFaces, DuplicateFaces, CrowdedSides, OneSided, Windings, Pieces, PinchedPoints,
          CollapsedFaces}},
        {"Mesh boundary is not manifold", {PinchedPoints, CrowdedSides}},
        {"Mesh has no boundary", {Closed}},
        {"Mesh has a vertex without a triangle", {UnusedPoints}},
        {"Boundary flattening internal failure", {ShortRim}},
        {"Invalid vertex index", {StrayFaces}},
    };
    auto const found = std::find_if(table.begin(), table.end(), [&](auto const& entry) {
        return refusal.find(entry.first) != std::string_view::npos;
    });
    return found == table.end() ? std::vector<FaultKind>() : found->second;
}

/// The commands that begin so among the remedies for what is in the way, each once.
std::vector<std::string> commandsIn(std::vector<PartFault> const& faults, std::string const& beginning) {
    std::vector<std::string> commands;
    for (PartFault const& fault : faults) {
        std::size_t const start = fault.isInTheWay ? fault.remedy.find(beginning) : std::string::npos;
        if (start != std::string::npos) {
            std::string const command = fault.remedy.substr(start);
            if (std::find(commands.begin(), commands.end(), command) == commands.end()) {
                commands.push_back(command);
            }
        }
    }
    return commands;
}

/// The first that is of one of these kinds, or else the first that is in the way; null if there is none.
PartFault const* likeliestOf(std::vector<PartFault> const& faults, std::vector<FaultKind> const& kinds) {
    for (FaultKind const kind : kinds) {
        auto const fault = std::find_if(faults.begin(), faults.end(),
                                        [&](PartFault const& candidate) { return candidate.kind == kind; });
        if (fault != faults.end()) {
            return &*fault;
        }
    }
    return isAnyInTheWay(faults) ? &faults.front() : nullptr;
}

} // namespace

bool isAnyInTheWay(std::vector<PartFault> const& faults) {
    return std::any_of(faults.begin(), faults.end(), [](PartFault const& fault) { return fault.isInTheWay; });
}

std::vector<PartFault> faultsOf(FaceMesh const& mesh, PartAnalysis const& analysis, PlacedPart const& part) {
    return FaultList(mesh, analysis, part).collect();
}

SuggestedMode suggestedModeOf(PartAnalysis const& analysis) {
    PartRim const* const rim = analysis.outline();
    if (rim == nullptr || rim->points.size() < minRollableSides) {
        return {true, "there is no rim of enough sides to be rolled out"};
    }
    std::string const gap = toFixedText(std::abs(analysis.rollingGap()) * degrees, 0) + " degrees";
    return std::abs(analysis.rollingGap()) > rollableGap
               ? SuggestedMode{true, "rolled out, the rim would miss its start by a turn of " + gap}
               : SuggestedMode{false, "rolled out, the rim closes to within " + gap};
}

std::vector<std::string> nextCommands(PartAnalysis const& analysis, std::vector<PartFault> const& faults,
                                      PlacedPart const& part) {
    if (analysis.faceCount == 0 && analysis.pointCount > 0) {
        return {surfaceCommand(part), "cscan check " + beside(part, ".obj")};
    }
    if (!isAnyInTheWay(faults)) {
        return {"cscan prepare " + wordsFor(part) + " " + beside(part, ".quads") + " --pixel " +
                toShortText(analysis.pixel, digits)};
    }
    std::vector<std::string> const repairs = commandsIn(faults, "cscan import ");
    std::vector<std::string> const crops = commandsIn(faults, "cscan crop ");
    bool const isCropEnough =
        !crops.empty() && std::all_of(faults.begin(), faults.end(), [](PartFault const& fault) {
            return !fault.isInTheWay ||
                   (fault.kind != FaultKind::Windings && fault.kind != FaultKind::UnusedPoints);
        });
    if (isCropEnough) {
        return crops;
    }
    if (!repairs.empty()) {
        return {repairs.front(), "cscan check " + beside(part, "_repaired.obj")};
    }
    return commandsIn(faults, "cscan ");
}

std::string cutOutCommand(FaceMesh const& mesh, PlacedPart const& part) {
    PartAnalysis const analysis = analysePart(mesh);
    FaultList list(mesh, analysis, part);
    return analysis.isTube() ? list.tubeRemedy() : list.soundCrop();
}

std::optional<PartFault> faultBehind(std::string const& refusal, FaceMesh const& mesh,
                                     PlacedPart const& part) {
    auto const kinds = kindsBehind(refusal);
    if (kinds.empty()) {
        return std::nullopt;
    }
    auto const faults = faultsOf(mesh, analysePart(mesh), part);
    PartFault const* const fault = likeliestOf(faults, kinds);
    return fault == nullptr ? std::nullopt : std::optional(*fault);
}

std::string explainRefusal(std::string const& refusal, FaceMesh const& mesh, PlacedPart const& part) {
    if (auto const fault = faultBehind(refusal, mesh, part)) {
        return fault->causeAndPlace() + "; remedy: " + fault->remedy;
    }
    return kindsBehind(refusal).empty() ? refusal
                                        : refusal + "; see what is wrong with: cscan check " + wordsFor(part);
}

void rethrowExplained(std::string const& refusal, std::function<FaceMesh()> const& faces,
                      PlacedPart const& part) {
    if (kindsBehind(refusal).empty()) {
        throw;
    }
    throw Failure(part.string() + ": " + explainRefusal(refusal, faces(), part));
}

} // namespace QELT::Inspection
