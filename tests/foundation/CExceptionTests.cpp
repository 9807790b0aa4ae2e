// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/CException.h>
#include <MarlCore/foundation/CURL.h>
#include <MarlCore/platform/Exception.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace halyard {
namespace {

// With a value to return, `throw CParamException(...).concatMessage(...)` would throw the base class.
static_assert(std::is_void_v<decltype(std::declval<CParamException&>().concatMessage("."))>);

template <typename Exception>
class ThrownException : public testing::Test {};
using ExceptionClasses = testing::Types<CException, CNullPointerException, CParamException>;
TYPED_TEST_SUITE(ThrownException, ExceptionClasses);

TYPED_TEST(ThrownException, KeepsItsClassBehindAReferenceToTheBase) {
    TypeParam original(kParameterError, 7, "reason");
    const CException& base = original;
    try {
        base.Throw();
    } catch (const CException& caught) {
        EXPECT_EQ(typeid(caught), typeid(TypeParam));
        EXPECT_NE(&caught, &base) << "a copy is thrown";
        EXPECT_EQ(caught.getType(), kParameterError);
        EXPECT_EQ(caught.getCode(), 7);
        EXPECT_EQ(caught.getMessage(), "reason");
    }
}

TYPED_TEST(ThrownException, IsBuiltInEachWay) {
    EXPECT_EQ(TypeParam().getMessage(), "");
    EXPECT_EQ(TypeParam(kFileIOError).getType(), kFileIOError);
    const TypeParam withCode(kFileIOError, ENOENT);
    EXPECT_EQ(withCode.getCode(), ENOENT);
    EXPECT_EQ(withCode.getMessage(), "");
    EXPECT_EQ(TypeParam(kFileIOError, ENOENT, "100% of %s").getMessage(), "100% of %s") << "not a format";
    const TypeParam formatted(kParameterError, "bufferSize must be positive (got %ld)", -3L);
    EXPECT_EQ(formatted.getMessage(), "bufferSize must be positive (got -3)");
    EXPECT_EQ(formatted.getCode(), 0);
    EXPECT_STREQ(formatted.what(), formatted.getMessage().c_str());
}

TEST(Exception, AppendsTextOfAnyLength) {
    CException exception(kParameterError);
    exception.concatMessage("sample size is %d bits", 32);
    for (const std::size_t length : {std::size_t{0}, std::size_t{1}, std::size_t{255}, std::size_t{256},
                                     std::size_t{1023}, std::size_t{1024}, std::size_t{100000}}) {
        const std::string expected = exception.getMessage() + "<" + std::string(length, 'x') + ">";
        exception.concatMessage("<%s>", std::string(length, 'x').c_str());
        EXPECT_EQ(exception.getMessage(), expected) << length;
    }
}

TEST(Exception, AppendsItsOwnMessage) {
    CException exception(kParameterError, 0, "again ");
    exception.concatMessage("%s%s", exception.what(), exception.what());
    EXPECT_EQ(exception.getMessage(), "again again again ");
}

TEST(Exception, IsCopiedWhole) {
    CException original(kFileIOError, EIO, "failed to read");
    CException copy = original;
    copy.concatMessage(" data");
    EXPECT_EQ(copy.getType(), kFileIOError);
    EXPECT_EQ(copy.getCode(), EIO);
    EXPECT_EQ(copy.getMessage(), "failed to read data");
    EXPECT_EQ(original.getMessage(), "failed to read");
}

TEST(NullCheck, NamesTheMissingObject) {
    const CURLRef fileURL;
    try {
        throwIfNull(fileURL, "fileURL");
        FAIL() << "nothing was thrown";
    } catch (const CException& exception) {
        EXPECT_EQ(typeid(exception), typeid(CNullPointerException));
        EXPECT_EQ(exception.getType(), kNullPointerError);
        EXPECT_EQ(exception.getMessage(), "Error: fileURL is null!");
    }
    const char* const bytes = "";
    EXPECT_NO_THROW(throwIfNull(bytes, "bytes"));
    EXPECT_NO_THROW(throwIfNull(CSTR("text"), "text"));
}

TEST(ExceptionForHosts, CarriesTheMessage) {
    const auto raised = [](const CException* exception) {
        try {
            convertAndRaise(exception);
        } catch (const platform::Exception& hosts) {
            EXPECT_FALSE(hosts.name().empty());
            return hosts.reason();
        }
    };
    const CParamException exception(kParameterError, 0, "format info is not valid. Cannot return");
    EXPECT_EQ(raised(&exception), "format info is not valid. Cannot return");
    EXPECT_EQ(raised(nullptr), "");
}

}  // namespace
}  // namespace halyard
