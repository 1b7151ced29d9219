#include "VynErrOut.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "Text/Environment_p.h"
#include "Text/Immortal_p.h"
#include "Text/InitOrder_p.h"
#include "ZemAPICommon.h"

namespace vyn {

namespace {

// One of the two streams of the process, which starts at its first use.
class GlobalMsgOut : public CMsgOut {
public:
    constexpr explicit GlobalMsgOut(MessageKind kind) { m_eKind = kind; }

    using CMsgOut::End;
    using CMsgOut::Start;
};

// Gives a global stream its place in the start order.
class StreamLife {
public:
    explicit StreamLife(GlobalMsgOut& stream) : m_stream(stream) { m_stream.Start(); }
    StreamLife(const StreamLife&) = delete;
    StreamLife& operator=(const StreamLife&) = delete;
    ~StreamLife() { m_stream.End(); }

private:
    GlobalMsgOut& m_stream;
};

VYN_INIT(VYN_INIT_VYNERR) detail::Immortal<GlobalMsgOut> storageErr(CMsgOut::eError);
VYN_INIT(VYN_INIT_VYNOUT) detail::Immortal<GlobalMsgOut> storageOut(CMsgOut::eOutput);

VYN_INIT(VYN_INIT_VYNERR) StreamLife globalErr(storageErr.Get());
VYN_INIT(VYN_INIT_VYNOUT) StreamLife globalOut(storageOut.Get());

}  // namespace

CMsgOut& vynerr = storageErr.Get();
CMsgOut& vynout = storageOut.Get();

CMsgOut::CMsgOut(MessageKind kind) : m_eKind(kind) {
    Start();
}

CMsgOut::~CMsgOut() {
    End();
}

k4::IMessageOutputHandler* CMsgOut::GetOutput() {
    return State().pOutput;
}

void CMsgOut::SetOutput(k4::IMessageOutputHandler* handler) {
    State().pOutput = handler;
}

void CMsgOut::PushOutput(k4::IMessageOutputHandler* handler) {
    SState& state = State();
    state.stackOutput.push(state.pOutput);
    state.pOutput = handler;
}

void CMsgOut::PopOutput() {
    SState& state = State();
    if (state.stackOutput.empty()) {
        return;
    }
    state.pOutput = state.stackOutput.top();
    state.stackOutput.pop();
}

CMsgOut& CMsgOut::operator<<(long value) {
    // Not by the buffer's own operator, whose locale may group digits.
    State().buffer << std::to_string(value);
    return *this;
}

CMsgOut& CMsgOut::operator<<(const char* text) {
    if (text) {
        State().buffer << text;
    } else {
        *this << endl;
        Report("CMsgOut: NULL TCHAR* argument");
    }
    return *this;
}

CMsgOut& CMsgOut::operator<<(const SString& text) {
    State().buffer << text;
    return *this;
}

CMsgOut& CMsgOut::operator<<(CMsgOut& (*manipulator)(CMsgOut&)) {
    return manipulator(*this);
}

void CMsgOut::Start() {
    State();
}

// The state exists before the options are read, since these may be reported on this stream.
CMsgOut::SState& CMsgOut::State() {
    if (!m_state) {
        m_state.emplace();
        if (m_eKind == eError) {
            ReadOptions();
        }
    }
    return *m_state;
}

void CMsgOut::End() {
    try {
        if (m_state && m_state->buffer.tellp() > 0) {
            Deliver();
        }
    } catch (...) {
        // The handler has the message, and nobody is left to hear of its exception.
    }
    m_state.reset();
    m_bEnded = true;
}

// Reads the variable for its log file once more after the end, when nothing else is done with it.
void CMsgOut::ReadOptions() {
    const char* value = detail::Environment("VYN_ERR_OUT");
    if (!value) {
        return;
    }
    std::string words(value);
    char* rest = nullptr;
    for (const char* word = strtok_r(&words[0], " ", &rest); word; word = strtok_r(nullptr, " ", &rest)) {
        if (word[0] != '-' || strlen(word) != 2) {
            ReportOption("CErrOut: unknown option");
            return;
        }
        ReadOption(word, &rest);
    }
}

// `rest` is where strtok_r goes on behind `word`.
void CMsgOut::ReadOption(const char* word, char** rest) {
    switch (word[1]) {
        case 'a':
            m_state->bAssert = true;
            break;
        case 'h':
            ReportOption("CErrOut: usage VYN_ERR_OUT=[-a] [-h] [-q] [-o file]");
            ReportOption("CErrOut: -a assert dialog (only Windows debug)");
            ReportOption("CErrOut: -h print this message");
            ReportOption("CErrOut: -q turn off normal output");
            ReportOption("CErrOut: -o <file> write output to file.pid ");
            break;
        case 'o':
            if (const char* file = strtok_r(nullptr, " ", rest)) {
                m_state->strFileName = file + ("." + std::to_string(getpid()));
            } else {
                ReportOption("CErrOut: file required");
            }
            break;
        case 'q':
            m_bQuiet = true;
            break;
        default:
            ReportOption("CErrOut: unknown option");
    }
}

void CMsgOut::Report(const char* text, const char* detail) {
    *this << IntErr << text << detail << endl << flush;
}

void CMsgOut::ReportOption(const char* text, const char* detail) {
    if (!m_bEnded) {
        Report(text, detail);
    }
}

void CMsgOut::Deliver() {
    // Taken out first: after an exception of the handler the message doesn't come again.
    const std::string text = TakeText();
    WriteOut(text);
    if (State().bAssert) {
        // On vynerr itself, the report goes out behind a repetition of the message.
        vynerr << SString(this == &vynerr ? text : std::string()) << IntErr << "assert dialog not available" << endl;
        // Not by a flush, which would report again.
        vynerr.WriteOut(vynerr.TakeText());
        vynerr.EndDelivery();
    }
    EndDelivery();
}

std::string CMsgOut::TakeText() {
    std::string text = State().buffer.str();
    State().buffer.str("");
    return text;
}

void CMsgOut::WriteOut(const std::string& text) {
    if (!m_bQuiet) {
        WriteToConsole(text);
    }
    WriteToFile(text);
}

void CMsgOut::EndDelivery() {
    if (k4::IMessageOutputHandler* handler = State().pOutput) {
        handler->OnFlush();
    }
    if (m_bEnded) {
        m_state.reset();
    }
}

void CMsgOut::WriteToConsole(const std::string& text) {
    k4::IMessageOutputHandler* handler = State().pOutput;
    if (handler && handler->OnMessage(text)) {
        return;
    }
    // By stdio, which needs no object that is built and destroyed.
    FILE* console = m_eKind == eError ? stderr : stdout;
    fwrite(text.data(), 1, text.size(), console);
    fflush(console);
}

void CMsgOut::WriteToFile(const std::string& text) {
    SState& state = State();
    if (!state.file && !state.strFileName.empty()) {
        UTF8String name;
        name.swap(state.strFileName);
        state.file.reset(fopen(name.c_str(), m_bEnded ? "ae" : "we"));
        if (!state.file) {
            ReportOption("CErrOut: open failed: ", name.c_str());
            return;
        }
    }
    if (state.file) {
        fwrite(text.data(), 1, text.size(), state.file.get());
        fflush(state.file.get());
    }
}

CMsgOut& endl(CMsgOut& stream) {
    return stream << "\n";
}

CMsgOut& flush(CMsgOut& stream) {
    stream.Deliver();
    return stream;
}

CMsgOut& IntErr(CMsgOut& stream) {
    return stream << "Internal error: ";
}

}  // namespace vyn
