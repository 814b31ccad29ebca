#include "Inspection/indications/indication.h"

namespace QELT::Inspection {

std::string touchesOf(Indication const& indication) {
    if (indication.doesTouchRim) {
        return indication.doesTouchUnmeasured ? "rim and unmeasured" : "rim";
    }
    return indication.doesTouchUnmeasured ? "unmeasured" : "";
}

} // namespace QELT::Inspection
