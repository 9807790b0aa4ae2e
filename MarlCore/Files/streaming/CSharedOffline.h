// SPDX-License-Identifier: MIT
/// \file
/// The silent stand-in for files that are missing.
#pragma once

#include <MarlCore/Files/IFile.h>

#include <array>

namespace marl {

/// The samples of a missing file: every read succeeds and gives silence, and nothing touches the disk.
class MARLCORE_EXPORT COfflineFileData : public IFileData {
public:
    explicit COfflineFileData(bool dataIsBigEndian) noexcept : IFileData(dataIsBigEndian) {}

    std::string read4Char() override { return {}; }
    std::uint32_t readUInt32() override { return 0; }
    long long readBytes(long long, char*) override { return 0; }
    long long advance(long long) override { return 0; }
    long long seek(long long, bool) override { return 0; }
    void rewindToStart() override {}
    long long currentMark() override { return 0; }
    long long getFileLength() override { return 0; }
    bool atEOF() override { return true; }
    void setSampleConversion(AudioStreamBasicDescription, int, long long,
                             AudioStreamBasicDescription) override {}
    bool getSampleConversion(AudioStreamBasicDescription*, int*, long long*,
                             AudioStreamBasicDescription*) override {
        return false;
    }
    bool isSampleRangeLoaded(int, int) override { return true; }
    /// One sample a call, whatever range was asked for: `*outLast` = `first`.
    const void* readSamples(int first, int last, int* outLast, bool load) override;

private:
    alignas(float) std::array<std::byte, 800> m_silence{};
};

/// The parser of a missing file: 800 bytes of samples, no format and no metadata.
class MARLCORE_EXPORT COfflineFileParser : public IFileParser {
public:
    explicit COfflineFileParser(const IFileDataRef& fileData);

    long long findHeaderAndReturnOffset() override { return 0; }
    void findFormatInfo() override {}
    void findSampleOffset() override {}
    void findTransients() override {}
    void lookForTransients() override {}
    void findFileInfo() override {}
    void findSearchInfo() override {}
    void findBasicTaggingInfo() override {}
    void parse(unsigned short) override {}
    bool verifyFile() override { return true; }
};

class MARLCORE_EXPORT COfflineIFile : public IFile {
public:
    explicit COfflineIFile(bool dataIsBigEndian) noexcept : IFile(dataIsBigEndian) {}
    IFileParserRef makeFileParser() override;
};

/// Keeps the one offline file of the process.
class MARLCORE_EXPORT CSharedOffline {
public:
    /// The offline file, made on the first call; the same object ever after, until the process ends.
    /// [any thread]
    static const IFileRef& getOfflineIFile();
};

}  // namespace marl
