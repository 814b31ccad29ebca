#pragma once

#include "Inspection/shots/shotreader.h"
#include "apps/cscan/names.h"

#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace cscan {

/// Offers what tells of a table of shots, or of one of shots and one of poses: --data, --poses, --shots,
/// --columns, --pose, --pose-unit, --beam-axis, --tool, --frame, --lag, --max-gap and --skip-bad. What the
/// user asks for goes to `shots`.
void addShotOptions(CLI::App& command, ShotOptions& shots);

} // namespace cscan
