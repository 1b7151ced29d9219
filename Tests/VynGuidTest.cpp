#include "VynGuid.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <ctime>

#include "ZemAPICommon.h"

namespace vyn {
namespace {

const char* const kTable = "ELVISAlive5BCD0FGH3JK1MNOPQR4TU2WXYZabcd9fgh7jk6mnopqrstu8wxyz-*";

SString NewGuid() {
    SString text;
    VynCreateGuid(text);
    return text;
}

// Taken before any test runs.
const SString firstGuid = NewGuid();

// The number behind the six characters from `pos` on.
uint32_t Decode64(const SString& text, size_t pos) {
    uint32_t value = 0;
    for (size_t i = 6; i-- > 0;) {
        value = (value << 6) | static_cast<uint32_t>(strchr(kTable, text[pos + i]) - kTable);
    }
    return value;
}

std::string ToText(const k4::GUID& guid) {
    std::string text = "old text";
    guid.ToString(text);
    return text;
}

TEST(Guid, HasATextForm) {
    const k4::GUID mixed = {0x1, 0xABC, 0xF00D, {0, 1, 0xFF, 0x10, 9, 0xA, 0x80, 0x7F}};
    EXPECT_EQ(ToText(k4::GUID{}), "00000000-0000-0000-0000-000000000000");
    EXPECT_EQ(ToText(mixed), "00000001-0ABC-F00D-0001-FF10090A807F");
    EXPECT_EQ(ToText(k4::IUnknown::guid_), "2F51008E-98A4-4939-A5BF-6529ED638D89");
    EXPECT_EQ(ToText(k4::IObjectInfo::guid_), "961926D5-6FC1-4542-9056-BA3D2D280388");
}

TEST(Guid, IsReadFromText) {
    struct {
        const char* text;
        const char* expected;  // null: refused
    } rows[] = {
        {"2F51008E-98A4-4939-A5BF-6529ED638D89", "2F51008E-98A4-4939-A5BF-6529ED638D89"},
        {"2f51008e-98A4-4939-a5bf-6529ed638d89", "2F51008E-98A4-4939-A5BF-6529ED638D89"},
        {"2F51008E-98A4-4939-A5BF-6529ED638D89}xyz", "2F51008E-98A4-4939-A5BF-6529ED638D89"},
        {"FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF", "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF"},
        {"1-2-3-0405-060708090A0", "00000001-0002-0003-0405-060708090A00"},
        {"", nullptr},
        {"2F51008E-98A4-4939-A5BF-6529ED638D", nullptr},
        {"2F51008E98A44939A5BF6529ED638D89", nullptr},
        {"{2F51008E-98A4-4939-A5BF-6529ED638D89}", nullptr},
        {"2F51008E-98A4-4939-A5BF-6529ED638DXX", nullptr},
    };
    for (const auto& row : rows) {
        k4::GUID guid;
        memset(&guid, 0x55, sizeof guid);
        EXPECT_EQ(k4::GUID::FromString(row.text, guid), row.expected != nullptr) << row.text;
        EXPECT_EQ(ToText(guid), row.expected ? row.expected : ToText(k4::GUID{})) << row.text;
    }
}

TEST(Guid, IsEqualOnlyInAllBytes) {
    const k4::GUID guid = k4::IUnknown::guid_;
    for (size_t i = 0; i < sizeof guid; ++i) {
        k4::GUID other = guid;
        EXPECT_TRUE(guid == other);
        reinterpret_cast<unsigned char*>(&other)[i] ^= 0x80;
        EXPECT_FALSE(guid == other) << "byte " << i;
    }
}

TEST(CreateGuid, CountsFromZeroInTheFirstSixCharacters) {
    EXPECT_EQ(firstGuid.substr(0, 6), "EEEEEE");
    uint32_t count = Decode64(NewGuid(), 0);
    EXPECT_GE(count, 1u);
    for (int i = 0; i < 200; ++i) {
        const SString text = NewGuid();
        ASSERT_EQ(text.length(), 24u);
        ASSERT_EQ(text[0], kTable[++count % 64]);
        ASSERT_EQ(Decode64(text, 0), count);
    }
}

TEST(CreateGuid, NamesProcessSecondAndHost) {
    const uint32_t before = static_cast<uint32_t>(time(nullptr));
    const SString text = NewGuid();
    EXPECT_EQ(Decode64(text, 6), static_cast<uint32_t>(getpid()));
    EXPECT_GE(Decode64(text, 12) + 1, before) << "time() may run ahead of gettimeofday by a tick";
    EXPECT_LE(Decode64(text, 12), static_cast<uint32_t>(time(nullptr)) + 1);
    EXPECT_EQ(Decode64(text, 18), static_cast<uint32_t>(gethostid()));
}

}  // namespace
}  // namespace vyn
