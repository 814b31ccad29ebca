#pragma once

#include <string_view>

namespace QELT::Inspection {

/// The page without data, as it was built with the library; empty if it was built without.
std::string_view pageBundle();

} // namespace QELT::Inspection
