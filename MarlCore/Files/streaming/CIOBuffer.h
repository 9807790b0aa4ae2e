// SPDX-License-Identifier: MIT
/// \file
/// What the rings of the I/O threads are made of.
#pragma once

#include <MarlCore/foundation/CSharedObject.h>
#include <MarlCore/foundation/CSharedObjectRef.h>

#include <atomic>
#include <cstdint>

namespace marl {

/// One slot of a ring between a *producer*, which fills it, and an I/O thread, which processes it. The state
/// says whose it is, and is the only hand-over: each side touches the contents only in its own state, and
/// sets the other's last. No lock is involved, and nothing is allocated.
class MARLCORE_EXPORT CIOBuffer {
public:
    enum State : std::int32_t {
        kEmpty = 0,  ///< the producer may fill it
        kFull = 1,   ///< waits for the I/O thread
        kDead = 2,   ///< destroyed
    };

    CIOBuffer() noexcept = default;
    CIOBuffer(const CIOBuffer&) = delete;
    CIOBuffer& operator=(const CIOBuffer&) = delete;
    virtual ~CIOBuffer();

    /// Called when the buffer has been processed, while it is still full. [I/O thread]
    virtual void bufferFinished() {}

    /// For whoever empties a full buffer without processing it: gives up the object that the buffer refers
    /// to, if any, so that the producer's next use of the buffer drops none.
    virtual halyard::CSharedObjectRef<halyard::CSharedObject> giveUpObject() noexcept { return nullptr; }

    /// [playback] What the other side did before it set this state is visible.
    int getState() const noexcept { return m_state.load(std::memory_order_acquire); }
    /// [playback]
    void setState(int state) noexcept { m_state.store(state, std::memory_order_release); }

private:
    std::atomic<std::int32_t> m_state{kEmpty};
    static_assert(std::atomic<std::int32_t>::is_always_lock_free);
};

}  // namespace marl
