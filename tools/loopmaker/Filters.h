// SPDX-License-Identifier: MIT
/// \file
/// Two small filters: one pole, and a state-variable filter that can be swept.
#pragma once

#include "Signal.h"

namespace loopmaker {

/// 6 dB an octave. `low` and `high` each advance the filter by one sample: call one of them.
class OnePole {
public:
    void setCutoff(float hz, double rate) noexcept {
        m_step = 1.0f - std::exp(-2.0f * kPi * hz / static_cast<float>(rate));
    }
    float low(float x) noexcept { return m_state += m_step * (x - m_state); }
    float high(float x) noexcept { return x - low(x); }

private:
    float m_step = 1.0f;
    float m_state = 0.0f;
};

/// 12 dB an octave, stable under fast changes of the cut-off: the trapezoidal state-variable filter of
/// A. Simper, "Linear Trapezoidal Integrated State Variable Filter" (2013). `low`, `band` and `high` each
/// advance it by one sample: call one of them.
class StateVariableFilter {
public:
    /// `q` 0.5 damps fully, 0.707 is flat, above it rings at the cut-off. The cut-off stays below Nyquist.
    void set(float hz, float q, double rate) noexcept {
        const float nyquist = 0.5f * static_cast<float>(rate);
        const float g = std::tan(0.5f * kPi * std::clamp(hz / nyquist, 0.0005f, 0.9f));
        m_damping = 1.0f / q;
        m_a1 = 1.0f / (1.0f + g * (g + m_damping));
        m_a2 = g * m_a1;
        m_a3 = g * m_a2;
    }
    float low(float x) noexcept {
        advance(x);
        return m_low;
    }
    /// Peak gain 1, whatever the resonance.
    float band(float x) noexcept {
        advance(x);
        return m_band * m_damping;
    }
    float high(float x) noexcept {
        advance(x);
        return x - m_damping * m_band - m_low;
    }

private:
    void advance(float x) noexcept {
        const float v3 = x - m_state2;
        m_band = m_a1 * m_state1 + m_a2 * v3;
        m_low = m_state2 + m_a2 * m_state1 + m_a3 * v3;
        m_state1 = 2.0f * m_band - m_state1;
        m_state2 = 2.0f * m_low - m_state2;
    }

    float m_damping = 1.0f, m_a1 = 1.0f, m_a2 = 0.0f, m_a3 = 0.0f;
    float m_state1 = 0.0f, m_state2 = 0.0f;
    float m_band = 0.0f, m_low = 0.0f;
};

}  // namespace loopmaker
