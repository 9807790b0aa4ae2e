// SPDX-License-Identifier: MIT
/// \file
/// QuickTime movies, made in memory, and their sound read back.
#pragma once

#include "support/Bytes.h"

#include <MarlCore/Files/IFile.h>

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace support {

/// Size, type and body of an atom; the size counts itself.
Bytes atom(std::string_view type, const Bytes& body);
/// The body of a table: version and flags, the count of rows, and their fields of 32 bits.
Bytes movieTable(std::int64_t rows, std::initializer_list<std::int64_t> fields, int version = 0);
Bytes movieTable(std::int64_t rows, const std::vector<std::int64_t>& fields, int version = 0);

/// A sound description of version 0, or of version 1 with `extension` behind its fields.
Bytes soundDescription(std::string_view codec, int channels, int bits, int rate,
                       const std::optional<Bytes>& extension = {});
/// One of version 2.
Bytes linearDescription(int channels, int bits, int flags, int bytesPerPacket,
                        std::string_view codec = "lpcm");

/// A track of sound at 1000 Hz. Bodies of atoms; what is empty is left out.
struct MovieTrackContents {
    std::string handler = "soun";
    bool enabled = true;
    int mediaTimeScale = 1000;
    Bytes descriptions = movieTable(1, {}).append(soundDescription("twos", 1, 16, 1000));
    Bytes sizes = {};       ///< 'stsz'
    Bytes runs = {};        ///< 'stsc'
    Bytes offsets = {};     ///< 'stco'
    Bytes edits = {};       ///< 'elst'
    Bytes references = {};  ///< 'dref'
};

/// All samples of `frames` frames in one chunk at byte `offset`.
MovieTrackContents plainTrack(std::int64_t offset, std::int64_t frames, int bytesPerFrame = 2);

Bytes movieTrack(const MovieTrackContents& track);
/// 'moov' of a movie with a time scale of 100.
Bytes movieHeader(const Bytes& tracks);

/// Samples as `marl` would deliver them: the file's channels and rate, `bits` bits.
std::string deliveredSound(marl::IFile& file, unsigned bits);

}  // namespace support
