// SPDX-License-Identifier: MIT
#include <MarlCore/foundation/CURL.h>

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

using halyard::asString;
using halyard::CException;
using halyard::CNullPointerException;
using halyard::CSTR;
using halyard::CStringRef;

namespace {

constexpr auto kPOSIX = CURL::kPOSIXPathStyle;

std::string textIn(const halyard::CDataValueRef& value) {
    const CStringRef text = asString(value);
    return text ? text->getStringRef() : "(null)";
}

TEST(CURL, IsMadeFromAPath) {
    const CURLRef file(new CURL(CSTR("/loops/100% Kick.aif"), kPOSIX, false));
    EXPECT_EQ(textIn(file->getFileSystemPath(kPOSIX)), "/loops/100% Kick.aif");
    EXPECT_EQ(textIn(file->getString()), "file:///loops/100%25%20Kick.aif");
    EXPECT_EQ(textIn(file->getUnescapedString()), "file:///loops/100% Kick.aif");
    EXPECT_EQ(file->getPathExtension()->getStringRef(), "aif");

    const CURL folder(CSTR("/loops"), kPOSIX, true);
    EXPECT_EQ(textIn(folder.getString()), "file:///loops/");
    EXPECT_EQ(textIn(folder.getFileSystemPath(kPOSIX)), "/loops");
    EXPECT_EQ(folder.getPathExtension()->getLength(), 0);
}

TEST(CURL, IsMadeFromTextWithAndWithoutEscapes) {
    const struct {
        const char* text;
        bool isEscaped;
        const char* path;
    } cases[] = {
        {"file:///a%20b", true, "/a b"},
        {"file:///a%20b", false, "/a%20b"},
        {"file:///a b", false, "/a b"},
        {"file:///What?#1.aif", false, "/What?#1.aif"},
        {"/a%20b", true, "/a b"},
        {"/a%20b", false, "/a%20b"},
        {"file:///\u00E9", false, "/\u00E9"},
        {"http://host/a", true, "(null)"},
    };
    for (const auto& [text, isEscaped, path] : cases)
        EXPECT_EQ(textIn(CURL(CSTR(text), isEscaped).getFileSystemPath(kPOSIX)), path) << text << isEscaped;
    EXPECT_EQ(CURL(CSTR("http://host/a"), true).getFileSystemPath(kPOSIX), nullptr);
}

TEST(CURL, IsEqualWhenItNamesTheSame) {
    const CURL a(CSTR("/a b"), kPOSIX, false);
    EXPECT_TRUE(a == CURL(CSTR("file://localhost/a%20b"), true));
    EXPECT_TRUE(a == CURL(platform::URL::fromPath("/a b", false)));
    EXPECT_FALSE(a == CURL(CSTR("/a c"), kPOSIX, false));
}

TEST(CURL, RefusesAMissingText) {
    EXPECT_THROW(CURL(CStringRef(), true), CNullPointerException);
    EXPECT_THROW(CURL(CStringRef(), false), CNullPointerException);
    EXPECT_THROW(CURL(CStringRef(), kPOSIX, false), CNullPointerException);
}

/// Brings the test back to the folder that it started in.
class ReturnToCurrentFolder {
public:
    ~ReturnToCurrentFolder() { std::filesystem::current_path(m_start); }

private:
    const std::filesystem::path m_start = std::filesystem::current_path();
};

TEST(CURL, ReportsACurrentFolderThatIsGone) {
    const ReturnToCurrentFolder start;
    {
        const support::TemporaryFolder folder;
        std::filesystem::current_path(folder.path());
    }
    EXPECT_NO_THROW(CURL(CSTR("/loops"), kPOSIX, true));
    const auto expectFileError = [](auto makeURL) {
        try {
            makeURL();
            FAIL() << "nothing was thrown";
        } catch (const CException& exception) {
            EXPECT_EQ(exception.getType(), halyard::kFileIOError);
            EXPECT_EQ(exception.getCode(), ENOENT);
        }
    };
    expectFileError([] { return CURL(CSTR("loops"), kPOSIX, true); });
    expectFileError([] { return CURL(CSTR("loops"), true); });
}

}  // namespace
