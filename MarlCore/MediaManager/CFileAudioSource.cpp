// SPDX-License-Identifier: MIT
#include <MarlCore/MediaManager/CFileAudioSource.h>

#include <MarlCore/Files/streaming/CDiskFileData.h>
#include <MarlCore/Files/streaming/CSharedOffline.h>
#include <MarlCore/MediaManager/ProjectFormat.h>

#include <utility>

namespace marl {
namespace {

/// Movies are from the start.
bool isStreamedFromDisk(IFile& file) {
    return bool(file.getFileDataRef().dynamicCast<CDiskFileData>());
}

/// Returns the count of frames at the new rate.
std::uint32_t setConversion(IFile& file, const IFileParser::FormatInfo& fileFormat,
                            const AudioStreamBasicDescription& outputFormat) {
    IFileParser& parser = *file.getFileParserRef();
    IFileData& data = *file.getFileDataRef();
    data.setSampleConversion(fileFormat, static_cast<int>(parser.getLengthInFrames()),
                             parser.getSampleOffset(), outputFormat);
    parser.setSampleRateConversion(outputFormat.mSampleRate / fileFormat.mSampleRate);
    int frames = 0;
    data.getSampleConversion(nullptr, &frames, nullptr, nullptr);
    return static_cast<std::uint32_t>(frames);
}

}  // namespace

CFileAudioSource::CFileAudioSource(const CURLRef& url, bool offline)
    : CFileMediaSource(url), m_file(CSharedOffline::getOfflineIFile()), m_fileData(m_file->getFileDataRef()) {
    open(offline);
}

IFileDataRef CFileAudioSource::getFileData() {
    const halyard::CAutoMutex lock(m_fileDataMutex);
    return m_fileData;
}

void CFileAudioSource::openFile(const CURLRef& url) {
    const IFileRef file(IFile::New(url, false));
    if (!isStreamedFromDisk(*file) && file->isDiskFileDataNeeded()) file->useDiskFileData(url, false);
    IFileParser& parser = *file->getFileParserRef();
    parser.parse(IFileParser::kFormatInfo + IFileParser::kSampleOffset);
    IFileParser::FormatInfo fileFormat;
    parser.getFormatInfo(fileFormat);
    const auto outputFormat = ProjectFormat::current().outputFormat(fileFormat);
    const std::uint32_t length = setConversion(*file, fileFormat, outputFormat);
    willChange();
    exchangeFile(file);
    m_isStreamed = isStreamedFromDisk(*file);
    m_fileFrames = parser.getLengthInFrames();
    m_fileRate = fileFormat.mSampleRate;
    m_lengthInFrames = length;
    m_channels = outputFormat.mChannelsPerFrame;
}

void CFileAudioSource::closeFile() noexcept {
    exchangeFile(CSharedOffline::getOfflineIFile());
    m_isStreamed = false;
}

/// The old samples go outside of the lock, when nobody else has them: that can take a while.
void CFileAudioSource::exchangeFile(const IFileRef& file) noexcept {
    IFileDataRef data = file->getFileDataRef();
    {
        const halyard::CAutoMutex lock(m_fileDataMutex);
        std::swap(m_fileData, data);
    }
    m_file = file;
}

void CFileAudioSource::projectFormatDidChange() {
    try {
        if (!isOffline()) reconnect(getURL());
    } catch (const halyard::CException& exception) {
        goOffline(exception.getMessage());
    }
    if (isOffline() && m_fileRate > 0) convertLength();
}

void CFileAudioSource::convertLength() {
    try {
        m_lengthInFrames = static_cast<std::uint32_t>(
            IFileData::convertedFrameCount(m_fileFrames, m_fileRate, ProjectFormat::current().sampleRate));
    } catch (const halyard::CParamException&) {
        // of a length that this rate cannot count: it stays as it is
    }
}

}  // namespace marl
