#pragma once

/// \file
/// Functions of libraries that are opened at their first use: a program that never needs them doesn't pay for them at
/// its start. A struct lists the functions of one library, and one static object of it opens the library for good:
///
///     struct Matcher {
///         void* library = dlopen(VYN_PCRE_SONAME, RTLD_NOW);
///         VYN_LATE_FUNCTION(pcre_compile);
///     };
///
/// Without the library `library` and the functions are null.

#include <dlfcn.h>

// Names that the library's headers define as macros are replaced before they become text.
#define VYN_LATE_NAME(name) #name
#define VYN_LATE_TEXT(name) VYN_LATE_NAME(name)

// NOLINTBEGIN(bugprone-macro-parentheses): the name that is declared has none
/// A member that is the address of the function or variable \p name of `library`.
#define VYN_LATE_FUNCTION(name) \
    decltype(&::name) name =    \
        reinterpret_cast<decltype(&::name)>(library ? dlsym(library, VYN_LATE_TEXT(name)) : nullptr)
// NOLINTEND(bugprone-macro-parentheses)
