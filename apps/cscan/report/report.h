#pragma once

#include "Inspection/grids/gridsummary.h"
#include "Inspection/grids/quadsizes.h"
#include "Inspection/maps/flattening.h"
#include "Inspection/maps/mapquality.h"
#include "Inspection/parts/meshsummary.h"
#include "Inspection/parts/surfacerepair.h"
#include "Inspection/scanning/scan.h"
#include "apps/cscan/names.h"

#include <iosfwd>
#include <string>
#include <vector>

/// What the commands print.
namespace cscan {

/// A line of a name and what is to be said about it, the latter in a column.
void printItem(std::ostream& output, std::string const& name, std::string const& text);

/// "(1, 2, 3)"
std::string pointText(Point const& point);
std::string vectorText(Vector const& vector);

/// "0.123 s"
std::string secondsText(double seconds);

/// "1 hole", "2 holes"
std::string counted(std::size_t count, std::string const& singular, std::string const& plural);

/// A line on each solve: what was solved for, iterations, residual, result.
std::vector<std::string> linesOf(FlatteningReport const& report);

/// The longest loops are told one by one.
void printMesh(std::ostream& output, MeshSummary const& mesh);
void printRepair(std::ostream& output, RepairReport const& repair);
void printFlat(std::ostream& output, FlatSummary const& flat);
void printMapQuality(std::ostream& output, MapQuality const& quality);
void printGrid(std::ostream& output, GridSummary const& grid);
void printQuadSizes(std::ostream& output, QuadSizes const& sizes);

/// Nothing if there are none.
void printNanNodes(std::ostream& output, NanNodes const& nodes);
void printScan(std::ostream& output, Scan const& scan);

/// A table whose columns are as wide as their widest cell; the first row is the heading.
void printTable(std::ostream& output, std::vector<std::vector<std::string>> const& rows);

} // namespace cscan
