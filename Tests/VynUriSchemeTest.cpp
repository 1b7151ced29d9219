// The registry of schemes, the composite, the file scheme and its streams.

#include <sstream>

#include "TestSupport.h"
#include "VynUri.h"

namespace vyn::test {
namespace {

const int allCapabilities = 1 + 2 + 4 + 8 + 16 + 64 + 128;
std::string calls;  // of the schemes below, each as `name.Operation(arguments);`

std::string Is(bool value) {
    return value ? "true" : "false";
}

// Takes the URIs that begin with a text, and notes each call. Its answers differ from those of the composite
// for lack of a scheme.
struct TestScheme final : SUriScheme {
    TestScheme(const std::string& name, const std::string& prefix, int capabilities)
        : m_strName(name), m_strPrefix(prefix), m_nCapabilities(capabilities) {
        SUriSchemeManager::Register(*this);
    }
    ~TestScheme() { SUriSchemeManager::UnRegister(*this); }

    std::basic_istream<char>* OpenRead(SVector<SString>& errors, const SString& uri) override {
        errors.push_back("read");
        return Note("OpenRead", uri, new std::istringstream("text"));
    }
    std::basic_ostream<char>* OpenWrite(SVector<SString>& errors, const SString& uri) override {
        errors.push_back("write");
        return Note("OpenWrite", uri, new std::ostringstream);
    }
    SFormat GetFormat(const SString& uri) const override { return Note("GetFormat", uri, SFormat(7)); }
    bool CanHandle(const SString& uri) const override {
        m_onCanHandle();
        return uri.compare(0, m_strPrefix.size(), m_strPrefix) == 0;
    }
    void GetDisplayText(const SString& uri, SString& text, const SString& extra) const override {
        text = Note("GetDisplayText", uri + "," + text + "," + extra, "shown");
    }
    SStatus GetDefaultOutputLocation(const SString& uri, SString& location) const override {
        location = "there";
        return Note("GetDefaultOutputLocation", uri, eStatusNotDone);
    }
    void GetSchemeDescription(SString& text) const override { text = "Test"; }
    bool IsReadOnly(const SString& uri, bool flag) override { return Note("IsReadOnly", uri + "," + Is(flag), flag); }
    bool IsEqual(const SString& first, const SString& second) override {
        return Note("IsEqual", first + "," + second, false);
    }
    bool MakeEditable(const SString& uri) override { return Note("MakeEditable", uri, true); }
    int GetCapabilities() const override { return m_nCapabilities; }
    SStatus OpenDialog(SVector<SString>&, const SString& start, SString& result, const SString& extra) override {
        result = "chosen";
        return Note("OpenDialog", start + "," + extra, eStatusDone);
    }
    SStatus SaveDialog(SVector<SString>&, const SString& start, SString& result, const SString& extra) override {
        result = "chosen";
        return Note("SaveDialog", start + "," + extra, eStatusDone);
    }
    SStatus DirDialog(SVector<SString>&, const SString& start, SString& result) override {
        result = "chosen";
        return Note("DirDialog", start, eStatusDone);
    }
    SStatus DirectRead(SVector<SString>&, const SString& uri, SVector<void*>& data, const void* context) override {
        return Note("DirectRead", uri + (data.empty() && context == this ? "" : "?"), eStatusDone);
    }
    SStatus DirectWrite(SVector<SString>&, const SString& uri, const SVector<void*>& data,
                        const void* context) override {
        return Note("DirectWrite", uri + (data.empty() && context == this ? "" : "?"), eStatusDone);
    }

    std::function<void()> m_onCanHandle = [] {}, m_onCall = [] {};

private:
    template <class Result>
    Result Note(const char* operation, const std::string& arguments, Result result) const {
        calls += m_strName + "." + operation + "(" + arguments + ");";
        m_onCall();
        return result;
    }

    const std::string m_strName, m_strPrefix;
    const int m_nCapabilities;
};

std::string TakeCalls() {
    return std::move(calls);
}

// An operation of SUri on "urn:u:x", which stands for "t:/x", and what comes of it.
struct Operation {
    const char* name;
    int bit;  // the capability that a scheme needs for it; 0 for none
    std::string (*call)(const SString& uri);
    const char *result, *calls;           // of the scheme that takes the resolved text, r, or the given one, g
    const char *noHandler, *notResolved;  // the results for a URI that nobody takes, and a URN without a name
};

const void* context = nullptr;  // goes through the direct operations
SVector<SString> ignored;

template <class Stream>
std::string Opened(Stream* (SUriScheme::*open)(SVector<SString>&, const SString&), const SString& uri) {
    SVector<SString> errors;
    const std::unique_ptr<Stream> stream((SUri.*open)(errors, uri));
    return (stream ? "stream " : "null ") + std::to_string(errors.size());
}

const Operation operations[] = {
    {"OpenRead", 1, [](const SString& uri) { return Opened(&SUriScheme::OpenRead, uri); }, "stream 1",
     "r.OpenRead(t:/x);", "null 0", "null 0"},
    {"OpenWrite", 2, [](const SString& uri) { return Opened(&SUriScheme::OpenWrite, uri); }, "stream 1",
     "r.OpenWrite(t:/x);", "null 0", "null 0"},
    {"GetFormat", 0, [](const SString& uri) { return std::to_string(SUri.GetFormat(uri)); }, "7",
     "g.GetFormat(urn:u:x);", "0", "0"},
    {"CanHandle", 0, [](const SString& uri) { return Is(SUri.CanHandle(uri)); }, "true", "", "false", "false"},
    {"GetDisplayText", 0,
     [](const SString& uri) {
         SString text("before");
         return SUri.GetDisplayText(uri, text, "extra"), std::string(text);
     },
     "shown", "g.GetDisplayText(urn:u:x,before,extra);", "n:x", "urn:none"},
    {"GetDefaultOutputLocation", 128,
     [](const SString& uri) {
         SString location("before");
         const int status = SUri.GetDefaultOutputLocation(uri, location);
         return std::to_string(status) + " " + location;
     },
     "1 there", "r.GetDefaultOutputLocation(urn:u:x);", "2 ", "2 "},
    {"IsReadOnly", 0, [](const SString& uri) { return Is(SUri.IsReadOnly(uri, false)); }, "false",
     "r.IsReadOnly(urn:u:x,false);", "true", "false"},
    {"IsEqual", 0, [](const SString& uri) { return Is(SUri.IsEqual(uri, "urn:u:y")); }, "false",
     "r.IsEqual(t:/x,t:/y);", "true", "false"},
    {"MakeEditable", 64, [](const SString& uri) { return Is(SUri.MakeEditable(uri)); }, "true",
     "r.MakeEditable(urn:u:x);", "false", "false"},
    {"DirectRead", 0,
     [](const SString& uri) {
         SVector<void*> data;
         return std::to_string(SUri.DirectRead(ignored, uri, data, context));
     },
     "1", "g.DirectRead(urn:u:x);", "2", "2"},
    {"DirectWrite", 0, [](const SString& uri) { return std::to_string(SUri.DirectWrite(ignored, uri, {}, context)); },
     "1", "g.DirectWrite(urn:u:x);", "2", "2"}};

TEST(Composite, HandsOnTheResolvedOrTheGivenText) {
    SUrnResolver::RegisterUrn("u", "t:");
    for (const Operation& operation : operations) {
        TestScheme resolved("r", "t:", allCapabilities);
        TestScheme given("g", "urn:u:", allCapabilities);
        context = &given;
        SCOPED_TRACE(operation.name);
        EXPECT_EQ(operation.call("urn:u:x"), operation.result);
        EXPECT_EQ(TakeCalls(), operation.calls);
        EXPECT_EQ(operation.call("n:x"), operation.noHandler);
        EXPECT_EQ(operation.call("urn:none"), operation.notResolved);
        TestScheme able("able", "t:", operation.bit);
        TestScheme unable("unable", "t:", allCapabilities - operation.bit);
        operation.call("t:x");
        const std::string asked = TakeCalls();
        EXPECT_EQ(asked.substr(0, asked.find('.')), !*operation.calls ? "" : operation.bit ? "able" : "unable");
        EXPECT_EQ(GetMatchingUriScheme("t:x", SUriScheme::SCapability(255)), &unable) << "any bit will do";
    }
    EXPECT_FALSE(SUri.IsEqual("n:x", "urn:none")) << "the second one counts too";
    TestScheme scheme("s", "t:", allCapabilities);
    EXPECT_TRUE(SUri.IsReadOnly("t:x", true)) << "the flag goes through";
    TakeCalls();
}

// The status of a dialog and what was chosen.
std::string Dialog(SUriScheme::SStatus (*call)(SString&)) {
    SString result;
    const int status = call(result);
    return std::to_string(status) + result;
}

TEST(Registry, PrefersTheSchemeRegisteredLast) {
    TestScheme first("1", "t:", allCapabilities);
    {
        TestScheme second("2", "t:x", allCapabilities);
        SUriSchemeManager::Register(first);  // keeps its place
        SUri.GetFormat("t:x");
        SUri.GetFormat("t:y");
    }
    SUri.GetFormat("t:x");
    SUriSchemeManager::UnRegister(first);
    SUriSchemeManager::UnRegister(first);
    EXPECT_EQ(SUri.GetFormat("t:x"), 0);
    EXPECT_EQ(TakeCalls(), "2.GetFormat(t:x);1.GetFormat(t:y);1.GetFormat(t:x);");
}

TEST(Registry, LetsTheCallbackChooseAmongSeveralDialogs) {
    static const SUriScheme* oldest;  // that the callback was offered
    const Rows<int, SUriScheme::SStatus (*)(SString&), std::string> dialogs = {
        {4, [](auto& to) { return SUri.OpenDialog(ignored, "a", to, "b"); }, "OpenDialog(a,b);"},
        {8, [](auto& to) { return SUri.SaveDialog(ignored, "a", to, "b"); }, "SaveDialog(a,b);"},
        {16, [](auto& to) { return SUri.DirDialog(ignored, "a", to); }, "DirDialog(a);"}};
    for (const auto& [bit, call, expected] : dialogs) {
        EXPECT_EQ(Dialog(call), "2") << "the file scheme has no dialog";
        TestScheme other("other", "t:", allCapabilities - bit);
        TestScheme one("one", "t:", bit);
        EXPECT_EQ(Dialog(call), "1chosen");
        EXPECT_EQ(TakeCalls(), std::string("one.") + expected) << "no callback is needed for one";
        TestScheme two("two", "t:", allCapabilities);
        EXPECT_EQ(Dialog(call), "2") << "there is no callback";
        SUriSchemeManager::SetSelectSchemeDialog([](const std::list<SUriScheme*>& schemes) {
            oldest = schemes.front();
            return schemes.back();
        });
        EXPECT_EQ(Dialog(call), "1chosen");
        EXPECT_EQ(TakeCalls(), std::string("two.") + expected);
        EXPECT_EQ(oldest, &one) << "in the order of registration";
        SUriSchemeManager::SetSelectSchemeDialog([](const auto&) -> SUriScheme* { return nullptr; });
        EXPECT_EQ(Dialog(call), "2");
        SUriSchemeManager::SetSelectSchemeDialog(nullptr);
    }
    EXPECT_EQ(SUri.GetCapabilities(), 131);
    TestScheme more("more", "t:", 4 + 16);
    EXPECT_EQ(SUri.GetCapabilities(), 131 + 4 + 16);
}

TEST(Registry, StaysSoundWhateverASchemeDoes) {
    TestScheme fallback("f", "t:", allCapabilities);
    // One that goes away in a call of its own, and one that takes the others along when it is asked.
    TestScheme leaving("l", "t:", allCapabilities);
    leaving.m_onCall = [&] { SUriSchemeManager::UnRegister(leaving); };
    SUri.GetFormat("t:x");
    SUri.GetFormat("t:x");
    EXPECT_EQ(TakeCalls(), "l.GetFormat(t:x);f.GetFormat(t:x);");
    auto victim = std::make_unique<TestScheme>("v", "t:", allCapabilities);
    TestScheme sweeping("s", "other:", allCapabilities);
    sweeping.m_onCanHandle = [&] {
        SUriSchemeManager::UnRegister(sweeping);
        victim.reset();
    };
    SUri.GetFormat("t:x");
    EXPECT_EQ(TakeCalls(), "f.GetFormat(t:x);");
}

TEST(FileSchemeTest, TakesWhatIsNoUri) {
    SUriScheme& scheme = *GetMatchingUriScheme("/", SUriScheme::eCapabilityRead);
    for (const char* path : {"/a", "", "a-b:x", "//host/x", "\\x", "c:/x", "urn:k4:x"}) {
        EXPECT_EQ(scheme.CanHandle(path), path[0] != 'c' && path[0] != 'u') << path;
    }
    EXPECT_TRUE(SUri.CanHandle("urn:k4:x")) << "since it stands for a file";
    SString text;
    scheme.GetDisplayText("x", text, " (1)");
    EXPECT_EQ(text, "x (1)");
    EXPECT_EQ(scheme.GetDefaultOutputLocation("/a\\b/../c.x", text), SUriScheme::eStatusDone);
    EXPECT_EQ(text, "/a");
    const std::string tooLong(1024, 'a');
    const Rows<std::string, std::string, bool> rows = {
        {"a\\b", "a/b", true},  {"/a/../b", "/b", true},         {"A", "a", false},
        {"a/../b", "b", false}, {tooLong, "b" + tooLong, false}, {"", tooLong, false}};
    for (const auto& [first, second, equal] : rows) {
        EXPECT_EQ(SUri.IsEqual(first, second), equal) << first;
    }
    EXPECT_EQ(scheme.GetDefaultOutputLocation("/x/" + tooLong, text), SUriScheme::eStatusNotDone);
    EXPECT_FALSE(scheme.IsReadOnly("/", true));
}

// Bytes of all values; the last one of each block of the stream is 255, and so is the first.
std::string Bytes(size_t count) {
    std::string text(count, '\0');
    for (size_t i = 0; i < count; ++i) {
        text[i] = i % 16384 == 0 || i % 16384 == 16383 ? '\xFF' : static_cast<char>(i * 7);
    }
    return text;
}

TEST(FileStream, BringsBackAllBytes) {
    TemporaryDirectory directory;
    SVector<SString> errors;
    for (size_t size : {0, 1, 16383, 16384, 16385, 100000}) {
        const std::string text = Bytes(size);
        std::unique_ptr<std::ostream> out(SUri.OpenWrite(errors, directory / "f"));
        const size_t half = size / 2;
        out->write(text.data(), static_cast<std::streamsize>(half));
        for (size_t i = half; i < size; ++i) {
            out->put(text[i]);
        }
        EXPECT_TRUE(out->good()) << size;
        out.reset();
        EXPECT_TRUE(ReadText(directory / "f") == text) << size;
        const std::unique_ptr<std::istream> in(SUri.OpenRead(errors, directory / "f"));
        EXPECT_TRUE(std::string(std::istreambuf_iterator<char>(*in), {}) == text) << size;
    }
    EXPECT_TRUE(errors.empty());
}

// Opens a document for writing, and checks that its file is closed on exec.
std::unique_ptr<std::ostream> OpenToWrite(const SString& path) {
    SVector<SString> errors;
    const int next = LowestFreeDescriptor();
    std::unique_ptr<std::ostream> stream(SUri.OpenWrite(errors, path));
    EXPECT_EQ(fcntl(next, F_GETFD), FD_CLOEXEC);
    return stream;
}

TEST(FileStream, WritesWhenTheBufferIsFullAndAtTheEnd) {
    TemporaryDirectory directory;
    const std::string path = directory / "f";
    std::unique_ptr<std::ostream> stream = OpenToWrite(path);
    *stream << Bytes(16383) << std::flush;
    EXPECT_EQ(std::filesystem::file_size(path), 0u) << "a flush doesn't reach the file";
    *stream << 'x' << 'y';
    EXPECT_GE(std::filesystem::file_size(path), 4096u);
    stream.reset();
    EXPECT_EQ(std::filesystem::file_size(path), 16385u);
    for (const size_t size : {2 * 16384, 1}) {
        testing::internal::CaptureStderr();
        stream = OpenToWrite("/dev/full");
        *stream << Bytes(size);
        EXPECT_EQ(stream->fail(), size > 16384) << size;
        stream.reset();
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error occured while writing to file :/dev/full\n");
    }
}

}  // namespace
}  // namespace vyn::test
