// SPDX-License-Identifier: MIT
#include "Browse.h"

#include "Output.h"
#include "TerminalText.h"
#include "TextTable.h"

#include <MarlCore/Files/browsing/FileNode.h>
#include <MarlCore/platform/Exception.h>

#include <cstdint>
#include <ostream>
#include <string_view>

namespace marl::tool {
namespace {

std::string_view nameOfType(NodeType nodeType) {
    switch (nodeType) {
        case NodeTypesHelper::kFolder:
            return "folder";
        case NodeTypesHelper::kSpecialFolder:
            return "special folder";
        case NodeTypesHelper::kAIFF:
            return "AIFF";
        case NodeTypesHelper::kWAV:
            return "WAV";
        case NodeTypesHelper::kMovie:
            return "movie";
        default:
            return "other";
    }
}

class TreePrinter {
public:
    TreePrinter(const BrowseOptions& options, std::ostream& out, std::ostream& err)
        : m_options(options), m_out(out), m_err(err) {}

    int print() {
        FileNode root(m_options.folder, nullptr, std::nullopt);
        if (!load(root)) return kFailed;
        printLine(m_options.folder, root, 0);
        printChildren(root, 1);
        m_out << counted(m_folders, "folder") << ", " << counted(m_loopFiles, "loop file") << '\n';
        return flushed(m_out, m_err) ? m_status : kFailed;
    }

private:
    bool load(FileNode& folder) {
        try {
            folder.children();
            return true;
        } catch (const platform::Exception& failure) {
            reportError(m_err, folder.fullPath(), messageOfFolder(folder.fullPath(), failure));
            m_status = kFailed;
            return false;
        }
    }

    /// `level` is that of the children.
    void printChildren(FileNode& folder, int level) {
        for (const FileNodeRef& child : folder.children()) {
            printLine(child->name(), *child, level);
            if (!child->isContainer() || child->isAlias() || !m_out) continue;
            if (level == m_options.depth || !load(*child)) continue;
            printChildren(*child, level + 1);
            child->sync();
        }
    }

    void printLine(std::string_view name, const FileNode& node, int level) {
        m_out << std::string(2 * static_cast<std::size_t>(level), ' ') << terminalText(name);
        if (node.isAlias())
            m_out << " -> " << terminalText(FileNode::resolveAlias(node.fullPath()).value_or("nowhere"));
        m_out << " [" << nameOfType(node.nodeType()) << "]\n";
        count(node);
    }

    void count(const FileNode& node) {
        const NodeType type = node.nodeType();
        if (node.isContainer()) ++m_folders;
        if (type == NodeTypesHelper::kAIFF || type == NodeTypesHelper::kWAV) ++m_loopFiles;
    }

    const BrowseOptions& m_options;
    std::ostream& m_out;
    std::ostream& m_err;
    std::int64_t m_folders = 0;
    std::int64_t m_loopFiles = 0;
    int m_status = kDone;
};

}  // namespace

int runBrowse(const BrowseOptions& options, std::ostream& out, std::ostream& err) {
    return TreePrinter(options, out, err).print();
}

}  // namespace marl::tool
