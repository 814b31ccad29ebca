#pragma once

#include "apps/cscan/grids/gridsummary.h"
#include "apps/cscan/scanning/scanner.h"
#include "apps/cscan/surface/meshsummary.h"
#include "apps/cscan/surface/surfacerepair.h"

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

/// The longest loops are told one by one.
void printMesh(std::ostream& output, Mesh const& mesh, std::vector<Triangle*> const& triangles,
               std::vector<BoundaryLoop> const& loops);
void printRepair(std::ostream& output, RepairReport const& repair);
void printFlat(std::ostream& output, FlatSummary const& flat);
void printGrid(std::ostream& output, Grid const& grid, GridSummary const& summary);

/// Nothing if there are none. `spacing` is that of the nodes in the flat map.
void printNanNodes(std::ostream& output, std::vector<GridIndex> const& nodes,
                   std::vector<Triangle*> const& triangles, double spacing);
void printScan(std::ostream& output, ScanResult const& result);

/// A table whose columns are as wide as their widest cell; the first row is the heading.
void printTable(std::ostream& output, std::vector<std::vector<std::string>> const& rows);

} // namespace cscan
