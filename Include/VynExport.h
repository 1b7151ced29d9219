#pragma once

/// \file
/// The export macro and the opaque module handle, which every public header needs. No code, so no thread rule.

/// Marks what the shared library exports; everything else stays hidden.
#define VYN_API __attribute__((visibility("default")))

struct HINSTANCE__;

/// Opaque handle of a loaded module: what the dynamic loader returned, or the value that stands for the
/// library itself. Nobody looks behind it.
typedef HINSTANCE__* HINSTANCE;

namespace vyn {

using ::HINSTANCE;
using ::HINSTANCE__;

}  // namespace vyn
