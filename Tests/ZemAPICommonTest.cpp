#include "ZemAPICommon.h"

#include <gtest/gtest.h>

#include <utility>

#include "CountingObject.h"

namespace vyn::test {

TEST(Ptr, HoldsOneReferenceForItsLife) {
    CountingObject object;
    {
        k4::Ptr<IModelElement> element;
        object.QueryInterface(IModelElement::guid_, element.Address());
        ASSERT_TRUE(element);
        EXPECT_STREQ(element->GetName(), "counted");
        EXPECT_EQ(object.m_nReferences, 2);

        object.QueryInterface(IModelElement::guid_, element.Address());
        EXPECT_EQ(object.m_nReferences, 2) << "the reference held before is given up";

        k4::Ptr<IModelElement> moved(std::move(element));
        EXPECT_FALSE(element);
        EXPECT_EQ(object.m_nReferences, 2);
        object.AddRef();
        k4::Ptr<IModelElement> other(&object);
        other = std::move(moved);
        EXPECT_EQ(object.m_nReferences, 2) << "the target's own reference is given up";
    }
    EXPECT_EQ(object.m_nReferences, 1);
}

TEST(APIError, KeepsItsTextUntilTheNextOne) {
    const char* first = nullptr;
    try {
        k4::ThrowAPIError(std::string("no such ") + "element");
    } catch (const char* error) {
        first = k4::GetAPIErrorMessage(error);
        EXPECT_EQ(first, error);
    }
    try {
        k4::ThrowAPIError(std::string("again: ") + first);
    } catch (const char* error) {
        EXPECT_STREQ(k4::GetAPIErrorMessage(error), "again: no such element");
    }
}

}  // namespace vyn::test
