#pragma once

#include "Inspection/export.h"

#include <cstdint>
#include <vector>

namespace QELT::Inspection {

/// How numbers above or below zero are spread, of any count of them in 8 megabytes. The answer does not
/// depend on the order in which they come.
class QELT_INSPECTION_EXPORT Distribution {
public:
    /// What is no number counts for nothing.
    void add(double number);

    std::uint64_t getCount() const { return count; }

    /// The number below which a share of all lies, 0 to 1, to within 0.05 %; 0 if there is none.
    double quantile(double share) const;

    /// To within 0.05 %.
    double median() const { return quantile(0.5); }

    /// Exactly.
    double least() const { return low; }

    /// Exactly.
    double greatest() const { return high; }

private:
    std::vector<std::uint64_t> bins; ///< empty until there is a number
    std::uint64_t count = 0;
    double low = 0.0;
    double high = 0.0;
};

} // namespace QELT::Inspection
