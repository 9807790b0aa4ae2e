// SPDX-License-Identifier: MIT
/// \file
/// Writes small loop files with every chunk that the writers know, and small index files, to begin fuzzing
/// from: `make_seeds FOLDER` fills FOLDER/aiff_fuzzer, FOLDER/wav_fuzzer, FOLDER/mov_fuzzer
/// and FOLDER/index_fuzzer.

#include <MarlCore/Files/parsing/CLoopDescription.h>
#include <MarlCore/Files/writing/CAIFWriter.h>
#include <MarlCore/Files/writing/CQTWriter.h>
#include <MarlCore/Files/writing/CWAVWriter.h>
#include <MarlCore/SearchEngine/CIndexFile.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <set>
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

/// An index of so many files, each with three keys of a few and one of its own.
void writeIndex(const std::filesystem::path& path, int files) {
    using marl::SearchKeyInfo;
    const marl::CIndexFileRef index(new marl::CIndexFile(halyard::CSTR(path.string()), true));
    index->setRootDirectory("/Loops");
    index->setState(marl::kIndexIsComplete);
    for (int i = 0; i < files; ++i) {
        const std::string own = "Word " + std::to_string(i), file = "/Loops/" + own + ".aif";
        std::set<SearchKeyInfo> keys;
        marl::CFileIndexInfo record(
            file.c_str(),
            {{i % 2 == 0 ? "Bass" : "Drums", SearchKeyInfo::kInstrument, nullptr},
             {i % 2 == 0 ? "Funk" : "funk", SearchKeyInfo::kGenre, nullptr},
             {i % 3 == 0 ? "Dry" : "\xC3\xA9t\xC3\xA9", SearchKeyInfo::kDescriptor, nullptr},
             {own, SearchKeyInfo::kDescriptor, nullptr}},
            keys);
        record.setIndexTime(1'000'000'000);
        record.setAdditionalInfo({.midiRootNote = 58 + i});
        const std::int32_t fileID = index->appendFileInfo(record);
        index->updateSearchKeySet(fileID, keys);
        if (i % 3 == 2) record.setFileID(-fileID);
        index->writeFileInfo(fileID, record);
    }
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 2) return 2;
    const std::filesystem::path folder(argv[1]);
    std::filesystem::create_directories(folder / "aiff_fuzzer");
    std::filesystem::create_directories(folder / "wav_fuzzer");
    std::filesystem::create_directories(folder / "mov_fuzzer");
    std::filesystem::create_directories(folder / "index_fuzzer");
    for (const Seed& seed : kSeeds) {
        write<marl::CAIFWriter>(folder / "aiff_fuzzer" / (std::string(seed.name) + ".aif"), seed);
        write<marl::CWAVWriter>(folder / "wav_fuzzer" / (std::string(seed.name) + ".wav"), seed);
        write<marl::CQTWriter>(folder / "mov_fuzzer" / (std::string(seed.name) + ".mov"), seed);
    }
    write<marl::CWAVWriter>(folder / "wav_fuzzer" / "narrow.wav", {"narrow", 8000, 1, 8, 33, true, false});
    for (const int files : {0, 1, 4})
        writeIndex(folder / "index_fuzzer" / (std::to_string(files) + "-files.index"), files);
} catch (const std::exception& exception) {
    std::fprintf(stderr, "make_seeds: %s\n", exception.what());
    return 1;
}
