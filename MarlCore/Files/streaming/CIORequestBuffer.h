// SPDX-License-Identifier: MIT
/// \file
/// A wish to have samples in memory.
#pragma once

#include <MarlCore/Files/streaming/CIOBuffer.h>
#include <MarlCore/Files/streaming/IAudioSource.h>

#include <utility>

namespace marl {

/// Names samples of a source: interleaved sample indices, both inclusive. Idle: no source, and -1 for both.
class MARLCORE_EXPORT CIORequestBuffer : public CIOBuffer {
public:
    /// Shares the source. Neither allocates nor locks; frees nothing when the buffer is idle or finished.
    /// [playback]
    void copyRequest(const IAudioSourceRef& source, int first, int last) noexcept {
        m_audioSource = source;
        m_firstSample = first;
        m_lastSample = last;
    }

    const IAudioSourceRef& getAudioSource() const noexcept { return m_audioSource; }
    int getFirstSample() const noexcept { return m_firstSample; }
    int getLastSample() const noexcept { return m_lastSample; }

    /// Drops the source here, in the I/O thread, which may be the last to hold it; the numbers stay.
    void bufferFinished() override { m_audioSource = nullptr; }
    halyard::CSharedObjectRef<halyard::CSharedObject> giveUpObject() noexcept override {
        return std::exchange(m_audioSource, nullptr);
    }

private:
    IAudioSourceRef m_audioSource;
    int m_firstSample = -1;
    int m_lastSample = -1;
};

}  // namespace marl
