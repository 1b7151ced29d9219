#include "StudioProduct.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "SPathName.h"

namespace vyn::test {

TEST(StudioProduct, DerivesItsKeysFromOneVersion) {
    EXPECT_EQ(StudioProduct::GetFullToolVersion(), "4.3.0.6.24341");
    EXPECT_EQ(StudioProduct::GetRegistryToolCustomPath(), "SOFTWARE\\Dravmoor\\Zem\\4.3\\Custom\\Studio");
    EXPECT_EQ(StudioProduct::GetRegistryLocalePath(), "SOFTWARE\\Dravmoor\\Zem\\4.3\\Locale");
    EXPECT_EQ(StudioProduct::GetCompanyNamePath(), "/Ostrel/Halcyne");
    EXPECT_EQ(StudioProduct::GetZemEditorActiveXCtrlProgID(), "Dravmoor.ZemEditorsActiveXCtrl.4v3");
}

TEST(StudioProduct, MarksTheIdentifiersOfOneTool) {
    const struct {
        const char* variable;  // null for unset
        int id;
        const char* suffix;
    } rows[] = {{nullptr, 1, ""}, {"abc", 0, ""}, {"5", 5, "M"}};
    for (const auto& row : rows) {
        row.variable ? setenv("QZD_TOOLID", row.variable, 1) : unsetenv("QZD_TOOLID");
        EXPECT_EQ(StudioProduct::GetToolID(), row.id);
        EXPECT_EQ(StudioProduct::GetZemStudioProgID(), SString("Dravmoor.ZemDeveloperStudioAPI.4.3") + row.suffix);
        EXPECT_EQ(StudioProduct::GetZemModelProgID(), SString("Dravmoor.ZemDeveloperModelAPI.4.3") + row.suffix);
    }
    unsetenv("QZD_TOOLID");
}

}  // namespace vyn::test
