// SPDX-License-Identifier: MIT
#include "Textures.h"

#include "Filters.h"

namespace loopmaker {
namespace {

/// A texture while it is made.
struct Bench {
    double rate;
    float tonicHz;
    Random& random;
    TextureSound out;

    std::size_t frames() const { return out.signal.left.size(); }
    float progress(std::size_t frame) const {
        return static_cast<float>(frame) / static_cast<float>(frames());
    }
};

/// A short ringing tick, somewhere, wrapping around the end.
void addTick(Bench& bench, float level, float hz, float seconds) {
    const auto at = static_cast<std::size_t>(bench.random.next() % bench.frames());
    const float pan = bench.random.uniform();
    const float step = hz / static_cast<float>(bench.rate);
    Decay fall(seconds, bench.rate);
    float phase = 0;
    for (std::size_t i = 0; i < toFrames(seconds, bench.rate); ++i, phase += step) {
        const std::size_t frame = (at + i) % bench.frames();
        const float x = level * fall.next() * sine(phase);
        bench.out.signal.left[frame] += x * (1.0f - pan);
        bench.out.signal.right[frame] += x * pan;
    }
    if (level > 0.4f) bench.out.onsets.push_back(at);
}

void addNoise(Bench& bench, float level) {
    for (float& x : bench.out.signal.left) x += level * bench.random.bipolar();
    for (float& x : bench.out.signal.right) x += level * bench.random.bipolar();
}

int timesPerSecond(const Bench& bench, double count) {
    return std::max(1, static_cast<int>(count * static_cast<double>(bench.frames()) / bench.rate));
}

void vinylCrackle(Bench& bench) {
    addNoise(bench, 0.02f);
    for (int i = timesPerSecond(bench, 45); i > 0; --i)
        addTick(bench, 0.03f + 0.2f * bench.random.uniform() * bench.random.uniform(),
                1500 + 5000 * bench.random.uniform(), 0.0015f);
    for (int i = timesPerSecond(bench, 1.6); i > 0; --i)
        addTick(bench, 0.45f + 0.4f * bench.random.uniform(), 500 + 1300 * bench.random.uniform(), 0.005f);
}

void rain(Bench& bench) {
    addNoise(bench, 0.05f);
    for (int i = timesPerSecond(bench, 160); i > 0; --i) {
        const float near = bench.random.uniform() * bench.random.uniform() * bench.random.uniform();
        addTick(bench, 0.05f + 0.5f * near, 1200 + 4200 * bench.random.uniform(), 0.006f);
    }
}

/// Waves: noise that swells a whole number of times.
void sea(Bench& bench) {
    const int waves = timesPerSecond(bench, 0.14);
    for (int wave = 0; wave < waves; ++wave)
        bench.out.onsets.push_back(bench.frames() / static_cast<std::size_t>(waves) *
                                   static_cast<std::size_t>(wave));
    for (std::size_t i = 0; i < bench.frames(); ++i) {
        const float turn = bench.progress(i) * static_cast<float>(waves);
        const float swell = 0.5f - 0.5f * sine(turn + 0.25f), late = 0.5f - 0.5f * sine(turn + 0.17f);
        bench.out.signal.left[i] = bench.random.bipolar() * (0.12f + 0.5f * swell * swell);
        bench.out.signal.right[i] = bench.random.bipolar() * (0.12f + 0.5f * late * late);
    }
}

/// Noise through a band that moves between two frequencies in Hz, louder as `level(progress)` says.
template <class Level>
void addSweptNoise(Bench& bench, float fromHz, float toHz, Level level) {
    StateVariableFilter l, r;
    for (std::size_t i = 0; i < bench.frames(); ++i) {
        const float p = bench.progress(i);
        if (i % 32 == 0) {
            const float hz = fromHz * std::pow(toHz / fromHz, p);
            l.set(hz, 1.4f, bench.rate);
            r.set(hz * 1.1f, 1.4f, bench.rate);
        }
        bench.out.signal.left[i] += level(p) * l.band(bench.random.bipolar());
        bench.out.signal.right[i] += level(p) * r.band(bench.random.bipolar());
    }
}

/// A tone that slides by `octaves` on its way; the channels are a little out of tune.
void addSlide(Bench& bench, float octaves, float level) {
    float left = 0, right = 0;
    for (std::size_t i = 0; i < bench.frames(); ++i) {
        const float p = bench.progress(i);
        const float step = bench.tonicHz * std::exp2(octaves * p) / static_cast<float>(bench.rate);
        left += step;
        right += 1.006f * step;
        const float swell = level * (octaves > 0 ? p * p : (1.0f - p) * (1.0f - p));
        bench.out.signal.left[i] += swell * saturate(2.0f * sine(left));
        bench.out.signal.right[i] += swell * saturate(2.0f * sine(right));
    }
}

void riser(Bench& bench) {
    addSweptNoise(bench, 300, 9000, [](float p) { return 1.4f * p * p; });
    addSlide(bench, 2, 0.25f);
}

void downlifter(Bench& bench) {
    addSweptNoise(bench, 8000, 150,
                  [](float p) { return 1.4f * std::min(1.0f, p * 60.0f) * (1.0f - p) * (1.0f - p); });
    addSlide(bench, -2, 0.2f);
}

void whoosh(Bench& bench) {
    addSweptNoise(bench, 400, 3500, [](float p) {
        const float bump = p < 0.6f ? p / 0.6f : (1.0f - p) / 0.4f;
        return 1.6f * bump * bump;
    });
}

void impact(Bench& bench) {
    Decay sweep(0.5f, bench.rate), boom(1.6f, bench.rate), burst(0.5f, bench.rate);
    OnePole l, r;
    l.setCutoff(1800, bench.rate);
    r.setCutoff(1700, bench.rate);
    float phase = 0;
    for (std::size_t i = 0; i < bench.frames(); ++i) {
        phase += (36.0f + 90.0f * sweep.next()) / static_cast<float>(bench.rate);
        const float low = 0.9f * saturate(1.8f * boom.next() * sine(phase)), noise = 0.9f * burst.next();
        bench.out.signal.left[i] = low + l.low(noise * bench.random.bipolar());
        bench.out.signal.right[i] = low + r.low(noise * bench.random.bipolar());
    }
}

}  // namespace

TextureSound makeTexture(Texture texture, std::size_t frames, double rate, float tonicHz, Random& random) {
    Bench bench{rate, tonicHz, random, {{Signal(frames), Signal(frames)}, {}}};
    switch (texture) {
        case Texture::VinylCrackle:
            vinylCrackle(bench);
            break;
        case Texture::Rain:
            rain(bench);
            break;
        case Texture::Sea:
            sea(bench);
            break;
        case Texture::Riser:
            riser(bench);
            break;
        case Texture::Downlifter:
            downlifter(bench);
            break;
        case Texture::Whoosh:
            whoosh(bench);
            break;
        case Texture::Impact:
            impact(bench);
            break;
    }
    return std::move(bench.out);
}

}  // namespace loopmaker
