// SPDX-License-Identifier: MIT
/// \file
/// Compares what this library reads from sound files with what libsndfile reads:
/// `compare_with_sndfile FILE_OR_FOLDER…`, folders with all that is below them.
///
/// Of every .wav, .aif and .aiff file: rate, channels, bits and frames, and every sample as 16 bits. Prints a
/// line for each refusal, each difference that is meant, with its reason, and each that is not; then a
/// summary. The exit status is 1 when there was a difference that is not meant, 2 when there was no file.

#include <MarlCore/Files/IFile.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <sndfile.h>

namespace {

using marl::IFileParser;

struct Sound {
    double sampleRate = 0;
    int channels = 0, bits = 0;
    long long frames = 0;
    std::vector<std::int16_t> samples;
    std::string refusal;  // when there is nothing else
};

struct OurSound : Sound {
    long long offset = 0;           // of the samples that are read, bytes
    long long statedOffset = 0;     // of those that the file states
    std::uint32_t offsetField = 0;  // of 'SSND'
};

struct PeerSound : Sound {
    int format = 0;  // libsndfile's code
};

OurSound readOurs(const std::string& path) {
    OurSound sound;
    try {
        const CURLRef url(new CURL(halyard::CSTR(path), CURL::kPOSIXPathStyle, false));
        const marl::IFileRef file(marl::IFile::New(url, false));
        IFileParser& parser = *file->getFileParserRef();
        marl::IFileData& data = *file->getFileDataRef();
        parser.parse(IFileParser::kParseAll);
        IFileParser::FormatInfo format;
        parser.getFormatInfo(format);
        sound.sampleRate = format.mSampleRate;
        sound.channels = static_cast<int>(format.mChannelsPerFrame);
        sound.bits = static_cast<int>(format.mBitsPerChannel);
        sound.frames = parser.getLengthInFrames();
        sound.offset = sound.statedOffset = parser.getSampleOffset();
        data.seek(parser.getOffsetToData(), false);
        if (parser.findTag("SSND") >= 0) {
            sound.statedOffset = data.currentMark() + 8;
            sound.offsetField = data.readUInt32();
        }
        data.setSampleConversion(format, static_cast<int>(sound.frames), sound.offset,
                                 platform::makeHostFormat(format.mSampleRate, format.mChannelsPerFrame, 16));
        int last = -1;
        const auto* const samples = static_cast<const std::int16_t*>(data.readSamples(0, 0, &last, true));
        if (samples) sound.samples.assign(samples, samples + last + 1);
    } catch (const halyard::CException& exception) {
        sound.refusal = exception.getMessage();
    }
    return sound;
}

int bitsOf(int format) {
    switch (format & SF_FORMAT_SUBMASK) {
        case SF_FORMAT_PCM_S8:
        case SF_FORMAT_PCM_U8:
            return 8;
        case SF_FORMAT_PCM_16:
            return 16;
        case SF_FORMAT_PCM_24:
            return 24;
        default:
            return 0;  // not one that this library reads
    }
}

PeerSound readTheirs(const std::string& path) {
    PeerSound sound;
    SF_INFO info{};
    const std::unique_ptr<SNDFILE, decltype(&sf_close)> file(sf_open(path.c_str(), SFM_READ, &info),
                                                             &sf_close);
    if (!file) {
        sound.refusal = sf_strerror(nullptr);
        return sound;
    }
    sound.format = info.format;
    sound.sampleRate = info.samplerate;
    sound.channels = info.channels;
    sound.bits = bitsOf(info.format);
    sound.frames = info.frames;
    // As 32 bits, of which the upper ones are kept: read as 16 bits, 24 would depend on a setting.
    std::vector<int> block(static_cast<std::size_t>(info.channels) * 4096);
    while (const sf_count_t frames = sf_readf_int(file.get(), block.data(), 4096)) {
        const auto samples = static_cast<std::ptrdiff_t>(frames) * info.channels;
        std::transform(block.begin(), block.begin() + samples, std::back_inserter(sound.samples),
                       [](int sample) { return static_cast<std::int16_t>(sample >> 16); });
    }
    return sound;
}

/// The type of a form file: "AIFF", "AIFC", "WAVE"; "" for other files.
std::string formTypeOf(const std::string& path) {
    std::array<char, 12> head{};
    std::ifstream(path, std::ios::binary).read(head.data(), head.size());
    const std::string container(head.data(), 4);
    return container == "FORM" || container == "RIFF" ? std::string(head.data() + 8, 4) : "";
}

bool isNamedAIFF(const std::string& path) {
    const std::string extension = std::filesystem::path(path).extension().string();
    return extension.starts_with(".a") || extension.starts_with(".A");
}

/// Why this library refuses a file that libsndfile reads, or nothing when it should not.
std::optional<std::string> reasonToRefuse(const OurSound& ours, const PeerSound& theirs,
                                          const std::string& path) {
    const int container = theirs.format & SF_FORMAT_TYPEMASK;
    const std::string formType = formTypeOf(path);
    if (formType == "AIFC") return "AIFC, compressed or not, is not read";
    if (ours.refusal.starts_with("couldn't find ") && (formType == "AIFF") != isNamedAIFF(path))
        return "the name says another format than the file";
    if (container == SF_FORMAT_WAVEX) return "only format tag 1 of WAV files is read, not the extensible one";
    if (container != SF_FORMAT_WAV && container != SF_FORMAT_AIFF)
        return "what is in the file is neither RIFF WAV nor AIFF";
    if (theirs.bits == 0) return "only integers of 8, 16 and 24 bits are read";
    if (ours.refusal.starts_with("sample size is not a whole number of bytes"))
        return "odd widths are not rounded up";
    return std::nullopt;
}

/// Compares one file after the other and keeps count.
class Comparison {
public:
    void compare(const std::string& path);
    int summarise() const;

private:
    void compareRefusals(const std::string& path, const OurSound& ours, const PeerSound& theirs);
    void compareSounds(const std::string& path, const OurSound& ours, const PeerSound& theirs);
    void report(const char* kind, const std::string& path, const std::string& what);

    std::map<std::string, int> m_counts;  // by kind of report
    int m_files = 0;
    long long m_samples = 0;
    bool m_differs = false;
};

constexpr const char* kEqual = "equal";
constexpr const char* kRefusedByBoth = "refused by both";
constexpr const char* kRefused = "refused by rule";
constexpr const char* kOnlyHere = "read here only";
constexpr const char* kMeant = "different by rule";
constexpr const char* kDifferent = "DIFFERENT";

void Comparison::report(const char* kind, const std::string& path, const std::string& what) {
    ++m_counts[kind];
    if (kind == kDifferent) m_differs = true;
    if (kind != kEqual) std::printf("%s: %s: %s\n", path.c_str(), kind, what.c_str());
}

void Comparison::compare(const std::string& path) {
    ++m_files;
    const OurSound ours = readOurs(path);
    const PeerSound theirs = readTheirs(path);
    if (!ours.refusal.empty() || !theirs.refusal.empty())
        compareRefusals(path, ours, theirs);
    else
        compareSounds(path, ours, theirs);
}

void Comparison::compareRefusals(const std::string& path, const OurSound& ours, const PeerSound& theirs) {
    if (ours.refusal.empty()) return report(kOnlyHere, path, "libsndfile says: " + theirs.refusal);
    if (!theirs.refusal.empty())
        return report(kRefusedByBoth, path, ours.refusal + "; libsndfile says: " + theirs.refusal);
    const auto reason = reasonToRefuse(ours, theirs, path);
    report(reason ? kRefused : kDifferent, path, ours.refusal + (reason ? " (" + *reason + ")" : ""));
}

std::string differenceOf(const char* name, double here, double there) {
    if (here == there) return "";
    char line[100];
    std::snprintf(line, sizeof line, "%s %.15g, libsndfile %.15g; ", name, here, there);
    return line;
}

/// Why the rates of one file differ, or nothing when they should not.
std::optional<std::string> reasonForRates(const Sound& ours, const PeerSound& theirs) {
    const bool isAIFF = (theirs.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_AIFF;
    // The 80-bit number of an AIFF file has a fraction, which either library drops in its own way.
    if (isAIFF && std::abs(ours.sampleRate - theirs.sampleRate) <= 1) return "fractions of a Hz are rounded";
    // An exponent below that of 2 Hz is not read as one, and libsndfile has no rates from 2^31 Hz on.
    if (isAIFF && (theirs.sampleRate < 2 || ours.sampleRate >= 0x80000000)) return "beyond the rates of AIFF";
    if (ours.sampleRate == static_cast<float>(theirs.sampleRate))
        return "rates pass through single precision";
    return std::nullopt;
}

/// Why the samples that are read are others than those that libsndfile reads; "" when they are not.
std::string reasonToBeginElsewhere(const OurSound& ours) {
    const long long moved = ours.offset - ours.statedOffset;
    if (moved > 0 && moved < 6 && ours.bits == 24 && ours.offset % 6 == 0)
        return "24-bit samples of AIFF files begin at a multiple of 6 bytes, " + std::to_string(moved) +
               " bytes further on";
    if (ours.offsetField != 0) return "the offset field of 'SSND' does not count";
    return "";
}

/// "" when all samples are equal, otherwise where the first pair is that is not.
std::string differenceOfSamples(const std::vector<std::int16_t>& ours,
                                const std::vector<std::int16_t>& theirs) {
    const auto [here, there] = std::ranges::mismatch(ours, theirs);
    if (here == ours.end() && there == theirs.end()) return "";
    const std::string place = "sample " + std::to_string(here - ours.begin());
    if (here == ours.end() || there == theirs.end())
        return place + " is only there in " + (here == ours.end() ? "libsndfile" : "this library");
    return place + " is " + std::to_string(*here) + ", libsndfile " + std::to_string(*there);
}

void Comparison::compareSounds(const std::string& path, const OurSound& ours, const PeerSound& theirs) {
    std::string meant, difference = differenceOf("channels", ours.channels, theirs.channels) +
                                    differenceOf("bits", ours.bits, theirs.bits);
    if (const std::string rates = differenceOf("rate", ours.sampleRate, theirs.sampleRate); !rates.empty()) {
        const auto reason = reasonForRates(ours, theirs);
        (reason ? meant : difference) += rates + reason.value_or("");
    }
    if (const std::string elsewhere = reasonToBeginElsewhere(ours); !elsewhere.empty()) {
        meant += elsewhere;  // other frames, or other numbers
    } else {
        difference +=
            differenceOf("frames", static_cast<double>(ours.frames), static_cast<double>(theirs.frames));
        difference += differenceOfSamples(ours.samples, theirs.samples);
        m_samples += std::ssize(ours.samples);
    }
    if (!difference.empty()) return report(kDifferent, path, difference);
    report(meant.empty() ? kEqual : kMeant, path, meant);
}

int Comparison::summarise() const {
    std::printf("%d files, %lld samples compared", m_files, m_samples);
    for (const auto& [kind, count] : m_counts) std::printf(", %d %s", count, kind.c_str());
    std::printf("\n");
    if (m_files == 0) return 2;
    return m_differs ? 1 : 0;
}

bool isSoundFile(const std::filesystem::path& path) {
    std::string extension = path.extension().string();
    std::ranges::transform(extension, extension.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return extension == ".wav" || extension == ".aif" || extension == ".aiff";
}

/// The file itself, or the sound files in the folder, in the order of their paths.
std::vector<std::string> filesAt(const std::filesystem::path& path) {
    if (!std::filesystem::is_directory(path)) return {path.string()};
    std::vector<std::string> files;
    const auto options = std::filesystem::directory_options::skip_permission_denied;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(path, options))
        if (entry.is_regular_file() && isSoundFile(entry.path())) files.push_back(entry.path().string());
    std::ranges::sort(files);
    return files;
}

}  // namespace

int main(int argc, char** argv) try {
    Comparison comparison;
    for (int i = 1; i < argc; ++i)
        for (const std::string& file : filesAt(argv[i])) comparison.compare(file);
    return comparison.summarise();
} catch (const std::exception& exception) {
    std::fprintf(stderr, "compare_with_sndfile: %s\n", exception.what());
    return 2;
}
