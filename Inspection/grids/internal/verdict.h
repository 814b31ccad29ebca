#pragma once

#include "Inspection/grids/gridsummary.h"
#include "Inspection/grids/prepare.h"
#include "Inspection/grids/quadsizes.h"
#include "Inspection/maps/mapcandidate.h"

#include <functional>
#include <string>
#include <vector>

/// The limits beyond which a grid is not fit for inspection.
namespace QELT::Inspection {

/// Tells how to cut a face that can be laid flat out of the part; only asked where that helps.
using CutOutRemedy = std::function<std::string()>;

/// What is wrong with the chosen one of the maps that were tried.
std::vector<Shortcoming> shortcomingsOf(std::vector<MapCandidate> const& maps, std::size_t chosen,
                                        CutOutRemedy const& cutOut);

/// What is wrong with a grid.
std::vector<Shortcoming> shortcomingsOf(QuadSizes const& sizes, NanNodes const& nodes,
                                        CutOutRemedy const& cutOut);

} // namespace QELT::Inspection
