#pragma once

#include <stdexcept>

namespace cscan {

/// The command line asks for something that there is not. The text is one line.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace cscan
