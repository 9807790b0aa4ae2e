// SPDX-License-Identifier: MIT
#include <MarlCore/Files/streaming/CSharedOffline.h>

namespace marl {
namespace {

constexpr int kOfflineSampleLength = 800;  // bytes

IFileRef makeOfflineFile() {
    const IFileRef file(new COfflineIFile(true));
    file->setFileDataRef(IFileDataRef(new COfflineFileData(true)));
    file->setFileParserRef(file->makeFileParser());
    return file;
}

}  // namespace

const void* COfflineFileData::readSamples(int first, int, int* outLast, bool) {
    halyard::throwIfNull(outLast, "outLast");
    *outLast = first;
    return m_silence.data();
}

COfflineFileParser::COfflineFileParser(const IFileDataRef& fileData) : IFileParser(fileData) {
    setSampleLengthInBytes(kOfflineSampleLength);
}

IFileParserRef COfflineIFile::makeFileParser() {
    return IFileParserRef(new COfflineFileParser(getFileDataRef()));
}

const IFileRef& CSharedOffline::getOfflineIFile() {
    static const IFileRef gSharedOfflineIFile = makeOfflineFile();
    return gSharedOfflineIFile;
}

}  // namespace marl
