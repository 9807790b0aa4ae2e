// SPDX-License-Identifier: MIT
/// \file
/// The audio source over a file.
#pragma once

#include <MarlCore/Files/IFile.h>
#include <MarlCore/Files/streaming/IAudioSource.h>
#include <MarlCore/MediaManager/CFileMediaSource.h>
#include <MarlCore/foundation/CMutex.h>

namespace marl {

/// Delivers the samples of a file in the project's format (`ProjectFormat::current()`), from memory or, where
/// the file asks for it (`IFile::isDiskFileDataNeeded`), streamed from disk. Offline it delivers the silence
/// of the shared offline file.
///
/// Whenever the file or the format changes, the new samples are ready before they take the place of the old
/// ones. A thread that has the old ones by then goes on with them, unharmed.
///
/// [main thread] but for `getFileData`
class MARLCORE_EXPORT CFileAudioSource final : public CFileMediaSource, public IAudioSource {
public:
    /// A file that is missing or cannot be read leaves the source offline; `offline` does not look for it.
    /// Throws `CParamException` for a file that is no audio file, or that cannot be converted to the
    /// project's format.
    CFileAudioSource(const CURLRef& url, bool offline);

    MediaKind getKind() const noexcept override { return MediaKind::kAudio; }
    /// A source that cannot be had in the new format goes offline, or stays so with the length that it has.
    void projectFormatDidChange() override;

    /// The samples of now. [any thread]
    IFileDataRef getFileData() override;

    /// The file, whose parser has the metadata; the offline file while the source is offline.
    const IFileRef& getFile() const noexcept { return m_file; }
    /// Whether samples come from the disk while they play.
    bool isStreamed() const noexcept { return m_isStreamed; }

    // As delivered. While the source is offline, what the last file had, or 0.

    std::uint32_t getLengthInFrames() const noexcept { return m_lengthInFrames; }
    unsigned getNumberOfChannels() const noexcept { return m_channels; }

protected:
    void openFile(const CURLRef& url) override;
    void closeFile() noexcept override;

private:
    void exchangeFile(const IFileRef& file) noexcept;
    void convertLength();

    IFileRef m_file;
    halyard::CMutex m_fileDataMutex;
    IFileDataRef m_fileData MARL_GUARDED_BY(m_fileDataMutex);  // that of m_file
    bool m_isStreamed = false;
    long long m_fileFrames = 0;  // at the file's own rate
    double m_fileRate = 0;       // Hz; 0: no file was ever open
    std::uint32_t m_lengthInFrames = 0;
    unsigned m_channels = 0;
};

using CFileAudioSourceRef = halyard::CSharedObjectRef<CFileAudioSource>;

}  // namespace marl
