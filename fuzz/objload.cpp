// OBJ texts, as they are: the loader's scanning.

#include "fuzz/harness.h"
#include "fuzz/objuse.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    QELT::Fuzzing::useObjText(std::string(data, data + size));
    return 0;
}
