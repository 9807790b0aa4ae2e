// SPDX-License-Identifier: MIT
/// \file
/// Which of a parser's metadata goes into a file, whatever the format. See docs/loop-metadata.md.
#pragma once

#include <MarlCore/Files/parsing/IFileParser.h>

#include <optional>
#include <string_view>
#include <vector>

namespace marl {

/// The tagging chunk is written when there are beats: a plain recording gets none.
inline bool hasBasicTagging(const IFileParser& parser) noexcept {
    return parser.getNaturalNumberOfBeats() > 0;
}

inline bool isOneShot(const IFileParser& parser) noexcept {
    return parser.getFileType() == tagging::kFileTypeOneShot;
}

/// The slice points of a loop at the delivered rate, none of a one-shot. Only those that readers keep: each
/// lies behind the one before, and there are at most `IFileParser::kMaximumTransients`.
std::vector<tagging::TransientStruct> transientsToWrite(const IFileParser& parser);

/// `text` up to its first zero byte, cut to `limit` bytes at a whole character; nothing when it is null.
std::optional<std::string_view> textToWrite(const CStringRef& text, std::size_t limit) noexcept;

}  // namespace marl
