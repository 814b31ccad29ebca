#pragma once

#include "Inspection/maps/flattening.h"
#include "Inspection/names.h"
#include "Inspection/parts/surfacerepair.h"
#include "Inspection/parts/tubecut.h"
#include "Inspection/scanning/footprint.h"
#include "Inspection/scanning/raster.h"
#include "Inspection/scanning/scanplane.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace cscan {

struct DemoOptions {
    std::filesystem::path directory;
};

struct PrepareOptions {
    std::filesystem::path part;
    std::filesystem::path grid;
    double quadArea = 0.0;
    RepairOptions repair; ///< of the surface through a cloud
    FlatteningMode mode = FlatteningMode::Developable;
    std::optional<std::filesystem::path> flat;
    unsigned long extensionPasses = 0; ///< invented rows of nodes around the part
    unsigned long smoothingPasses = 0; ///< of the rim after each of them
};

struct ScanOptions {
    std::vector<PlacedGrid> grids;
    bool isOnPlane = false;     ///< whether the grids are asked as groups in a scan plane; else there is one
    unsigned long position = 0; ///< of the inspection; which grids are active depends on it
    std::optional<std::filesystem::path> beams; ///< the beams come from here, or
    std::optional<Raster> raster;               ///< are laid over the part
    std::filesystem::path hits;
    std::string imagePrefix;
    std::string unit;
    bool doFlipNormals = false;
};

struct InfoOptions {
    std::filesystem::path file;
};

enum class FitSurface { Sphere, Cylinder, Paraboloid };

struct FitOptions {
    FitSurface surface = FitSurface::Sphere;
    std::filesystem::path cloud;
};

struct RegisterOptions {
    std::filesystem::path pairs;
};

struct NeighboursOptions {
    std::filesystem::path cloud;
    Point place;
    std::size_t count = 1;
};

struct SelftestOptions {
    std::filesystem::path grid;
    unsigned long lineCount = 100;
    unsigned long elementCount = 16;
    std::optional<double> pitch; ///< the side of the smallest quad if there is none
    std::uint32_t seed = 1;
};

struct ReconstructOptions {
    std::filesystem::path cloud;
    std::filesystem::path part;
    RepairOptions repair;
};

struct CutOptions {
    std::filesystem::path part;
    std::filesystem::path result;
    TubeCut cut;
};

/// One change of a grid.
struct FlattenGrid {};

struct NormaliseGrid {
    double size = 1.0; ///< the longest side of the result's box
};

struct ThinOutGrid {
    bool isFactor = false; ///< every so manieth node, else so many quads at most
    unsigned long value = 1;
};

struct RestrictGrid {
    GridIndex low; ///< first and last node
    GridIndex high;
};

struct MirrorGrid {
    QELT::Geometry::ThreeDimensional::QuadMesh::CanonicalPlane plane =
        QELT::Geometry::ThreeDimensional::QuadMesh::PlaneYZ;
    QELT::Geometry::ThreeDimensional::QuadMesh::CanonicalAxis axis =
        QELT::Geometry::ThreeDimensional::QuadMesh::AxisU; ///< reversed, so that the outside stays outside
};

struct ScaleGrid {
    double scale = 1.0;
};

using Derivation = std::variant<FlattenGrid, NormaliseGrid, ThinOutGrid, RestrictGrid, MirrorGrid, ScaleGrid>;

struct DeriveOptions {
    std::filesystem::path source;
    std::filesystem::path result;
    Derivation derivation;
};

struct FootprintOptions {
    std::filesystem::path grid;
    SpreadingBeam beam;
    std::filesystem::path image;
    std::string unit;
};

using Options = std::variant<DemoOptions, PrepareOptions, ScanOptions, InfoOptions, FitOptions,
                             RegisterOptions, NeighboursOptions, SelftestOptions, ReconstructOptions,
                             CutOptions, DeriveOptions, FootprintOptions>;

} // namespace cscan
