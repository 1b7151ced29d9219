#pragma once

/// \file
/// What this library needs of the object runtime `k4`. Interfaces carry no lock of their own.

#include <string>

#include "Vyn.h"

namespace k4 {

/// \brief Takes over the messages of a stream; see vyn::CMsgOut::SetOutput.
///
/// A tool derives from it to show messages in its own window. The handler stays the tool's and outlives its
/// use.
class VYN_API IMessageOutputHandler {
public:
    /// Receives the whole text that a flush delivers, which may be empty.
    /// \return true when the handler has taken care of the text; false sends it to the console as well.
    virtual bool OnMessage(const std::string& text) = 0;
    /// Called at the end of each flush, also of a stream that is quiet and never calls OnMessage.
    virtual void OnFlush() = 0;
    virtual ~IMessageOutputHandler() = default;
};

}  // namespace k4
