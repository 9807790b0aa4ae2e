// SPDX-License-Identifier: MIT
/// \file
/// The four-character identifiers of the chunks that are read and written. See docs/loop-metadata.md.
#pragma once

#include <string>

namespace marl {

inline const std::string kAIFFFormChunkID = "FORM";
inline const std::string kAIFFFormat = "AIFF";
inline const std::string kAIFFCommonChunkID = "COMM";
inline const std::string kAIFFSoundDataChunkID = "SSND";
inline const std::string kAIFFNameDataChunkID = "NAME";
inline const std::string kAIFFAuthorDataChunkID = "AUTH";
inline const std::string kAIFFCopyrightDataChunkID = "(c) ";
inline const std::string kAIFFAnnotationDataChunkID = "ANNO";
inline const std::string kAIFFBasicTaggingChunkID = "basc";
inline const std::string kAIFFTransientsChunkID = "trns";
inline const std::string kAIFFCategoryChunkID = "cate";
inline const std::string kAIFFFillerChunkID = "FLLR";
inline const std::string kMIDIFormat = "MIDI";

inline const std::string kRIFFTag = "RIFF";
inline const std::string kWAVETag = "WAVE";
inline const std::string kFormatTag = "fmt ";
inline const std::string kDataTag = "data";
inline const std::string kAcidTag = "acid";
inline const std::string kStretchTag = "strc";
inline const std::string kListTag = "LIST";
inline const std::string kInfoTag = "INFO";
inline const std::string kINAMTag = "INAM";
inline const std::string kIARTTag = "IART";
inline const std::string kICOPTag = "ICOP";
inline const std::string kICMTTag = "ICMT";

}  // namespace marl
