//! @file
//! Export marks of the kernel library.
//! KTSTD_EXPORT goes on exported classes, functions and data; KTSTD_VISIBLE on inline-only classes
//! that are thrown or compared across library boundaries.
#pragma once

#if defined(_WIN32)
#define KTSTD_VISIBLE
#if defined(KTSTD_STATIC)
#define KTSTD_EXPORT
#elif defined(KTSTD_BUILD)
#define KTSTD_EXPORT __declspec(dllexport)
#else
#define KTSTD_EXPORT __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define KTSTD_VISIBLE __attribute__((visibility("default")))
#define KTSTD_EXPORT __attribute__((visibility("default")))
#else
#define KTSTD_VISIBLE
#define KTSTD_EXPORT
#endif
