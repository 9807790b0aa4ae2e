// SPDX-License-Identifier: MIT
/// \file
/// `marl convert`: the samples of a file in another format.
#pragma once

#include <iosfwd>
#include <string>

namespace marl::tool {

struct ConvertOptions {
    std::string format = {};  ///< "s16", "s24" or "f32"; empty: as wide as the input, at least s16
    double sampleRate = 0;    ///< Hz; 0: the input's
    int channels = 0;         ///< 0: the input's
    std::string input = {};
    std::string output = {};  ///< a path, or "-" for raw samples to `out`
    bool streamed = false;    ///< through the buffer pool instead of memory; may end a frame earlier
};

/// Converts the whole file. An AIFF or WAV output carries the loop metadata over, slice points at the new
/// rate included. The output appears complete under its name or not at all; one that exists is replaced.
/// Returns the exit status.
int runConvert(const ConvertOptions& options, std::ostream& out, std::ostream& err);

}  // namespace marl::tool
