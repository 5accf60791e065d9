#pragma once
/// Marks what the shared library exports. Programs that link the static library define RASTERKIT_STATIC; the CMake
/// target and the pkg-config file do it for them.

#if defined(RASTERKIT_STATIC)
#define RASTERKIT_API
#elif !defined(_WIN32)
#define RASTERKIT_API __attribute__((visibility("default")))
#elif defined(RASTERKIT_BUILDING)
#define RASTERKIT_API __declspec(dllexport)
#else
#define RASTERKIT_API __declspec(dllimport)
#endif
