// SPDX-License-Identifier: MIT
#include <MarlCore/Files/browsing/FileNode.h>

#include <MarlCore/Files/IFile.h>
#include <MarlCore/Files/browsing/HiddenFileList.h>
#include <MarlCore/Files/browsing/PathNames.h>
#include <MarlCore/platform/Exception.h>

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <system_error>
#include <utility>

namespace marl {
namespace {

std::atomic<bool> fileFiltering{false};

/// The list of hidden names that the process uses; a reader keeps the one it got while another is set.
class SharedHiddenFileList {
public:
    void replace(const std::string& path) {
        auto list = std::make_shared<HiddenFileList>(path);
        const std::lock_guard lock(m_lock);
        m_list = std::move(list);
    }
    std::shared_ptr<HiddenFileList> get() {
        const std::lock_guard lock(m_lock);
        return m_list;
    }

private:
    std::mutex m_lock;  // guards m_list; never held while a file is read
    std::shared_ptr<HiddenFileList> m_list = std::make_shared<HiddenFileList>("/.hidden");
};

SharedHiddenFileList& hiddenFileList() {
    static SharedHiddenFileList list;
    return list;
}

struct DirectoryCloser {
    void operator()(DIR* directory) const noexcept { ::closedir(directory); }
};
using Directory = std::unique_ptr<DIR, DirectoryCloser>;

[[noreturn]] void raiseLoadError(int error, const char* call) {
    throw platform::Exception("FileNode", "loadChildren got error = " + std::to_string(error) + " (" +
                                              std::generic_category().message(error) + ") from " + call +
                                              "()");
}

Directory openDirectory(const std::string& path) {
    Directory directory(::opendir(path.c_str()));
    if (!directory) raiseLoadError(errno, "opendir");
    return directory;
}

/// The next entry's name, or null at the end.
const char* nextName(const Directory& directory) {
    errno = 0;
    const dirent* entry = ::readdir(directory.get());
    if (!entry && errno != 0) raiseLoadError(errno, "readdir");
    return entry ? entry->d_name : nullptr;
}

bool sortsBefore(const FileNodeRef& a, const FileNodeRef& b) noexcept {
    const int order = a->caseInsensitiveCompare(*b);
    return order != 0 ? order < 0 : a->name() < b->name();
}

/// True when the volume at `path` is gone: taken out of /Volumes, or mounted without anybody behind it.
bool isUnreadableVolume(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) return false;
    const int error = errno;
    return std::string_view(path).substr(0, path.rfind('/')) == "/Volumes" || error == ENOTCONN ||
           error == ESTALE || error == EIO || error == ENODEV || error == ENXIO;
}

std::string nameOfItem(const std::string& path) {
    if (isUnreadableVolume(standardizedPath(path))) return "<error: couldn't get volume name>";
    return std::string(lastPathComponent(path));
}

struct FolderIcon {
    std::uint32_t typeCode;
    const char* icon;
};

constexpr FolderIcon kFolderIcons[] = {{typeCodeFrom("hdsk"), "drive-harddisk"},
                                       {typeCodeFrom("flpy"), "media-floppy"},
                                       {typeCodeFrom("cddr"), "media-optical"},
                                       {typeCodeFrom("srvr"), "folder-remote"},
                                       {typeCodeFrom("trsh"), "user-trash"}};

const char* iconOfFolder(std::uint32_t typeCode, bool isSlash) noexcept {
    if (isSlash) return "drive-harddisk";
    for (const FolderIcon& candidate : kFolderIcons)
        if (candidate.typeCode == typeCode) return candidate.icon;
    return "folder";
}

const char* iconOfFile(NodeType nodeType, bool isPackage) noexcept {
    switch (nodeType) {
        case NodeTypesHelper::kAIFF:
            return "audio-x-aiff";
        case NodeTypesHelper::kWAV:
            return "audio-x-wav";
        case NodeTypesHelper::kMovie:
            return "video-x-generic";
        default:
            return isPackage ? "package-x-generic" : "text-x-generic";
    }
}

bool isFolderType(NodeType nodeType) noexcept {
    return nodeType == NodeTypesHelper::kFolder || nodeType == NodeTypesHelper::kSpecialFolder;
}

std::string hexadecimal(const void* address) {
    char digits[2 * sizeof address + 1];
    std::snprintf(digits, sizeof digits, "%" PRIxPTR, reinterpret_cast<std::uintptr_t>(address));
    return digits;
}

}  // namespace

/// An entry of a folder as it is examined.
struct FileNode::ChildEntry {
    std::string parentPath;  // free of aliases
    std::string path;
    CatalogInfo info;
    NodeType nodeType = NodeTypesHelper::kUnknown;
};

FileNode::FileNode(const std::string& fullPath, FileNode* parent, const CatalogInfo& fileInfo,
                   NodeType nodeType, bool isDirectory)
    : m_pathName(parent ? std::string(lastPathComponent(fullPath)) : fullPath),
      m_name(lastPathComponent(fullPath)),
      m_parent(parent),
      m_info(fileInfo),
      m_nodeType(nodeType),
      m_isDirectory(isDirectory) {
    platform::assertParameter(fullPath.find('\0') == std::string::npos, "fullPath has no zero byte");
}

FileNode::FileNode(const std::string& fullPath, FileNode* parent,
                   const std::optional<std::string>& displayName)
    : FileNode(fullPath, parent, NodeTypesHelper::catalogInfo(fullPath), NodeTypesHelper::kUnknown, false) {
    m_nodeType = NodeTypesHelper::nodeTypeFromCatalogInfo(m_info, fullPath);
    m_isDirectory = m_info.isDirectory();
    const bool isNamed = displayName && *displayName != kNoDisplayName;
    m_name = isNamed ? *displayName : nameOfItem(fullPath);
}

FileNode::~FileNode() {
    sync();
}

bool FileNode::isAcceptableType(NodeType nodeType) noexcept {
    return nodeType != NodeTypesHelper::kFiltered || !fileFiltering.load(std::memory_order_relaxed);
}

void FileNode::setFileFiltering(bool on) noexcept {
    fileFiltering.store(on, std::memory_order_relaxed);
}

const std::vector<FileNodeRef>& FileNode::children() {
    if (!m_children) loadChildren();
    return *m_children;
}

FileNodeRef FileNode::childAtIndex(std::size_t index) {
    platform::assertParameter(index < childrenCount(), "index < childrenCount");
    return (*m_children)[index];
}

void FileNode::loadChildren() {
    std::vector<FileNodeRef> children = readChildren();
    std::sort(children.begin(), children.end(), sortsBefore);
    m_children = std::move(children);
}

std::vector<FileNodeRef> FileNode::readChildren() {
    ChildEntry child;
    child.parentPath = resolveFilePath();
    const Directory directory = openDirectory(child.parentPath);
    std::vector<FileNodeRef> children;
    while (const char* name = nextName(directory)) {
        if (!shouldAddChild(child, name)) continue;
        children.push_back(std::make_shared<FileNode>(child.path, this, child.info, child.nodeType,
                                                      child.info.isDirectory()));
    }
    return children;
}

bool FileNode::shouldAddChild(ChildEntry& child, const std::string& childName) {
    if (childName.starts_with('.') || itemShouldBeHidden(child.parentPath, childName)) return false;
    child.path = appendingPathComponent(child.parentPath, childName);
    child.info = NodeTypesHelper::catalogInfo(child.path);
    if (child.info.kind == CatalogInfo::Kind::kMissing && !child.info.isAlias) return false;
    child.nodeType = NodeTypesHelper::nodeTypeFromCatalogInfo(child.info, childName);
    return isAcceptableType(child.nodeType);
}

void FileNode::sync() {
    if (!m_children) return;
    for (const FileNodeRef& child : *m_children)
        if (child.use_count() > 1) child->becomeRoot();
    m_children.reset();
}

void FileNode::becomeRoot() {
    m_pathName = fullPath();
    m_parent = nullptr;
}

std::string FileNode::fullPath() const {
    std::vector<const FileNode*> nodes;
    for (const FileNode* node = this; node; node = node->m_parent) nodes.push_back(node);
    std::string path;
    for (auto node = nodes.rbegin(); node != nodes.rend(); ++node)
        path = appendingPathComponent(std::move(path), (*node)->m_pathName);
    return standardizedPath(path);
}

bool FileNode::isContainer() const noexcept {
    return m_isDirectory && isFolderType(m_nodeType);
}

void FileNode::setNodeType(NodeType nodeType) noexcept {
    m_nodeType = nodeType;
    m_icon = nullptr;
}

void FileNode::setIFile(const IFileRef& file) noexcept {
    m_iFile = file;
}

std::string FileNode::icon() {
    if (!m_icon)
        m_icon = isFolderType(m_nodeType) ? iconOfFolder(m_info.typeCode, isSlash())
                                          : iconOfFile(m_nodeType, m_isDirectory);
    return m_icon;
}

std::string FileNode::description() const {
    return "name = " + m_name + ", full path = " + fullPath() + ", parent = " + hexadecimal(m_parent) +
           ", self = " + hexadecimal(this) + ", isDirectory = " + std::to_string(m_isDirectory) +
           ", nodeType = " + std::to_string(m_nodeType) + ", icon = " + hexadecimal(m_icon);
}

std::optional<std::string> FileNode::resolveAlias(const std::string& path) {
    return pathWithoutAliases(path);
}

std::string FileNode::resolveFilePath() const {
    std::string path = fullPath();
    return pathWithoutAliases(path).value_or(path);
}

int FileNode::caseInsensitiveCompare(const FileNode& other) const noexcept {
    return compareIgnoringCase(m_name, other.m_name);
}

bool FileNode::itemShouldBeHidden(const std::string& parentPath, const std::string& fileName) {
    return !parentPath.starts_with("/Volumes") && fileIsListedInHiddenFile(fileName);
}

bool FileNode::fileIsListedInHiddenFile(const std::string& fileName) {
    return hiddenFileList().get()->contains(fileName);
}

void FileNode::setHiddenFile(const std::string& path) {
    hiddenFileList().replace(path);
}

}  // namespace marl
