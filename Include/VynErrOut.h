#pragma once

/// \file
/// The message streams, vynerr for errors and vynout for normal output, and the formatter of messages. No
/// locks: a message is composed over several calls, so one thread at a time writes to a stream. SFmt.cpp has the
/// formatter.

#include <cstdio>
#include <memory>
#include <optional>
#include <sstream>
#include <stack>
#include <string>
#include <type_traits>

#include "SString.h"
#include "VynExport.h"

namespace k4 {
class IMessageOutputHandler;
}

namespace vyn {

class SFmt;

/// \brief Composes a message in memory and delivers it as a whole at `flush`.
///
/// \code
/// vynerr << IntErr << "no such table: " << name << endl << flush;
/// \endcode
/// A flush delivers to the handler, else to the console, and to the log file. A tool redirects a stream by
/// SetOutput or PushOutput. The user redirects error streams by the variable `VYN_ERR_OUT`, words separated
/// by blanks: `-q` silences console and handler, `-o file` writes to file.pid, `-h` prints the usage, `-a`
/// asks for an assert dialog, which this system doesn't have. Problems of the stream are reported on it;
/// nothing throws or returns an error. An exception of a handler goes on to whoever flushed, and its message isn't
/// delivered again.
class VYN_API CMsgOut {
public:
    /// Where messages go without a handler.
    enum MessageKind {
        eError = 0,   ///< console is standard error
        eOutput = 1,  ///< console is standard output
    };

    /// Builds an empty stream. One of kind eError reads `VYN_ERR_OUT` and may report on itself right away.
    CMsgOut(MessageKind kind);
    CMsgOut(const CMsgOut&) = delete;
    CMsgOut& operator=(const CMsgOut&) = delete;
    /// Flushes a message that is still pending and closes the log file.
    virtual ~CMsgOut();

    /// \return the current handler; null when there is none.
    k4::IMessageOutputHandler* GetOutput();

    /// \param handler replaces the current handler, which is forgotten. May be null; stays the caller's and
    /// outlives its use here.
    void SetOutput(k4::IMessageOutputHandler* handler);
    /// Sets \p handler as SetOutput does, and keeps the handler before, null included, for PopOutput.
    void PushOutput(k4::IMessageOutputHandler* handler);
    /// Goes back to the handler before the last PushOutput; without one, does nothing.
    void PopOutput();

    /// Appends the number in decimal.
    CMsgOut& operator<<(long value);
    /// The same for the other integers.
    template <class T, class = std::enable_if_t<std::is_integral_v<T>>>
    CMsgOut& operator<<(T value) {
        return *this << SString(std::to_string(value));
    }
    /// Appends the text. Null is reported on this stream, with a flush.
    CMsgOut& operator<<(const char* text);
    /// Appends the text.
    CMsgOut& operator<<(const SString& text);
    /// Appends the text of the message, `str()`, which reports what is missing in it.
    CMsgOut& operator<<(SFmt& format);
    /// Applies a manipulator. \return its result.
    CMsgOut& operator<<(CMsgOut& (*manipulator)(CMsgOut&));

protected:
    /// A stream of kind eError that is ready without any code being run, and starts at its first use.
    constexpr CMsgOut() = default;

    /// Builds the state and reads `VYN_ERR_OUT`, unless that was done.
    void Start();
    /// Delivers a pending message and closes the log file. What is written later goes out message by message.
    void End();

    /// Says which console and whether `VYN_ERR_OUT` counts.
    MessageKind m_eKind = eError;

private:
    friend VYN_API CMsgOut& flush(CMsgOut& stream);

    struct CloseFile {
        void operator()(FILE* file) const { fclose(file); }
    };
    // All that needs code to be built.
    struct SState {
        SState() : pOutput(nullptr), bAssert(false) {}

        std::ostringstream buffer;           // the message being composed
        k4::IMessageOutputHandler* pOutput;  // current handler
        std::stack<k4::IMessageOutputHandler*> stackOutput;
        bool bAssert;
        std::unique_ptr<FILE, CloseFile> file;  // the log file once open
        UTF8String strFileName;                 // of a log file that is still to be opened, else empty
    };

    SState& State();
    void ReadOptions();
    void ReadOption(const char* word, char** rest);
    void Report(const char* text, const char* detail = "");
    void ReportOption(const char* text, const char* detail = "");
    void Deliver();
    std::string TakeText();
    void WriteOut(const std::string& text);
    void EndDelivery();
    void WriteToConsole(const std::string& text);
    void WriteToFile(const std::string& text);

    bool m_bQuiet{false};  // kept beyond the end, unlike the state
    bool m_bEnded{false};
    std::optional<SState> m_state;
};

/// The error stream of the process. It can be written to at any time: before the library has started, and
/// after it has ended, when text still reaches the console and the log file.
extern VYN_API CMsgOut& vynerr;
/// The stream of normal output, as ready as vynerr. It doesn't read `VYN_ERR_OUT`.
extern VYN_API CMsgOut& vynout;

/// Appends a newline; delivers nothing.
VYN_API CMsgOut& endl(CMsgOut& stream);
/// Delivers the message, which may be empty, to handler, console and log file, and empties it.
VYN_API CMsgOut& flush(CMsgOut& stream);
/// Appends "Internal error: ", the start of each report to developers.
VYN_API CMsgOut& IntErr(CMsgOut& stream);

/// \brief Builds a message from a text with numbered placeholders, `%1`, `%2` and so on.
///
/// The arguments come in the order of the numbers, while the text, which may be a translation, uses them in
/// any order:
/// \code
/// vynerr << (SFmt(module, 15) << urn << target << reason) << endl << flush;
/// \endcode
///
/// There's no escape for a `%`: one without a digit behind it is ordinary text. Misuse is reported as an
/// internal error on vynerr, and the message comes out as good as it can be. An object is short-lived and
/// belongs to one thread.
class VYN_API SFmt : public SString {
public:
    /// \param format the text, copied; null means empty.
    explicit SFmt(const char* format);
    /// The text is string \p id of \p module; when there is none that is reported, and the text is empty.
    SFmt(HINSTANCE__* module, unsigned id);

    /// Fills in the next parameter: replaces the first place of its number in the text, texts filled in
    /// before included. Without a place that is reported, and \p value goes behind the text and a blank.
    SFmt& operator<<(const SString& value);
    /// The same; null is reported instead and doesn't count as a parameter.
    SFmt& operator<<(const char* value);
    /// The same with the number in decimal.
    SFmt& operator<<(long value);
    /// The same for the other integers.
    template <class T, class = std::enable_if_t<std::is_integral_v<T>>>
    SFmt& operator<<(T value) {
        return *this << SString(std::to_string(value));
    }

    /// \return the text, valid until it is next changed. Each placeholder that is left in it is reported.
    const SString& str();

private:
    int m_nParameter = 0;  // number of the last parameter that was filled in
};

}  // namespace vyn
