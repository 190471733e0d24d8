// SPDX-License-Identifier: Apache-2.0
// Functions of the C library that programs call which were built with _FORTIFY_SOURCE.
#ifndef TESTS_SUPPORT_FORTIFIED_CALLS_H
#define TESTS_SUPPORT_FORTIFIED_CALLS_H

extern "C" int __open_2(const char* pszPath, int s32Flags);
extern "C" int __open64_2(const char* pszPath, int s32Flags);

#endif
