//! @file
//! Export marks of the model library.
//! KTMDL_EXPORT goes on exported classes, functions and data; KTMDL_VISIBLE on inline-only classes
//! whose type must be the same on both sides of the library's boundary.
#pragma once

#if defined(_WIN32)
#define KTMDL_VISIBLE
#if defined(KTMDL_STATIC)
#define KTMDL_EXPORT
#elif defined(KTMDL_BUILD)
#define KTMDL_EXPORT __declspec(dllexport)
#else
#define KTMDL_EXPORT __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define KTMDL_VISIBLE __attribute__((visibility("default")))
#define KTMDL_EXPORT __attribute__((visibility("default")))
#else
#define KTMDL_VISIBLE
#define KTMDL_EXPORT
#endif
