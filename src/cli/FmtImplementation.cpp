// SPDX-License-Identifier: Apache-2.0
// fmt's compiled functions, built into quillbox when it is linked without shared C++
// libraries (QB_STATIC_CLI): Debian ships libfmt only as a shared library.
#include <fmt/format-inl.h>

FMT_BEGIN_NAMESPACE
namespace detail {
// The templates the program's formatting asks for that the header does not instantiate.
template FMT_API auto thousands_sep_impl(locale_ref) -> thousands_sep_result<char>;
template FMT_API auto decimal_point_impl(locale_ref) -> char;
}  // namespace detail
FMT_END_NAMESPACE
