// SPDX-License-Identifier: MIT
/// \file
/// Writes small loop files with every chunk that the writers know, to begin fuzzing from:
/// `make_seeds FOLDER` fills FOLDER/aiff_fuzzer and FOLDER/wav_fuzzer.

#include <MarlCore/Files/parsing/CLoopDescription.h>
#include <MarlCore/Files/writing/CAIFWriter.h>
#include <MarlCore/Files/writing/CWAVWriter.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using marl::tagging::Keyword;

struct Seed {
    const char* name;
    double sampleRate;
    int channels, bits, frames;
    bool tagged, oneShot;
};

constexpr Seed kSeeds[] = {
    {"bare", 44100, 1, 16, 20, false, false},   {"stereo", 48000, 2, 16, 30, true, false},
    {"wide", 96000, 1, 24, 16, true, false},    {"surround", 22050, 6, 24, 5, true, false},
    {"one-shot", 44100, 2, 16, 10, true, true}, {"slow", 100, 1, 16, 60, true, false},
    {"empty", 44100, 2, 16, 0, true, false},    {"two-seconds", 20, 1, 24, 40, true, false},
};

marl::IFileParserRef describe(const Seed& seed) {
    const marl::IFileParserRef loop(new marl::CLoopDescription(seed.sampleRate, seed.channels, seed.bits));
    if (!seed.tagged) return loop;
    marl::tagging::BasicTaggingChunk tagging;
    tagging.version = marl::tagging::kTaggingVersion;
    tagging.numberOfBeats = 7;
    tagging.rootNote = 57;
    tagging.timeSignature = {7, 8};
    if (seed.oneShot) tagging.fileType = marl::tagging::kFileTypeOneShot;
    loop->setBasicTaggingChunk(tagging);
    loop->setInstrument({Keyword("Drum Kit"), Keyword("Breakbeat")});
    loop->setGenre(Keyword("Funk"));
    loop->setDescriptors({Keyword("Dry"), Keyword("Acoustic")});
    loop->setFileInfo(
        {halyard::CSTR("name"), halyard::CSTR("author"), halyard::CSTR("\xC2\xA9"), halyard::CSTR("odd")});
    std::vector<marl::tagging::TransientStruct> transients(3);
    for (std::size_t i = 0; i < transients.size(); ++i)
        transients[i].position = static_cast<std::uint32_t>(3 * i);
    loop->setTransients(transients);
    return loop;
}

template <typename Writer>
void write(const std::filesystem::path& path, const Seed& seed) {
    const marl::IFileWriterRef writer(new Writer(halyard::CSTR(path.string()), describe(seed), true));
    std::vector<unsigned char> samples(static_cast<std::size_t>(seed.frames * seed.channels * seed.bits / 8));
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<unsigned char>(i * 37);
    if (!samples.empty()) {
        writer->writeSamples(samples.data(), 0, static_cast<unsigned long>(seed.frames * seed.channels));
    }
    writer->finish();
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 2) return 2;
    const std::filesystem::path folder(argv[1]);
    std::filesystem::create_directories(folder / "aiff_fuzzer");
    std::filesystem::create_directories(folder / "wav_fuzzer");
    for (const Seed& seed : kSeeds) {
        write<marl::CAIFWriter>(folder / "aiff_fuzzer" / (std::string(seed.name) + ".aif"), seed);
        write<marl::CWAVWriter>(folder / "wav_fuzzer" / (std::string(seed.name) + ".wav"), seed);
    }
    write<marl::CWAVWriter>(folder / "wav_fuzzer" / "narrow.wav", {"narrow", 8000, 1, 8, 33, true, false});
} catch (const std::exception& exception) {
    std::fprintf(stderr, "make_seeds: %s\n", exception.what());
    return 1;
}
