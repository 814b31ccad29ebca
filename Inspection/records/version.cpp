#include "Inspection/records/version.h"

namespace QELT::Inspection {

std::string libraryVersion() {
    return QELT_INSPECTION_VERSION;
}

} // namespace QELT::Inspection
