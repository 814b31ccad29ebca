#include "Inspection/records/version.h"

#include "Geometry/foundations/version.h"

namespace QELT::Inspection {

std::string libraryVersion() {
    return QELT_VERSION_STRING;
}

} // namespace QELT::Inspection
