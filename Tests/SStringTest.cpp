#include "SString.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>

namespace vyn {
namespace {

TEST(SString, TakesNullForTheEmptyString) {
    const char* null = nullptr;
    SString text("x");
    text = null;
    EXPECT_EQ(text, "");
    EXPECT_EQ(SString(null), "");
    EXPECT_EQ(UTF8String(null), "");
    EXPECT_EQ(text.IsEmpty(), 1);
    text = 'c';
    EXPECT_EQ(text, "c");
    EXPECT_EQ(text.IsEmpty(), 0);
}

TEST(SString, LooksAtTextUpToTheFirstNul) {
    const SString text(std::string("ab\0cd", 5));
    EXPECT_EQ(text.GetLength(), 5u);
    EXPECT_EQ(text.Find("cd"), -1);
    EXPECT_EQ(text.Find("b"), 1);
    EXPECT_EQ(text.Find(""), 0);
    EXPECT_EQ(SString().Find(""), 0);
    EXPECT_EQ(text.Compare("ab"), 0);
    EXPECT_LT(text.Compare("b"), 0);
    EXPECT_EQ(text.CompareNoCase(SString("AB")), 0);
    EXPECT_THROW(text.Find(nullptr), std::logic_error);
}

TEST(SString, InsertsBeforeAByteOffset) {
    SString text("ad");
    EXPECT_EQ(text.Insert(1, "b"), 3);
    EXPECT_EQ(text.Insert(2, 'c'), 4);
    EXPECT_EQ(text.Insert(4, SString(std::string("e\0f", 3))), 5);
    EXPECT_EQ(text, "abcde");
    EXPECT_THROW(text.Insert(6, "x"), std::out_of_range);
}

TEST(SString, ChangesCaseOfBytesInPlace) {
    SString text("aZ\xC3\xA9");
    text.MakeUpper();
    EXPECT_EQ(text, "AZ\xC3\xA9");
    text.MakeLower();
    EXPECT_EQ(text, "az\xC3\xA9");
}

TEST(XmlMapper, MapsOneByteToItsReference) {
    struct {
        char byte;
        const char* expected;
    } rows[] = {{'<', "&lt;"},    {'>', "&gt;"},    {'&', "&amp;"},   {'\'', "&apos;"}, {'"', "&quot;"},
                {'\t', "&#x09;"}, {'\n', "&#x0A;"}, {'\r', "&#x0D;"}, {1, " "},         {'\xC3', " "},
                {'\xFF', " "},    {0x7F, "\x7F"},   {' ', " "},       {'a', "a"}};
    for (const auto& row : rows) {
        char out[16] = "?";
        XMLMapSingleDataCharacter(&row.byte, out, sizeof out);
        EXPECT_STREQ(out, row.expected) << "byte " << int(row.byte);
    }
}

TEST(XmlMapper, ReportsWhatDoesNotFit) {
    char out[16] = "?";
    errno = 0;
    XMLMapSingleDataCharacter("&", out, 5);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(errno, ERANGE);
    XMLMapSingleDataCharacter("&", out, 6);
    EXPECT_STREQ(out, "&amp;");
    errno = 0;
    XMLMapSingleDataCharacter("&", nullptr, 6);
    EXPECT_EQ(errno, EINVAL);
}

TEST(XmlMapper, DropsCarriageReturnsOnRequest) {
    char out[16] = "?";
    SetNormalizeLineEndings(true);
    XMLMapSingleDataCharacter("\r", out, sizeof out);
    SetNormalizeLineEndings(false);
    EXPECT_STREQ(out, "");
}

TEST(Environment, TellsEmptyFromUnset) {
    setenv("VYN_TEST_VARIABLE", "", 1);
    EXPECT_STREQ(VynGetEnvironmentVariable("VYN_TEST_VARIABLE"), "");
    EXPECT_STREQ(VynGetEnvironmentVariable(SString("VYN_TEST_VARIABLE")), "");
    setenv("VYN_TEST_VARIABLE", "1", 1);
    const char* copy = VynGetEnvironmentVariable("VYN_TEST_VARIABLE");
    unsetenv("VYN_TEST_VARIABLE");
    EXPECT_EQ(VynGetEnvironmentVariable("VYN_TEST_VARIABLE"), nullptr);
    EXPECT_EQ(VynGetEnvironmentVariable(SString("VYN_TEST_VARIABLE")), nullptr);
    EXPECT_STREQ(copy, "1") << "a miss leaves the earlier result alone";
}

TEST(CurrentDirectory, FailsOnALongPath) {
    SString dir("?");
    ASSERT_TRUE(VynGetCurrentDirectory(dir));
    const SString start(dir);
    EXPECT_EQ(dir[0], '/');

    char root[] = "/tmp/vyncwdXXXXXX";
    ASSERT_NE(mkdtemp(root), nullptr);
    ASSERT_EQ(chdir(root), 0);
    const std::string name(200, 'd');
    for (int i = 0; i < 6; ++i) {
        ASSERT_EQ(mkdir(name.c_str(), 0777), 0);
        ASSERT_EQ(chdir(name.c_str()), 0);
    }
    EXPECT_FALSE(VynGetCurrentDirectory(dir));
    EXPECT_EQ(dir, "");
    for (int i = 0; i < 6; ++i) {
        ASSERT_EQ(chdir(".."), 0);
        ASSERT_EQ(rmdir(name.c_str()), 0);
    }
    ASSERT_EQ(chdir(start.c_str()), 0);
    ASSERT_EQ(rmdir(root), 0);
}

// Formats through a pointer: the formats of these rows are meant to be odd.
template <class... Args>
void ExpectFormat(const char* format, const char* text, int bound, Args... args) {
    SString result("?");
    int (SString::*method)(const char*, ...) = &SString::Format;
    errno = 0;
    EXPECT_EQ((result.*method)(format, args...), bound) << format;
    EXPECT_EQ(result, text) << format;
    EXPECT_EQ(errno, 0) << format;
}

template <class... Args>
void ExpectRefused(const char* format, int bound, Args... args) {
    SString result("?");
    int (SString::*method)(const char*, ...) = &SString::Format;
    errno = 0;
    EXPECT_EQ((result.*method)(format, args...), bound) << format;
    EXPECT_EQ(result, "") << format;
    EXPECT_EQ(errno, EINVAL) << format;
}

TEST(Format, ReturnsTheBoundOfTheScan) {
    ExpectFormat("%d", "5", 32, 5);
    ExpectFormat("abc", "abc", 3);
    ExpectFormat("%%", "%", 1);
    ExpectFormat("%s", "xyz", 3, "xyz");
    ExpectFormat("%s", "", 1, "");
    ExpectFormat("%s", "(null)", 6, static_cast<const char*>(nullptr));
    ExpectFormat("%5s", "    x", 5, "x");
    ExpectFormat("%*s", "    x", 5, 5, "x");
    ExpectFormat("%.2s", "xy", 2, "xyz");
    ExpectFormat("%.*s", "xy", 2, 2, "xyz");
    ExpectFormat("%e", "1.000000e+00", 128, 1.0);
    ExpectFormat("%#x", "0xff", 34, 255);
    ExpectFormat("%40d", "                                       7", 40, 7);
    ExpectFormat("%c", "c", 2, 'c');
    ExpectFormat("%ls|%S", "ab|cde", 6, L"ab", L"cde");
    ExpectFormat("%f", "0.500000", 8, 0.5);
    ExpectFormat("%s-%d-%s", "a-1-b", 36, "a", 1, "b");
}

TEST(Format, RefusesTextBeyondTheBound) {
    ExpectRefused("%E", 0, 1.0);
    ExpectRefused("%lld", 1, 123456LL);
    ExpectRefused("%5.2s", 2, "xyz");
}

TEST(Format, TakesItsOwnTextAndCountsNothingForN) {
    SString text("a%%b");
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
    EXPECT_EQ(text.Format(text.GetBuffer()), 3);
#pragma GCC diagnostic pop
    EXPECT_EQ(text, "a%b");
    int written = 0;
    EXPECT_EQ(text.Format("ab%n", &written), 2);
    EXPECT_EQ(written, 2);
    const double big = 1e300;
    text.Format("%.2f", big);
    EXPECT_EQ(strtod(text.c_str(), nullptr), big);
}

TEST(Trace, ReturnsTheBoundWithTracingOff) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(xq_trace("%d", 5), 32);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace
}  // namespace vyn
