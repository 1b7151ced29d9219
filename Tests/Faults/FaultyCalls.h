#pragma once

/// \file
/// System calls that fail on demand. A program that links FaultyCalls.cpp has its own and its libraries' calls of
/// the C library's functions pass through there. Sleeping takes no time on their clock. For one thread.

namespace vyn::test {

/// What can fail. `Look` is `access`, `stat`, `fstat` and `readlink`, `Mark` is `fchmod` and `fchown`,
/// `Resize` is `ftruncate` and `posix_fallocate`.
enum class Call { Open, Read, Write, Resize, Sync, Rename, Close, Unlink, Lock, Look, Mark, Any };

/// In place of an error number: a read or write that does half of what it should, and the end of the process, in the
/// middle of a write and before any other call.
constexpr int kShort = -1;
constexpr int kKill = -2;

struct Fault {
    Call call;
    int nth;  ///< counted from 1 at Arm
    int error;
    bool forGood;  ///< all later calls of the kind fail too
    bool inPlace;  ///< no file can be replaced, besides
};

/// From now on the calls are counted and \p fault happens.
void Arm(const Fault& fault);
/// Calls succeed again. \return whether the fault has happened.
bool Disarm();

}  // namespace vyn::test
