// SPDX-License-Identifier: Apache-2.0
// QB_API marks what a program built on libqbcore may call: the shared library is built with
// hidden visibility, so only marked classes and functions leave it.
#pragma once

#if defined(__GNUC__) || defined(__clang__)
#define QB_API __attribute__((visibility("default")))
#else
#define QB_API
#endif
