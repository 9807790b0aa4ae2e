// SPDX-License-Identifier: MIT
#include <MarlCore/platform/Exception.h>

#include <gtest/gtest.h>

#include <string>

namespace platform {
namespace {

TEST(Exception, TellsItsKindAndItsReason) {
    const Exception exception("RangeException", "no such frame");
    EXPECT_EQ(exception.name(), "RangeException");
    EXPECT_EQ(exception.reason(), "no such frame");
    EXPECT_STREQ(exception.what(), "no such frame");
}

TEST(ParameterAssertion, NamesTheConditionAndThePlaceOfTheCall) {
    int line = 0;
    try {
        line = __LINE__ + 1;
        assertParameter(false, "width > 0");
        FAIL() << "nothing was raised";
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.name(), kInternalInconsistencyException);
        EXPECT_TRUE(exception.reason().starts_with("Invalid parameter not satisfying: width > 0"))
            << exception.reason();
        EXPECT_NE(exception.reason().find("ExceptionTests.cpp:" + std::to_string(line)), std::string::npos)
            << exception.reason();
    }
}

TEST(ParameterAssertion, IsSilentWhenTheConditionHolds) {
    EXPECT_NO_THROW(assertParameter(true, "width > 0"));
}

}  // namespace
}  // namespace platform
