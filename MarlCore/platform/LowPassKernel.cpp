// SPDX-License-Identifier: MIT
#include <MarlCore/platform/LowPassKernel.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace platform {
namespace {

using std::numbers::pi;

// Frequencies are counted in cycles over the kernel's width: the Nyquist frequency is kNyquist.
constexpr double kNyquist = LowPassKernel::kWidth / 2.0;
constexpr double kPassBandEnd = kNyquist * LowPassKernel::kPassBandEdge;
// Terms reach a little into the stop band, where they shape its first lobes; further ones gain nothing.
constexpr std::size_t kTerms = static_cast<std::size_t>(kNyquist) + 5;
// From here on the raised cosine alone keeps the response down.
constexpr double kStopBandEnd = 2.5 * kNyquist;
// Four points an oscillation of the spectrum's lobes: fewer leave peaks between them.
constexpr double kGridStep = 0.25;
// How much worse an error in the stop band is than one in the pass band: 64 dB, as power. It trades a
// pass-band ripple of 0.009 dB for -120 dB at the edge of the stop band.
constexpr double kStopBandWeight = 2.5e6;

// The spectrum of a raised cosine over the width, 1 at 0.
double raisedCosineSpectrum(double frequency) {
    const double f = std::abs(frequency);
    if (f < 1e-9) return 1;
    if (std::abs(f - 1) < 1e-9) return 0.5;
    return std::sin(pi * f) / (pi * f * (1 - f * f));
}

// The normal equations of the least-squares problem: matrix (its lower half) and right-hand side.
class NormalEquations {
public:
    // One more condition: the response at `frequency` shall be `wanted`.
    void add(double frequency, double wanted, double weight) {
        std::array<double, kTerms> spectrum;
        for (std::size_t k = 0; k < kTerms; ++k)
            spectrum[k] = termSpectrum(static_cast<double>(k), frequency);
        for (std::size_t row = 0; row < kTerms; ++row) {
            const double scaled = weight * spectrum[row];
            m_wanted[row] += scaled * wanted;
            for (std::size_t column = 0; column <= row; ++column)
                at(row, column) += scaled * spectrum[column];
        }
    }

    // By Cholesky decomposition (Golub and Van Loan, "Matrix Computations", section 4.2). Uses up the
    // equations.
    std::vector<double> solve() {
        decompose();
        for (std::size_t i = 0; i < kTerms; ++i) {
            for (std::size_t j = 0; j < i; ++j) m_wanted[i] -= at(i, j) * m_wanted[j];
            m_wanted[i] /= at(i, i);
        }
        for (std::size_t i = kTerms; i-- > 0;) {
            for (std::size_t j = i + 1; j < kTerms; ++j) m_wanted[i] -= at(j, i) * m_wanted[j];
            m_wanted[i] /= at(i, i);
        }
        return m_wanted;
    }

private:
    // The spectrum of the raised cosine times cos kx, or times 2 cos kx for k > 0.
    static double termSpectrum(double k, double frequency) {
        if (k == 0) return raisedCosineSpectrum(frequency);
        return raisedCosineSpectrum(frequency - k) + raisedCosineSpectrum(frequency + k);
    }

    void decompose() {
        for (std::size_t i = 0; i < kTerms; ++i) {
            for (std::size_t j = 0; j <= i; ++j) {
                double rest = at(i, j);
                for (std::size_t k = 0; k < j; ++k) rest -= at(i, k) * at(j, k);
                at(i, j) = i == j ? std::sqrt(rest) : rest / at(j, j);
            }
        }
    }

    double& at(std::size_t row, std::size_t column) { return m_matrix[row * kTerms + column]; }

    std::vector<double> m_matrix = std::vector<double>(kTerms * kTerms);
    std::vector<double> m_wanted = std::vector<double>(kTerms);
};

void addBand(NormalEquations& equations, double begin, double end, double wanted, double weight) {
    const double steps = std::ceil((end - begin) / kGridStep);
    for (double i = 0; i <= steps; ++i) equations.add(begin + (end - begin) * i / steps, wanted, weight);
}

}  // namespace

const LowPassKernel& LowPassKernel::shared() {
    static const LowPassKernel kernel;
    return kernel;
}

LowPassKernel::LowPassKernel() {
    NormalEquations equations;
    addBand(equations, 0, kPassBandEnd, 1, 1);
    addBand(equations, kNyquist, kStopBandEnd, 0, kStopBandWeight);
    m_series = equations.solve();
    for (double& c : m_series) c *= 2.0 / kWidth;
    m_series.front() /= 2;
}

// Clenshaw's recurrence (C. W. Clenshaw, "A note on the summation of Chebyshev series", 1955), a block of
// times at once so that the compiler can keep several of its long chains of sums going.
void LowPassKernel::evaluate(std::span<const double> times, std::span<double> values) const {
    constexpr std::size_t kBlock = 8;
    for (std::size_t begin = 0; begin < times.size(); begin += kBlock) {
        const std::size_t count = std::min(kBlock, times.size() - begin);
        std::array<double, kBlock> cosine{}, sum{}, before{};
        for (std::size_t i = 0; i < count; ++i) cosine[i] = std::cos(2 * pi / kWidth * times[begin + i]);
        for (std::size_t k = m_series.size(); k-- > 1;) {
            for (std::size_t i = 0; i < kBlock; ++i) {
                const double next = m_series[k] + 2 * cosine[i] * sum[i] - before[i];
                before[i] = sum[i];
                sum[i] = next;
            }
        }
        for (std::size_t i = 0; i < count; ++i) {
            const bool inside = std::abs(times[begin + i]) < kWidth / 2.0;
            const double series = m_series[0] + cosine[i] * sum[i] - before[i];
            values[begin + i] = inside ? (1 + cosine[i]) * series : 0;
        }
    }
}

}  // namespace platform
