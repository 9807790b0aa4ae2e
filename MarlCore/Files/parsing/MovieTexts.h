// SPDX-License-Identifier: MIT
/// \file
/// The texts that a movie carries.
#pragma once

#include <MarlCore/Files/parsing/Movie.h>

#include <array>

namespace marl::movie {

/// Which of a movie's texts: one for each field of `IFileParser::FileInfo`, in its order.
enum TextKind : unsigned { kName, kAuthor, kCopyright, kAnnotation, kTextKinds };

/// A movie's texts as bytes, UTF-8 or in an encoding of old; nothing where there is none. At most 65536 bytes
/// of each.
using Texts = std::array<std::optional<std::string>, kTextKinds>;

/// Reads the texts of `movie` from its user data, its list of items and its list of keyed items; where
/// several have one, the first. See docs/loop-metadata.md. What is damaged is left out.
Texts readTexts(IFileData& file, const Movie& movie);

}  // namespace marl::movie
