#include "VynEncoding.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <clocale>
#include <vector>

namespace vyn::test {

// Sets LC_CTYPE for the life of the object. The eight-bit locale comes from the build tree.
struct CType {
    explicit CType(const char* name) {
        if (std::string(name) == "de_DE.ISO-8859-1") {
            setenv("LOCPATH", VYN_TEST_LOCALES, 1);
        }
        m_bSet = setlocale(LC_CTYPE, name) != nullptr;
        unsetenv("LOCPATH");
    }
    ~CType() { setlocale(LC_CTYPE, "C"); }

    bool m_bSet;
};

const char* const kLocales[] = {"C", "C.UTF-8", "de_DE.ISO-8859-1"};

TEST(WideText, IsConvertedFromAndToUtf8) {
    // What comes back is as it was where it is null.
    const std::tuple<const char*, const wchar_t*, const char*> rows[] = {
        {"plain", L"plain", nullptr},
        {"\xC3\xA9\xE2\x82\xAC", L"\u00E9\u20AC", nullptr},
        {"\xF0\x9F\x98\x80z\xF4\x8F\xBF\xBF", L"\U0001F600z\U0010FFFF", nullptr},
        {"a\xC3", L"a\uFFFD", "a\xEF\xBF\xBD"},
        {"\xC0\x80", L"\uFFFD\uFFFD", "\xEF\xBF\xBD\xEF\xBF\xBD"},
    };
    for (const auto& [utf8, expected, back] : rows) {
        const WString wide(utf8);
        EXPECT_EQ(wide, expected) << utf8;
        EXPECT_EQ(UTF8String(wide), back ? back : utf8);
        EXPECT_EQ(SString(expected), back ? back : utf8);
    }
    for (const wchar_t noCharacter : {wchar_t(0xD800), wchar_t(0xDFFF), wchar_t(0x110000), wchar_t(-1)}) {
        const std::wstring text = std::wstring(L"a") + noCharacter + L"b";
        EXPECT_EQ(UTF8String(text.c_str()), "") << std::hex << int(noCharacter);
    }
}

TEST(WideText, EndsAtTheFirstNulAndIsEmptyForNull) {
    EXPECT_EQ(WString(UTF8String(std::string("a\0b", 3))), L"a");
    EXPECT_EQ(UTF8String(WString(std::wstring(L"a\0b", 3))), "a");
    const wchar_t* noWide = nullptr;
    const char* noBytes = nullptr;
    SString text("x");
    text = noWide;
    EXPECT_EQ(text + (UTF8String("x") = noWide) + UTF8String(noWide), "");
    EXPECT_EQ(WString(L"x") = noBytes, L"");
    (text = "x").CreateFromSystemLocaleEncodedString(noBytes);
    EXPECT_EQ(text, "");
}

// The bytes of an empty cell stand for text that the locale can't hold.
TEST(SystemLocale, DecidesTheBytesOfText) {
    struct {
        const char* utf8;
        const char* encoded[3];  // in the order of kLocales
    } rows[] = {
        {"\xC3\xA4\xC3\xBF", {"", "\xC3\xA4\xC3\xBF", "\xE4\xFF"}},
        {"a\xE2\x82\xAC", {"", "a\xE2\x82\xAC", ""}},
        {"\xF0\x9F\x98\x80", {"", "\xF0\x9F\x98\x80", ""}},
    };
    for (int i = 0; i < 3; ++i) {
        const CType locale(kLocales[i]);
        if (!locale.m_bSet) {
            GTEST_SKIP() << "the system can't make the locale " << kLocales[i];
        }
        for (const auto& row : rows) {
            const std::string where = std::string(row.utf8) + " in " + kLocales[i];
            errno = 0;
            const ANSIString encoded{UTF8String(row.utf8)};
            EXPECT_EQ(encoded, row.encoded[i]) << where;
            EXPECT_EQ(errno, *row.encoded[i] ? 0 : EILSEQ) << where;
            if (encoded.empty()) {
                continue;
            }
            SString back;
            back.CreateFromSystemLocaleEncodedString(row.encoded[i]);
            EXPECT_EQ(back, row.utf8) << where;
            UTF8String utf8;
            utf8 = encoded;
            EXPECT_EQ(utf8, row.utf8) << where;
            EXPECT_EQ(UTF8String(WString(encoded)), row.utf8) << where;
        }
    }
    const CType locale("C.UTF-8");
    SString text("x");
    text.CreateFromSystemLocaleEncodedString("a\xE4z");
    EXPECT_EQ(text, "");
    EXPECT_EQ(errno, EILSEQ);
}

TEST(DetectEncoding, LooksForMarksThenZeroBytesThenUtf8) {
    const std::tuple<std::string, int, bool> rows[] = {
        {{"\xFF\xFE", 2}, 1, true},  {{"\xFE\xFF\0\0a", 5}, 2, true}, {{"\xEF\xBB\xBF", 3}, 3, true},
        {{"\xEF\xBB", 2}, 0, false}, {{"\xFF", 1}, 0, false},         {{"A\0B\0", 4}, 1, false},
        {{"\0A\0", 3}, 2, false},    {{"\0\0", 2}, 1, false},         {{"\xE2\x82\xAC", 3}, 3, false},
        {{"plain"}, 0, false},
    };
    for (const auto& [data, encoding, mark] : rows) {
        // In an allocation of its own length, so that a read behind it is found.
        const std::vector<char> block(data.begin(), data.end());
        const EncodingInfo info = DetectEncoding(block.data(), static_cast<unsigned>(block.size()));
        EXPECT_EQ(info.m_nEncoding, encoding) << testing::PrintToString(data);
        EXPECT_EQ(info.m_bByteOrderMark, mark) << testing::PrintToString(data);
    }
    EXPECT_EQ(DetectEncoding("A\0B", 4).GetEncodingName(), "UTF-16LE");
    EXPECT_EQ(DetectEncoding("\xE2\x82\xAC", 0).m_nEncoding, 3);
    EXPECT_EQ(DetectEncoding("\xFF\xFE", 0).m_nEncoding, 0) << "no mark is looked for without a length";
}

TEST(IsUtf8, WeighsSequencesAgainstSignsOfOtherEncodings) {
    const std::tuple<const char*, bool, const char*> rows[] = {
        {"plain", false, "nothing good"},
        {"\xC3\xA9", false, "the continuation byte weighs as much as the sequence"},
        {"\xC3\x8D", true, "0x8D ends the test"},
        {"\xC3\x9F", true, "0x9F ends the test"},
        {"\xE2\xA2\xA2", false, "two continuation bytes against one sequence"},
        {"\xF1\xA0\xA0\x80", true, "four bytes"},
        {"\xFA\xA0\xA0\xA0\x80", true, "five bytes"},
        {"\xFD\xA0\xA0\xA0\xA0\x80", true, "six bytes"},
        {"\xFD\xA0\xA0\xA0\x80", false, "a sixth byte is missing"},
        {"\xC3\xA9\xA9\x80", false, "too many continuation bytes are invalid"},
        {"\xFE\xA0\xA0\xA0\xA0\xA0\xC3\x89", false, "0xFE is invalid, and nothing is good after it"},
        {"\xC3\x41\xC3\x89", false, "a sequence cut short is invalid"},
        {"\x85\xC3\x89", false, "ended before the sequence"},
        {"\xA9\xC3\x89", true, "a bare continuation byte isn't invalid"},
        {"\x1B$B\xC3\x89", false, "an escape sequence of another encoding"},
        {"\xC3\x89\x1B$B", true, "ended before the escape sequence"},
        {"\xC3\xA9\x1B$B", false, "an escape sequence whatever came before"},
        {"\x1B(\xC3\x89", true, "no escape sequence"},
        {"\x1B(B\x1B(J\xC3\x89", true, "0x89 ends the test before the escapes are weighed"},
    };
    for (const auto& [text, expected, why] : rows) {
        EXPECT_EQ(IsUTF8(text), expected) << why;
    }
}

}  // namespace vyn::test
