#pragma once

/// QELT_INSPECTION_EXPORT marks what the shared library shows to its users; everything else is hidden.
/// QELT_INSPECTION_STATIC is set by the build for a static library and its users.
#if defined(QELT_INSPECTION_STATIC)
#define QELT_INSPECTION_EXPORT
#elif defined(_WIN32)
#if defined(QELT_BUILDING_INSPECTION)
#define QELT_INSPECTION_EXPORT __declspec(dllexport)
#else
#define QELT_INSPECTION_EXPORT __declspec(dllimport)
#endif
#else
#define QELT_INSPECTION_EXPORT __attribute__((visibility("default")))
#endif
