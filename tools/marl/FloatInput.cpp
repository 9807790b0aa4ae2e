// SPDX-License-Identifier: MIT
#include "marl/FloatInput.h"

#include <algorithm>
#include <cerrno>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace marl::tool {
namespace {

constexpr std::size_t kMostInPipe = 1 << 20;  // bytes; of a file, which has no end to wait for, it is enough

}  // namespace

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

/// False when there is a signal to stop, and nothing left that had come before it.
bool FloatInput::waitForBytes() {
    if (m_leftAfterStop) return *m_leftAfterStop > 0;
    pollfd waiting[] = {{m_descriptor, POLLIN, 0}, {m_signals.descriptor(), POLLIN, 0}};
    while (::poll(waiting, std::size(waiting), -1) < 0 && errno == EINTR) {
    }
    if (m_signals.received() == 0) return true;
    int bytes = 0;
    const bool isKnown = ::ioctl(m_descriptor, FIONREAD, &bytes) == 0 && bytes > 0;
    m_leftAfterStop = isKnown ? std::min(static_cast<std::size_t>(bytes), kMostInPipe) : 0;
    return *m_leftAfterStop > 0;
}

/// How many bytes there were.
std::size_t FloatInput::readSome(std::span<std::byte> space) {
    if (!waitForBytes()) {
        m_isOver = true;
        return 0;
    }
    if (m_leftAfterStop) space = space.first(std::min(space.size(), *m_leftAfterStop));
    const ssize_t count = ::read(m_descriptor, space.data(), space.size());
    if (count > 0) {
        if (m_leftAfterStop) *m_leftAfterStop -= static_cast<std::size_t>(count);
        return static_cast<std::size_t>(count);
    }
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return 0;
    m_error = count < 0 ? errno : 0;
    m_isOver = true;
    return 0;
}

}  // namespace marl::tool
