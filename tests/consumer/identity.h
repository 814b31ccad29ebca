#pragma once

#include <string>

/// Whether objects that the library made or derived from keep their type identity in this program. Gives the
/// names of the checks that failed, or an empty text.
std::string checkTypeIdentity();
