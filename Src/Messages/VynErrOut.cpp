#include "VynErrOut.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "Text/Environment_p.h"
#include "Text/InitOrder_p.h"
#include "ZemAPICommon.h"

namespace vyn {

namespace {

// True while a flush reports the missing assert dialog, so that the flush of that report doesn't.
bool bReportsAssert = false;

}  // namespace

// Gives a global stream its place in the start order. The stream itself is constant-initialised and its
// destructor never runs; what begins and ends with this object is the stream's state.
class CGlobalMsgOut {
public:
    union Storage {
        constexpr explicit Storage(CMsgOut::MessageKind kind) : stream(kind, std::nullopt) {}
        ~Storage() {}
        CMsgOut stream;
    };

    explicit CGlobalMsgOut(CMsgOut& stream) : m_stream(stream) { m_stream.State(); }
    CGlobalMsgOut(const CGlobalMsgOut&) = delete;
    CGlobalMsgOut& operator=(const CGlobalMsgOut&) = delete;
    ~CGlobalMsgOut() { m_stream.End(); }

private:
    CMsgOut& m_stream;
};

namespace {

VYN_INIT(VYN_INIT_VYNERR) CGlobalMsgOut::Storage storageErr(CMsgOut::eError);
VYN_INIT(VYN_INIT_VYNOUT) CGlobalMsgOut::Storage storageOut(CMsgOut::eOutput);

}  // namespace

CMsgOut& vynerr = storageErr.stream;
CMsgOut& vynout = storageOut.stream;

namespace {

VYN_INIT(VYN_INIT_VYNERR) CGlobalMsgOut globalErr(vynerr);
VYN_INIT(VYN_INIT_VYNOUT) CGlobalMsgOut globalOut(vynout);

}  // namespace

CMsgOut::CMsgOut(MessageKind kind) : m_eKind(kind) {
    State();
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

// The state exists before the options are read, since these may be reported on this stream.
CMsgOut::SState& CMsgOut::State() {
    if (!m_state) {
        m_state.emplace();
        if (m_eKind == eError && !m_bEnded) {
            ReadOptions();
        }
    }
    return *m_state;
}

void CMsgOut::End() {
    if (m_state && m_state->buffer.tellp() > 0) {
        Deliver();
    }
    m_state.reset();
    m_bEnded = true;
}

void CMsgOut::ReadOptions() {
    const char* value = detail::Environment("VYN_ERR_OUT");
    if (!value) {
        return;
    }
    std::string words(value);
    char* rest = nullptr;
    for (const char* word = strtok_r(&words[0], " ", &rest); word; word = strtok_r(nullptr, " ", &rest)) {
        if (word[0] != '-' || strlen(word) != 2) {
            Report("CErrOut: unknown option");
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
            Report("CErrOut: usage VYN_ERR_OUT=[-a] [-h] [-q] [-o file]");
            Report("CErrOut: -a assert dialog (only Windows debug)");
            Report("CErrOut: -h print this message");
            Report("CErrOut: -q turn off normal output");
            Report("CErrOut: -o <file> write output to file.pid ");
            break;
        case 'o':
            if (const char* file = strtok_r(nullptr, " ", rest)) {
                m_state->strFileName = file + ("." + std::to_string(getpid()));
            } else {
                Report("CErrOut: file required");
            }
            break;
        case 'q':
            m_bQuiet = true;
            break;
        default:
            Report("CErrOut: unknown option");
    }
}

void CMsgOut::Report(const char* text, const char* detail) {
    *this << IntErr << text << detail << endl << flush;
}

void CMsgOut::Deliver() {
    const std::string text = State().buffer.str();
    if (!m_bQuiet) {
        WriteToConsole(text);
    }
    WriteToFile(text);
    if (State().bAssert && !bReportsAssert) {
        // The message is still in the buffer: on vynerr itself, the report goes out behind its repetition.
        bReportsAssert = true;
        vynerr.Report("assert dialog not available");
        bReportsAssert = false;
    }
    State().buffer.str("");
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
    if (!state.file.is_open() && !state.strFileName.empty()) {
        UTF8String name;
        name.swap(state.strFileName);
        state.file.open(name);
        if (!state.file.is_open()) {
            state.buffer.str("");
            Report("CErrOut: open failed: ", name.c_str());
            return;
        }
    }
    if (state.file.is_open()) {
        state.file << text << std::flush;
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
