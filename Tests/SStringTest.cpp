#include "SString.h"

#include "TestSupport.h"

namespace vyn::test {

TEST(SString, TakesNullForEmptyAndLooksAtTextUpToTheFirstNul) {
    const char* null = nullptr;
    SString text("x");
    text = null;
    EXPECT_EQ(text + SString(null) + UTF8String(null), "");
    EXPECT_EQ(text.IsEmpty(), 1);
    text = SString(std::string("ab\0cd", 5));
    EXPECT_EQ(text.Find("cd"), -1);
    EXPECT_EQ(text.Find(""), 0);
    EXPECT_EQ(SString().Find(""), 0);
    EXPECT_EQ(text.Compare("ab"), 0);
    EXPECT_EQ(text.CompareNoCase(SString("AB")), 0);
    EXPECT_THROW(text.Find(nullptr), std::logic_error);
}

TEST(SString, InsertsAndChangesCaseByBytes) {
    SString text("ad");
    EXPECT_EQ(text.Insert(1, "b"), 3);
    EXPECT_EQ(text.Insert(3, SString(std::string("e\0f", 3))), 4);
    EXPECT_EQ(text, "abde");
    EXPECT_THROW(text.Insert(6, "x"), std::out_of_range);
    text = "aZ\xC3\xA9";
    text.MakeUpper();
    EXPECT_EQ(text, "AZ\xC3\xA9");
    text.MakeLower();
    EXPECT_EQ(text, "az\xC3\xA9");
}

TEST(XmlMapper, MapsOneByteToItsReference) {
    const std::pair<char, const char*> rows[] = {{'<', "&lt;"},   {'>', "&gt;"},    {'&', "&amp;"},   {'\'', "&apos;"},
                                                 {'"', "&quot;"}, {'\t', "&#x09;"}, {'\n', "&#x0A;"}, {'\r', "&#x0D;"},
                                                 {'\1', " "},     {'\xC3', " "},    {'\xFF', " "},    {'\x7F', "\x7F"},
                                                 {' ', " "},      {'a', "a"}};
    for (const auto& [byte, expected] : rows) {
        char out[16] = "?";
        XMLMapSingleDataCharacter(&byte, out, sizeof out);
        EXPECT_STREQ(out, expected) << "byte " << int(byte);
    }
    char out[16] = "?";
    SetNormalizeLineEndings(true);
    XMLMapSingleDataCharacter("\r", out, sizeof out);
    SetNormalizeLineEndings(false);
    EXPECT_STREQ(out, "");
    XMLMapSingleDataCharacter("&", out, 6);
    EXPECT_STREQ(out, "&amp;");
    errno = 0;
    XMLMapSingleDataCharacter("&", out, 5);
    EXPECT_STREQ(out, "") << "its end doesn't fit";
    EXPECT_EQ(errno, ERANGE);
}

TEST(Environment, TellsEmptyFromUnset) {
    setenv("VYN_TEST_VARIABLE", "", 1);
    EXPECT_STREQ(VynGetEnvironmentVariable(SString("VYN_TEST_VARIABLE")), "");
    setenv("VYN_TEST_VARIABLE", "1", 1);
    const char* copy = VynGetEnvironmentVariable("VYN_TEST_VARIABLE");
    unsetenv("VYN_TEST_VARIABLE");
    EXPECT_EQ(VynGetEnvironmentVariable("VYN_TEST_VARIABLE"), nullptr);
    EXPECT_STREQ(copy, "1") << "a miss leaves the earlier result alone";
}

TEST(CurrentDirectory, FailsOnALongPath) {
    SString dir("?");
    ASSERT_TRUE(VynGetCurrentDirectory(dir));
    const SString start(dir);
    EXPECT_EQ(dir[0], '/');

    const test::TemporaryDirectory root;
    std::string deep = root.Path();
    while (deep.length() < 1024) {
        deep += "/" + std::string(200, 'd');
    }
    std::filesystem::create_directories(deep);
    std::filesystem::current_path(deep);
    EXPECT_FALSE(VynGetCurrentDirectory(dir));
    EXPECT_EQ(dir, "");
    std::filesystem::current_path(start.c_str());
}

// Formats through a pointer: the formats of these rows are meant to be odd. A null text stands for a failure.
template <class... Args>
void ExpectFormat(const char* format, const char* text, int bound, Args... args) {
    SString result("?");
    int (SString::*method)(const char*, ...) = &SString::Format;
    errno = 0;
    EXPECT_EQ((result.*method)(format, args...), bound) << format;
    EXPECT_EQ(result, text ? text : "") << format;
    EXPECT_EQ(errno, text ? 0 : EINVAL) << format;
}

TEST(Format, ReturnsTheBoundOfTheScanAndFindsEachText) {
    const char unended[] = {'a', 'b', 'c', 'd'};
    ExpectFormat("%d", "5", 32, 5);
    ExpectFormat("%%", "%", 1);
    ExpectFormat("%s", "", 1, "");
    ExpectFormat("%s", "(null)", 6, static_cast<const char*>(nullptr));
    ExpectFormat("%5s", "    x", 5, "x");
    ExpectFormat("%.*s", "xy", 2, 2, "xyz");
    ExpectFormat("%e", "1.000000e+00", 128, 1.0);
    ExpectFormat("%#x", "0xff", 34, 255);
    ExpectFormat("%c", "c", 2, 'c');
    ExpectFormat("%ls|%S", "ab|cde", 6, L"ab", L"cde");
    ExpectFormat("%s-%d-%s", "a-1-b", 36, "a", 1, "b");
    ExpectFormat("%5.2s", nullptr, 2, "xyz");
    ExpectFormat("%.3s%.0s%.2ls", "abcde", 6, unended, "x", L"de");
    ExpectFormat("%.*s", "xyz", 3, -1, "xyz");
    // The text behind each size of number.
    ExpectFormat("%hhd %s", "5 x", 34, 5, "x");
    ExpectFormat("%ld %s", "-5000000000 x", 34, -5000000000L, "x");
    ExpectFormat("%lld %s", "-5000000000 x", 34, -5000000000LL, "x");
    ExpectFormat("%jd %s", "5 x", 34, intmax_t{5}, "x");
    ExpectFormat("%zu %s", "5 x", 34, size_t{5}, "x");
    ExpectFormat("%td %s", "5 x", 34, ptrdiff_t{5}, "x");
    ExpectFormat("%.1Lf %s", "5.0 x", 11, 5.0L, "x");
    ExpectFormat("%Lg %d %s", "5 6 x", 163, 5.0L, 6, "x");
    // No text is read behind what isn't known.
    ExpectFormat("%E", nullptr, 0, 1.0);
    ExpectFormat("%E %d %s", nullptr, 40, 1.0, 1, 2);
    ExpectFormat("%y%s", nullptr, 6, 1);
    ExpectFormat("%1$s", nullptr, 1, 1);
    ExpectFormat("%Fd %s", nullptr, 39, 1.0, 1);
    ExpectFormat("%llls", nullptr, 1, 1);
    ExpectFormat("%hhs", nullptr, 6, 1);
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
    text.Format("%.2f", 1e300);
    EXPECT_EQ(strtod(text.c_str(), nullptr), 1e300);
}

TEST(Trace, ReturnsTheBoundWithTracingOff) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(xq_trace("%d", 5), 32);
    EXPECT_EQ(xq_trace("%zu %s %E %d", size_t{5}, "x", 1.0, 1), 68);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace vyn::test
