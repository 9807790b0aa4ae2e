// SPDX-License-Identifier: MIT
/// docs/loop-metadata.md shows two files byte for byte; these are what the writers write.
#include "WrittenFiles.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sstream>

namespace support {
namespace {

using marl::tagging::Keyword;

/// The bytes of the block behind "```hexdump `name`", in the form of `hexdump -C`: an offset, up to 16 bytes
/// in hexadecimal, the same as characters; a star repeats the row above up to the next offset.
std::string bytesOfPage(const std::string& name) {
    std::istringstream page(contentsOf(MARL_SOURCE_DIR "/docs/loop-metadata.md"));
    std::string line, bytes, row;
    while (std::getline(page, line) && line != "```hexdump " + name) continue;
    while (std::getline(page, line) && line != "```") {
        if (line == "*") continue;
        const std::size_t offset = std::stoul(line, nullptr, 16);
        while (bytes.size() < offset) bytes += row;
        EXPECT_EQ(bytes.size(), offset) << "wrong offset: " << line;
        std::istringstream columns(line.substr(8, line.find('|') - 8));
        row.clear();
        for (std::string column; columns >> column;) row += static_cast<char>(std::stoi(column, nullptr, 16));
        bytes += row;
    }
    return bytes;
}

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

/// Where the two differ first, for a message that says more than two long texts.
std::string difference(const std::string& page, const std::string& file) {
    const auto [a, b] = std::mismatch(page.begin(), page.end(), file.begin(), file.end());
    if (a == page.end() && b == file.end()) return "";
    std::ostringstream text;
    text << "page of " << page.size() << " and file of " << file.size() << " bytes differ at byte 0x"
         << std::hex << a - page.begin();
    return text.str();
}

TEST(LoopMetadataPage, ShowsTheAIFFFileThatIsWritten) {
    // 1, -2, 0x123456, in the host's order
    const bool littleFirst = std::endian::native == std::endian::little;
    const unsigned char little[] = {1, 0, 0, 0xFE, 0xFF, 0xFF, 0x56, 0x34, 0x12};
    const unsigned char big[] = {0, 0, 1, 0xFF, 0xFF, 0xFE, 0x12, 0x34, 0x56};
    EXPECT_EQ(difference(bytesOfPage("example.aif"),
                         written({Container::kAIFF, 1, 24}, littleFirst ? little : big, 3)),
              "");
}

TEST(LoopMetadataPage, ShowsTheWAVFileThatIsWritten) {
    const unsigned char samples[] = {0x80, 0xFF, 0x01};
    EXPECT_EQ(difference(bytesOfPage("example.wav"), written({Container::kWAV, 1, 8}, samples, 3)), "");
}

}  // namespace
}  // namespace support
