#pragma once
/// @file bstr.h
/// The automation strings that sysAllocString() hands out. On Windows they are the system's own and
/// <oleauto.h> declares these functions.

#include <ztree/types.h>

#if !defined(_WIN32)
/// A copy of s up to its terminator, with its length in front; null for a null s or when memory is out.
/// Release it with SysFreeString.
ZTREE_API zwchar* SysAllocString(const zwchar* s);
/// 16-bit units of a string from SysAllocString, terminator not counted; 0 for null.
ZTREE_API unsigned int SysStringLen(const zwchar* bstr);
/// Gives a string from SysAllocString back; null is ignored.
ZTREE_API void SysFreeString(zwchar* bstr);
#endif
