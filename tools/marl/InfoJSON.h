// SPDX-License-Identifier: MIT
/// \file
/// The metadata of a loop as JSON, and in the words of a musician.
#pragma once

#include "marl/LoopFile.h"
#include "marl/Output.h"

#include <optional>
#include <string>
#include <string_view>

namespace marl::tool {

/// All fields of `marl info --json` for one file, in their fixed order.
json infoJSON(const std::string& path, const LoopFile& loop);

/// The same place for a file that cannot be read: its path and why.
json errorJSON(const std::string& path, const std::string& message);

/// Quarter notes a minute; nothing for a one-shot and for a loop without beats or samples.
std::optional<double> tempoOf(const IFileParser& parser);

/// "AIFF" or "WAV".
std::string containerOf(const LoopFile& loop);

/// A MIDI note number as a note without its octave, about whose number programs disagree; "-" for none.
std::string noteName(int rootNote);

/// The other way: 0 (C) to 11 (B) for a letter from A to G of either case, with # or b behind it or not.
std::optional<int> pitchClassNamed(std::string_view name);

/// The keyword's text; bytes that are no UTF-8 are taken as Mac Roman, as in the text chunks of the format.
std::string keywordText(const tagging::Keyword& keyword);
std::string keywordText(std::string_view bytes);

}  // namespace marl::tool
