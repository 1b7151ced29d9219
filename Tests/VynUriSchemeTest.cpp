// The registry of schemes, the composite, the file scheme and its streams.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <sstream>

#include "TestSupport.h"
#include "VynUri.h"
#include "VynUriFileStream_p.h"

namespace vyn {
namespace {

using namespace test;

std::string calls;  // of the schemes below, each as `name.Operation(arguments);`

// Takes the URIs that begin with a text, and notes each call. Its answers differ from those of the composite
// for lack of a scheme.
class TestScheme : public SUriScheme {
public:
    TestScheme(const std::string& name, const std::string& prefix, int capabilities)
        : m_strName(name), m_strPrefix(prefix), m_nCapabilities(capabilities) {
        SUriSchemeManager::Register(*this);
    }
    TestScheme(const TestScheme&) = delete;
    TestScheme& operator=(const TestScheme&) = delete;
    ~TestScheme() { SUriSchemeManager::UnRegister(*this); }

    std::basic_istream<char>* OpenRead(SVector<SString>& errors, const SString& uri) override {
        Note("OpenRead", uri);
        errors.push_back("read");
        return new std::istringstream("text");
    }
    std::basic_ostream<char>* OpenWrite(SVector<SString>& errors, const SString& uri) override {
        Note("OpenWrite", uri);
        errors.push_back("write");
        return new std::ostringstream;
    }
    SFormat GetFormat(const SString& uri) const override {
        Note("GetFormat", uri);
        return SFormat(7);
    }
    bool CanHandle(const SString& uri) const override {
        if (m_onCanHandle) {
            m_onCanHandle();
        }
        return uri.compare(0, m_strPrefix.size(), m_strPrefix) == 0;
    }
    void GetDisplayText(const SString& uri, SString& text, const SString& extra) const override {
        Note("GetDisplayText", uri + "," + text + "," + extra);
        text = "shown";
    }
    SStatus GetDefaultOutputLocation(const SString& uri, SString& location) const override {
        Note("GetDefaultOutputLocation", uri);
        location = "there";
        return eStatusNotDone;
    }
    void GetSchemeDescription(SString& text) const override { text = "Test"; }
    bool IsReadOnly(const SString& uri, bool flag) override {
        Note("IsReadOnly", uri + "," + (flag ? "true" : "false"));
        return flag;
    }
    bool IsEqual(const SString& first, const SString& second) override {
        Note("IsEqual", first + "," + second);
        return false;
    }
    bool MakeEditable(const SString& uri) override {
        Note("MakeEditable", uri);
        return true;
    }
    int GetCapabilities() const override { return m_nCapabilities; }
    SStatus OpenDialog(SVector<SString>&, const SString& start, SString& result,
                       const SString& extra) override {
        return Dialog("OpenDialog", start + "," + extra, result);
    }
    SStatus SaveDialog(SVector<SString>&, const SString& start, SString& result,
                       const SString& extra) override {
        return Dialog("SaveDialog", start + "," + extra, result);
    }
    SStatus DirDialog(SVector<SString>&, const SString& start, SString& result) override {
        return Dialog("DirDialog", start, result);
    }
    SStatus DirectRead(SVector<SString>&, const SString& uri, SVector<void*>& data,
                       const void* context) override {
        Note("DirectRead", uri + (data.empty() && context == this ? "" : "?"));
        return eStatusDone;
    }
    SStatus DirectWrite(SVector<SString>&, const SString& uri, const SVector<void*>& data,
                        const void* context) override {
        Note("DirectWrite", uri + (data.empty() && context == this ? "" : "?"));
        return eStatusDone;
    }

    std::function<void()> m_onCanHandle;
    std::function<void()> m_onCall;

private:
    void Note(const char* operation, const std::string& arguments) const {
        calls += m_strName + "." + operation + "(" + arguments + ");";
        if (m_onCall) {
            m_onCall();
        }
    }
    SStatus Dialog(const char* operation, const std::string& arguments, SString& result) {
        Note(operation, arguments);
        result = "chosen";
        return eStatusDone;
    }

    std::string m_strName;
    std::string m_strPrefix;
    int m_nCapabilities;
};

const int allCapabilities = 1 + 2 + 4 + 8 + 16 + 64 + 128;

std::string TakeCalls() {
    return std::move(calls);
}

std::string Is(bool value) {
    return value ? "true" : "false";
}

// An operation of SUri on one URI, which comes back as a text of its results.
struct Operation {
    const char* name;
    int bit;  // the capability that a scheme needs for it; 0 for none
    std::string (*call)(const SString& uri);
};

const void* context = nullptr;  // goes through the direct operations

const Operation operations[] = {
    {"OpenRead", 1,
     [](const SString& uri) {
         SVector<SString> errors;
         const std::unique_ptr<std::istream> stream(SUri.OpenRead(errors, uri));
         return (stream ? "stream " : "null ") + std::to_string(errors.size());
     }},
    {"OpenWrite", 2,
     [](const SString& uri) {
         SVector<SString> errors;
         const std::unique_ptr<std::ostream> stream(SUri.OpenWrite(errors, uri));
         return (stream ? "stream " : "null ") + std::to_string(errors.size());
     }},
    {"GetFormat", 0, [](const SString& uri) { return std::to_string(SUri.GetFormat(uri)); }},
    {"CanHandle", 0, [](const SString& uri) { return Is(SUri.CanHandle(uri)); }},
    {"GetDisplayText", 0,
     [](const SString& uri) {
         SString text("before");
         SUri.GetDisplayText(uri, text, "extra");
         return std::string(text);
     }},
    {"GetDefaultOutputLocation", 128,
     [](const SString& uri) {
         SString location("before");
         const int status = SUri.GetDefaultOutputLocation(uri, location);
         return std::to_string(status) + " " + location;
     }},
    {"IsReadOnly", 0, [](const SString& uri) { return Is(SUri.IsReadOnly(uri, false)); }},
    {"IsEqual", 0, [](const SString& uri) { return Is(SUri.IsEqual(uri, "urn:u:y")); }},
    {"MakeEditable", 64, [](const SString& uri) { return Is(SUri.MakeEditable(uri)); }},
    {"DirectRead", 0,
     [](const SString& uri) {
         SVector<SString> errors;
         SVector<void*> data;
         return std::to_string(SUri.DirectRead(errors, uri, data, context));
     }},
    {"DirectWrite", 0,
     [](const SString& uri) {
         SVector<SString> errors;
         return std::to_string(SUri.DirectWrite(errors, uri, {}, context));
     }},
};

// The dialogs, which begin at the URI. The result is the status and what was chosen.
template <class Call>
std::string Dialog(Call call) {
    SVector<SString> errors;
    SString result;
    const int status = call(errors, result);
    return std::to_string(status) + result;
}

const Operation dialogs[] = {
    {"OpenDialog", 4,
     [](const SString& uri) {
         return Dialog(
             [&](auto& errors, auto& result) { return SUri.OpenDialog(errors, uri, result, "extra"); });
     }},
    {"SaveDialog", 8,
     [](const SString& uri) {
         return Dialog(
             [&](auto& errors, auto& result) { return SUri.SaveDialog(errors, uri, result, "extra"); });
     }},
    {"DirDialog", 16,
     [](const SString& uri) {
         return Dialog([&](auto& errors, auto& result) { return SUri.DirDialog(errors, uri, result); });
     }},
};

// "urn:u:x" stands for "t:/x".
class Composite : public testing::Test {
protected:
    Composite() {
        if (!SUrnResolver::IsUrnRegistered("u")) {
            SUrnResolver::RegisterUrn("u", "t:");
        }
    }
};

TEST_F(Composite, HandsOnTheResolvedOrTheGivenText) {
    TestScheme resolved("r", "t:", allCapabilities);
    TestScheme given("g", "urn:u:", allCapabilities);
    const struct {
        const char* result;
        const char* calls;
    } rows[] = {
        {"stream 1", "r.OpenRead(t:/x);"},
        {"stream 1", "r.OpenWrite(t:/x);"},
        {"7", "g.GetFormat(urn:u:x);"},
        {"true", ""},
        {"shown", "g.GetDisplayText(urn:u:x,before,extra);"},
        {"1 there", "r.GetDefaultOutputLocation(urn:u:x);"},
        {"false", "r.IsReadOnly(urn:u:x,false);"},
        {"false", "r.IsEqual(t:/x,t:/y);"},
        {"true", "r.MakeEditable(urn:u:x);"},
        {"1", "g.DirectRead(urn:u:x);"},
        {"1", "g.DirectWrite(urn:u:x);"},
    };
    context = &given;
    const auto* row = rows;
    for (const auto& operation : operations) {
        EXPECT_EQ(operation.call("urn:u:x"), row->result) << operation.name;
        EXPECT_EQ(TakeCalls(), row->calls) << operation.name;
        ++row;
    }
    EXPECT_TRUE(SUri.IsReadOnly("t:x", true)) << "the flag goes through";
    TakeCalls();
}

TEST_F(Composite, AnswersWhenNobodyTakesTheCall) {
    const struct {
        const char* noHandler;
        const char* notResolved;
    } rows[] = {{"null 0", "null 0"}, {"null 0", "null 0"}, {"0", "0"},        {"false", "false"},
                {"n:x", "urn:none"},  {"2 ", "2 "},         {"true", "false"}, {"true", "false"},
                {"false", "false"},   {"2", "2"},           {"2", "2"}};
    const auto* row = rows;
    for (const auto& operation : operations) {
        EXPECT_EQ(operation.call("n:x"), row->noHandler) << operation.name;
        EXPECT_EQ(operation.call("urn:none"), row->notResolved) << operation.name;
        ++row;
    }
    EXPECT_FALSE(SUri.IsEqual("n:x", "urn:none")) << "the second one counts too";
    SString text;
    SUri.GetSchemeDescription(text);
    EXPECT_EQ(text, "Composite Scheme");
}

TEST_F(Composite, AsksForTheCapability) {
    for (const Operation& operation : operations) {
        TestScheme able("able", "t:", operation.bit);
        TestScheme unable("unable", "t:", allCapabilities - operation.bit);
        operation.call("t:x");
        const std::string expected = std::string(operation.bit ? "able." : "unable.") + operation.name + "(";
        EXPECT_EQ(TakeCalls().find(expected),
                  operation.name == std::string("CanHandle") ? std::string::npos : 0)
            << operation.name;
        const auto capability = SUriScheme::SCapability(operation.bit);
        EXPECT_EQ(GetMatchingUriScheme("t:x", capability), operation.bit ? &able : nullptr);
        EXPECT_EQ(GetMatchingUriScheme("t:x", SUriScheme::SCapability(255)), &unable) << "any bit will do";
    }
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
    for (const Operation& dialog : dialogs) {
        EXPECT_EQ(dialog.call("from"), "2") << "the file scheme has no dialog";
        const std::string call =
            std::string(dialog.name) + "(from" + (dialog.bit == 16 ? "" : ",extra") + ");";
        TestScheme other("other", "t:", allCapabilities - dialog.bit);
        TestScheme one("one", "t:", dialog.bit);
        EXPECT_EQ(dialog.call("from"), "1chosen");
        EXPECT_EQ(TakeCalls(), "one." + call) << "no callback is needed for one";
        TestScheme two("two", "t:", allCapabilities);
        EXPECT_EQ(dialog.call("from"), "2") << "there is no callback";
        SUriSchemeManager::SetSelectSchemeDialog([](const std::list<SUriScheme*>& schemes) {
            oldest = schemes.front();
            return schemes.back();
        });
        EXPECT_EQ(dialog.call("from"), "1chosen");
        EXPECT_EQ(TakeCalls(), "two." + call);
        EXPECT_EQ(oldest, &one) << "in the order of registration";
        SUriSchemeManager::SetSelectSchemeDialog([](const auto&) -> SUriScheme* { return nullptr; });
        EXPECT_EQ(dialog.call("from"), "2");
        SUriSchemeManager::SetSelectSchemeDialog(nullptr);
    }
    EXPECT_EQ(SUri.GetCapabilities(), 131);
    TestScheme more("more", "t:", 4 + 16);
    EXPECT_EQ(SUri.GetCapabilities(), 131 + 4 + 16);
}

// Refuses to open.
class NullScheme : public TestScheme {
public:
    NullScheme() : TestScheme("n", "t:", allCapabilities) {}
    std::basic_istream<char>* OpenRead(SVector<SString>& errors, const SString&) override {
        errors.push_back("refused");
        return nullptr;
    }
};

TEST(Registry, StaysSoundWhateverASchemeDoes) {
    SVector<SString> errors;
    TestScheme fallback("f", "t:", allCapabilities);
    {
        NullScheme null;
        EXPECT_EQ(SUri.OpenRead(errors, "t:x"), nullptr);
        EXPECT_EQ(errors, SVector<SString>{"refused"});
        EXPECT_EQ(TakeCalls(), "") << "nobody else is tried";
    }
    auto throwing = std::make_unique<TestScheme>("x", "t:", allCapabilities);
    throwing->m_onCall = [] { throw std::runtime_error("no"); };
    EXPECT_THROW(SUri.OpenRead(errors, "t:x"), std::runtime_error);
    throwing->m_onCanHandle = [] { throw std::runtime_error("no"); };
    EXPECT_THROW(SUri.GetFormat("t:x"), std::runtime_error);
    throwing.reset();
    TakeCalls();

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

SUriScheme& FileScheme() {
    return *GetMatchingUriScheme("/", SUriScheme::eCapabilityRead);
}

TEST(FileSchemeTest, TakesWhatIsNoUri) {
    SUriScheme& scheme = FileScheme();
    for (const char* path : {"/a", "a", "", "a-b:x", "//host/x", "\\x"}) {
        EXPECT_TRUE(SUri.CanHandle(path)) << path;
    }
    for (const char* uri : {"c:/x", "scheme:x", "urn:k4:x"}) {
        EXPECT_FALSE(scheme.CanHandle(uri)) << uri;
    }
    EXPECT_FALSE(SUri.CanHandle("c:/x"));
    EXPECT_TRUE(SUri.CanHandle("urn:k4:x")) << "since it stands for a file";
    SString text;
    scheme.GetDisplayText("x", text, "");
    EXPECT_EQ(text, "x");
    scheme.GetDisplayText("x", text, " (1)");
    EXPECT_EQ(text, "x (1)");
    scheme.GetSchemeDescription(text);
    EXPECT_EQ(text, "The default file scheme");
    EXPECT_EQ(scheme.GetDefaultOutputLocation("/a\\b/../c.x", text), SUriScheme::eStatusDone);
    EXPECT_EQ(text, "/a");
    const struct {
        const char *first, *second;
        bool equal;
    } rows[] = {{"a\\b", "a/b", true}, {"/a/../b", "/b", true}, {"A", "a", false}, {"a/../b", "b", false}};
    for (const auto& row : rows) {
        EXPECT_EQ(SUri.IsEqual(row.first, row.second), row.equal) << row.first;
    }
    SVector<SString> errors;
    SVector<void*> data;
    EXPECT_EQ(scheme.GetCapabilities(), 131);
    EXPECT_EQ(scheme.GetFormat("/a"), 0);
    EXPECT_FALSE(scheme.IsReadOnly("/", true));
    EXPECT_FALSE(scheme.MakeEditable("/"));
    EXPECT_EQ(scheme.OpenDialog(errors, "", text, ""), 0);
    EXPECT_EQ(scheme.SaveDialog(errors, "", text, ""), 0);
    EXPECT_EQ(scheme.DirDialog(errors, "", text), 0);
    EXPECT_EQ(SUri.DirectRead(errors, "/", data, nullptr), 0);
    EXPECT_EQ(SUri.DirectWrite(errors, "/", data, nullptr), 0);
    EXPECT_TRUE(errors.empty());
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
    for (size_t size : {0, 1, 16383, 16384, 16385, 20000, 3 * 16384, 100000}) {
        const std::string text = Bytes(size);
        for (const bool bytewise : {false, true}) {
            std::unique_ptr<std::ostream> out(SUri.OpenWrite(errors, directory / "f"));
            ASSERT_NE(out, nullptr);
            if (bytewise) {
                for (char c : text) {
                    out->put(c);
                }
            } else {
                out->write(text.data(), static_cast<std::streamsize>(text.size()));
            }
            EXPECT_TRUE(out->good()) << size;
            out.reset();
            EXPECT_TRUE(ReadText(directory / "f") == text) << size;
            const std::unique_ptr<std::istream> in(SUri.OpenRead(errors, directory / "f"));
            ASSERT_NE(in, nullptr);
            std::string read;
            if (bytewise) {
                for (int c = in->get(); c != EOF; c = in->get()) {
                    read += static_cast<char>(c);
                }
            } else {
                read.assign(std::istreambuf_iterator<char>(*in), {});
            }
            EXPECT_TRUE(read == text) << size;
        }
    }
    EXPECT_TRUE(errors.empty());
}

TEST(FileStream, WritesWhenTheBufferIsFullAndAtTheEnd) {
    TemporaryDirectory directory;
    const std::string path = directory / "f";
    auto stream = std::make_unique<SFile2OstreamAdapter>(new SFileStreamBuffer);
    stream->open(path, 8);
    EXPECT_TRUE(stream->good());
    *stream << Bytes(16383) << std::flush;
    EXPECT_EQ(std::filesystem::file_size(path), 0u) << "a flush doesn't reach the file";
    *stream << 'x' << 'y';
    stream->close();
    EXPECT_FALSE(stream->good());
    EXPECT_EQ(std::filesystem::file_size(path), 16384u) << "close loses what is pending";
    *stream << Bytes(20000);
    EXPECT_TRUE(stream->fail()) << "there's no file";
    stream->clear();
    stream->open(path, 8);
    *stream << "end";
    stream.reset();
    EXPECT_EQ(ReadText(path), "end");
}

TEST(FileStream, IsGoodUntilItHasReadTheEnd) {
    TemporaryDirectory directory;
    WriteText(directory / "f", Bytes(16384));
    SFile2IstreamAdapter stream(new SFileStreamBuffer);
    EXPECT_FALSE(stream.good());
    stream.open(directory / "none", 4);
    EXPECT_FALSE(stream.good());
    stream.open(directory / "f", 4);
    EXPECT_TRUE(stream.good());
    std::string block(16384, '\0');
    stream.read(&block[0], 16384);
    EXPECT_TRUE(stream.good()) << "one refill, and no look beyond it";
    EXPECT_EQ(stream.peek(), EOF);
    EXPECT_FALSE(stream.good());
    stream.close();
    stream.clear();
    EXPECT_EQ(stream.get(), EOF);
    SFile2IstreamAdapter without(nullptr);
    without.open(directory / "f", 4);
    EXPECT_FALSE(without.good());
    without.close();
    SFile2OstreamAdapter outWithout(nullptr);
    outWithout.open(directory / "g", 8);
    EXPECT_FALSE(outWithout.good());
}

TEST(FileStream, TellsOfAWriteThatFails) {
    SFile2OstreamAdapter full(new SFileStreamBuffer);
    full.open("/dev/full", 8);
    full << Bytes(2 * 16384);
    EXPECT_TRUE(full.fail());
    EXPECT_FALSE(full.good());
}

}  // namespace
}  // namespace vyn
