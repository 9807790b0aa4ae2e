// SPDX-License-Identifier: MIT
#include <MarlCore/Files/browsing/NodeTypes.h>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include "support/TemporaryFolder.h"

namespace marl {
namespace {

using support::TemporaryFolder;
using Kind = CatalogInfo::Kind;

TEST(NodeTypes, ClassifiesFilesByTheirExtension) {
    const struct {
        const char* name;
        NodeType nodeType;
    } kRows[] = {{"Kick.aif", 4},      {"Kick.aiff", 4},      {"Kick.AIF", 4},
                 {"Kick.AiFf", 4},     {"Kick.wav", 5},       {"Kick.WAVE", 5},
                 {"Kick.mov", 6},      {"Kick.m2v", 6},       {"Kick", -1},
                 {"aif", -1},          {".aif", -1},          {"..aif", 4},
                 {"Kick.aif.", -1},    {"Kick.aifc", -1},     {"Kick.ai", -1},
                 {"Kick.aif ", -1},    {"Kick.aif~", -1},     {"Kick.wav.aif", 4},
                 {"Kick.aif.txt", -1}, {"K\xFFick\n.aif", 4}, {"Kick.aif\xC4\xB0", -1}};
    const TemporaryFolder folder;
    for (const auto& row : kRows) {
        const std::string absent = folder.path(row.name);
        EXPECT_EQ(NodeTypesHelper::nodeTypeFromPath(absent), row.nodeType) << "absent " << row.name;
        const std::string present = folder.write(row.name, "");
        EXPECT_EQ(NodeTypesHelper::nodeTypeFromPath(present), row.nodeType) << row.name;
        EXPECT_EQ(NodeTypesGetNodeType(present.c_str()), row.nodeType) << row.name;
    }
}

TEST(NodeTypes, TakesADotInTheFolderForNoExtension) {
    EXPECT_EQ(NodeTypesHelper::nodeTypeFromPath("/no such folder.aif/Kick"), -1);
    EXPECT_EQ(NodeTypesHelper::nodeTypeFromPath(""), -1);
    EXPECT_EQ(NodeTypesGetNodeType(nullptr), -1);
}

TEST(NodeTypes, SeesAFolderWhateverItsNameUnlessItIsAPackage) {
    const struct {
        const char* name;
        NodeType nodeType;
    } kRows[] = {{"Drums", 1},      {"Drums.aif", 1}, {"Drums.wav", 1}, {"Synth.vst3", -1},
                 {"Synth.LV2", -1}, {"Host.app", -1}, {"app", 1}};
    const TemporaryFolder folder;
    for (const auto& row : kRows) {
        ASSERT_TRUE(std::filesystem::create_directory(folder.path(row.name)));
        EXPECT_EQ(NodeTypesHelper::nodeTypeFromPath(folder.path(row.name)), row.nodeType) << row.name;
    }
    EXPECT_EQ(NodeTypesHelper::nodeTypeFromPath("/"), 1);
}

TEST(NodeTypes, LetsAKnownExtensionCountBeforeTheTypeCode) {
    const struct {
        const char* typeCode;
        Kind kind;
        const char* name;
        NodeType nodeType;
    } kRows[] = {{"AIFF", Kind::kFile, "Kick", 4},          {"WAVE", Kind::kFile, "Kick", 5},
                 {"MooV", Kind::kFile, "Kick", 6},          {"AIFF", Kind::kFile, "Kick.wav", 5},
                 {"WAVE", Kind::kFile, "Kick.aif", 4},      {"TEXT", Kind::kFile, "Kick.wav", 5},
                 {"aiff", Kind::kFile, "Kick", -1},         {"fadr", Kind::kFile, "Drop Box.txt", 2},
                 {"fadr", Kind::kFile, "Drop Box.aif", 4},  {"trsh", Kind::kFolder, "Trash", 2},
                 {"hdsk", Kind::kFolder, "Disk.app", 2},    {"AIFF", Kind::kFolder, "Drums", 1},
                 {"AIFF", Kind::kFolder, "Synth.vst3", -1}, {"AIFF", Kind::kOther, "Kick.aif", -1},
                 {"trsh", Kind::kOther, "Trash", -1}};
    for (const auto& row : kRows) {
        CatalogInfo info;
        info.kind = row.kind;
        for (int i = 0; i < 4; ++i)
            info.typeCode = info.typeCode << 8 | static_cast<unsigned char>(row.typeCode[i]);
        EXPECT_EQ(NodeTypesHelper::nodeTypeFromCatalogInfo(info, row.name), row.nodeType)
            << row.typeCode << ' ' << row.name;
    }
}

TEST(NodeTypes, KnowsEveryCodeOfASpecialFolder) {
    const std::string kCodes =
        "faexfasyfpkafdrpflpysrvrtrshhdskfapffashfastfapnfamndtpafapacddraddpadrpacdp"
        "faamfadrfaetfactdrop";
    for (std::size_t i = 0; i < kCodes.size(); i += 4) {
        const char code[5] = {kCodes[i], kCodes[i + 1], kCodes[i + 2], kCodes[i + 3], '\0'};
        CatalogInfo info;
        info.typeCode = typeCodeFrom(code);
        for (Kind kind : {Kind::kFile, Kind::kFolder}) {
            info.kind = kind;
            EXPECT_EQ(NodeTypesHelper::nodeTypeFromCatalogInfo(info, "x"), 2) << code;
        }
    }
}

/// False where the file system, or this user, may not store attributes.
bool setAttribute(const std::string& path, const std::string& name, const std::string& value) {
    return ::setxattr(path.c_str(), name.c_str(), value.data(), value.size(), 0) == 0;
}

TEST(NodeTypes, ReadsTheTypeCodeFromExtendedAttributes) {
    const std::string kRestOfFinderInfo(28, '\x01');
    const struct {
        const char* name;
        std::string value;
        NodeType nodeType;
    } kRows[] = {{"user.com.apple.FinderInfo", "AIFF" + kRestOfFinderInfo, 4},
                 {"user.com.apple.FinderInfo", "WAVE", 5},
                 {"user.hfs.type", "MooV", 6},
                 {"user.hfs.type", "srvr", 2},
                 {"user.com.apple.FinderInfo", std::string(32, '\0'), -1},
                 {"user.com.apple.FinderInfo", "AIF", -1},
                 {"user.com.apple.FinderInfo", "", -1},
                 {"user.hfs.types", "AIFF", -1},
                 {"user.hfs", "AIFF", -1}};
    const TemporaryFolder folder;
    for (const auto& row : kRows) {
        const std::string path = folder.write("Kick", "");
        const bool isStored = setAttribute(path, row.name, row.value);
        EXPECT_EQ(NodeTypesHelper::nodeTypeFromPath(path), isStored ? row.nodeType : -1)
            << row.name << ' ' << row.value;
        std::filesystem::remove(path);
    }
}

TEST(NodeTypes, FindsTheTypeCodeAmongMoreAttributesThanItListsAtOnce) {
    const TemporaryFolder folder;
    const std::string path = folder.write("Kick", "");
    for (char c = 'a'; c < 'k'; ++c) setAttribute(path, "user." + std::string(200, c), "");
    const bool isStored = setAttribute(path, "user.hfs.type", "AIFF");
    EXPECT_EQ(NodeTypesHelper::nodeTypeFromPath(path), isStored ? 4 : -1);
}

TEST(NodeTypes, NeverOpensPipesSocketsAndDevices) {
    const TemporaryFolder folder;
    const std::string pipe = folder.path("Pipe.aif");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(NodeTypesHelper::nodeTypeFromPath(pipe), -1);

    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = folder.path("Socket.wav");
    ASSERT_LT(path.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(NodeTypesHelper::nodeTypeFromPath(path), -1);
    ::close(socket);

    std::filesystem::create_symlink("/dev/null", folder.path("Device.aif"));
    EXPECT_EQ(NodeTypesHelper::nodeTypeFromPath(folder.path("Device.aif")), -1);
}

TEST(NodeTypes, FollowsLinksAndTellsThatTheyAreLinks) {
    const TemporaryFolder folder;
    folder.write("Kick.aif", "");
    const struct {
        const char* target;
        const char* name;
        Kind kind;
        NodeType nodeType;
    } kRows[] = {{"Kick.aif", "Link.wav", Kind::kFile, 5},
                 {"Link.wav", "Link to link", Kind::kFile, -1},
                 {".", "Folder.aif", Kind::kFolder, 1},
                 {"Gone.aif", "Dead.aif", Kind::kMissing, -1},
                 {"Circle.aif", "Circle.aif", Kind::kMissing, -1}};
    for (const auto& row : kRows) {
        const std::string path = folder.path(row.name);
        std::filesystem::create_symlink(row.target, path);
        const CatalogInfo info = NodeTypesHelper::catalogInfo(path);
        EXPECT_TRUE(info.isAlias) << row.name;
        EXPECT_EQ(info.kind, row.kind) << row.name;
        EXPECT_EQ(NodeTypesHelper::nodeTypeFromPath(path), row.nodeType) << row.name;
    }
    EXPECT_FALSE(NodeTypesHelper::catalogInfo(folder.path("Kick.aif")).isAlias);
}

TEST(NodeTypes, DoesNotMistakeAPathWithAZeroByteForAShorterOne) {
    EXPECT_EQ(NodeTypesHelper::catalogInfo(std::string("/\0Kick", 6)).kind, Kind::kMissing);
}

}  // namespace
}  // namespace marl
