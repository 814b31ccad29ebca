#pragma once

namespace QELT::Testing {

/// Whether `call` throws a pointer to an E. The object is freed; anything else that is thrown gets through.
template <class E, class Call>
bool getDoesThrowPointer(Call call) {
    try {
        call();
    } catch (E* thrown) {
        delete thrown;
        return true;
    }
    return false;
}

} // namespace QELT::Testing
