#include <gtest/gtest.h>

#include <vector>

#include "VynErrOut.h"
#include "VynRes.h"

namespace vyn::test {

TEST(SFmt, FillsPlaceholdersInTheOrderOfTheirNumbers) {
    const struct {
        const char* text;
        std::vector<const char*> values;
        const char* result;
        std::vector<const char*> reports;
    } rows[] = {
        {"%2 before %1", {"a", "b"}, "b before a", {}},
        {"plain", {"x"}, "plain x", {"parameter %1 not found in plain"}},
        {"%1%1", {"a"}, "a%1", {"actual parameter missing a%1"}},
        {"%10 %1", {"a"}, "a0 %1", {"actual parameter missing a0 %1"}},
        {"%1", {"%2", "x"}, "x", {}},
        {"%1", {nullptr, "x"}, "x", {"NULL TCHAR* parameter %1"}},
        {"%% %a %", {}, "%% %a %", {}},
        {"%0 %9", {}, "%0 %9", {"actual parameter missing %0 %9", "actual parameter missing %0 %9"}},
        {nullptr, {}, "", {}},
    };
    for (const auto& row : rows) {
        testing::internal::CaptureStderr();
        SFmt format(row.text);
        for (const char* value : row.values) {
            format << value;
        }
        EXPECT_EQ(format.str(), row.result);
        std::string reports;
        for (const char* report : row.reports) {
            reports += "Internal error: SFmt: " + std::string(report) + "\n";
        }
        EXPECT_EQ(testing::internal::GetCapturedStderr(), reports) << (row.text ? row.text : "null");
    }
}

TEST(SFmt, TakesItsTextFromAModuleToAStream) {
    testing::internal::CaptureStdout();
    vynout << (SFmt(VynhDllInstance, 16) << 0 << SString("why")) << endl << flush;
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "The filter '0' is invalid.\nwhy\n");
    testing::internal::CaptureStderr();
    EXPECT_EQ(SFmt(VynhDllInstance, 999), "");
    const std::string report = "\nInternal error: Vyn::SFmt::LoadString(999): resource id not found\n";
    EXPECT_NE(testing::internal::GetCapturedStderr().find(report), std::string::npos);
}

}  // namespace vyn::test
