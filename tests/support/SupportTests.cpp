// SPDX-License-Identifier: MIT
#include "support/LoopFiles.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

using namespace std::string_view_literals;

namespace support {
namespace {

TEST(Bytes, LayFieldsOutInTheOrderOfTheirName) {
    EXPECT_EQ(Bytes().big16(0x8102).view(), "\x81\x02"sv);
    EXPECT_EQ(Bytes().big32(0x81020304).view(), "\x81\x02\x03\x04"sv);
    EXPECT_EQ(Bytes().little16(0x8102).view(), "\x02\x81"sv);
    EXPECT_EQ(Bytes().little32(0x81020304).view(), "\x04\x03\x02\x81"sv);
    EXPECT_EQ(Bytes().big16(-2).view(), "\xFF\xFE"sv);
    EXPECT_THROW(Bytes().big16(0x10000), std::out_of_range);
    EXPECT_THROW(Bytes().byte(-129), std::out_of_range);
}

TEST(Bytes, WriteTheExtendedNumbersThatPeersWrite) {
    // As sox 14.4.2 writes them.
    EXPECT_EQ(Bytes().extended(44100).view(), "\x40\x0E\xAC\x44\0\0\0\0\0\0"sv);
    EXPECT_EQ(Bytes().extended(8000).view(), "\x40\x0B\xFA\0\0\0\0\0\0\0"sv);
    EXPECT_EQ(Bytes().extended(22050).view(), "\x40\x0D\xAC\x44\0\0\0\0\0\0"sv);
    EXPECT_EQ(Bytes().extended(96000).view(), "\x40\x0F\xBB\x80\0\0\0\0\0\0"sv);
}

TEST(Bytes, PadChunksOfOddSizeOnly) {
    EXPECT_EQ(Bytes().bigChunk("NAME", Bytes("odd")).view(), "NAME\0\0\0\x03odd\0"sv);
    EXPECT_EQ(Bytes().littleChunk("acid", Bytes("even")).view(), "acid\x04\0\0\0even"sv);
    EXPECT_EQ(Bytes().bigChunkClaiming("NAME", 99, Bytes("odd")).view(), "NAME\0\0\0\x63odd"sv);
}

TEST(LoopFiles, PlaceFieldsAtTheOffsetsOfTheirChunks) {
    const Bytes basc = basicTaggingBody({.beats = 7, .rootNote = -1, .fileType = 2});
    EXPECT_EQ(basc.size(), 84u);
    EXPECT_EQ(basc.view().substr(4, 6), "\0\0\0\x07\xFF\xFF"sv);
    EXPECT_EQ(basc.view().substr(16, 2), "\0\x02"sv);

    const Bytes cate = categoriesBody({.genre = "Jazz", .descriptors = {"Single", "Clean"}});
    EXPECT_EQ(cate.size(), 222u + 2 * 50);
    EXPECT_EQ(cate.offsetOf("Jazz"), 104u);
    EXPECT_EQ(cate.view().substr(220, 2), "\0\x02"sv);
    EXPECT_EQ(cate.offsetOf("Clean"), 272u);

    const Bytes trns = transientBody({.records = {{.value = 5, .position = 0x01020304}}});
    EXPECT_EQ(trns.size(), 76u + 24);
    EXPECT_EQ(trns.view().substr(72, 12), "\0\0\0\x01\0\x05\0\0\x01\x02\x03\x04"sv);

    EXPECT_EQ(acidBody({.beats = 9}).view().substr(12, 4), "\x09\0\0\0"sv);
    EXPECT_EQ(acidBody({}).size(), 24u);
    EXPECT_EQ(stretchBody({.positions = {0, 258}}).view().substr(28 + 32 + 8, 4), "\x02\x01\0\0"sv);
}

TEST(LoopFiles, HoldTheirTrueSizes) {
    const Bytes samples = Bytes().zeros(8);
    const Bytes aiff = aiffFile({.samples = samples});
    EXPECT_EQ(aiff.size(), 12u + 26 + 16 + 8);
    EXPECT_EQ(aiff.view().substr(4, 8),
              "\0\0\0\x36"
              "AIFF"sv);
    EXPECT_EQ(aiff.view().substr(22, 4), "\0\0\0\x02"sv) << "two stereo frames of 16 bits";
    const Bytes wav = wavFile({.info = {{"ICOP", "me"}}, .samples = samples});
    EXPECT_EQ(wav.size(), 12u + 24 + 8 + 4 + 8 + 4 + 16);
    EXPECT_EQ(wav.view().substr(4, 8), "\x44\0\0\0WAVE"sv);
}

TEST(TemporaryFolder, HoldsItsFilesAndGoesWithThem) {
    std::string path, file;
    {
        const TemporaryFolder folder;
        path = folder.path();
        file = folder.write("Drums/Kick 01.aif", "a\0b"sv);
        EXPECT_EQ(file, folder.path("Drums/Kick 01.aif"));
        std::ifstream stream(file, std::ios::binary);
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(stream), {}), "a\0b"sv);
        EXPECT_NE(TemporaryFolder().path(), path);
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
}  // namespace support
