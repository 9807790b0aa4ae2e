// SPDX-License-Identifier: MIT
/// \file
/// The tree of folders and files behind a file browser.
#pragma once

#include <MarlCore/Files/browsing/NodeTypes.h>
#include <MarlCore/foundation/CSharedObjectRef.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace marl {

class IFile;
using IFileRef = halyard::CSharedObjectRef<IFile>;

class FileNode;
using FileNodeRef = std::shared_ptr<FileNode>;

/// One folder or file. A folder reads its children when they are first asked for and keeps them until `sync`.
///
/// Ownership: a node owns its children and observes its parent. A child that somebody still holds when its
/// parent goes, or drops it in `sync`, becomes a root with the same full path. A node that a host makes with
/// a parent is not among that parent's children, and the parent must outlive it.
///
/// Paths and names are bytes, in UTF-8 by custom only: show them with care. Symbolic links are the aliases: a
/// link to a folder is a folder node whose children are read from where it leads, so a link into a folder
/// above it nests for as long as somebody opens it, up to the number of links that the system follows in one
/// path. A link that leads nowhere is a node of unknown type.
///
/// A path with a zero byte in it is a parameter error: the system would take it for a shorter one.
///
/// Threads: the nodes of one tree belong to one thread at a time. Static members: [any thread].
class MARLCORE_EXPORT FileNode {
public:
    /// The display name that stands for "the last path component".
    static constexpr char kNoDisplayName[] = "None";

    /// A node that asks nothing of the disk yet. With a parent, only the last component of `fullPath` counts:
    /// the node lies in its parent. `parent` may be null.
    FileNode(const std::string& fullPath, FileNode* parent, const CatalogInfo& fileInfo, NodeType nodeType,
             bool isDirectory);

    /// A node that takes its attributes and type from the disk. `displayName` is what `name` returns; without
    /// one, or with "None", that is the last path component, or "<error: couldn't get volume name>" for a
    /// volume that cannot be read: an item of the folder /Volumes that is not there, or a mounted file system
    /// that no longer answers.
    FileNode(const std::string& fullPath, FileNode* parent, const std::optional<std::string>& displayName);

    FileNode(const FileNode&) = delete;
    FileNode& operator=(const FileNode&) = delete;
    ~FileNode();

    /// Every type is acceptable, but kFiltered is not while file filtering is on. It is off at first.
    static bool isAcceptableType(NodeType nodeType) noexcept;
    static void setFileFiltering(bool on) noexcept;

    /// The children, read from the disk unless they are loaded: all entries except hidden ones (those of
    /// `itemShouldBeHidden` and names that begin with a dot), those of a type that is not acceptable, and
    /// those that the system does not let us look at. They are sorted by `caseInsensitiveCompare`, names that
    /// differ in case only by bytes. The reference is valid until `sync`.
    ///
    /// All three throw `platform::Exception` "FileNode" when the item cannot be opened as a folder or not be
    /// read to its end; nothing is loaded then, and the next call tries again.
    const std::vector<FileNodeRef>& children();
    std::size_t childrenCount() { return children().size(); }

    /// `index` < `childrenCount()`, else a parameter error.
    FileNodeRef childAtIndex(std::size_t index);

    /// Releases the loaded children, so that they are read again on next use.
    void sync();

    /// The path names of the ancestors and of this node, root first, joined and without doubled slashes, "."
    /// and, in an absolute path, ".." components; aliases are not resolved. Built on each call.
    std::string fullPath() const;

    /// What this node adds to its parent's path: one component, or the whole path of a root.
    const std::string& pathName() const noexcept { return m_pathName; }

    /// The name to show; setting it renames nothing on disk.
    const std::string& name() const noexcept { return m_name; }
    void setName(const std::string& name) { m_name = name; }

    /// True for the root of the file system.
    bool isSlash() const { return fullPath() == "/"; }

    /// True for a folder on disk, packages included.
    bool isDirectory() const noexcept { return m_isDirectory; }

    /// True for a folder that a browser opens: no package.
    bool isContainer() const noexcept;

    NodeType nodeType() const noexcept { return m_nodeType; }
    void setNodeType(NodeType nodeType) noexcept;

    /// The audio file that a host opened for this node; null until it sets one, which it keeps through
    /// `sync`.
    const IFileRef& iFile() const noexcept { return m_iFile; }
    void setIFile(const IFileRef& file) noexcept;

    /// Null for a root.
    FileNode* parent() const noexcept { return m_parent; }

    /// The freedesktop name of an icon, chosen on first use after the node type was set.
    std::string icon();

    /// All fields on one line, for a log; addresses are hexadecimal, and the icon's is 0 until it is chosen.
    std::string description() const;

    /// True when the item itself is a symbolic link.
    bool isAlias() const noexcept { return m_info.isAlias; }

    /// Where the path leads: absolute and free of symbolic links, or nothing when it leads nowhere.
    static std::optional<std::string> resolveAlias(const std::string& path);

    /// The full path with aliases resolved, or as it is when it leads nowhere.
    std::string resolveFilePath() const;

    /// Negative, zero or positive as this node's name sorts before, with or behind the other's. Folds the
    /// letters A to Z only, so that the order is the same in every locale.
    int caseInsensitiveCompare(const FileNode& other) const noexcept;

    /// True when the name is listed in the file of hidden names, unless the parent path starts with
    /// "/Volumes".
    static bool itemShouldBeHidden(const std::string& parentPath, const std::string& fileName);
    static bool fileIsListedInHiddenFile(const std::string& fileName);

    /// Sets the file of hidden names, one a line, in place of "/.hidden". It is read on next use, once; a
    /// file that is missing then is an empty list and is not looked for again.
    static void setHiddenFile(const std::string& path);

private:
    struct ChildEntry;

    void loadChildren();
    std::vector<FileNodeRef> readChildren();
    static bool shouldAddChild(ChildEntry& child, const std::string& childName);
    void becomeRoot();

    std::string m_pathName;
    std::string m_name;
    FileNode* m_parent;
    CatalogInfo m_info;
    NodeType m_nodeType;
    bool m_isDirectory;
    IFileRef m_iFile;
    const char* m_icon = nullptr;                        // a constant text
    std::optional<std::vector<FileNodeRef>> m_children;  // nothing: not loaded
};

}  // namespace marl
