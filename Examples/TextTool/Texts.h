#pragma once

// The messages of the tool, by number.

#include <VynErrOut.h>
#include <VynToolMessages.h>

enum Text {
    eUsage = 1,
    eCantRead,
    eSummary,
    eFixed,
    eUnknownOption,
    eCantSave,
    eTooDeep,
    eFilterNotStarted,
    eFilterTooSlow,
    eFilterFailed,
};

// The languages lie in locale/ beside the program, or beside the directory that it lies in.
inline vyn::HINSTANCE Messages() {
    static const vyn::VynToolMessages messages("texttool", vynMessages);
    return messages.GetHandle();
}

// Writes a message to the error stream, its %1, %2 ... filled in.
template <class... Arguments>
void Tell(Text id, const Arguments&... arguments) {
    vyn::vynerr << (vyn::SFmt(Messages(), id) << ... << arguments) << vyn::endl << vyn::flush;
}
