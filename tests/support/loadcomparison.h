#pragma once

#include <gtest/gtest.h>

#include <string>

namespace QELT::Testing {

/// Loads the text as an OBJ file with the plain loader and, with and without a listener, with the library.
/// Success if all agree on everything: the result or the failure's text, the progress, and the state of the
/// mesh to the bit, also after a failure.
testing::AssertionResult loadsLikePlainLoader(std::string const& text);

/// The failure with which the library answers the text as an OBJ file; empty if it loads.
std::string getLoadFailure(std::string const& text);

} // namespace QELT::Testing
