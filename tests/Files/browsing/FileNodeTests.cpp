// SPDX-License-Identifier: MIT
#include <MarlCore/Files/browsing/FileNode.h>
#include <MarlCore/platform/Exception.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <sstream>

#include "support/TemporaryFolder.h"

namespace marl {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

/// A folder to make trees in; what the process shares is put back afterwards.
class FileNodes : public testing::Test {
protected:
    ~FileNodes() override {
        FileNode::setFileFiltering(false);
        FileNode::setHiddenFile("/.hidden");
    }

    FileNode node(const std::string& name) const { return {m_folder.path(name), nullptr, std::nullopt}; }
    FileNode root() const { return {m_folder.path(), nullptr, std::nullopt}; }

    support::TemporaryFolder m_folder;
};

Names namesOf(FileNode& node) {
    Names names;
    for (const FileNodeRef& child : node.children()) names.push_back(child->name());
    return names;
}

FileNodeRef childNamed(FileNode& node, const std::string& name) {
    for (const FileNodeRef& child : node.children())
        if (child->name() == name) return child;
    throw std::out_of_range("no child " + name);
}

/// The name and reason of what `children` throws, or nothing.
std::string failureOf(FileNode& node) {
    try {
        node.children();
        return {};
    } catch (const platform::Exception& failure) {
        return failure.name() + ": " + failure.reason();
    }
}

std::string openFailure(int error) {
    return "FileNode: loadChildren got error = " + std::to_string(error) + " (" + std::strerror(error) +
           ") from opendir()";
}

TEST_F(FileNodes, SortsChildrenWithoutRegardToCaseThenByBytes) {
    const Names kSorted = {"_",    "KICK", "KICk", "KIcK", "KIck", "KiCK",    "KiCk",
                           "KicK", "Kick", "kICK", "kICk", "kIcK", "kIck",    "kiCK",
                           "kiCk", "kicK", "kick", "Loop", "{",    "\xC3\xA9"};
    for (std::size_t i = 0; i < kSorted.size(); ++i) m_folder.write(kSorted[i * 7 % kSorted.size()], "");
    FileNode node = root();
    EXPECT_EQ(namesOf(node), kSorted);
    EXPECT_EQ(node.childrenCount(), kSorted.size());
    EXPECT_EQ(node.childAtIndex(19)->name(), "\xC3\xA9");
    EXPECT_THROW(node.childAtIndex(20), platform::Exception);
}

TEST_F(FileNodes, DescribesEachChildByItsAttributes) {
    m_folder.write("Drums/Kick.aif", "");
    m_folder.write("Host.app/code", "");
    m_folder.write("Loop.wav", "");
    ASSERT_EQ(::mkfifo(m_folder.path("Pipe.aif").c_str(), 0600), 0);
    const struct {
        const char* name;
        NodeType nodeType;
        bool isDirectory, isContainer;
        const char* icon;
    } kRows[] = {{"Drums", 1, true, true, "folder"},
                 {"Host.app", -1, true, false, "package-x-generic"},
                 {"Loop.wav", 5, false, false, "audio-x-wav"},
                 {"Pipe.aif", -1, false, false, "text-x-generic"}};
    FileNode parent = root();
    ASSERT_EQ(parent.childrenCount(), std::size(kRows));
    for (const auto& row : kRows) {
        const FileNodeRef child = childNamed(parent, row.name);
        EXPECT_EQ(child->nodeType(), row.nodeType) << row.name;
        EXPECT_EQ(child->isDirectory(), row.isDirectory) << row.name;
        EXPECT_EQ(child->isContainer(), row.isContainer) << row.name;
        EXPECT_EQ(child->icon(), row.icon) << row.name;
        EXPECT_EQ(child->parent(), &parent) << row.name;
        EXPECT_EQ(child->pathName(), row.name);
        EXPECT_EQ(child->fullPath(), m_folder.path(row.name));
        EXPECT_FALSE(child->isAlias()) << row.name;
    }
}

TEST_F(FileNodes, KeepsNamesOfAnyBytes) {
    const Names kNames = {"\n.aif", "\xFF\xFE.wav", std::string(251, 'n') + ".aif", "~"};
    for (const std::string& name : kNames) m_folder.write(name, "");
    FileNode parent = root();
    ASSERT_EQ(parent.childrenCount(), kNames.size());
    for (const std::string& name : kNames)
        EXPECT_EQ(childNamed(parent, name)->fullPath(), m_folder.path() + "/" + name);
}

TEST_F(FileNodes, ReadsTheFolderOnFirstUseAndAgainAfterSync) {
    FileNode parent = root();
    m_folder.write("early.aif", "");
    EXPECT_EQ(namesOf(parent), Names{"early.aif"});
    m_folder.write("late.aif", "");
    EXPECT_EQ(namesOf(parent), Names{"early.aif"});
    parent.sync();
    EXPECT_EQ(namesOf(parent), (Names{"early.aif", "late.aif"}));
}

TEST_F(FileNodes, RefusesHiddenItemsAndDotFiles) {
    for (const char* name : {".dot.aif", "bin", "Bin", "Kick.aif"}) m_folder.write(name, "");
    FileNode::setHiddenFile(m_folder.write(".hidden", "bin\nDrums\n"));
    m_folder.write("Drums/Kick.aif", "");
    FileNode parent = root();
    EXPECT_EQ(namesOf(parent), (Names{"Bin", "Kick.aif"}));
    EXPECT_TRUE(FileNode::fileIsListedInHiddenFile("bin"));
    EXPECT_FALSE(FileNode::fileIsListedInHiddenFile("Bin"));
}

TEST_F(FileNodes, HidesNothingUnderVolumes) {
    FileNode::setHiddenFile(m_folder.write("hidden", "bin\n"));
    const struct {
        const char* parentPath;
        const char* name;
        bool isHidden;
    } kRows[] = {{"/", "bin", true},           {"/", "etc", false},
                 {"/usr", "bin", true},        {"/Volumes", "bin", false},
                 {"/Volumes/A", "bin", false}, {"/home/Volumes", "bin", true},
                 {"/volumes", "bin", true},    {"", "bin", true}};
    for (const auto& row : kRows)
        EXPECT_EQ(FileNode::itemShouldBeHidden(row.parentPath, row.name), row.isHidden) << row.parentPath;
}

TEST_F(FileNodes, RefusesTypeThreeOnlyWhileFiltering) {
    for (bool isFiltering : {false, true, false}) {
        FileNode::setFileFiltering(isFiltering);
        for (NodeType type = -2; type < 10; ++type)
            EXPECT_EQ(FileNode::isAcceptableType(type), type != 3 || !isFiltering) << type;
    }
}

TEST_F(FileNodes, RaisesWhatTheSystemSaysAndTriesAgain) {
    m_folder.write("Kick.aif", "");
    fs::create_symlink("Circle", m_folder.path("Circle"));
    FileNode file = node("Kick.aif"), circle = node("Circle"), folder = node("Later");
    EXPECT_EQ(failureOf(file), openFailure(ENOTDIR));
    EXPECT_EQ(failureOf(circle), openFailure(ELOOP));
    EXPECT_EQ(failureOf(folder), openFailure(ENOENT));
    EXPECT_THROW(folder.childAtIndex(0), platform::Exception);
    m_folder.write("Later/Kick.aif", "");
    EXPECT_EQ(namesOf(folder), Names{"Kick.aif"});
    fs::remove_all(m_folder.path("Later"));
    EXPECT_EQ(folder.childrenCount(), 1u);
    folder.sync();
    EXPECT_EQ(failureOf(folder), openFailure(ENOENT));
}

TEST_F(FileNodes, RefusesAPathWithAZeroByte) {
    const std::string path("/tmp\0x", 6);
    EXPECT_THROW(FileNode(path, nullptr, "x"), platform::Exception);
    EXPECT_THROW(FileNode(path, nullptr, CatalogInfo(), 1, true), platform::Exception);
    EXPECT_EQ(FileNode::resolveAlias(path), std::nullopt);
}

TEST_F(FileNodes, ShowsLinksAsAliases) {
    m_folder.write("real/Kick.aif", "");
    fs::create_directory(m_folder.path("tree"));
    const struct {
        const char* target;
        const char* name;
        NodeType nodeType;
        bool isContainer;
        const char* leadsTo;  // in the folder; null: nowhere
    } kRows[] = {{"../real", "tree/folder", 1, true, "real"},
                 {"../real/Kick.aif", "tree/file.aif", 4, false, "real/Kick.aif"},
                 {"../gone", "tree/dead.aif", -1, false, nullptr},
                 {"circle", "tree/circle", -1, false, nullptr}};
    for (const auto& row : kRows) fs::create_symlink(row.target, m_folder.path(row.name));
    FileNode tree = node("tree");
    EXPECT_EQ(tree.childrenCount(), std::size(kRows));
    for (const auto& row : kRows) {
        const FileNodeRef child = childNamed(tree, fs::path(row.name).filename());
        EXPECT_TRUE(child->isAlias()) << row.name;
        EXPECT_EQ(child->nodeType(), row.nodeType) << row.name;
        EXPECT_EQ(child->isContainer(), row.isContainer) << row.name;
        const std::string path = m_folder.path(row.name);
        EXPECT_EQ(child->fullPath(), path);
        const std::string target = row.leadsTo ? fs::canonical(m_folder.path(row.leadsTo)).string() : path;
        EXPECT_EQ(child->resolveFilePath(), target);
        EXPECT_EQ(FileNode::resolveAlias(path).has_value(), row.leadsTo != nullptr) << row.name;
    }
    const FileNodeRef alias = childNamed(tree, "folder");
    EXPECT_EQ(alias->childAtIndex(0)->fullPath(), m_folder.path("tree/folder/Kick.aif"));
}

TEST_F(FileNodes, OpensALinkIntoItsOwnFolderAsOftenAsAsked) {
    m_folder.write("Kick.aif", "");
    fs::create_symlink(".", m_folder.path("self"));
    FileNode top = root();
    FileNodeRef inner = childNamed(top, "self");
    std::string path = m_folder.path("self");
    for (int level = 0; level < 30; ++level) {
        ASSERT_EQ(namesOf(*inner), (Names{"Kick.aif", "self"})) << level;
        inner = inner->childAtIndex(1);
        path += "/self";
    }
    EXPECT_EQ(inner->fullPath(), path);
    EXPECT_EQ(inner->resolveFilePath(), fs::canonical(m_folder.path()).string());

    int more = 0;
    for (; more < 1000 && failureOf(*inner).empty(); ++more) inner = inner->childAtIndex(1);
    EXPECT_EQ(failureOf(*inner), openFailure(ELOOP)) << "after " << more << " levels more";
}

TEST_F(FileNodes, LetsAChildOutliveItsParent) {
    const std::string path = m_folder.write("Drums/Old/Kick.aif", "");
    std::optional<FileNode> top(std::in_place, m_folder.path(), nullptr, std::nullopt);
    const FileNodeRef drums = top->childAtIndex(0);
    const FileNodeRef kick = drums->childAtIndex(0)->childAtIndex(0);
    drums->sync();
    EXPECT_EQ(kick->parent(), nullptr);
    EXPECT_EQ(kick->fullPath(), path);
    EXPECT_EQ(kick->name(), "Kick.aif");
    top.reset();
    EXPECT_EQ(drums->parent(), nullptr);
    EXPECT_EQ(drums->fullPath(), m_folder.path("Drums"));
    EXPECT_EQ(namesOf(*drums), Names{"Old"});
}

TEST_F(FileNodes, JoinsAndStandardizesItsPath) {
    const CatalogInfo info;
    FileNode slash("//", nullptr, info, 1, true);
    FileNode loops("/Loops/", &slash, info, 1, true);
    FileNode kick("/elsewhere/Kick.aif", &loops, info, 4, false);
    EXPECT_TRUE(slash.isSlash());
    EXPECT_EQ(slash.name(), "/");
    EXPECT_FALSE(loops.isSlash());
    EXPECT_EQ(kick.pathName(), "Kick.aif");
    EXPECT_EQ(kick.fullPath(), "/Loops/Kick.aif");
    EXPECT_EQ(FileNode("./Loops//x/", nullptr, info, 1, true).fullPath(), "Loops/x");
}

TEST_F(FileNodes, ShowsADisplayNameOrTheLastComponent) {
    const std::string kNoVolume = "/Volumes/no volume " + fs::path(m_folder.path()).filename().string();
    const struct {
        std::string path;
        std::optional<std::string> displayName;
        std::string name;
    } kRows[] = {{"/Loops/Kick.aif", "Kick", "Kick"},
                 {"/Loops/Kick.aif", "None", "Kick.aif"},
                 {"/Loops/Kick.aif", std::nullopt, "Kick.aif"},
                 {"/Loops/Kick.aif", "", ""},
                 {"/", "None", "/"},
                 {kNoVolume, "None", "<error: couldn't get volume name>"},
                 {kNoVolume + "/", "None", "<error: couldn't get volume name>"},
                 {kNoVolume, "Archive", "Archive"},
                 {kNoVolume + "/Kick.aif", "None", "Kick.aif"}};
    for (const auto& row : kRows) {
        FileNode node(row.path, nullptr, row.displayName);
        EXPECT_EQ(node.name(), row.name) << row.path;
        node.setName("Other");
        EXPECT_EQ(node.name(), "Other");
        EXPECT_EQ(node.pathName(), row.path);
    }
}

TEST_F(FileNodes, PicksAnIconForItsType) {
    const struct {
        NodeType nodeType;
        std::uint32_t typeCode;
        const char* icon;
    } kRows[] = {{1, 0, "folder"},          {2, typeCodeFrom("hdsk"), "drive-harddisk"},
                 {4, 0, "audio-x-aiff"},    {2, typeCodeFrom("trsh"), "user-trash"},
                 {5, 0, "audio-x-wav"},     {2, typeCodeFrom("fadr"), "folder"},
                 {6, 0, "video-x-generic"}, {-1, 0, "text-x-generic"}};
    for (const auto& row : kRows) {
        CatalogInfo info;
        info.typeCode = row.typeCode;
        FileNode node("/x", nullptr, info, row.nodeType, false);
        EXPECT_EQ(node.icon(), row.icon);
    }
    FileNode changing("/", nullptr, std::nullopt);
    EXPECT_EQ(changing.icon(), "drive-harddisk");
    changing.setNodeType(NodeTypesHelper::kMovie);
    EXPECT_EQ(changing.icon(), "video-x-generic");
}

TEST_F(FileNodes, DescribesItselfInOneLine) {
    FileNode folder("/Loops", nullptr, CatalogInfo(), 1, true);
    FileNode kick("Kick.aif", &folder, CatalogInfo(), -1, false);
    const auto fields = [](const FileNode& node, const char* start) {
        std::ostringstream text;
        text << start << std::hex << reinterpret_cast<std::uintptr_t>(node.parent())
             << ", self = " << reinterpret_cast<std::uintptr_t>(&node);
        return text.str();
    };
    EXPECT_EQ(folder.description(), fields(folder, "name = Loops, full path = /Loops, parent = ") +
                                        ", isDirectory = 1, nodeType = 1, icon = 0");
    EXPECT_EQ(kick.description(), fields(kick, "name = Kick.aif, full path = /Loops/Kick.aif, parent = ") +
                                      ", isDirectory = 0, nodeType = -1, icon = 0");
    kick.icon();
    EXPECT_FALSE(kick.description().ends_with("icon = 0"));
}

}  // namespace
}  // namespace marl
