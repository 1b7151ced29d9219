#include <gtest/gtest.h>

#include <cerrno>
#include <random>
#include <vector>

#include "Buffer.h"
#include "SMap.h"
#include "VynM.h"

namespace vyn::test {

std::string Walk(const MList<int*>& list, const int* base) {
    std::string text;
    for (void* pos = list.GetHeadPosition(); pos;) {
        text += std::to_string(list.GetNext(pos) - base);
    }
    return text;
}

TEST(List, KeepsOrderThroughRemovalAtEachPlace) {
    int n[5] = {};
    MList<int*> list;
    for (int& i : n) {
        list.AddTail(&i);
    }
    list.RemoveAt(list.Find(&n[0]));
    list.RemoveAt(list.Find(&n[2]));
    list.RemoveAt(list.Find(&n[4]));
    EXPECT_EQ(Walk(list, n), "13");
    EXPECT_EQ(list.Find(&n[2]), nullptr);
    list.AddTail(&n[4]);
    EXPECT_EQ(Walk(list, n), "134");
    list.AddTail(&list);
    EXPECT_EQ(Walk(list, n), "134134") << "a list appended to itself";
    EXPECT_EQ(list.GetChangeCount(), 5u + 3 + 1 + 3);
    list.RemoveAll();
    EXPECT_EQ(list.GetHeadPosition(), nullptr);
    list.AddTail(&n[1]);
    EXPECT_EQ(Walk(list, n), "1");
    EXPECT_EQ(list.GetChangeCount(), 14u);
}

TEST(Map, IsUsableBeforeTheFirstEntryAndAfterRemoveAll) {
    MMap<SString, int*> map;
    int* value = nullptr;
    int n = 0;
    EXPECT_EQ(map.Lookup("a", value), 0);
    EXPECT_EQ(map.RemoveKey("a"), 0);
    EXPECT_EQ(map.GetStartPosition(), nullptr);
    EXPECT_EQ(map["a"], nullptr) << "a missing key is inserted with zero";
    EXPECT_EQ(map.RemoveKey("a"), 1);
    EXPECT_EQ(map.GetStartPosition(), nullptr) << "a table without entries";
    map["a"] = &n;
    map.RemoveAll();
    EXPECT_EQ(map.Lookup(SString("a"), value), 0);
    map["b"] = &n;
    map[SString(std::string("b\0c", 3))] = nullptr;
    EXPECT_TRUE(map.Lookup("b", value) == 1 && value == &n) << "whole keys are compared";
}

template <class Key, class Value>
auto Walk(const MMap<Key, Value>& map) {
    std::vector<std::pair<Key, Value>> entries;
    for (void* pos = map.GetStartPosition(); pos;) {
        auto& [key, value] = entries.emplace_back();
        map.GetNextAssoc(pos, key, value);
    }
    return entries;
}

TEST(Map, ComesOutInBucketOrderWhateverItsSize) {
    EXPECT_EQ(StringHashKey("ab", 32), 3299u % 32);
    EXPECT_EQ(StringHashKey("\xFF", 31), 3u) << "bytes are signed";
    MMap<SString, int> map;
    std::vector<std::pair<SString, int>> chains[31];  // the plainest model of it
    std::mt19937 random(1);
    for (int i = 0; i < 6000; ++i) {
        const SString key("k" + std::to_string(random() % 2500));
        auto& chain = chains[StringHashKey(key, 31)];
        auto found = std::find_if(chain.begin(), chain.end(), [&](const auto& e) { return e.first == key; });
        const bool present = found != chain.end();
        if (random() % 4 == 0) {
            EXPECT_EQ(map.RemoveKey(key), present ? 1 : 0);
            chain.erase(found, present ? found + 1 : found);
        } else {
            map[key] = i;
            (present ? *found : chain.emplace_back(key, i)).second = i;
        }
    }
    decltype(Walk(map)) expected;
    for (const auto& chain : chains) {
        expected.insert(expected.end(), chain.begin(), chain.end());
    }
    EXPECT_EQ(Walk(map), expected);
    for (const auto& [key, expectedValue] : expected) {
        int value = -1;
        ASSERT_EQ(map.Lookup(key.c_str(), value), 1) << key;
        ASSERT_EQ(value, expectedValue) << key;
    }
}

TEST(Map, HashesNumbersByTheirUpperBits) {
    MMap<unsigned, char> map;
    map[4 * 31] = 'a';  // bucket 0, as 1; 4 and 5 are in bucket 1
    map[5] = 'c';
    map[4] = 'd';
    map[1] = 'b';
    std::string order;
    for (const auto& entry : Walk(map)) {
        order += entry.second;
    }
    EXPECT_EQ(order, "abcd");
}

TEST(Vector, CountsPositionsFromOne) {
    EXPECT_EQ(SVector<SString>().Find("a"), nullptr);
    const SVector<SString> v = {"a", "b"};
    void* pos = v.Find("a");
    EXPECT_EQ(pos, reinterpret_cast<void*>(1));
    EXPECT_EQ(v.GetNext(pos), "a");
    EXPECT_EQ(pos, v.Find("b"));
    EXPECT_EQ(v.GetNext(pos), "b");
    EXPECT_EQ(pos, nullptr);
}

TEST(MapMarker, StacksItsSets) {
    int a, b;
    SMapMarker outer;
    EXPECT_EQ(SMapMarker::Mark(&a), 0);
    EXPECT_EQ(SMapMarker::Mark(&a), 1);
    {
        SMapMarker inner;
        EXPECT_EQ(SMapMarker::Mark(&a), 0);
        EXPECT_EQ(SMapMarker::Unmark(&b), 0);
    }
    EXPECT_EQ(SMapMarker::Mark(&a), 1);
    EXPECT_EQ(SMapMarker::Unmark(&a), 0);
    EXPECT_EQ(SMapMarker::Mark(&a), 0);
}

TEST(Buffer, GrowsOnItsOwnRuleForCharactersAndTexts) {
    CBuffer byCharacter(8);
    for (char c = '1'; c <= '7'; ++c) {
        byCharacter += c;
    }
    const char* before = byCharacter;
    byCharacter += "";
    EXPECT_EQ(static_cast<const char*>(byCharacter), before);
    byCharacter += '8';
    EXPECT_TRUE(byCharacter == "12345678");

    CBuffer byText(8);
    byText += "1234567";
    byText += 89;
    byText += true;
    byText += byText;
    EXPECT_TRUE(byText == "123456789true123456789true");
    EXPECT_FALSE(byText == "123456789true123456789tru");

    CBuffer copy(byText);
    byText.Empty();
    EXPECT_TRUE(byText == "");
    copy += -7;
    EXPECT_TRUE(copy == "123456789true123456789true-7") << "copies are independent";

    CBuffer buffer(1);
    errno = 0;
    buffer += static_cast<const char*>(nullptr);
    EXPECT_EQ(errno, EINVAL);
    buffer += "ab";
    buffer += 'c';
    EXPECT_TRUE(buffer == "abc");
}

}  // namespace vyn::test
