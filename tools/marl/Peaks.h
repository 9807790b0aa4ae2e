// SPDX-License-Identifier: MIT
/// \file
/// `marl peaks`: the waveform of a loop.
#pragma once

#include <MarlCore/platform/Color.h>

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

namespace marl::tool {

/// Pixels of a picture.
struct PictureSize {
    int width = 1000;
    int height = 200;
};

struct PeaksOptions {
    std::string path = {};
    std::string output = {};  ///< of the picture; "-": to `out`; empty: the file's name with .png, here
    PictureSize size = {};
    std::optional<std::uint32_t> from = {}, to = {};  ///< frames, inclusive; default: the whole file
    std::optional<platform::Color> color = {};        ///< default: the shared colour of waveforms
    bool json = false;             ///< the peaks of `size.width` columns, in place of a picture
    bool isProgressShown = false;  ///< `err` is a terminal
};

/// The limits of pictures. Four rows are left free.
inline constexpr PictureSize kSmallestPicture{1, 4}, kLargestPicture{30'000, 10'000};

/// Reads "1000x200" into `size`; the text says what is wrong, and is empty when nothing is.
std::string wrongWithSize(const std::string& text, PictureSize& size);
/// The same for the number of a frame, of which only the text is checked.
std::string wrongWithFrame(const std::string& text);
/// The same for the name of a picture: "*.png", or "-".
std::string wrongWithPicture(const std::string& name);
/// Reads "RRGGBBAA" or "RRGGBB" (opaque), in hexadecimal digits, into `color`.
std::string wrongWithColor(const std::string& text, std::optional<platform::Color>& color);

/// Draws the first two channels, or prints their peaks. A picture appears complete under its name or not at
/// all; a file that exists is replaced, but never the loop. Returns the exit status.
int runPeaks(const PeaksOptions& options, std::ostream& out, std::ostream& err);

}  // namespace marl::tool
