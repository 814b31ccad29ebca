#pragma once

#include "apps/cscan/flattening.h"
#include "apps/cscan/raster.h"

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

using Options = std::variant<DemoOptions, PrepareOptions, ScanOptions, InfoOptions>;

} // namespace cscan
