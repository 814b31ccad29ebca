#pragma once

#include "Inspection/names.h"
#include "Inspection/parts/facemesh.h"

/// Parts, flaws and measurements whose truth is known, for tests and for the demonstration. Nothing of this
/// was measured, and every file made of it says "simulated".
namespace QELT::Simulation {

using Inspection::Face;
using Inspection::FaceMesh;
using Inspection::Point;
using Inspection::ProgressListener;
using Inspection::Vector;

} // namespace QELT::Simulation
