#pragma once

#include <string>

namespace QELT::Fuzzing {

/// Whatever the text holds, `load` ends with a mesh or with an exception, and a mesh that was loaded can be
/// walked, written, read again, flattened and cut.
void useObjText(std::string const& text);

} // namespace QELT::Fuzzing
