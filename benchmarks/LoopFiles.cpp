// SPDX-License-Identifier: MIT
#include "LoopFiles.h"

#include <MarlCore/Files/parsing/CLoopDescription.h>
#include <MarlCore/Files/writing/CAIFWriter.h>
#include <MarlCore/Files/writing/CWAVWriter.h>

#include <random>
#include <vector>

namespace benchmarks {

namespace {

marl::IFileParserRef describedLoop(std::uint32_t bits) {
    const marl::IFileParserRef loop(new marl::CLoopDescription(44100, 2, static_cast<int>(bits)));
    marl::tagging::BasicTaggingChunk tagging;
    tagging.version = marl::tagging::kTaggingVersion;
    tagging.numberOfBeats = 8;
    tagging.rootNote = 57;
    loop->setBasicTaggingChunk(tagging);
    loop->setInstrument({marl::tagging::Keyword("Drum Kit"), marl::tagging::Keyword("Breakbeat")});
    loop->setGenre(marl::tagging::Genre("Funk"));
    loop->setDescriptors({marl::tagging::Descriptor("Acoustic"), marl::tagging::Descriptor("Dry")});
    loop->setFileInfo({halyard::CSTR("Loop"), halyard::CSTR("Author"), halyard::CSTR("2026"), {}});
    std::vector<marl::tagging::TransientStruct> transients(16);
    for (std::size_t i = 0; i < transients.size(); ++i)
        transients[i].position = static_cast<std::uint32_t>(i * 700);
    loop->setTransients(transients);
    return loop;
}

}  // namespace

void writeLoop(const std::string& path, std::uint32_t bits, int frames) {
    const marl::IFileParserRef loop = describedLoop(bits);
    const halyard::CStringRef name = halyard::CSTR(path);
    const marl::IFileWriterRef writer(
        path.ends_with(".wav") ? static_cast<marl::IFileWriter*>(new marl::CWAVWriter(name, loop, true))
                               : new marl::CAIFWriter(name, loop, true));
    std::vector<unsigned char> samples(static_cast<std::size_t>(frames) * 2 * bits / 8);
    std::mt19937 random(1);
    for (auto& byte : samples) byte = static_cast<unsigned char>(random());
    writer->writeSamples(samples.data(), 0, static_cast<unsigned long>(frames) * 2);
    writer->finish();
}

}  // namespace benchmarks
