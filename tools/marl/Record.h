// SPDX-License-Identifier: MIT
/// \file
/// `marl record`: samples from a pipe into a new file.
#pragma once

#include <iosfwd>
#include <string>

namespace marl::tool {

struct RecordOptions {
    std::string format = "s24";  ///< "s16" or "s24"
    double sampleRate = 0;       ///< Hz
    int channels = 0;
    bool isRealTime = false;  ///< drop blocks, instead of letting the source wait, when the disk falls behind
    bool isDeferred = false;  ///< keep the take in memory and write it at the end
    std::string output = {};  ///< .aif or .aiff; replaced when it exists
};

/// Records 32-bit floats in host order, interleaved, from the descriptor `input` until its end or a signal to
/// stop. Samples beyond full scale are clipped, and what is no number is silence. The last line on `out` says
/// how many frames the file holds and how many blocks did not make it. A take that an error ends is playable
/// up to there. Returns the exit status.
int runRecord(const RecordOptions& options, int input, std::ostream& out, std::ostream& err);

}  // namespace marl::tool
