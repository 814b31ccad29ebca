#pragma once

#include "apps/cscan/commandline/command.h"

/// The commands. Each function offers its command to the parser.
namespace cscan {

Command addDemo(CLI::App& app);
Command addImport(CLI::App& app);
Command addCheck(CLI::App& app);
Command addCrop(CLI::App& app);
Command addPrepare(CLI::App& app);
Command addPath(CLI::App& app);
Command addScan(CLI::App& app);
Command addPicture(CLI::App& app);
Command addIndications(CLI::App& app);
Command addExport(CLI::App& app);
Command addView(CLI::App& app);
Command addReport(CLI::App& app);
Command addInfo(CLI::App& app);
Command addFit(CLI::App& app);
Command addRegister(CLI::App& app);
Command addFitFrame(CLI::App& app);
Command addNeighbours(CLI::App& app);
Command addReconstruct(CLI::App& app);
Command addCut(CLI::App& app);
Command addSelftest(CLI::App& app);
Command addDerive(CLI::App& app);
Command addFootprint(CLI::App& app);
Command addSimulate(CLI::App& app);

} // namespace cscan
