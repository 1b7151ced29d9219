// The registry of schemes, the composite, the file scheme and its streams.

#include <sstream>

#include "TestSupport.h"
#include "VynUri.h"

namespace vyn::test {
namespace {

const int allCapabilities = 1 + 2 + 4 + 8 + 16 + 64 + 128;

// Takes the URIs that begin with a text, and notes each call as `name.Operation(arguments);`, that of a dialog in what
// it chooses. Its answers differ from those of the composite for lack of a scheme.
struct TestScheme final : SUriScheme {
    TestScheme(const std::string& name, const std::string& prefix, int capabilities)
        : m_strName(name), m_strPrefix(prefix), m_nCapabilities(capabilities) {
        SUriSchemeManager::Register(*this);
    }
    ~TestScheme() { SUriSchemeManager::UnRegister(*this); }

    std::basic_istream<char>* OpenRead(SVector<SString>&, const SString& uri) override {
        return Note("OpenRead", uri, new std::istringstream);
    }
    std::basic_ostream<char>* OpenWrite(SVector<SString>&, const SString& uri) override {
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
    bool IsReadOnly(const SString& uri, bool flag) override {
        return Note("IsReadOnly", uri + (flag ? ",true" : ",false"), !flag);
    }
    bool IsEqual(const SString& first, const SString& second) override {
        return Note("IsEqual", first + "," + second, false);
    }
    bool MakeEditable(const SString& uri) override { return Note("MakeEditable", uri, true); }
    int GetCapabilities() const override { return m_nCapabilities; }
    SStatus OpenDialog(SVector<SString>&, const SString& start, SString& result, const SString& extra) override {
        result = m_strName + ".OpenDialog(" + start + "," + extra + ")";
        return eStatusDone;
    }
    SStatus SaveDialog(SVector<SString>&, const SString& start, SString& result, const SString& extra) override {
        result = m_strName + ".SaveDialog(" + start + "," + extra + ")";
        return eStatusDone;
    }
    SStatus DirDialog(SVector<SString>&, const SString& start, SString& result) override {
        result = m_strName + ".DirDialog(" + start + ")";
        return eStatusDone;
    }
    SStatus DirectRead(SVector<SString>&, const SString& uri, SVector<void*>& data, const void* context) override {
        return Note("DirectRead", uri + (data.empty() && context == this ? "" : "?"), eStatusDone);
    }
    SStatus DirectWrite(SVector<SString>&, const SString& uri, const SVector<void*>& data,
                        const void* context) override {
        return Note("DirectWrite", uri + (data.empty() && context == this ? "" : "?"), eStatusDone);
    }

    static std::string TakeCalls() { return std::exchange(m_strCalls, ""); }

    std::function<void()> m_onCanHandle = [] {};

private:
    template <class Result>
    Result Note(const char* operation, const std::string& arguments, Result result) const {
        m_strCalls += m_strName + "." + operation + "(" + arguments + ");";
        return result;
    }

    static inline std::string m_strCalls;
    const std::string m_strName, m_strPrefix;
    const int m_nCapabilities;
};

const void* context = nullptr;  // goes through the direct operations
SVector<SString> ignored;
SVector<void*> data;

// What an operation returns; of a stream, which goes, whether there is one.
std::string Text(int result) {
    return std::to_string(result);
}
template <class Stream>
std::string Text(Stream* result) {
    return std::to_string(std::unique_ptr<Stream>(result) != nullptr);
}

// What an operation returns and makes of a text.
template <class Call>
std::string WithText(Call call) {
    SString text("before");
    const int status = call(text);
    return std::to_string(status) + " " + text;
}

TEST(Composite, HandsOnTheResolvedOrTheGivenText) {
    // The capability that a scheme needs for an operation, 0 for none; the operation; what comes of it for "urn:u:x",
    // which stands for "t:/x"; the call of the scheme that takes the resolved text, r, or the given one, g; the results
    // for a URI that nobody takes, and for a URN without a name.
    const Rows<int, std::string (*)(const SString&), std::string, std::string, std::string, std::string> rows = {
        {1, [](auto& uri) { return Text(SUri.OpenRead(ignored, uri)); }, "1", "r.OpenRead(t:/x);", "0", "0"},
        {2, [](auto& uri) { return Text(SUri.OpenWrite(ignored, uri)); }, "1", "r.OpenWrite(t:/x);", "0", "0"},
        {0, [](auto& uri) { return Text(SUri.GetFormat(uri)); }, "7", "g.GetFormat(urn:u:x);", "0", "0"},
        {0, [](auto& uri) { return WithText([&](auto& to) { return SUri.GetDisplayText(uri, to, "extra"), 0; }); },
         "0 shown", "g.GetDisplayText(urn:u:x,before,extra);", "0 n:x", "0 urn:none"},
        {128, [](auto& uri) { return WithText([&](auto& to) { return SUri.GetDefaultOutputLocation(uri, to); }); },
         "1 there", "r.GetDefaultOutputLocation(urn:u:x);", "2 ", "2 "},
        {0, [](auto& uri) { return Text(SUri.IsReadOnly(uri, true)); }, "0", "r.IsReadOnly(urn:u:x,true);", "1", "0"},
        {0, [](auto& uri) { return Text(SUri.IsEqual(uri, "urn:u:y")); }, "0", "r.IsEqual(t:/x,t:/y);", "1", "0"},
        {64, [](auto& uri) { return Text(SUri.MakeEditable(uri)); }, "1", "r.MakeEditable(urn:u:x);", "0", "0"},
        {0, [](auto& uri) { return Text(SUri.DirectRead(ignored, uri, data, context)); }, "1", "g.DirectRead(urn:u:x);",
         "2", "2"},
        {0, [](auto& uri) { return Text(SUri.DirectWrite(ignored, uri, data, context)); }, "1",
         "g.DirectWrite(urn:u:x);", "2", "2"}};
    SUrnResolver::RegisterUrn("u", "t:");
    for (const auto& [bit, call, result, calls, noHandler, notResolved] : rows) {
        SCOPED_TRACE(calls);
        TestScheme resolved("r", "t:", allCapabilities), given("g", "urn:u:", allCapabilities);
        context = &given;
        EXPECT_EQ(call("urn:u:x"), result);
        EXPECT_EQ(TestScheme::TakeCalls(), calls);
        EXPECT_EQ(call("n:x"), noHandler);
        EXPECT_EQ(call("urn:none"), notResolved);
        TestScheme able("a", "t:", bit), unable("u", "t:", allCapabilities - bit);
        call("t:x");
        EXPECT_EQ(TestScheme::TakeCalls()[0], bit ? 'a' : 'u');
        EXPECT_EQ(GetMatchingUriScheme("t:x", SUriScheme::SCapability(255)), &unable) << "any bit will do";
    }
    EXPECT_FALSE(SUri.IsEqual("n:x", "urn:none")) << "the second one counts too";
    EXPECT_FALSE(SUri.CanHandle("n:x") || SUri.CanHandle("urn:none"));
    EXPECT_TRUE(SUri.CanHandle("urn:k4:x")) << "since it stands for a file";
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
    EXPECT_EQ(TestScheme::TakeCalls(), "2.GetFormat(t:x);1.GetFormat(t:y);1.GetFormat(t:x);");
}

TEST(Registry, LetsTheCallbackChooseAmongSeveralDialogs) {
    const Rows<int, SUriScheme::SStatus (*)(SString&), std::string> dialogs = {
        {4, [](auto& to) { return SUri.OpenDialog(ignored, "a", to, "b"); }, ".OpenDialog(a,b)"},
        {8, [](auto& to) { return SUri.SaveDialog(ignored, "a", to, "b"); }, ".SaveDialog(a,b)"},
        {16, [](auto& to) { return SUri.DirDialog(ignored, "a", to); }, ".DirDialog(a)"}};
    // They are offered in the order of registration.
    const Rows<SUriScheme* (*)(const std::list<SUriScheme*>&), std::string> callbacks = {
        {[](auto& schemes) { return schemes.front(); }, "one"},
        {[](auto& schemes) { return schemes.back(); }, "two"},
        {[](auto&) -> SUriScheme* { return nullptr; }, ""},
        {nullptr, ""}};
    for (const auto& [bit, call, expected] : dialogs) {
        EXPECT_EQ(WithText(call), "2 before") << "the file scheme has no dialog";
        TestScheme other("other", "t:", allCapabilities - bit), one("one", "t:", bit);
        EXPECT_EQ(WithText(call), "1 one" + expected) << "no callback is needed for one";
        TestScheme two("two", "t:", allCapabilities);
        for (const auto& [callback, chosen] : callbacks) {
            SUriSchemeManager::SetSelectSchemeDialog(callback);
            EXPECT_EQ(WithText(call), chosen.empty() ? "2 before" : "1 " + chosen + expected);
        }
    }
    TestScheme more("more", "t:", 4 + 16);
    EXPECT_EQ(SUri.GetCapabilities(), 1 + 2 + 128 + 4 + 16) << "those of the file scheme too";
}

TEST(Registry, StaysSoundWhateverASchemeDoes) {
    TestScheme fallback("f", "t:", allCapabilities), leaving("l", "t:", allCapabilities);
    // One that goes away when it is asked, and one that takes another along.
    leaving.m_onCanHandle = [&] { SUriSchemeManager::UnRegister(leaving); };
    SUri.GetFormat("t:x");
    auto victim = std::make_unique<TestScheme>("v", "t:", allCapabilities);
    TestScheme sweeping("s", "other:", allCapabilities);
    sweeping.m_onCanHandle = [&] {
        SUriSchemeManager::UnRegister(sweeping);
        victim.reset();
    };
    SUri.GetFormat("t:x");
    EXPECT_EQ(TestScheme::TakeCalls(), "l.GetFormat(t:x);f.GetFormat(t:x);");
}

TEST(FileSchemeTest, TakesWhatIsNoUri) {
    SUriScheme& scheme = *GetMatchingUriScheme("/", SUriScheme::eCapabilityRead);
    EXPECT_TRUE(scheme.CanHandle("a-b:x"));
    EXPECT_FALSE(scheme.CanHandle("c:/x") || scheme.CanHandle("urn:k4:x"));
    SString text;
    scheme.GetDisplayText("x", text, " (1)");
    EXPECT_EQ(text, "x (1)");
    EXPECT_EQ(scheme.GetDefaultOutputLocation("/a\\b/../c.x", text), SUriScheme::eStatusDone);
    EXPECT_EQ(text, "/a");
    const std::string tooLong(1024, 'a');
    const Rows<std::string, std::string, bool> rows = {{"a\\b", "a/b", true}, {"/a/../b", "/b", true},
                                                       {"A", "a", false},     {"a/../b", "b", false},
                                                       {tooLong, "", false},  {"", tooLong, false}};
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
    const std::string path = directory / "f";
    const int descriptor = LowestFreeDescriptor();
    for (size_t size : {0, 1, 16383, 16384, 16385, 100000}) {
        const std::string text = Bytes(size);
        std::unique_ptr<std::ostream> out(SUri.OpenWrite(ignored, path));
        EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
        *out << text.substr(0, size / 2);
        for (size_t i = size / 2; i < size; ++i) {
            out->put(text[i]);
        }
        EXPECT_TRUE(out->good()) << size;
        out.reset();
        EXPECT_TRUE(ReadText(path) == text) << size;
        const std::unique_ptr<std::istream> in(SUri.OpenRead(ignored, path));
        EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
        EXPECT_TRUE(std::string(std::istreambuf_iterator<char>(*in), {}) == text) << size;
    }
    EXPECT_TRUE(ignored.empty()) << "no errors";
}

TEST(FileStream, WritesWhenTheBufferIsFullAndAtTheEnd) {
    TemporaryDirectory directory;
    const std::string path = directory / "f";
    std::unique_ptr<std::ostream> stream(SUri.OpenWrite(ignored, path));
    *stream << Bytes(16383) << std::flush;
    EXPECT_EQ(std::filesystem::file_size(path), 0u) << "a flush doesn't reach the file";
    *stream << 'x' << 'y';
    EXPECT_GE(std::filesystem::file_size(path), 4096u);
    for (const size_t size : {2 * 16384, 1}) {
        const std::string report = ErrorOutputOf([&] {
            stream.reset(SUri.OpenWrite(ignored, "/dev/full"));
            *stream << Bytes(size);
            EXPECT_EQ(stream->fail(), size > 16384) << size;
            stream.reset();
        });
        EXPECT_EQ(report, "Error occured while writing to file :/dev/full\n");
    }
    EXPECT_EQ(std::filesystem::file_size(path), 16385u);
}

}  // namespace
}  // namespace vyn::test
