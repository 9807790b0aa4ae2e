// SPDX-License-Identifier: MIT
#include "marl/Peaks.h"

#include "marl/Output.h"
#include "marl/PNG.h"
#include "marl/PeaksSource.h"
#include "marl/SampleOutput.h"
#include "marl/TerminalText.h"

#include <MarlCore/MediaManager/PeaksManager.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <new>
#include <ostream>
#include <span>
#include <system_error>

namespace marl::tool {
namespace {

/// Reads all of `text`; false when it is no number of that type.
template <typename Number>
bool parse(std::string_view text, Number& number, int base = 10) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return error == std::errc() && end == text.data() + text.size();
}

struct Frames {
    std::uint32_t from, to;  // inclusive
};

/// Throws for a range that does not lie in the file.
Frames requireFrames(const PeaksOptions& options, std::uint32_t length) {
    if (length == 0) throw std::runtime_error("there are no samples in this file");
    const Frames frames{options.from.value_or(0), options.to.value_or(length - 1)};
    if (frames.from >= length || frames.to >= length)
        throw std::runtime_error("its frames are 0 to " + std::to_string(length - 1) +
                                 ": there is no frame " + std::to_string(std::max(frames.from, frames.to)));
    return frames;
}

/// What the subcommand needs of a file, whatever it makes of it. Its end wipes the progress out: results are
/// printed after that, not behind a bar.
struct Waveform {
    PeaksSource source;
    PeaksManager manager{source};
    Frames frames;

    Waveform(const PeaksOptions& options, std::ostream& err)
        : source(options.path, options.isProgressShown, err),
          frames(requireFrames(options, source.lengthInFrames())) {
        if (source.numberOfChannels() > 2)
            reportError(err, options.path, "note: only the first two of its channels are shown");
    }

    bool isMono() { return source.numberOfChannels() == 1; }
    CPeaksBufferRef mono(int columns) {
        return manager.getPeaksFromFrame(frames.from, frames.to, columns, false);
    }
    CStereoPeaksBufferRef stereo(int columns) {
        return manager.getStereoPeaksFromFrame(frames.from, frames.to, columns, false);
    }
};

json arrayOf(std::span<const Peak> peaks, unsigned lanes) {
    json array = json::array();
    for (std::size_t i = 0; i < peaks.size(); i += lanes) {
        json entry = json::array();
        for (const Peak& peak : peaks.subspan(i, lanes)) {
            entry.push_back(peak.maximum);
            entry.push_back(peak.minimum);
        }
        array.push_back(std::move(entry));
    }
    return array;
}

json jsonOf(const PeaksOptions& options, std::ostream& err) {
    Waveform waveform(options, err);
    const int columns = options.size.width;
    json object;
    putPath(object, options.path);
    object["channels"] = waveform.source.numberOfChannels();
    object["from"] = waveform.frames.from;
    object["to"] = waveform.frames.to;
    object["columns"] = columns;
    object["interval"] = PeaksManager::peaksTableInterval();
    object["peaks"] = waveform.isMono()
                          ? arrayOf(waveform.mono(columns)->peaks(), CPeaksBuffer::kLanes)
                          : arrayOf(waveform.stereo(columns)->peaks(), CStereoPeaksBuffer::kLanes);
    return object;
}

/// Unlike a library image this shows files of any length, which are what is asked about here.
platform::BitmapImageRepRef pictureOf(const PeaksOptions& options, Waveform& waveform) {
    const auto [width, height] = options.size;
    const auto bitmap =
        PeaksManager::createEmptyBitmapWithWidth(static_cast<unsigned>(width), static_cast<unsigned>(height));
    if (!bitmap) throw std::bad_alloc();
    const platform::Size size{static_cast<float>(width), static_cast<float>(height)};
    if (options.color) waveform.manager.setWaveformColor(*options.color);
    if (waveform.isMono())
        waveform.manager.drawMonoWaveform(waveform.mono(width), size, *bitmap);
    else
        waveform.manager.drawStereoWaveform(waveform.stereo(width), size, *bitmap);
    return bitmap;
}

std::string pictureNameOf(const PeaksOptions& options) {
    if (!options.output.empty()) return options.output;
    return std::filesystem::path(options.path).filename().replace_extension(".png").string();
}

/// A picture that took the place of its loop would be the end of that. Links to it count as well.
void requireOtherFile(const std::string& picture, const std::string& loop) {
    std::error_code missing;
    if (std::filesystem::equivalent(picture, loop, missing))
        throw OutputError("is the loop itself: the picture needs another name");
}

/// Returns what is to be printed about it.
std::string writePicture(const PeaksOptions& options, std::ostream& out, std::ostream& err) {
    Waveform waveform(options, err);
    const std::string name = pictureNameOf(options);
    const auto type = name == "-" ? OutputType::kStandardOutput : OutputType::kRaw;
    if (type != OutputType::kStandardOutput) requireOtherFile(name, options.path);
    const std::vector<std::byte> png = pngFile(*pictureOf(options, waveform));
    const auto output = newSampleOutput(type, name, nullptr, out);
    output->write(png);
    output->finish();
    if (type == OutputType::kStandardOutput) return "";
    const auto [from, to] = waveform.frames;
    char text[128];
    std::snprintf(text, sizeof text, ": %d x %d pixels, frames %u to %u (%.3f s)\n", options.size.width,
                  options.size.height, from, to, (to - from + 1.0) / waveform.source.sampleRate());
    return terminalText(name) + text;
}

}  // namespace

std::string wrongWithSize(const std::string& text, PictureSize& size) {
    const std::size_t cross = std::min(text.find('x'), text.size());
    PictureSize read;
    const std::string_view all = text;
    if (cross < text.size() && parse(all.substr(0, cross), read.width) &&
        parse(all.substr(cross + 1), read.height) && read.width >= kSmallestPicture.width &&
        read.height >= kSmallestPicture.height && read.width <= kLargestPicture.width &&
        read.height <= kLargestPicture.height) {
        size = read;
        return "";
    }
    const auto textOf = [](PictureSize one) {
        return std::to_string(one.width) + "x" + std::to_string(one.height);
    };
    return "'" + text + "' is not a size in pixels such as 1000x200, from " + textOf(kSmallestPicture) +
           " to " + textOf(kLargestPicture);
}

std::string wrongWithFrame(const std::string& text) {
    std::uint32_t frame = 0;
    return parse(text, frame) ? "" : "'" + text + "' is not a frame: 0 to 4294967295";
}

std::string wrongWithPicture(const std::string& name) {
    const std::string extension = std::filesystem::path(name).extension().string();
    const bool isPNG = std::ranges::equal(extension, std::string_view(".png"), {},
                                          [](unsigned char c) { return std::tolower(c); });
    return isPNG || name == "-" ? "" : "'" + name + "' must end in .png, or be -";
}

std::string wrongWithColor(const std::string& text, std::optional<platform::Color>& color) {
    std::uint32_t value = 0;
    const bool isOpaque = text.size() == 6;
    if ((!isOpaque && text.size() != 8) || !parse(text, value, 16))
        return "'" + text + "' is not a colour such as 2A6BB8FF: red, green, blue and opacity";
    if (isOpaque) value = value << 8 | 0xFF;
    // The middle of what becomes this byte again.
    const auto part = [value](int shift) { return (static_cast<float>(value >> shift & 0xFF) + 0.5f) / 255; };
    color = platform::Color(part(24), part(16), part(8), part(0));
    return "";
}

int runPeaks(const PeaksOptions& options, std::ostream& out, std::ostream& err) {
    try {
        if (options.json) return printJSON(out, err, jsonOf(options, err));
        out << writePicture(options, out, err);
        return flushed(out, err) ? kDone : kFailed;
    } catch (const OutputError& error) {
        reportError(err, options.output == "-" ? "standard output" : pictureNameOf(options), error.what());
    } catch (const std::exception& exception) {
        reportError(err, options.path, messageOf(exception, "cannot be read"));
    }
    return kFailed;
}

}  // namespace marl::tool
