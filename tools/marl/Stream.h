// SPDX-License-Identifier: MIT
/// \file
/// `marl stream`: a file as it streams from disk.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>

namespace marl::tool {

struct StreamOptions {
    std::string format = {};        ///< "s16", "s24" or "f32"; empty: as wide as the file, at least s16
    double sampleRate = 0;          ///< Hz; 0: the file's
    int channels = 0;               ///< 0: the file's
    double from = 0;                ///< seconds
    std::optional<double> to = {};  ///< seconds, beyond `from`; none: the end of the file
    std::string input = {};
};

/// Writes the samples of a file to `out`, in this machine's byte order, while a thread reads ahead of them
/// through the buffer pool. They are those of a streamed conversion of the whole file, from the frame nearest
/// to `from` to the one before that nearest to `to`. Returns the exit status.
int runStream(const StreamOptions& options, std::ostream& out, std::ostream& err);

}  // namespace marl::tool
