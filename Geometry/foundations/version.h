#pragma once

/// The version of the library. This is the one place where it stands: the build reads it from here.
#define QELT_VERSION_MAJOR 0
#define QELT_VERSION_MINOR 1
#define QELT_VERSION_PATCH 0

/// The same as text, such as "1.2.3".
#define QELT_VERSION_STRING "0.1.0"
