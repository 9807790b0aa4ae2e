// SPDX-License-Identifier: MIT
/// docs/loop-metadata.md shows two files byte for byte; these are what the writers write.
#include "WrittenFiles.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace support {
namespace {

using marl::tagging::Keyword;

LoopDescriptionRef example(const WrittenFormat& format) {
    const LoopDescriptionRef loop = describe(format);
    loop->setNumberOfBeats(6);
    loop->setTimeSignature({3, 4});
    loop->setMidiRootNote(57);
    loop->setInstrument({Keyword("Bass"), Keyword("Synthetic Bass")});
    loop->setGenre(Keyword("Jazz"));
    loop->setDescriptors({Keyword("Single"), Keyword("Clean")});
    loop->setTransients({{.value = 1, .position = 0}, {.value = 1, .position = 2}});
    loop->setTransientDetectionPercentage(50);
    loop->setFileInfo(
        {halyard::CSTR("Walk"), halyard::CSTR("Zoë"), halyard::CSTR("2025"), halyard::CSTR("Odd")});
    return loop;
}

std::string written(const WrittenFormat& format, const void* samples, unsigned long count) {
    const TemporaryFolder folder;
    const std::string path = folder.path(format.fileName());
    newWriter(format.container, path, example(format))->writeSamples(samples, 0, count);
    return contentsOf(path);
}

const std::string kPage = MARL_SOURCE_DIR "/docs/loop-metadata.md";

TEST(LoopMetadataPage, ShowsTheAIFFFileThatIsWritten) {
    // 1, -2, 0x123456, in the host's order
    const bool littleFirst = std::endian::native == std::endian::little;
    const unsigned char little[] = {1, 0, 0, 0xFE, 0xFF, 0xFF, 0x56, 0x34, 0x12};
    const unsigned char big[] = {0, 0, 1, 0xFF, 0xFF, 0xFE, 0x12, 0x34, 0x56};
    EXPECT_EQ(difference(bytesOfPage(kPage, "example.aif"),
                         written({Container::kAIFF, 1, 24}, littleFirst ? little : big, 3)),
              "");
}

TEST(LoopMetadataPage, ShowsTheWAVFileThatIsWritten) {
    const unsigned char samples[] = {0x80, 0xFF, 0x01};
    EXPECT_EQ(difference(bytesOfPage(kPage, "example.wav"), written({Container::kWAV, 1, 8}, samples, 3)),
              "");
}

}  // namespace
}  // namespace support
