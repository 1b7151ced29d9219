#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "Buffer.h"
#include "SMap.h"
#include "VynM.h"

namespace vyn {
namespace {

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
    EXPECT_EQ(list.GetCount(), 2);
    EXPECT_EQ(list.Find(&n[2]), nullptr);
    list.AddTail(&n[4]);
    EXPECT_EQ(Walk(list, n), "134");
    list.AddTail(&list);
    EXPECT_EQ(Walk(list, n), "134134") << "a list appended to itself";
    MList<int*> empty;
    list.AddTail(&empty);
    EXPECT_EQ(list.GetCount(), 6);
    list.RemoveAll();
    EXPECT_EQ(list.GetHeadPosition(), nullptr);
    list.AddTail(&n[1]);
    EXPECT_EQ(Walk(list, n), "1");
}

TEST(StringHash, TreatsBytesAsSigned) {
    EXPECT_EQ(StringHashKey("", 31), 0u);
    EXPECT_EQ(StringHashKey("A", 31), 3u);
    EXPECT_EQ(StringHashKey("ab", 31), 13u);
    EXPECT_EQ(StringHashKey("ab", 32), 3299u % 32);
    EXPECT_EQ(StringHashKey("\xFF", 31), 3u);
}

TEST(Map, IsUsableBeforeTheFirstEntryAndAfterRemoveAll) {
    MMap<SString, int*> map;
    int* value = nullptr;
    int n = 0;
    EXPECT_EQ(map.Lookup("a", value), 0);
    EXPECT_EQ(map.RemoveKey("a"), 0);
    EXPECT_EQ(map.GetStartPosition(), nullptr);
    EXPECT_EQ(map["a"], nullptr) << "a missing key is inserted with zero";
    int*& reference = map["a"];
    reference = &n;
    EXPECT_EQ(&map["a"], &reference);
    EXPECT_EQ(map.GetCount(), 1);
    EXPECT_EQ(map.RemoveKey("a"), 1);
    EXPECT_EQ(map.GetStartPosition(), nullptr) << "a table without entries";
    map["a"] = &n;
    map.RemoveAll();
    EXPECT_EQ(map.Lookup(SString("a"), value), 0);
    map["b"] = &n;
    EXPECT_EQ(map.Lookup("b", value), 1);
    EXPECT_EQ(value, &n);
}

TEST(Map, ComparesWholeKeys) {
    MMap<SString, int> map;
    const SString withNul(std::string("a\0b", 3));
    map["a"] = 1;
    map[withNul] = 2;
    int value = 0;
    EXPECT_EQ(map.Lookup("a", value), 1);
    EXPECT_EQ(value, 1);
    EXPECT_EQ(map.Lookup(withNul, value), 1);
    EXPECT_EQ(value, 2);
    EXPECT_EQ(map.Lookup("A", value), 0);
    EXPECT_EQ(map.Lookup("ab", value), 0);
}

// The order that the chains of 31 buckets give, by the plainest model of it.
struct ModelMap {
    std::vector<std::pair<std::string, int>> buckets[31];

    std::string Walk() const {
        std::string text;
        for (const auto& bucket : buckets) {
            for (const auto& entry : bucket) {
                text += entry.first + "=" + std::to_string(entry.second) + ";";
            }
        }
        return text;
    }
};

std::string Walk(const MMap<SString, int>& map) {
    std::string text;
    for (void* pos = map.GetStartPosition(); pos;) {
        SString key;
        int value;
        map.GetNextAssoc(pos, key, value);
        text += key + "=" + std::to_string(value) + ";";
    }
    return text;
}

TEST(Map, ComesOutInBucketOrderWhateverItsSize) {
    MMap<SString, int> map;
    ModelMap model;
    std::mt19937 random(1);
    for (int i = 0; i < 6000; ++i) {
        const std::string key = "k" + std::to_string(random() % 2500);
        auto& bucket = model.buckets[StringHashKey(SString(key), 31)];
        auto found =
            std::find_if(bucket.begin(), bucket.end(), [&](const auto& e) { return e.first == key; });
        if (random() % 4 == 0) {
            EXPECT_EQ(map.RemoveKey(SString(key)), found != bucket.end() ? 1 : 0);
            if (found != bucket.end()) {
                bucket.erase(found);
            }
        } else {
            map[SString(key)] = i;
            if (found != bucket.end()) {
                found->second = i;
            } else {
                bucket.emplace_back(key, i);
            }
        }
        if (i % 500 == 0) {
            ASSERT_EQ(Walk(map), model.Walk()) << "after step " << i;
        }
    }
    EXPECT_EQ(Walk(map), model.Walk());
    for (const auto& bucket : model.buckets) {
        for (const auto& entry : bucket) {
            int value = -1;
            ASSERT_EQ(map.Lookup(entry.first.c_str(), value), 1) << entry.first;
            ASSERT_EQ(value, entry.second) << entry.first;
        }
    }
}

TEST(Map, HashesNumbersByTheirUpperBits) {
    MMap<unsigned, const char*> map;
    map[4 * 31] = "a";  // bucket 0
    map[5] = "c";       // bucket 1
    map[4] = "d";       // bucket 1
    map[1] = "b";       // bucket 0
    std::string order;
    for (void* pos = map.GetStartPosition(); pos;) {
        unsigned key;
        const char* value;
        map.GetNextAssoc(pos, key, value);
        order += value;
    }
    EXPECT_EQ(order, "abcd");
}

TEST(Vector, CountsPositionsFromOne) {
    SVector<SString> v;
    EXPECT_EQ(v.Find("a"), nullptr);
    v.push_back("a");
    v.push_back("b");
    EXPECT_EQ(v.Find("a"), reinterpret_cast<void*>(1));
    void* pos = v.Find("b");
    EXPECT_EQ(v.GetNext(pos), "b");
    EXPECT_EQ(pos, nullptr);
    pos = reinterpret_cast<void*>(1);
    EXPECT_EQ(v.GetNext(pos), "a");
    EXPECT_EQ(pos, reinterpret_cast<void*>(2));
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
    EXPECT_EQ(byText.GetLength(), 26u);
    EXPECT_EQ(byText[8], '9');

    CBuffer copy(byText);
    byText.Empty();
    EXPECT_TRUE(byText.IsEmpty());
    EXPECT_TRUE(byText == "");
    EXPECT_EQ(copy.GetLength(), 26u) << "copies are independent";
    copy += -7;
    EXPECT_TRUE(copy == "123456789true123456789true-7");
}

TEST(Buffer, LeavesErrnoOnANullText) {
    CBuffer buffer(1);
    errno = 0;
    buffer += static_cast<const char*>(nullptr);
    EXPECT_EQ(errno, EINVAL);
    buffer += "ab";
    buffer += 'c';
    EXPECT_TRUE(buffer == "abc");
}

}  // namespace
}  // namespace vyn
