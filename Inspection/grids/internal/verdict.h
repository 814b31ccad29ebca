#pragma once

#include "Inspection/grids/gridsummary.h"
#include "Inspection/grids/prepare.h"
#include "Inspection/grids/quadsizes.h"
#include "Inspection/maps/mapcandidate.h"

#include <vector>

/// The limits beyond which a grid is not fit for inspection.
namespace QELT::Inspection {

/// What is wrong with the chosen one of the maps that were tried.
std::vector<Shortcoming> shortcomingsOf(std::vector<MapCandidate> const& maps, std::size_t chosen);

/// What is wrong with a grid.
std::vector<Shortcoming> shortcomingsOf(QuadSizes const& sizes, NanNodes const& nodes);

} // namespace QELT::Inspection
