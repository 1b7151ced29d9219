#include "VynToolMessages.h"

#include <gtest/gtest.h>

namespace vyn::test {

TEST(Translation, HasThePlaceholdersOfTheEnglishText) {
    const struct {
        const char* english;
        const char* translation;  // null when there is none
        const char* finding;      // empty when nothing is wrong
    } rows[] = {
        {"%1 of %2", "von %2 Zeilen %1", ""},
        {"%1 of %2", "von %2", ": the placeholders are %2, in English %1 %2: von %2"},
        {"%1%1", "%1", ": the placeholders are %1, in English %1 %1: %1"},
        {"%10", "%1", ": the placeholders are %1, in English %10: %1"},
        {"%s %d", "%-3.2s % 5d 100%", ""},
        {"%s %d", "%d %s", ": the placeholders are %1d %2s, in English %1s %2d: %d %s"},
        {"%s %d", "%$2d %$1s", ""},
        {"%s %s %s", "%$2s %s %$1s", ""},
        {"%ld", "%d", ": the placeholders are %1d, in English %1ld: %d"},
        {"%*d", "%d", ": the placeholders are %1d, in English %1*d: %d"},
        {"100%%d 50 % done %s", "%%s 50 % fertig %s", ""},
        {"plain", "%s", ": the placeholders are %1s, in English: %s"},
        {"", "", ""},
        {"x", nullptr, ": the text is missing"},
    };
    char module;
    const auto handle = reinterpret_cast<HINSTANCE>(&module);
    for (const auto& row : rows) {
        SStringTable table(handle);
        if (row.translation) {
            table.Add(3, row.translation);
        }
        const VynMessage english[] = {{3, row.english}, {}};
        SVector<SString> findings;
        const bool wrong = *row.finding != '\0';
        EXPECT_EQ(VynCheckTranslation(english, handle, findings), wrong) << row.english;
        ASSERT_EQ(findings.size(), wrong) << row.english;
        EXPECT_EQ(wrong ? findings[0] : SString("3"), SString("3") + row.finding);
    }
}

TEST(PseudoText, KeepsThePlaceholders) {
    EXPECT_EQ(VynPseudoText("%1 Unit e"), "[%1 Únít é~~~]");
    EXPECT_EQ(VynPseudoText("%e %% AEO"), "[%e %% ÁÉÓ~~~]");
}

}  // namespace vyn::test
