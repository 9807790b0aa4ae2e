// SPDX-License-Identifier: MIT
#include <MarlCore/Files/browsing/NodeTypes.h>

#include <MarlCore/Files/browsing/PathNames.h>
#include <MarlCore/platform/ByteOrder.h>

#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>

namespace marl {
namespace {

constexpr std::uint32_t kSpecialFolderCodes[] = {
    typeCodeFrom("faex"), typeCodeFrom("fasy"), typeCodeFrom("fpka"), typeCodeFrom("fdrp"),
    typeCodeFrom("flpy"), typeCodeFrom("srvr"), typeCodeFrom("trsh"), typeCodeFrom("hdsk"),
    typeCodeFrom("fapf"), typeCodeFrom("fash"), typeCodeFrom("fast"), typeCodeFrom("fapn"),
    typeCodeFrom("famn"), typeCodeFrom("dtpa"), typeCodeFrom("fapa"), typeCodeFrom("cddr"),
    typeCodeFrom("addp"), typeCodeFrom("adrp"), typeCodeFrom("acdp"), typeCodeFrom("faam"),
    typeCodeFrom("fadr"), typeCodeFrom("faet"), typeCodeFrom("fact"), typeCodeFrom("drop")};

struct FileType {
    NodeType nodeType;
    std::uint32_t typeCode;
    std::array<std::string_view, 2> extensions;
};

constexpr FileType kFileTypes[] = {{NodeTypesHelper::kAIFF, typeCodeFrom("AIFF"), {"aif", "aiff"}},
                                   {NodeTypesHelper::kWAV, typeCodeFrom("WAVE"), {"wav", "wave"}},
                                   {NodeTypesHelper::kMovie, typeCodeFrom("MooV"), {"mov", "m2v"}}};

// Folders that desktops and plug-in hosts on Linux handle as one thing.
constexpr std::string_view kPackageExtensions[] = {"app", "appdir", "bundle", "lv2", "pkg", "plugin", "vst3"};

constexpr const char* kTypeCodeAttributes[] = {"user.com.apple.FinderInfo", "osx.com.apple.FinderInfo",
                                               "user.hfs.type", "hfs.type"};

bool isSpecialFolderCode(std::uint32_t typeCode) noexcept {
    return std::ranges::find(kSpecialFolderCodes, typeCode) != std::end(kSpecialFolderCodes);
}

bool matchesOneOf(std::string_view extension, auto& candidates) noexcept {
    return std::ranges::any_of(candidates, [extension](std::string_view candidate) {
        return compareIgnoringCase(extension, candidate) == 0;
    });
}

NodeType nodeTypeFromTypeCode(std::uint32_t typeCode) noexcept {
    for (const FileType& type : kFileTypes)
        if (type.typeCode == typeCode) return type.nodeType;
    return NodeTypesHelper::kUnknown;
}

NodeType nodeTypeFromExtension(std::string_view path) noexcept {
    const std::string_view extension = pathExtension(path);
    for (const FileType& type : kFileTypes)
        if (matchesOneOf(extension, type.extensions)) return type.nodeType;
    return NodeTypesHelper::kUnknown;
}

/// The type code at the start of the attribute, or 0 when there is none or it is too short.
std::uint32_t typeCodeInAttribute(const char* path, const char* attribute) noexcept {
    std::array<char, 64> value;  // Finder information is 32 bytes
    const ssize_t length = ::getxattr(path, attribute, value.data(), value.size());
    return length >= 4 ? platform::loadBig32(value.data()) : 0;
}

/// True when `list`, names that each end in a zero byte, holds `name`.
bool isListed(std::string_view list, std::string_view name) noexcept {
    while (!list.empty()) {
        const std::string_view first = list.substr(0, list.find('\0'));
        if (first == name) return true;
        list.remove_prefix(std::min(first.size() + 1, list.size()));
    }
    return false;
}

/// Asks for the list of attributes first: it is empty for almost every file, which then costs one system call
/// instead of one for each attribute that might be there.
std::uint32_t typeCodeOfItem(const char* path) noexcept {
    std::array<char, 1024> names;
    const ssize_t length = ::listxattr(path, names.data(), names.size());
    const bool listIsTooLong = length < 0 && errno == ERANGE;
    if (length <= 0 && !listIsTooLong) return 0;
    const std::string_view list(names.data(), listIsTooLong ? 0 : static_cast<std::size_t>(length));
    for (const char* attribute : kTypeCodeAttributes) {
        if (!listIsTooLong && !isListed(list, attribute)) continue;
        if (const std::uint32_t typeCode = typeCodeInAttribute(path, attribute)) return typeCode;
    }
    return 0;
}

CatalogInfo::Kind kindOf(const struct stat& status) noexcept {
    if (S_ISREG(status.st_mode)) return CatalogInfo::Kind::kFile;
    if (S_ISDIR(status.st_mode)) return CatalogInfo::Kind::kFolder;
    return CatalogInfo::Kind::kOther;
}

/// Everything but the type code.
CatalogInfo statusOf(const char* path) noexcept {
    CatalogInfo info;
    struct stat status {};
    if (::lstat(path, &status) != 0) return info;
    info.isAlias = S_ISLNK(status.st_mode);
    if (info.isAlias && ::stat(path, &status) != 0) return info;
    info.kind = kindOf(status);
    return info;
}

void readTypeCode(const char* path, CatalogInfo& info) noexcept {
    const bool hasOne = info.kind == CatalogInfo::Kind::kFile || info.kind == CatalogInfo::Kind::kFolder;
    if (hasOne) info.typeCode = typeCodeOfItem(path);
}

NodeType nodeTypeOfItem(const char* path) noexcept {
    CatalogInfo info = statusOf(path);
    const bool extensionDecides =
        info.kind == CatalogInfo::Kind::kFile && nodeTypeFromExtension(path) != NodeTypesHelper::kUnknown;
    if (!extensionDecides) readTypeCode(path, info);
    return NodeTypesHelper::nodeTypeFromCatalogInfo(info, path);
}

/// The system would see only what precedes a zero byte: another item, perhaps one that exists.
bool holdsZeroByte(const std::string& path) noexcept {
    return path.find('\0') != std::string::npos;
}

}  // namespace

NodeType NodeTypesHelper::nodeTypeFromPath(const std::string& path) noexcept {
    return holdsZeroByte(path) ? nodeTypeFromCatalogInfo({}, path) : nodeTypeOfItem(path.c_str());
}

NodeType NodeTypesHelper::nodeTypeFromCatalogInfo(const CatalogInfo& info, std::string_view path) noexcept {
    switch (info.kind) {
        case CatalogInfo::Kind::kMissing:
            return info.isAlias ? kUnknown : nodeTypeFromExtension(path);
        case CatalogInfo::Kind::kOther:
            return kUnknown;
        case CatalogInfo::Kind::kFolder:
            if (isSpecialFolderCode(info.typeCode)) return kSpecialFolder;
            return isFilePackage(path) ? nodeTypeFromExtension(path) : kFolder;
        case CatalogInfo::Kind::kFile:
            break;
    }
    if (const NodeType fromExtension = nodeTypeFromExtension(path); fromExtension != kUnknown)
        return fromExtension;
    return isSpecialFolderCode(info.typeCode) ? kSpecialFolder : nodeTypeFromTypeCode(info.typeCode);
}

CatalogInfo NodeTypesHelper::catalogInfo(const std::string& path) noexcept {
    if (holdsZeroByte(path)) return {};
    CatalogInfo info = statusOf(path.c_str());
    readTypeCode(path.c_str(), info);
    return info;
}

bool NodeTypesHelper::isFilePackage(std::string_view path) noexcept {
    return matchesOneOf(pathExtension(path), kPackageExtensions);
}

}  // namespace marl

std::int16_t NodeTypesGetNodeType(const char* path) {
    return path ? marl::nodeTypeOfItem(path) : marl::NodeTypesHelper::kUnknown;
}
