#include "VynErrOut.h"

#include "TestSupport.h"

namespace vyn::test {

// Runs a probe with VYN_ERR_OUT set to `options`. The result is all it wrote, both streams.
std::string RunProbe(const std::string& probe, const std::string& options) {
    int status;
    const std::string output = RunCommand("VYN_ERR_OUT='" + options + "' " VYN_PROBE_DIR "/" + probe + " 2>&1", status);
    EXPECT_EQ(status, 0) << probe << " " << options << "\n" << output;
    return output;
}

const std::string strUnknown = "Internal error: CErrOut: unknown option\n";
const std::string strConstructor = "constructor -1\n";
// What the probe writes after its start with nothing redirected; vynout ends first.
const std::string strFromMain = "Internal error: error\noutput\n";
const std::string strFromExit = "error at exit\ndestructor\noutput at exit\nnot flushed";
const std::string strPlain = strConstructor + strFromMain + strFromExit;
const std::string strQuiet = "output\noutput at exit\n";

TEST(ErrOutVariable, IsReadWordByWordAtTheFirstUse) {
    const std::string usage =
        "Internal error: CErrOut: usage VYN_ERR_OUT=[-a] [-h] [-q] [-o file]\n"
        "Internal error: CErrOut: -a assert dialog (only Windows debug)\n"
        "Internal error: CErrOut: -h print this message\n"
        "Internal error: CErrOut: -q turn off normal output\n"
        "Internal error: CErrOut: -o <file> write output to file.pid \n";
    // What a stream still holds at its end goes out there, vynout first; a later destructor writes after it. The
    // variable is read at the first use, and once; quiet is quiet beyond the end as well.
    const std::string early = strConstructor + strFromMain + "output at exit\nerror at exit\ndestructor\n";
    const Rows<const char*, const char*, std::string> rows = {
        {"MsgOutEarlyProbe", "-z", strUnknown + early},
        {"MsgOutEarlyProbe", "-q", strQuiet},
        {"MsgOutProbe", "", strPlain},
        {"MsgOutProbe", "  -q  ", strQuiet},
        {"MsgOutProbe", "-h -q", usage + strQuiet},
        {"MsgOutProbe", "-z -q", strUnknown + strQuiet},
        {"MsgOutProbe", "qq", strUnknown + strPlain},
        {"MsgOutProbe", "-qq", strUnknown + strPlain},
        {"MsgOutProbe", "-o", "Internal error: CErrOut: file required\n" + strPlain}};
    for (const auto& [probe, options, output] : rows) {
        EXPECT_EQ(RunProbe(probe, options), output) << probe << " " << options;
    }
}

TEST(ErrOutVariable, NamesALogFileThatQuietLeavesAlone) {
    const std::string upToExit = strConstructor + "Internal error: error\nerror at exit\ndestructor\n";
    // A destructor that runs after the end of the stream writes to the file all the same.
    for (const auto& [probe, log] :
         {std::pair("MsgOutProbe", upToExit + "not flushed"), {"MsgOutEarlyProbe", upToExit}}) {
        const TemporaryDirectory directory;
        EXPECT_EQ(RunProbe(probe, "-o /nowhere/x -q -o " + directory / "log"), strQuiet) << probe;
        const auto file = *std::filesystem::directory_iterator(directory.Path());
        EXPECT_EQ(file.path().stem(), "log");
        EXPECT_EQ(ReadText(file.path()), log) << probe;
    }
}

struct Recorder : k4::IMessageOutputHandler {
    explicit Recorder(bool handled) : m_bHandled(handled) {}
    bool OnMessage(const std::string& text) override {
        m_strLog += "[" + text + "]";
        if (text == "throw") {
            throw 1;
        }
        return m_bHandled;
    }
    void OnFlush() override { m_strLog += "|"; }
    std::string m_strLog;
    bool m_bHandled;
};

TEST(MsgOut, DeliversAMessageOfSeveralLinesAtOnce) {
    Recorder handler(true), declining(false);
    testing::internal::CaptureStdout();
    {
        CMsgOut stream(CMsgOut::eOutput);
        stream.SetOutput(&handler);
        stream << "a" << endl << SString(std::string("b\0c", 3)) << 0 << 1234567u << -8LL << endl;
        EXPECT_EQ(handler.m_strLog, "");
        stream << flush << flush;
        EXPECT_EQ(handler.m_strLog, std::string("[a\nb\0c01234567-8\n]|[]|", 22));
        handler.m_strLog.clear();
        stream << "before" << static_cast<const char*>(nullptr) << "after" << flush;
        EXPECT_EQ(handler.m_strLog, "[before\nInternal error: CMsgOut: NULL TCHAR* argument\n]|[after]|");
        stream.SetOutput(&declining);
        stream << "a";
    }
    EXPECT_EQ(declining.m_strLog, "[a]|") << "the destructor flushes";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "a") << "what the handler declines";
}

TEST(MsgOut, DeliversNothingTwiceWhenAHandlerThrows) {
    Recorder handler(true);
    CMsgOut stream(CMsgOut::eOutput);
    stream.SetOutput(&handler);
    stream << "throw";
    EXPECT_THROW(stream << flush, int);
    stream << "b" << flush;
    EXPECT_EQ(handler.m_strLog, "[throw][b]|");
    stream << "throw";  // the destructor lets nothing out
}

TEST(MsgOut, StacksHandlers) {
    Recorder a(true), b(true);
    {
        CMsgOut stream(CMsgOut::eOutput);
        stream.PushOutput(&a);
        stream.PushOutput(&b);
        stream.SetOutput(&b);
        stream.PopOutput();
        EXPECT_EQ(stream.GetOutput(), &a);
        stream.PopOutput();
        EXPECT_EQ(stream.GetOutput(), nullptr);
        stream.SetOutput(&a);
        stream.PopOutput();
        EXPECT_EQ(stream.GetOutput(), &a) << "an empty stack leaves the handler alone";
    }
    EXPECT_EQ(a.m_strLog, "") << "nothing was pending";
}

TEST(MsgOut, FollowsTheVariableOfItsStart) {
    const TemporaryDirectory directory;
    const std::string pid = "." + std::to_string(getpid());
    WriteText(directory / "log" + pid, "an older and longer text");
    const std::string noDialog = "[Internal error: assert dialog not available\n]|";
    const Rows<std::string, std::string, std::string> rows = {
        {"-o /nowhere/log", "[a][Internal error: CErrOut: open failed: /nowhere/log" + pid + "\n]||[b]|", ""},
        {"-o " + directory / "log", "[a]|[b]|", ""},
        {"-q", "||", ""},
        {"-a", "[a]|[b]|", noDialog + noDialog}};
    for (const auto& [options, logged, loggedByVynerr] : rows) {
        setenv("VYN_ERR_OUT", options.c_str(), 1);
        CMsgOut stream(CMsgOut::eError);
        unsetenv("VYN_ERR_OUT");
        Recorder handler(true), handlerOfVynerr(true);
        stream.SetOutput(&handler);
        vynerr.PushOutput(&handlerOfVynerr);
        const int log = LowestFreeDescriptor();
        stream << "a" << flush << "b" << flush;
        EXPECT_NE(fcntl(log, F_GETFD), 0) << "not for programs that the tool starts";
        vynerr.PopOutput();
        stream.SetOutput(nullptr);
        EXPECT_EQ(std::tuple(handler.m_strLog, handlerOfVynerr.m_strLog), std::tuple(logged, loggedByVynerr))
            << options;
    }
    EXPECT_EQ(ReadText(directory / "log" + pid), "ab");
    const std::string early = "constructor -1\nconstructor -1\nInternal error: assert";
    EXPECT_EQ(RunProbe("MsgOutProbe", "-a").find(early), 0u)
        << "on vynerr itself the message is still there when the report is made";
}

}  // namespace vyn::test
