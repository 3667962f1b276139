#pragma once

/// VOK_API marks the host interface, the only symbols that the shared library exports.
#if defined(_WIN32) && defined(VOK_BUILDING_SHARED)
#define VOK_API __declspec(dllexport)
#elif defined(_WIN32) && defined(VOK_USING_SHARED)
#define VOK_API __declspec(dllimport)
#elif defined(_WIN32)
#define VOK_API
#else
#define VOK_API __attribute__((visibility("default")))
#endif
