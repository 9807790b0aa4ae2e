// SPDX-License-Identifier: MIT
#include <MarlCore/Files/IFile.h>

#include <MarlCore/Files/CMemoryFileData.h>
#include <MarlCore/Files/FileClasses.h>
#include <MarlCore/Files/browsing/NodeTypes.h>
#include <MarlCore/Files/parsing/CAIFFileParser.h>
#include <MarlCore/Files/parsing/CQTFileParser.h>
#include <MarlCore/Files/parsing/CWAVFileParser.h>
#include <MarlCore/Files/streaming/CDiskFileData.h>
#include <MarlCore/Files/streaming/CQTDiskFileData.h>
#include <MarlCore/Files/streaming/CSharedOffline.h>

#include <memory>

namespace marl {
namespace {

using halyard::CParamException;
using halyard::kParameterError;

std::string textOf(const CURLRef& url) {
    return halyard::asString(url->getString())->getStringRef();
}

int nodeTypeOf(const CURLRef& url) {
    const halyard::CStringRef path = halyard::asString(url->getFileSystemPath(CURL::kPOSIXPathStyle));
    return path ? NodeTypesGetNodeType(path->getCharPtr()) : NodeTypesHelper::kUnknown;
}

/// The only place where the byte order of a format is decided.
std::unique_ptr<IFile> newFileOfType(int nodeType, const CURLRef& url, bool create) {
    switch (nodeType) {
        case NodeTypesHelper::kAIFF:
            return std::make_unique<CAIFFile>(url, create, true);
        case NodeTypesHelper::kWAV:
            return std::make_unique<CWAVFile>(url, create, false);
        case NodeTypesHelper::kMovie:
            return std::make_unique<CQTFile>(url, create, true);
        default:
            throw CParamException(kParameterError, "was not able to allocate IFile subclass for URL = '%s'",
                                  textOf(url).c_str());
    }
}

}  // namespace

IFile* IFile::New(const CURLRef& url, bool create, bool offline) {
    halyard::throwIfNull(url, "fileURL");
    if (offline) return CSharedOffline::getOfflineIFile().get();
    const int nodeType = nodeTypeOf(url);
    std::unique_ptr<IFile> file = newFileOfType(nodeType, url, create);
    file->setFileDataRef(file->makeFileData(url, create, nodeType == NodeTypesHelper::kMovie));
    file->setFileParserRef(file->makeFileParser());
    return file.release();
}

IFile::~IFile() = default;

IFileDataRef IFile::makeFileData(const CURLRef& url, bool create, bool isQuickTime) {
    if (isQuickTime) return IFileDataRef(new CQTDiskFileData(url, create, m_dataIsBigEndian));
    return IFileDataRef(new CMemoryFileData(url, create, m_dataIsBigEndian));
}

bool IFile::isDiskFileDataNeeded() {
    m_fileParser->parse(IFileParser::kBasicTaggingInfo + IFileParser::kFormatInfo +
                        IFileParser::kSampleOffset);
    return m_fileParser->getFileType() == tagging::kFileTypeOneShot;
}

void IFile::useDiskFileData(const CURLRef& url, bool create) {
    const bool isQuickTime = bool(m_fileData.dynamicCast<CQTDiskFileData>());
    const IFileDataRef fileData = isQuickTime
                                      ? makeFileData(url, create, isQuickTime)
                                      : IFileDataRef(new CDiskFileData(url, create, m_dataIsBigEndian));
    // The parser tells a data strategy once, when it reads the format.
    if (m_fileData) fileData->setSamplesAreSigned(m_fileData->samplesAreSigned());
    setFileDataRef(fileData);
    if (m_fileParser) m_fileParser->setFileDataRef(fileData);
}

CAIFFile::CAIFFile(const CURLRef&, bool, bool dataIsBigEndian) : CSoundFile(dataIsBigEndian) {}

IFileParserRef CAIFFile::makeFileParser() {
    return IFileParserRef(new CAIFFileParser(getFileDataRef()));
}

CWAVFile::CWAVFile(const CURLRef&, bool, bool dataIsBigEndian) : CSoundFile(dataIsBigEndian) {}

IFileParserRef CWAVFile::makeFileParser() {
    return IFileParserRef(new CWAVFileParser(getFileDataRef()));
}

CQTFile::CQTFile(const CURLRef&, bool, bool dataIsBigEndian) : CMovieFile(dataIsBigEndian) {}

IFileParserRef CQTFile::makeFileParser() {
    return IFileParserRef(new CQTFileParser(getFileDataRef()));
}

}  // namespace marl
