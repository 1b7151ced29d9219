#include "VynRes.h"

#include <gtest/gtest.h>

#include <memory>
#include <regex>

#include "Platform.h"
#include "RunProbe.h"
#include "VynToolMessages.h"

namespace vyn::test {

// Two handles of modules that nobody loaded.
char modules[2];
const HINSTANCE module = reinterpret_cast<HINSTANCE>(&modules[0]);
const HINSTANCE other = reinterpret_cast<HINSTANCE>(&modules[1]);

// Reports without their place in the source and with "#" for each handle and object.
std::string Plain(const std::string& reports) {
    const std::regex place("Internal error: file VynRes\\.cpp, line \\d+: ");
    return std::regex_replace(std::regex_replace(reports, place, ""), std::regex("\\d{9,}"), "#");
}

TEST(StringTable, CutsATextToTheBuffer) {
    SStringTable table(module);
    table.Add(7, "xyz");
    table.Add(7, "abc");
    table.Add(0, "");
    // A size of 0 stands for a null buffer.
    const std::tuple<unsigned, int, int, const char*> rows[] = {{7, 4, 4, "abc"}, {7, 3, 3, "ab"}, {7, 1, 1, ""},
                                                                {7, 0, 3, "?"},   {8, 9, -1, "?"}, {0, 5, 1, ""}};
    for (const auto& [id, size, result, text] : rows) {
        char buffer[] = "?\0cdefghi";
        EXPECT_EQ(table.GetString(id, size ? buffer : nullptr, size), result) << id << ", " << size;
        EXPECT_STREQ(buffer, text) << id << ", " << size;
    }
}

TEST(LoadString, ReadsTheLaterTableAndReportsOnlyFromTheFormForMessages) {
    auto first = std::make_unique<SStringTable>(module);
    SStringTable table(module);
    table.Add(1, "second");
    first.reset();
    SString text;
    EXPECT_EQ(LoadStringA(module, 1, text), 1);
    EXPECT_EQ(text, "second");
    char buffer[10];
    testing::internal::CaptureStderr();
    EXPECT_EQ(VynLoadString(other, 1, buffer, 10), 0);
    EXPECT_EQ(VynLoadString(module, 2, buffer, 10), -1);
    EXPECT_EQ(LoadStringA(other, 1, text), 0);
    EXPECT_EQ(LoadStringA(module, 2, text), 0);
    EXPECT_EQ(VynLoadString(other, 1, text), 0);
    EXPECT_EQ(VynLoadString(module, 2, text), 0);
    EXPECT_EQ(Plain(testing::internal::GetCapturedStderr()),
              "VynLoadString(#, 1): handle not found\nVynLoadString(#, 2): resource not found\n");
    EXPECT_EQ(text, "second");
}

TEST(ResourceHandle, ComesBackInReverseOrder) {
    const HINSTANCE before = VynGetResourceHandle();
    {
        VynDllHrscState state(module);
        VynSetResourceHandle(other);
    }
    EXPECT_EQ(VynGetResourceHandle(), before);
    EXPECT_EQ(DllMain(GetDllHandle(modules), 0, nullptr), 1);
    EXPECT_EQ(VynhDllInstance, before) << "the library's own handle is set once";
}

TEST(ResourceFormat, TakesItsFormatFromTheCurrentModule) {
    SStringTable table(module);
    table.Add(1, "%s has %d");
    VynDllHrscState current(module);
    SString text("before");
    EXPECT_EQ(text.Format(2, "x"), -1);
    EXPECT_EQ(text.FormatMessage(2, "x"), -1);
    EXPECT_EQ(text, "before");
    text.Format(1, "a", 1);
    EXPECT_EQ(text, "a has 1");
    EXPECT_EQ(text.FormatMessage(1, "b", 2), 1 + 5 + 32);
    EXPECT_EQ(text, "b has 2");
    EXPECT_EQ(text.FormatI18n(2, "x"), -1);
    EXPECT_EQ(text, "");
}

TEST(ResourceFormat, PutsNumberedArgumentsInTheOrderOfTheText) {
    SStringTable table(module);
    VynDllHrscState current(module);
    // A null text stands for a failure.
    const std::pair<const char*, const char*> rows[] = {
        {"%s is %s", "a is b"},        {"%$2s %$1s %s", "b a b"},         {"%$3s %s", nullptr}, {"%$0s %s", nullptr},
        {"%%%$2s%% %s", "%b% (null)"}, {"%s%s%s%s%s%s%s%s%s%s", nullptr}, {"%s %5*d", nullptr}, {"%$2s %2n", nullptr},
    };
    for (const auto& [format, expected] : rows) {
        table.Add(1, format);
        SString text("before");
        EXPECT_EQ(text.FormatI18n(1, "a", "b", "c") == -1, expected == nullptr) << format;
        EXPECT_EQ(text, expected ? expected : "") << format;
    }
    SString text;
    table.Add(1, "%d%d%d%d%d%d%d%$9d%d");
    text.FormatI18n(1, 1, -2, 3, 4, 5, 6, 7, 8, 9);
    EXPECT_EQ(text, "1-23456790") << "there is no argument behind the ninth";
}

TEST(Translation, KeepsThePlaceholdersOfEachString) {
    int languages = 0;
    const std::string locales = VynGetInstallationRoot() + std::string("/locale");
    for (const auto& folder : std::filesystem::directory_iterator(locales)) {
        HINSTANCE handle = VynLoadLibrary((folder.path() / "VYN10_R.DLL").c_str());
        ASSERT_NE(handle, nullptr) << folder.path();
        ++languages;
        SVector<SString> findings;
        EXPECT_EQ(VynCheckTranslation(VynGetEnglishMessages(), handle, findings), 0)
            << folder.path() << " " << findings[0];
        VynUnregisterStringTable(handle);
        VynFreeLibrary(handle);
    }
    EXPECT_GT(languages, 0);
}

TEST(Language, ChoosesTheStrings) {
    TemporaryDirectory directory;
    const std::string root = VynGetInstallationRoot();
    std::filesystem::create_directories(directory / "opt/lib");
    for (const char* folder : {"opt/locale/de", "opt/locale/sub/de", "opt/elsewhere"}) {
        std::filesystem::create_directories(directory / folder);
        std::filesystem::copy(root + "/locale/de/VYN10_R.DLL", directory / folder);
    }
    std::filesystem::copy(SString(VynGetInstallationBin()) + "/libvyn10.so", directory / "opt/lib");
    const std::string english = "en\n@/opt/locale/en\n@/opt/locale/en\nFailed to open '%s' for write.\nown\n";
    const std::string none = "\n@/opt/locale/en\nnone\nown\n";
    const std::string failed = "Loading of resource DLL \"VYN10_R.DLL\" failed.\nError reported: ";
    const std::string unknown =
        "\nVynLoadString(#, 9): handle not found\nVynUnregisterStringTable(#): instance not found\n";
    const std::string pseudo = "[Fáíléd tó ópén '%s' fór wríté.~~~~~~~~~~]";
    const std::string noFolder = failed + "no such language" + unknown;
    const std::tuple<const char*, std::string, std::string> rows[] = {
        {"", english, ""},
        {"DRAVMOOR_STUDIO_LANGUAGE=", english, ""},
        {"DRAVMOOR_STUDIO_LANGUAGE=x-pseudo", "x-pseudo\n@/opt/locale/x-pseudo\n@/opt/locale/en\n" + pseudo + "\nown\n",
         ""},
        {"DRAVMOOR_STUDIO_LANGUAGE=de",
         "de\n@/opt/locale/de\n@/opt/locale/en\n'%s' konnte nicht zum Schreiben geöffnet werden.\nother\n", ""},
        {"DRAVMOOR_STUDIO_LANGUAGE=../elsewhere", "../elsewhere\n@/opt/elsewhere" + none, noFolder},
        {"DRAVMOOR_STUDIO_LANGUAGE=sub/de", "sub/de\n@/opt/locale/sub/de" + none, noFolder},
        {"DRAVMOOR_STUDIO_LANGUAGE=xx", "xx\n@/opt/locale/xx" + none,
         failed + "@/opt/locale/xx/VYN10_R.DLL: cannot open shared object file: No such file or directory" + unknown},
    };
    for (const auto& [variable, out, err] : rows) {
        const ProbeResult result = RunProbe(directory, std::string("LD_LIBRARY_PATH=@/opt/lib ") + variable,
                                            "Probe ask locale localedir englishdir string9 own");
        EXPECT_EQ(result.out, At(directory, out)) << variable;
        EXPECT_EQ(Plain(result.err), At(directory, err)) << variable;
        EXPECT_EQ(result.status, 0) << variable;
    }
}

TEST(Start, MakesTheLibrarysHandleCurrentUntilItsEnd) {
    TemporaryDirectory directory;
    for (const char* current : {"own", "other"}) {
        const std::string language = current == std::string("own") ? "en" : "de";
        const ProbeResult result = RunProbe(directory, "DRAVMOOR_STUDIO_LANGUAGE=" + language, "Probe states");
        const std::regex states(std::string("before: .*before\nmain: .*") + current + "\nend: .*before\n");
        EXPECT_TRUE(std::regex_match(result.out, states)) << result.out << result.err;
        EXPECT_EQ(result.status, 0);
    }
}

// The library is unloaded in English; its resource library keeps it, and both end with the process.
TEST(Start, IsTracedLikeTheEnd) {
    TemporaryDirectory directory;
    const std::string start = "VynHandleResourceDLL( VYN10_R.DLL, #, #)\nSStringTable( #, #)\nloaded\n";
    const std::string end =
        "~VynHandleResourceDLL( VYN10_R.DLL, #, #)\nVynUnregisterStringTable(#)\n"
        "~SStringTable( #)\n_VynUnregisterStringTable(#)\n";
    for (const auto& [language, err] :
         {std::pair("en", start + end + "unloaded\n"), std::pair("de", start + "kept\n" + end)}) {
        const ProbeResult result =
            RunProbe(directory, std::string("QZD_DEBUG_RESOURCE= DRAVMOOR_STUDIO_LANGUAGE=") + language,
                     "LoadProbe " + SString(VynGetInstallationBin()) + "/libvyn10.so");
        EXPECT_EQ(Plain(result.err), err) << language;
        EXPECT_EQ(result.status, 0) << language;
    }
}

}  // namespace vyn::test
