#pragma once

#include "apps/cscan/commandline/options.h"
#include "apps/cscan/progress/progressdisplay.h"

#include <iosfwd>

/// The commands. Each prints its findings to `output` and shows how far it has come on `display`; what goes
/// wrong is thrown.
namespace cscan {

void runDemo(DemoOptions const& options, std::ostream& output, ProgressDisplay& display);
void runPrepare(PrepareOptions const& options, std::ostream& output, ProgressDisplay& display);
void runScan(ScanOptions const& options, std::ostream& output, ProgressDisplay& display);
void runInfo(InfoOptions const& options, std::ostream& output, ProgressDisplay& display);
void runFit(FitOptions const& options, std::ostream& output, ProgressDisplay& display);
void runRegister(RegisterOptions const& options, std::ostream& output, ProgressDisplay& display);
void runNeighbours(NeighboursOptions const& options, std::ostream& output, ProgressDisplay& display);
void runSelftest(SelftestOptions const& options, std::ostream& output, ProgressDisplay& display);
void runReconstruct(ReconstructOptions const& options, std::ostream& output, ProgressDisplay& display);
void runCut(CutOptions const& options, std::ostream& output, ProgressDisplay& display);
void runDerive(DeriveOptions const& options, std::ostream& output, ProgressDisplay& display);
void runFootprint(FootprintOptions const& options, std::ostream& output, ProgressDisplay& display);

} // namespace cscan
