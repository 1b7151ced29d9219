#include "VynResourceHandler.h"

#include <gtest/gtest.h>

#include "VynRes.h"

namespace vyn::test {

// Ranges stay for the life of the process, so that each test has numbers and prefixes of its own.

char module;
const HINSTANCE handle = reinterpret_cast<HINSTANCE>(&module);

using Manager = VynModuleManager;

// A handler that is registered, if it is taken, until the object goes.
class Registered : public VynResourceHandler {
public:
    Registered(unsigned first, unsigned last) : VynResourceHandler(first, last) {
        m_eStatus = Manager::RegisterResourceHandler(*this);
    }
    ~Registered() override { Manager::UnregisterResourceHandler(*this); }
    SStatus m_eStatus;
};

TEST(Range, MayShareItsBaseButNoOtherNumber) {
    const struct {
        const char* prefix;
        unsigned first, last;
        int status;
    } rows[] = {
        {nullptr, 1000, 2000, 0}, {"A", 2000, 1999, 0}, {"A", 1000, 2000, 1}, {"B", 2000, 3000, 1},
        {"X", 1999, 2500, 0},     {"X", 900, 1001, 0},  {"X", 900, 4000, 0},  {"A", 1000, 5000, 1},
        {"A", 900, 2000, 1},      {"A", 900, 1900, 0},  {"B", 7000, 8000, 0}, {"a", 900, 1000, 1},
        {"C", 3000, 5000, 1},  // the bounds of A stayed as they were
        {"C", 1500, 1500, 0},     {"D", 6000, 6000, 1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Manager::RegisterRange(row.prefix, row.first, row.last), row.status)
            << (row.prefix ? row.prefix : "null") << " " << row.first << " " << row.last;
    }
}

TEST(Handler, IsRefusedWhenANumberIsTaken) {
    {
        Registered backward(3, 2);
        EXPECT_EQ(backward.m_eStatus, 1) << "no handler to compare with";
        EXPECT_EQ(Manager::RegisterResourceHandler(backward), 1);
        EXPECT_EQ(Registered(9, 8).m_eStatus, 0);
    }
    Registered low(1, 5), high(6, 9);
    EXPECT_EQ(high.m_eStatus, 1);
    EXPECT_EQ(Manager::RegisterResourceHandler(high), 1);
    EXPECT_EQ(Registered(9, 12).m_eStatus, 0);
    EXPECT_EQ(Registered(0, 20).m_eStatus, 0);
    EXPECT_EQ(Manager::GetResourceHandler(5), &low);
    EXPECT_EQ(Manager::GetResourceHandler(6), &high);
    EXPECT_EQ(Manager::GetResourceHandler(10), nullptr);

    Manager::UnregisterResourceHandler(VynResourceHandler(1, 5));
    EXPECT_EQ(Manager::GetResourceHandler(5), &low) << "only the very object is taken out";
    Manager::UnregisterResourceHandler(low);
    EXPECT_EQ(Manager::GetResourceHandler(5), nullptr);
    EXPECT_EQ(Manager::GetResourceHandler(6), &high) << "registered once, and still there";
    Manager::UnregisterResourceHandler(high);
    EXPECT_EQ(Manager::GetResourceHandler(6), nullptr);
}

TEST(PrefixedString, CountsFromTheBaseOfTheRange) {
    SStringTable table(handle);
    const unsigned base = 100000;
    ASSERT_EQ(Manager::RegisterRange("ABC", base, base + 20000), 1);
    Registered handler(base, base + 12345);
    const HINSTANCE before = VynGetResourceHandle();
    const struct {
        unsigned id;
        const char* text;      // null when the table has none
        const char* prefixed;  // "before" when it fails
    } rows[] = {
        {base, "the base", "ABC0000: the base"}, {base + 9999, "four", "ABC9999: four"},
        {base + 12345, "", "ABC12345: "},        {base + 6, nullptr, "before"},
        {base - 1, "below the span", "before"},  {base + 12346, "behind the span", "before"},
    };
    for (const auto& row : rows) {
        if (row.text) {
            table.Add(row.id, row.text);
        }
        const bool found = SString("before") != row.prefixed;
        SString text("before");
        handler.SetInstance(nullptr);
        EXPECT_EQ(handler.GetString(row.id, text), 0);
        EXPECT_EQ(handler.GetPrefixedString(row.id, text), 0);
        EXPECT_EQ(text, "before") << "no strings without a module";
        handler.SetInstance(handle);
        EXPECT_EQ(handler.GetPrefixedString(row.id, text), found) << row.id;
        EXPECT_EQ(text, row.prefixed);
        text = "before";
        NbxGetPrefixedString(row.id, text);
        EXPECT_EQ(text, row.prefixed);
        EXPECT_EQ(handler.GetString(row.id, text), found);
        EXPECT_EQ(text, found ? row.text : "before");
    }
    EXPECT_EQ(VynGetResourceHandle(), before);

    VynResourceHandler wider(base - 1, base + 5);
    wider.SetInstance(handle);
    SString text("before");
    EXPECT_EQ(wider.GetPrefixedString(base, text), 0) << "no range is around the whole span";
    EXPECT_EQ(text, "before");
    EXPECT_EQ(wider.GetString(base, text), 1);
}

}  // namespace vyn::test
