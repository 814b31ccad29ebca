#pragma once

#include "Inspection/names.h"

/// The inspection application. It speaks of the inspection library's things by their own names.
namespace cscan {

using namespace QELT::Inspection;

} // namespace cscan
