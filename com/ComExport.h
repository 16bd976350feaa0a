//! @file
//! The export mark of the COM layer's own functions and classes.
#pragma once

#if defined(KTCOM_STATIC)
#define KTCOM_EXPORT
#elif defined(_WIN32)
#if defined(KTCOM_BUILD)
#define KTCOM_EXPORT __declspec(dllexport)
#else
#define KTCOM_EXPORT __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define KTCOM_EXPORT __attribute__((visibility("default")))
#else
#define KTCOM_EXPORT
#endif
