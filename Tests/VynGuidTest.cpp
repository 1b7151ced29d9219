#include "VynGuid.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <ctime>

#include "ZemAPICommon.h"

namespace vyn::test {

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

TEST(Guid, IsReadFromText) {
    struct {
        const char* text;
        const char* expected;  // null: refused
    } rows[] = {
        {"2f51008e-98A4-4939-a5bf-6529ed638d89", "2F51008E-98A4-4939-A5BF-6529ED638D89"},
        {"2F51008E-98A4-4939-A5BF-6529ED638D89}xyz", "2F51008E-98A4-4939-A5BF-6529ED638D89"},
        {"1-2-3-0405-060708090A0", "00000001-0002-0003-0405-060708090A00"},
        {"2F51008E-98A4-4939-A5BF-6529ED638D", nullptr},
        {"{2F51008E-98A4-4939-A5BF-6529ED638D89}", nullptr},
        {"2F51008E-98A4-4939-A5BF-6529ED638DXX", nullptr},
    };
    for (const auto& row : rows) {
        k4::GUID guid;
        memset(&guid, 0x55, sizeof guid);
        EXPECT_EQ(k4::GUID::FromString(row.text, guid), row.expected != nullptr) << row.text;
        EXPECT_EQ(ToText(guid), row.expected ? row.expected : ToText(k4::GUID{})) << row.text;
    }
    EXPECT_EQ(ToText(k4::IUnknown::guid_), "2F51008E-98A4-4939-A5BF-6529ED638D89");
    EXPECT_EQ(ToText(k4::IObjectInfo::guid_), "961926D5-6FC1-4542-9056-BA3D2D280388");
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

TEST(CreateGuid, NamesCountProcessSecondAndHost) {
    EXPECT_EQ(firstGuid.substr(0, 6), "EEEEEE");
    const uint32_t before = static_cast<uint32_t>(time(nullptr));
    for (uint32_t count = 1; count < 200; ++count) {
        const SString text = NewGuid();
        ASSERT_EQ(text.length(), 24u);
        ASSERT_EQ(Decode64(text, 0), count);
        EXPECT_EQ(Decode64(text, 6), static_cast<uint32_t>(getpid()));
        EXPECT_LE(Decode64(text, 12) - (before - 1), 60u) << "time() may run ahead of gettimeofday by a tick";
        EXPECT_EQ(Decode64(text, 18), static_cast<uint32_t>(gethostid()));
    }
}

}  // namespace vyn::test
