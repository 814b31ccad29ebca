#pragma once

#include "Inspection/export.h"
#include "Inspection/grids/gridsummary.h"
#include "Inspection/grids/quadsizes.h"
#include "Inspection/import/part.h"
#include "Inspection/maps/mapcandidate.h"
#include "Inspection/names.h"
#include "Inspection/parts/meshsummary.h"
#include "Inspection/parts/surfacerepair.h"
#include "Inspection/records/outputs.h"
#include "Inspection/records/record.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// The way from a part to its grid.
namespace QELT::Inspection {

/// What to prepare, and how.
struct PrepareOptions {
    PlacedPart part;            ///< mesh or cloud, of any format
    std::filesystem::path grid; ///< grid to write, a .quads file
    GridResolution resolution;
    RepairOptions repair;               ///< of the surface through a cloud
    std::optional<FlatteningMode> mode; ///< without one both are tried and the better map is taken
    SolverKind solver = SolverKind::Direct;
    std::optional<std::filesystem::path> flat; ///< write the mesh with its flat coordinates to this OBJ file
    unsigned long extensionPasses = 0;         ///< invented rows of nodes around the part
    unsigned long smoothingPasses = 0;         ///< of the rim after each of them
    std::string unit;                          ///< of length; if empty, what the part or its record names
    bool isAccepted = false;                   ///< write a grid that is not fit for inspection, too
};

/// Why a grid is not fit for inspection, and what to do.
struct Shortcoming {
    std::string what;
    std::string remedy;
};

/// What is known of a preparation once a stage is behind it.
enum class PrepareStage {
    Loaded,    ///< `load`, `part`, `repair` and `loadSeconds`
    Flattened, ///< `maps`, `chosen` and `mesh` as well
    FlatSaved, ///< the flat map's file is written, to be put in place at the end; passed over if none is
               ///< wished
    Resampled, ///< all but `isWritten`; passed over if the map's solve failed
    Saved,     ///< all; passed over if the grid is not fit and not accepted
};

/// Times are of the work alone, without what is reported of it.
struct PrepareResult {
    LoadReport load;
    MeshSummary part;
    std::optional<RepairReport> repair; ///< of a cloud
    double loadSeconds = 0.0;           ///< with the reconstruction, where there was one
    std::vector<MapCandidate> maps;     ///< one a mode that was tried
    std::size_t chosen = 0;             ///< of the maps
    std::shared_ptr<Mesh> mesh;         ///< with the flat coordinates of the chosen map
    std::string unit;                   ///< of length, for texts; "units" if it is not known
    GridSpacing spacing;                ///< with the area that quads were to have on average
    GridSummary grid;
    QuadSizes sizes;               ///< of the part's own quads, before the grid was extended
    NanNodes nanNodes;             ///< likewise
    double resampleSeconds = 0.0;  ///< of the resampling alone
    std::shared_ptr<Grid> surface; ///< the grid itself, also if it is not written; null where none was made
    std::vector<Shortcoming> shortcomings; ///< none if the grid is fit for inspection
    bool isWritten = false;

    /// The map that was taken.
    MapCandidate const& map() const { return maps.at(chosen); }

    bool isFit() const { return shortcomings.empty(); }
};

/// Is told of each stage when it is done, before the next begins.
using PrepareObserver = std::function<void(PrepareStage, PrepareResult const&)>;

/// Loads the part, flattens it, resamples the flat map into a grid and writes that. A part that lies far out
/// is moved near the origin, which the record tells, and so do those who ask the grid. A grid whose map was
/// not solved or turns over more than a thousandth of the triangles, which holds NaNs, or whose quads differ
/// too much in size, is not fit for inspection and, unless accepted, not written: the result tells why.
/// Fails, before the long work, if the resolution is not above 0 or a file cannot be read or written; if the
/// mesh is closed; where the core refuses to flatten or to resample; and if the grid would hold more than 64
/// million quads. What was found until a failure the observer has been told.
QELT_INSPECTION_EXPORT PrepareResult prepare(PrepareOptions const& options, ProgressListener* listener,
                                             PrepareObserver const& observer = {});

/// Tells what is read, how, and what is written, before a preparation in a run that writes more. Fails as
/// above before the long work.
QELT_INSPECTION_EXPORT void addPrepareFiles(PrepareOptions const& options, Record& record, Outputs& outputs);

/// The preparation itself, with what it finds; the stage `Saved` is told by who commits the outputs.
QELT_INSPECTION_EXPORT PrepareResult prepare(PrepareOptions const& options, ProgressListener* listener,
                                             PrepareObserver const& observer, Record& record,
                                             Outputs& outputs);

} // namespace QELT::Inspection
