#pragma once

#include "apps/cscan/flattening.h"
#include "apps/cscan/names.h"
#include "apps/cscan/raster.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>

namespace cscan {

struct DemoOptions {
    std::filesystem::path directory;
};

struct PrepareOptions {
    std::filesystem::path part;
    std::filesystem::path grid;
    double quadArea = 0.0;
    FlatteningMode mode = FlatteningMode::Developable;
    std::optional<std::filesystem::path> flat;
};

struct ScanOptions {
    std::filesystem::path grid;
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

using Options = std::variant<DemoOptions, PrepareOptions, ScanOptions, InfoOptions, FitOptions,
                             RegisterOptions, NeighboursOptions, SelftestOptions>;

} // namespace cscan
