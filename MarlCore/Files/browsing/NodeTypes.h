// SPDX-License-Identifier: MIT
/// \file
/// What an item on disk is to the browser and the indexer: a folder, a kind of audio file, or neither.
#pragma once

#include <MarlCore/platform/Export.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace marl {

/// One of the constants of `NodeTypesHelper`.
using NodeType = std::int16_t;

/// A code of four characters as a number, the first character most significant.
constexpr std::uint32_t typeCodeFrom(const char (&characters)[5]) noexcept {
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i) code = code << 8 | static_cast<unsigned char>(characters[i]);
    return code;
}

/// What the file system says about an item. Symbolic links are followed: the fields are those of the item at
/// the end, except `isAlias`.
struct CatalogInfo {
    enum class Kind {
        kMissing,  ///< nothing there, a link that leads nowhere, or no way to look
        kFile,     ///< a regular file
        kFolder,   ///< a directory, packages included
        kOther     ///< a pipe, socket or device
    };

    Kind kind = Kind::kMissing;
    bool isAlias = false;        ///< the item itself is a symbolic link
    std::uint32_t typeCode = 0;  ///< made by `typeCodeFrom`; 0: none recorded

    bool isDirectory() const noexcept { return kind == Kind::kFolder; }
};

/// Classifies items.
///
/// A known extension counts before a type code: it is what a user sees. Type codes are read from the extended
/// attributes that carry them on Linux: the first four bytes of `user.com.apple.FinderInfo` or, on a mounted
/// HFS+ volume, `osx.com.apple.FinderInfo`; the value of `user.hfs.type` or, on a mounted HFS volume,
/// `hfs.type`. Extensions are compared without regard to the case of the letters A to Z.
///
/// No file is ever opened, so a pipe or device cannot hold the caller up. A path costs one stat, one more for
/// a link, and a look at the list of attributes unless it is a file with a known extension. [any thread],
/// nothing throws.
class MARLCORE_EXPORT NodeTypesHelper {
public:
    static constexpr NodeType kFolder = 1;
    static constexpr NodeType kSpecialFolder = 2;  ///< special folder or volume
    static constexpr NodeType kFiltered = 3;       ///< never found here; what file filtering refuses
    static constexpr NodeType kAIFF = 4;
    static constexpr NodeType kWAV = 5;
    static constexpr NodeType kMovie = 6;
    static constexpr NodeType kUnknown = -1;

    /// The type of the item at `path`, which is any bytes. An item that does not exist, such as a file about
    /// to be created, is judged by its extension.
    static NodeType nodeTypeFromPath(const std::string& path) noexcept;

    /// The type of an item named `path` (the last component is enough) that has these attributes:
    /// - a type code of the system's special folders makes a special folder of a folder, and of a file whose
    ///   extension is not known;
    /// - a folder is a folder, whatever its name, unless it is a package: those count as files;
    /// - a file has the type that its extension names, else the one that its type code names. For a folder
    ///   other codes mean nothing, since its attribute holds the place of its window in their stead;
    /// - a pipe, socket or device and a link that leads nowhere are unknown, whatever their names.
    static NodeType nodeTypeFromCatalogInfo(const CatalogInfo& info, std::string_view path) noexcept;

    /// Looks at the item at `path`.
    static CatalogInfo catalogInfo(const std::string& path) noexcept;

    /// True for a folder of this name that a desktop shows as one thing: its extension is app, appdir,
    /// bundle, lv2, pkg, plugin or vst3.
    static bool isFilePackage(std::string_view path) noexcept;
};

}  // namespace marl

/// `NodeTypesHelper::nodeTypeFromPath` for a path that ends at its zero byte; null is unknown. [any thread]
extern "C" MARLCORE_EXPORT std::int16_t NodeTypesGetNodeType(const char* path);
