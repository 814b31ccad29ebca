#pragma once

#include "Inspection/export.h"
#include "Inspection/names.h"
#include "Inspection/records/outputs.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace QELT::Inspection {

/// The header of a `.quads` file.
struct GridFileHeader {
    std::uint32_t version = 0;
    std::string name;
    std::uint32_t extentU = 0;
    std::uint32_t extentV = 0;
    double meanQuadArea = 0.0; ///< as settled when it was written, in the square of the part's unit
    double minQuadArea = 0.0;  ///< the least
    double maxQuadArea = 0.0;  ///< the greatest
    std::uint32_t coordinateDataType = 1; ///< version 0 files hold doubles
};

/// Whether the file begins as a `.quads` file does.
QELT_INSPECTION_EXPORT bool isGridFile(std::filesystem::path const& path);

/// Reads the header alone. Fails if the file cannot be read or is no grid.
QELT_INSPECTION_EXPORT GridFileHeader readGridFileHeader(std::filesystem::path const& path);

/// Loads the file into the grid. The core reads what there is and takes a file that was cut short for
/// whole; here it is a failure, found by the file's size before the grid is sized and again, once the
/// number of valid nodes is known, after it is loaded. Failures name the file.
QELT_INSPECTION_EXPORT void loadGrid(Grid& grid, std::filesystem::path const& path);

/// Adds a grid to what a run writes. Fails as `Outputs::add` does, and unless the name ends in ".quads".
QELT_INSPECTION_EXPORT void addGridOutput(Outputs& outputs, std::filesystem::path const& path);

/// Saves the grid. The name must end in ".quads". Failures name the file.
QELT_INSPECTION_EXPORT void saveGrid(Grid& grid, Destination const& to);

/// The usual words for a coordinate data type of the format.
QELT_INSPECTION_EXPORT std::string nameOfDataType(std::uint32_t coordinateDataType);

} // namespace QELT::Inspection
