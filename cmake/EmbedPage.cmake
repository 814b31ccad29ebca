# Writes SOURCE, a C++ source that holds the bytes of the file BUNDLE, or none if that is empty.

set(digits "")
if(BUNDLE)
    file(READ "${BUNDLE}" digits HEX)
endif()
string(LENGTH "${digits}" length)
math(EXPR count "${length} / 2")
string(REGEX REPLACE "(..)" "0x\\1," bytes "${digits}")
# No line of megabytes.
string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n" bytes "${bytes}")
file(
    WRITE "${SOURCE}"
    "// Made from the page; not to be edited.
#include \"Inspection/pages/internal/pagebundle.h\"

namespace QELT::Inspection {

namespace {

unsigned char const bytes[] = {${bytes}0};

} // namespace

std::string_view pageBundle() {
    return {reinterpret_cast<char const*>(bytes), ${count}};
}

} // namespace QELT::Inspection
")
