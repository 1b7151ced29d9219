#include "VynHttp.h"

#include <cctype>
#include <cstdio>
#include <iostream>
#include <map>
#include <random>
#include <sstream>

#include "TestSupport.h"

namespace vyn::test {
using namespace std::string_literals;
using Text = std::string;
using Params = std::map<Text, Text>;

TEST(TruncAtNewLine, CutsAtTheFirstLineEndButNotAtTheVeryStart) {
    const Rows<std::string, std::string> rows = {
        {"abc", "abc"}, {"abc\r\ndef", "abc"}, {"a\nb\rc", "a"}, {"\nabc", "\nabc"}};
    for (const auto& [text, expected] : rows) {
        EXPECT_EQ(TruncAtNewLine(text), expected) << text;
    }
}

TEST(RemoveProtocolFromUrl, NeedsTwoSlashesBehindTheFirstColon) {
    const Rows<Text, bool, Text, Text> rows = {
        {"http://a/b", true, "http", "a/b"},  {"://", true, "", ""},        {"c:\\dir", false, "old", "c:\\dir"},
        {"a:b://c", false, "old", "a:b://c"}, {"a:/", false, "old", "a:/"},
    };
    for (const auto& [url, found, expectedProtocol, expectedRest] : rows) {
        std::string protocol = "old", rest = "old";
        EXPECT_EQ(RemoveProtocolFromUrl(url, protocol, rest), found) << url;
        EXPECT_EQ(std::pair(protocol, rest), std::pair(expectedProtocol, expectedRest)) << url;
    }
}

TEST(SplitGetReq, GivesPathAndDecodedParameters) {
    const Rows<Text, Text, Params> rows = {
        {"GET /a?x=1&y=b+c HTTP/1.1\r\n", "GET /a", {{"x", "1"}, {"y", "b c"}}},
        {"GET /a HTTP/1.0\n", "GET /a", {}},
        {"GET /a HTTP/1.1\r\n\n", "GET /a HTTP/1.1\r", {}},  // one byte stays, and hides the version
        {"HTTP/1.1", "HTTP/1.1", {}},                        // eight bytes
        {"", "", {}},
        {"/a?x=1&x=2", "/a", {{"x", "1"}}},
        {"/a?a+b", "/a", {{"a+b", "a b"}}},
        {"/a?", "/a", {{"", ""}}},
        {"/a?=1&k%41=a=b?c", "/a", {{"", "1"}, {"k%41", "a=b?c"}}},
        {"/a%20b?x=%2B%26%3d", "/a%20b", {{"x", "+&="}}},
        {"/a?x=%+1", "/a", {{"x", "\x91"}}},  // the "+" is a blank before it is taken for a digit
        {"/a?x=1&y\0=2&z=3"s, "/a", {{"x", "1"}}}};
    for (const auto& [request, expectedPath, expectedParams] : rows) {
        std::string path = "old";
        Params params;
        SplitGetReq(request, path, params);
        EXPECT_EQ(std::pair(path, params), std::pair(expectedPath, expectedParams)) << request;
    }
    Params kept = {{"x", "0"}};
    std::string path;
    SplitGetReq("/a?x=1&y=2", path, kept);
    EXPECT_EQ(kept, (Params{{"x", "0"}, {"y", "2"}}));
}

TEST(SplitUrl, KnowsHttpAndFile) {
    const Rows<Text, Text, Text, Text, Text, Text> rows = {
        {"http://host", "", "http", "host", "/", ""},
        {"file://c:\\x\\y", "", "file", "", "c:/x/y", ""},
        {"host/a", "http", "http", "host", "/a", ""},  // the caller's protocol stands
        {"ftp://host/x", "", "ftp", "host/x", "old", "unknown protocol in SplitUrl: 'ftp'\n"},
        {"c:\\x", "", "", "c:\\x", "old", "unknown protocol in SplitUrl: ''\n"},
    };
    for (const auto& [url, given, expectedProtocol, expectedHost, expectedPath, expectedMessage] : rows) {
        std::string protocol = given, host = "old", path = "old";
        std::ostringstream message;
        std::streambuf* const before = std::cerr.rdbuf(message.rdbuf());
        SplitUrl(url, protocol, host, path);
        std::cerr.rdbuf(before);
        EXPECT_EQ(message.str(), expectedMessage) << url;
        EXPECT_EQ(std::tuple(protocol, host, path), std::tuple(expectedProtocol, expectedHost, expectedPath)) << url;
    }
}

TEST(ReplaceInStr, GoesOnOneByteBehindTheEndLessTheLengthOfThePattern) {
    const Rows<Text, Text, Text, Text> rows = {
        {"a\\b\\\\", "\\", "/", "a/b//"},
        {"aXa", "a", "", "X"},
        {"abcabc", "abc", "", "abc"},   // the start wraps
        {"xxabcabc", "abc", "", "xx"},  // far enough from the start
        {"abb", "ab", "a", "a"},        // the inserted text is part of the next match
        {"abc", "", "-", "-a-b-c-"},
        {std::string(1 << 20, 'a'), "a", "bb", std::string(2 << 20, 'b')},  // in no time
    };
    for (const auto& [text, from, to, expected] : rows) {
        EXPECT_EQ(ReplaceInStr(text, from, to), expected) << text << ' ' << from;
    }
}

TEST(UpperAndLower, ChangeAsciiLettersInPlace) {
    std::string text = "aZ\xC3\xA4";
    ToUpper(text);
    EXPECT_EQ(text, "AZ\xC3\xA4");
    ToLower(text);
    EXPECT_EQ(text, "az\xC3\xA4");
}

TEST(PercentCoding, TakesAllBytesThereAndBack) {
    for (int i = 0; i < 256; ++i) {
        const std::string byte(1, static_cast<char>(i));
        char escape[4];
        snprintf(escape, sizeof escape, "%%%02x", static_cast<unsigned>(i));
        const bool plainPasses = i && i < 128 && (isalnum(i) || strchr("!'()*-._$+,&/:;=?@", i));
        const bool agentPasses = i && i < 128 && (isalnum(i) || strchr("!'()*-._~", i));
        std::string plain, agent;
        EncodeURL(byte, plain);
        EXPECT_EQ(plain, plainPasses ? byte : escape);
        EncodeAgentURL(byte, agent);
        EXPECT_EQ(agent, agentPasses ? byte : i == ' ' ? "+" : escape);
        UTF8String decoded = "kept";
        DecodeURL(plain, decoded);
        DecodeAgentURL(agent, decoded);
        EXPECT_EQ(decoded, "kept" + byte + byte);
    }
}

TEST(PercentCoding, AppendsALongTextToItself) {
    const std::string original = std::string(1500, '\0') + "%41";
    UTF8String text = original, coded;
    EncodeURL(original, coded);
    EXPECT_EQ(coded.size(), 4505u);
    EncodeURL(text, text);
    EXPECT_EQ(text, original + coded);
    text = "a%41";
    DecodeURL(text, text);
    EXPECT_EQ(text, "a%41aA");
}

TEST(PercentCoding, DecodesWhateverStandsBehindAPercentSign) {
    const Rows<std::string, std::string> rows = {
        {"a+b%2Bc", "a b+c"},
        {"%c3%A4%Ab", "\xC3\xA4\xAB"},
        {"%00a", "\0a"s},
        {"%2541", "%41"},
        {"%zz%ZZ", "33"},
        {"%%4-", "\xE4-"},
        {"%+ ", "\x49"},
        {"%\xFF\x80", "\x89"},
        {"a%", "a%"},
        {"a%4", "a@"},
        {"a%+", "a@"},
        {"", ""},
        {"123456789 123456%41%20123456789 123456789 12345678901", "123456789 123456A 123456789 123456789 12345678901"}};
    for (const auto& [in, out] : rows) {
        UTF8String plain, agent;
        DecodeURL(in, plain);
        DecodeAgentURL(in, agent);
        EXPECT_EQ(plain, in == "a+b%2Bc" ? "a+b+c" : out) << in;
        EXPECT_EQ(agent, out) << in;
    }
}

std::string Base64(const std::string& bytes) {
    return base64_encode(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<unsigned>(bytes.size()));
}

TEST(Base64, MatchesKnownTexts) {
    const Rows<std::string, std::string> rows = {{"", ""},
                                                 {"foob", "Zm9vYg=="},
                                                 {"fooba", "Zm9vYmE="},
                                                 {"foobar", "Zm9vYmFy"},
                                                 {"\xFF\xFE\xFD\0\x80"s, "//79AIA="}};
    for (const auto& [bytes, text] : rows) {
        EXPECT_EQ(Base64(bytes), text);
        EXPECT_EQ(base64_decode(text), bytes) << text;
    }
    const std::string sextets = base64_decode(base64_chars);
    EXPECT_EQ(sextets.size(), 48u);
    EXPECT_EQ(Base64(sextets), base64_chars);
}

// Pieces of less than 28 bytes, or 32 characters, never go the way of vectors.
TEST(Base64, GivesTheSameForLongAndShortTexts) {
    std::mt19937 random(1);
    for (int round = 0; round < 3000; ++round) {
        std::string bytes(random() % 5000, '\0'), text, decoded;
        for (char& c : bytes) {
            c = static_cast<char>(random());
        }
        for (size_t i = 0; i < bytes.size(); i += 21) {
            text += Base64(bytes.substr(i, 21));
        }
        ASSERT_EQ(Base64(bytes), text);
        if (round % 2 && !text.empty()) {
            text[random() % text.size()] = static_cast<char>(random());
        }
        for (size_t i = 0; i < text.size() && decoded.size() == i / 4 * 3; i += 28) {
            decoded += base64_decode(text.substr(i, 28));
        }
        ASSERT_EQ(base64_decode(text), decoded) << text;
    }
}

TEST(Base64, DecodesUpToTheFirstForeignByte) {
    const Rows<std::string, std::string> rows = {
        {"YWI", "ab"},        {"Y", ""},     {"YW Jj", "a"},   {"YWJj=YWJj", "abc"},
        {"YWJjYW-_", "abca"}, {"=YWJj", ""}, {"YW\0Jj"s, "a"}, {"YWJj\xC3\xA4YW", "abc"}};
    for (const auto& [text, bytes] : rows) {
        EXPECT_EQ(base64_decode(text), bytes) << text;
    }
}

}  // namespace vyn::test
