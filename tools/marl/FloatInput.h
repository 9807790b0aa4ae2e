// SPDX-License-Identifier: MIT
/// \file
/// Blocks of floats from a descriptor.
#pragma once

#include "marl/StopSignals.h"

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace marl::tool {

/// Reads interleaved 32-bit floats in host order, in blocks of whole frames, however the bytes come in: until
/// the input ends, or cannot be read, or a signal asks to stop: what a pipe holds by then still counts.
/// [one thread]
class FloatInput {
public:
    /// `descriptor` may be a pipe, a file or a device, blocking or not; it stays open. `signals` outlives
    /// this.
    FloatInput(int descriptor, int channels, std::size_t framesInBlock, const StopSignals& signals);

    /// The next block; only the last is shorter, and behind that come empty ones. For the caller to change,
    /// and valid until the next call.
    std::span<float> next();

    /// Why the input could not be read on: errno, or 0.
    int error() const noexcept { return m_error; }
    /// Bytes behind the last whole frame, which are left out. Known once a block was short.
    std::size_t bytesLeftOut() const noexcept { return m_bytesLeftOut; }

private:
    bool waitForBytes();
    std::size_t readSome(std::span<std::byte> space);

    const int m_descriptor;
    const std::size_t m_channels;
    const StopSignals& m_signals;
    std::vector<float> m_block;
    std::optional<std::size_t> m_leftAfterStop;  // bytes, once there was a signal
    bool m_isOver = false;
    int m_error = 0;
    std::size_t m_bytesLeftOut = 0;
};

}  // namespace marl::tool
