// SPDX-License-Identifier: MIT
#include "support/LoopFiles.h"
#include "support/OpenedFile.h"

#include <MarlCore/Files/CMemoryFileData.h>
#include <MarlCore/Files/FileClasses.h>
#include <MarlCore/Files/parsing/CAIFFileParser.h>
#include <MarlCore/Files/parsing/CWAVFileParser.h>
#include <MarlCore/Files/streaming/CQTDiskFileData.h>
#include <MarlCore/Files/streaming/CSharedOffline.h>

#include <gtest/gtest.h>

#include <filesystem>

using marl::IFile;
using marl::IFileRef;
using support::Bytes;
using support::messageThrownBy;
using support::OpenedFile;
using support::TemporaryFolder;
using support::urlOf;

TEST(IFile, ChoosesTheClassByTheTypeOfTheFile) {
    const TemporaryFolder folder;
    for (const char* name : {"a.aif", "b.AIFF"}) {
        const IFileRef file(IFile::New(urlOf(folder.write(name, "x")), false));
        EXPECT_TRUE(file.dynamicCast<marl::CAIFFile>());
        EXPECT_TRUE(file->getFileParserRef().dynamicCast<marl::CAIFFileParser>());
        EXPECT_TRUE(file->getFileDataRef().dynamicCast<marl::CMemoryFileData>());
    }
    for (const char* name : {"a.wav", "b.Wave"}) {
        const IFileRef file(IFile::New(urlOf(folder.write(name, "x")), false));
        EXPECT_TRUE(file.dynamicCast<marl::CWAVFile>());
        EXPECT_TRUE(file->getFileParserRef().dynamicCast<marl::CWAVFileParser>());
    }
}

TEST(IFile, GivesEachFormatItsByteOrder) {
    const TemporaryFolder folder;
    const Bytes number = Bytes().byte(0).byte(0).byte(1).byte(0);
    EXPECT_EQ(
        IFileRef(IFile::New(urlOf(folder.write("a.aif", number)), false))->getFileDataRef()->readUInt32(),
        256u);
    EXPECT_EQ(
        IFileRef(IFile::New(urlOf(folder.write("a.wav", number)), false))->getFileDataRef()->readUInt32(),
        65536u);
}

TEST(IFile, RefusesWhatIsNoAudioFile) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path("folder.aif"));
    folder.write("a text.txt", "x");
    for (const char* name : {"a text.txt", "folder.aif", "no extension"}) {
        const CURLRef url = urlOf(folder.path(name));
        const std::string text = halyard::asString(url->getString())->getStringRef();
        EXPECT_EQ(messageThrownBy([&] { IFile::New(url, false); }),
                  "was not able to allocate IFile subclass for URL = '" + text + "'");
    }
    EXPECT_EQ(messageThrownBy([] { IFile::New({}, false); }), "Error: fileURL is null!");
    const CURLRef elsewhere(new CURL(halyard::CSTR("http://example.org/a.wav"), true));
    EXPECT_EQ(messageThrownBy([&] { IFile::New(elsewhere, false); }),
              "was not able to allocate IFile subclass for URL = 'http://example.org/a.wav'");
}

TEST(IFile, StreamsMoviesFromTheStart) {
    const OpenedFile movie("a.mov", Bytes("x"));
    EXPECT_TRUE(movie.file().getFileDataRef().dynamicCast<marl::CQTDiskFileData>());
    movie.file().useDiskFileData(urlOf(movie.path()), false);
    EXPECT_TRUE(movie.file().getFileDataRef().dynamicCast<marl::CQTDiskFileData>());
}

TEST(IFile, CreatesAMissingFileOnlyWhenAsked) {
    const TemporaryFolder folder;
    EXPECT_EQ(messageThrownBy([&] { IFile::New(urlOf(folder.path("a.aif")), false); }),
              "failed to open file '" + folder.path("a.aif") + "'");
    const IFileRef file(IFile::New(urlOf(folder.path("a.aif")), true));
    EXPECT_EQ(file->getFileDataRef()->getFileLength(), 0);
}

TEST(IFile, StandsInForAMissingFile) {
    const IFileRef file(IFile::New(urlOf("/nowhere/a.aif"), false, true));
    EXPECT_EQ(file, marl::CSharedOffline::getOfflineIFile());
    EXPECT_EQ(file, IFileRef(IFile::New(urlOf("/elsewhere/b.wav"), true, true)));
    EXPECT_FALSE(file->isDiskFileDataNeeded());
    EXPECT_TRUE(file->getFileParserRef()->verifyFile());
    EXPECT_EQ(file->getFileParserRef()->getSampleLengthInBytes(), 800);
    marl::IFileData& data = *file->getFileDataRef();
    int last = -1;
    const auto* const silence = static_cast<const char*>(data.readSamples(7, 1000, &last, true));
    EXPECT_EQ(last, 7) << "one sample a call";
    EXPECT_EQ(std::string(silence, 800), std::string(800, '\0'));
    EXPECT_TRUE(data.isSampleRangeLoaded(-5, 1 << 30));
    EXPECT_FALSE(data.getSampleConversion(nullptr, nullptr, nullptr, nullptr));
    EXPECT_TRUE(data.atEOF());
    EXPECT_EQ(data.getFileModificationDate(), 0);
}

TEST(IFile, StandsInWithAFileThatCannotBeMoved) {
    const IFileRef file = marl::CSharedOffline::getOfflineIFile();
    marl::IFileData& data = *file->getFileDataRef();
    const auto format = platform::makeHostFormat(44100, 2, 16);
    data.setSampleConversion(format, 1000, 54, format);
    EXPECT_FALSE(data.getSampleConversion(nullptr, nullptr, nullptr, nullptr));
    char byte = 'x';
    EXPECT_EQ(data.readBytes(1, &byte), 0);
    EXPECT_EQ(byte, 'x');
    EXPECT_EQ(data.read4Char(), "");
    EXPECT_EQ(data.readUInt32(), 0u);
    EXPECT_EQ(data.advance(10), 0);
    EXPECT_EQ(data.seek(100, false), 0);
    data.rewindToStart();
    EXPECT_EQ(data.currentMark(), 0);
    EXPECT_EQ(data.getFileLength(), 0);

    marl::IFileParser& parser = *file->getFileParserRef();
    parser.parse(marl::IFileParser::kParseAll);
    parser.preparse();
    EXPECT_FALSE(parser.hasMidiChunk());
    EXPECT_EQ(parser.getNumberOfBeats(), 0);
    EXPECT_NE(file->makeFileParser(), file->getFileParserRef()) << "a new one, on the same data";
}
