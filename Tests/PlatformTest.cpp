#include "Platform.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "RunProbe.h"

// Takes the place of the system's function for the library too: so many names count as those of a file.
static int takenNames = 0;
extern "C" VYN_API FILE* fopen(const char* path, const char* mode) {
    static const auto systemFopen = reinterpret_cast<decltype(&fopen)>(dlsym(RTLD_NEXT, "fopen"));
    return systemFopen(takenNames > 0 && takenNames-- ? "/dev/null" : path, mode);
}

namespace vyn::test {

TEST(MainArguments, AreKeptAsTheyWereGiven) {
    const char* saved[] = {"bin\\tool", "x", nullptr};
    const char* noName[] = {nullptr};
    VynSaveMainArguments(2, saved);
    testing::internal::CaptureStderr();
    VynSaveMainArguments(0, saved);
    VynSaveMainArguments(1, nullptr);
    VynSaveMainArguments(1, noName);
    const std::string reports = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(reports.begin(), reports.end(), '\n'), 3) << reports;

    int argc = 0;
    const char** argv = nullptr;
    VynGetMainArguments(argc, argv);
    EXPECT_EQ(argv, saved);
    EXPECT_STREQ(TMPVynGetAbsoluteArgv0(), "bin/tool");
}

TEST(TemporaryFilePath, NamesAFileThatDoesNotExist) {
    TemporaryDirectory directory;
    setenv("TMPDIR", directory.Path().c_str(), 1);
    takenNames = 499;
    const SPathName path = VynGetTemporaryFilePath("pre", ".suf");
    EXPECT_EQ(path.find(directory / "pre"), 0u) << path;
    EXPECT_STREQ(path.GetSuffix(), ".suf");
    EXPECT_FALSE(std::filesystem::exists(path.c_str()));
    takenNames = 501;
    EXPECT_EQ(VynGetTemporaryFilePath("pre", ".suf"), "");
    EXPECT_EQ(takenNames, 1) << "names that weren't tried";
    takenNames = 0;
    unsetenv("TMPDIR");
}

TEST(DynamicLibrary, RunsTheHooksThatItHas) {
    SString name("Hook");
    VynGetDynamicLinkLibraryName(name);
    HINSTANCE handle = VynLoadLibrary((VYN_PROBE_DIR "/" + name).c_str());
    ASSERT_NE(handle, nullptr);
    EXPECT_STREQ(getenv("VYN_TEST_HOOK"), "initialized");
    EXPECT_EQ(VynGetProcAddress(handle, "NoSuchSymbol"), nullptr);
    VynFreeLibrary(handle);
    EXPECT_STREQ(getenv("VYN_TEST_HOOK"), "uninitialized");

    VynFreeLibrary(VynLoadLibrary("libm.so.6"));
    VynFreeLibrary(nullptr);
    EXPECT_EQ(VynLoadLibrary("/no/such/library.so"), nullptr);
}

TEST(UserDirectories, FollowTheEnvironment) {
    const std::string overlong = "HOME=/" + std::string(1023, 'h') + " ZROOT=/" + std::string(1023, 'z');
    const char* const rows[][3] = {
        {"HOME=@/h", "user", "@/h/Ostrel/Halcyne/Zem/4.3"},
        {"", "user", ""},
        {"", "shared", "false unset"},
        {"HOME=@/h", "useraddins", "@/h/Ostrel/Halcyne/Zem/4.3/addins"},
        {"HOME=@/h ZEM_USER_ADDINS_DIR=/u", "useraddins", "/u/addins"},
        {"HOME=@/h ZEM_USER_ADDINS_DIR=", "useraddins", "addins"},
        {"HOME=@/h", "teamaddins", "@/h/Ostrel/Halcyne/Shared/TeamAddins"},
        {"HOME=@/h ZEM_TEAM_ADDINS_DIR=", "teamaddins", ""},
        {"ZEM_TEAM_ADDINS_DIR=/t ZEM_COMPANY_ADDINS_DIR=/c", "teamaddins", "/t"},
        {"HOME=@/h", "companyaddins", "@/h/Ostrel/Halcyne/Shared/CompanyAddins"},
        {"ZEM_TEAM_ADDINS_DIR=/t ZEM_COMPANY_ADDINS_DIR=/c", "companyaddins", "/c"},
        {"HOME=@/h", "allusers", "false unset"},
        {"HOME=@/h", "projects", "@/h/My Projects"},
        {"DRAVMOOR_INSTALLATION=x//y", "module", "x//y"},
        {"", "filter wide", "matches\n\u00e4"},
        {"VYN_TEST_NO_LIBRARIES=", "filter wide",
         "The filter 'a*' is invalid.\n" VYN_PCRE_SONAME " can't be opened\nno library"},
        {"HOME= ZROOT=", "user shared projects allusers", "\nfalse unset\nfalse unset\nfalse unset"},
        {overlong.c_str(), "user shared projects allusers", "\nfalse unset\nfalse unset\nfalse unset"},
        {"VYN_TEST_RAISED= HOME=@/h ZROOT=@/h DRAVMOOR_INSTALLATION=x DRAVMOOR_STUDIO_LANGUAGE=de",
         "user allusers module locale", "\nfalse unset\n\nen"},
        // What can't be created is told all the same.
        {"HOME=/dev/null ZROOT=/dev/null", "user shared allusers projects",
         "/dev/null/Ostrel/Halcyne/Zem/4.3\n/dev/null/Ostrel/Halcyne/Shared\n/dev/null/tools/Shared\n"
         "/dev/null/My Projects"},
    };
    for (const auto& [environment, question, answer] : rows) {
        TemporaryDirectory directory;
        const ProbeResult result = RunProbe(directory, environment, std::string("Probe ask ") + question);
        EXPECT_EQ(result.out, At(directory, answer) + "\n") << question << " with " << environment;
        EXPECT_EQ(result.err, "");
        EXPECT_FALSE(std::filesystem::exists(directory / "Ostrel")) << "made in the working directory";
        EXPECT_EQ(result.status, 0);
    }
}

TEST(UserDirectories, AreCreatedExceptTheAddins) {
    TemporaryDirectory directory;
    RunProbe(directory, "HOME=@/h ZROOT=@/z", "Probe ask useraddins teamaddins companyaddins projects");
    EXPECT_TRUE(std::filesystem::exists(directory / "h/Ostrel/Halcyne/Zem/4.3"));
    EXPECT_TRUE(std::filesystem::exists(directory / "h/Ostrel/Halcyne/Shared"));
    EXPECT_TRUE(std::filesystem::exists(directory / "h/My Projects"));
    EXPECT_FALSE(std::filesystem::exists(directory / "h/Ostrel/Halcyne/Zem/4.3/addins"));
    EXPECT_FALSE(std::filesystem::exists(directory / "h/Ostrel/Halcyne/Shared/TeamAddins"));
    EXPECT_FALSE(std::filesystem::exists(directory / "z"));
    RunProbe(directory, "ZROOT=@/z", "Probe ask allusers");
    EXPECT_TRUE(std::filesystem::exists(directory / "z/tools/Shared"));
}

TEST(Texts, OutliveTheGlobalsOfATool) {
    TemporaryDirectory directory;
    const std::string root(VynGetInstallationRoot());
    EXPECT_EQ(RunProbe(directory, "HOME=@/a_name_of_some_length", "Probe texts").out,
              root + "\n" + root + "/etc\n" + root + "/lib\n" + root + "/include\n" + root + "/locale/en\n" +
                  At(directory, "@/a_name_of_some_length/Ostrel/Halcyne/Zem/4.3/addins\n@/a_name_of_some_length\n"));
}

TEST(Installation, IsFoundWhereTheLibraryLies) {
    TemporaryDirectory directory;
    std::filesystem::create_directories(directory / "opt/bin");
    std::filesystem::copy(SString(VynGetInstallationBin()) + "/libvyn10.so", directory / "opt/bin");
    EXPECT_EQ(
        RunProbe(directory, "LD_LIBRARY_PATH=@/opt/bin", "Probe ask bin directory root etc lib include localedir").out,
        At(directory, "@/opt/bin\n@/opt/bin\n@/opt\n@/opt/etc\n@/opt/lib\n@/opt/include\n@/opt/locale/en\n"));
    EXPECT_EQ(RunProbe(directory, "LD_LIBRARY_PATH=opt/bin", "Probe ask root").out, "opt/bin/..\n");
}

}  // namespace vyn::test
