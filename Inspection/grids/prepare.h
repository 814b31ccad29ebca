#pragma once

#include "Inspection/export.h"
#include "Inspection/grids/gridsummary.h"
#include "Inspection/maps/flattening.h"
#include "Inspection/names.h"
#include "Inspection/parts/meshsummary.h"
#include "Inspection/parts/surfacerepair.h"

#include <filesystem>
#include <functional>
#include <optional>

/// The way from a part to its grid.
namespace QELT::Inspection {

struct PrepareOptions {
    std::filesystem::path part; ///< mesh, an OBJ file, or cloud, an .xyz file
    std::filesystem::path grid; ///< grid to write, a .quads file
    double quadArea = 0.0;      ///< mean of the quads, in the square of the part's unit; above 0
    RepairOptions repair;       ///< of the surface through a cloud
    FlatteningMode mode = FlatteningMode::Developable;
    std::optional<std::filesystem::path> flat; ///< write the mesh with its flat coordinates to this OBJ file
    unsigned long extensionPasses = 0;         ///< invented rows of nodes around the part
    unsigned long smoothingPasses = 0;         ///< of the rim after each of them
};

/// The mode that suits a part of this name if no other is wished: the outline of a surface through a cloud is
/// too rough to be rolled out.
QELT_INSPECTION_EXPORT FlatteningMode usualModeFor(std::filesystem::path const& part);

/// What is known of a preparation once a stage is behind it.
enum class PrepareStage {
    Loaded,    ///< `part`, `repair` and `loadSeconds`
    Flattened, ///< `flattening` and `flat` as well
    FlatSaved, ///< the flat map's file is written, to be put in place with the grid; passed over if none is
               ///< wished
    Saved,     ///< all
};

/// Times are of the work alone, without what is reported of it.
struct PrepareResult {
    MeshSummary part;
    std::optional<RepairReport> repair; ///< of a cloud
    double loadSeconds = 0.0;           ///< with the reconstruction, where there was one
    FlatteningReport flattening;
    FlatSummary flat;
    GridSummary grid;
    NanNodes nanNodes; ///< before the grid was extended
    double resampleSeconds = 0.0;
};

/// Is told of each stage when it is done, before the next begins.
using PrepareObserver = std::function<void(PrepareStage, PrepareResult const&)>;

/// Loads the part, flattens it, resamples the flat map into a grid and writes that. Fails, before the long
/// work, if the quad area is not above 0 or a file cannot be read or written; if the mesh is closed; where
/// the core refuses to flatten or to resample; and if the grid would hold more than 64 million quads. What
/// was found until a failure the observer has been told.
QELT_INSPECTION_EXPORT PrepareResult prepare(PrepareOptions const& options, ProgressListener* listener,
                                             PrepareObserver const& observer = {});

} // namespace QELT::Inspection
