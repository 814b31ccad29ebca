#pragma once

#include "Inspection/export.h"
#include "Inspection/import/part.h"
#include "Inspection/parts/meshsummary.h"
#include "Inspection/parts/surfacerepair.h"

#include <filesystem>

namespace QELT::Inspection {

/// A surface through the points of a cloud.
struct Reconstruction {
    FaceMesh surface;
    RepairReport repair;
};

/// Builds the surface and makes it fit to be flattened; what the options leave open is chosen from the
/// spacing of the cloud and told in the report. The core starts at the closest pair of points, on the one
/// side of it that the points' order tells, and fails if no triangle there faces z; then the other side is
/// tried, then both with x and with y in the place of z. Failures name the file.
QELT_INSPECTION_EXPORT Reconstruction reconstructFrom(PlacedPart const& cloud, RepairOptions const& options);

/// The same of points that were loaded from the file `cloud`. Fails if they come with triangles.
QELT_INSPECTION_EXPORT Reconstruction reconstructFrom(PartAsLoaded const& part, PlacedPart const& cloud,
                                                      RepairOptions const& options);

/// Which cloud to build a surface through, and where to write it.
struct ReconstructOptions {
    PlacedPart cloud;           ///< points of the part, of any format
    std::filesystem::path part; ///< mesh to write, an OBJ file
    RepairOptions repair;
};

/// What came of it.
struct ReconstructResult {
    MeshSummary part; ///< as it reads back from its file
    RepairReport repair;
    double seconds = 0.0; ///< of the reconstruction and the repair
    LoadReport load;      ///< of the cloud
};

/// Builds a surface through a cloud and writes it. Fails, before the long work, if the cloud cannot be read,
/// the mesh not be written, or if the cut of another mesh lies where it would be taken for the new one's.
QELT_INSPECTION_EXPORT ReconstructResult reconstruct(ReconstructOptions const& options,
                                                     ProgressListener* listener);

} // namespace QELT::Inspection
