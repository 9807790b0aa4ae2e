// SPDX-License-Identifier: MIT
#include "marl/FloatInput.h"

#include <cerrno>

#include <poll.h>
#include <unistd.h>

namespace marl::tool {

FloatInput::FloatInput(int descriptor, int channels, std::size_t framesInBlock, const StopSignals& signals)
    : m_descriptor(descriptor),
      m_channels(static_cast<std::size_t>(channels)),
      m_signals(signals),
      m_block(framesInBlock * m_channels) {}

std::span<float> FloatInput::next() {
    const std::span<std::byte> space = std::as_writable_bytes(std::span(m_block));
    std::size_t size = 0;
    while (!m_isOver && size < space.size()) size += readSome(space.subspan(size));
    const std::size_t bytesPerFrame = m_channels * sizeof(float);
    if (m_isOver && size != 0) m_bytesLeftOut = size % bytesPerFrame;
    return std::span(m_block).first(size / bytesPerFrame * m_channels);
}

/// False when there is a signal to stop instead.
bool FloatInput::waitForBytes() {
    pollfd waiting[] = {{m_descriptor, POLLIN, 0}, {m_signals.descriptor(), POLLIN, 0}};
    while (::poll(waiting, std::size(waiting), -1) < 0 && errno == EINTR) {
    }
    return m_signals.received() == 0;
}

/// How many bytes there were.
std::size_t FloatInput::readSome(std::span<std::byte> space) {
    if (!waitForBytes()) {
        m_isOver = true;
        return 0;
    }
    const ssize_t count = ::read(m_descriptor, space.data(), space.size());
    if (count > 0) return static_cast<std::size_t>(count);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return 0;
    m_error = count < 0 ? errno : 0;
    m_isOver = true;
    return 0;
}

}  // namespace marl::tool
