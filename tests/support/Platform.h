//! @file
//! What tests need to know about the system below, where systems differ.
#pragma once

#include "com/Com.h"

//! Tells whether the Windows build runs on Wine, whose automation library is its own.
inline bool onWine()
{
#if defined(_WIN32)
    return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr;
#else
    return false;
#endif
}
