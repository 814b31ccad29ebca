#pragma once

#include "Inspection/export.h"

#include <string>

namespace QELT::Inspection {

/// The version of this library, such as "1.2.3".
QELT_INSPECTION_EXPORT std::string libraryVersion();

} // namespace QELT::Inspection
