//! @file
//! The platform's COM headers, in the order that they need, and what a toolchain leaves out.
//! Include "com/Com.h" instead.
#pragma once

#if !defined(WIN32_LEAN_AND_MEAN)
#define WIN32_LEAN_AND_MEAN
#endif
#if !defined(NOMINMAX)
#define NOMINMAX
#endif

// clang-format off
// windows.h must stand first.
#include <windows.h>
#include <ole2.h>
#include <oleauto.h>
#include <comdef.h>
#include <comip.h>
#include <comutil.h>
// clang-format on

// The mingw-w64 headers declare the standard smart pointers only with native __uuidof.
#if defined(__MINGW32__) && (!defined(USE___UUIDOF) || USE___UUIDOF == 0)
typedef _com_ptr_t<_com_IIID<IUnknown, &IID_IUnknown>> IUnknownPtr;
typedef _com_ptr_t<_com_IIID<IDispatch, &IID_IDispatch>> IDispatchPtr;
typedef _com_ptr_t<_com_IIID<IErrorInfo, &IID_IErrorInfo>> IErrorInfoPtr;
typedef _com_ptr_t<_com_IIID<ICreateErrorInfo, &IID_ICreateErrorInfo>> ICreateErrorInfoPtr;
typedef _com_ptr_t<_com_IIID<ISupportErrorInfo, &IID_ISupportErrorInfo>> ISupportErrorInfoPtr;
typedef _com_ptr_t<_com_IIID<IEnumVARIANT, &IID_IEnumVARIANT>> IEnumVARIANTPtr;
#endif
