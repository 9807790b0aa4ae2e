// SPDX-License-Identifier: MIT
#include "Render.h"

#include "Filters.h"
#include "Patterns.h"

#include <algorithm>

namespace loopmaker {
namespace {

constexpr double kMergeSeconds = 0.02;  // onsets closer than this are one transient

/// One layer while it is played: a ring for a loop, a line for a one-shot.
class Stage {
public:
    Stage(const LoopDescription& loop, std::vector<std::size_t>& onsets)
        : m_wraps(!loop.oneShot), m_onsets(onsets) {
        m_signal.left.resize(static_cast<std::size_t>(loop.frames));
        m_signal.right.resize(static_cast<std::size_t>(loop.frames));
    }

    /// Adds `sound` from frame `at` on; what reaches past the end comes in at the start again (loops).
    void add(const Signal& sound, std::size_t at, float level, float pan) {
        const float angle = 0.25f * kPi * (pan + 1.0f);  // equal power
        const float left = 1.4142136f * level * std::cos(angle), right = 1.4142136f * level * std::sin(angle);
        const std::size_t frames = m_signal.left.size();
        std::size_t frame = at;
        for (const float x : sound) {
            if (frame >= frames) {
                if (!m_wraps) return;
                frame -= frames;
            }
            m_signal.left[frame] += left * x;
            m_signal.right[frame] += right * x;
            ++frame;
        }
    }

    void noteOnset(std::size_t at) { m_onsets.push_back(at); }
    StereoSignal& signal() { return m_signal; }

private:
    bool m_wraps;
    StereoSignal m_signal;
    std::vector<std::size_t>& m_onsets;
};

/// Plays the parts of one loop.
class Player {
public:
    Player(const Pack& pack, const LoopDescription& loop)
        : m_pack(pack),
          m_loop(loop),
          m_rate(loop.format.sampleRate),
          m_framesPerStep(15.0 / pack.tempo * m_rate),
          m_groove(m_framesPerStep, pack.swing, pack.swingSteps),
          m_steps(loop.numberOfBeats * 16 / loop.timeSignature.denominator) {}

    StereoSignal playLayer(const Layer& layer, Random& random, std::vector<std::size_t>& onsets) const {
        Stage stage(m_loop, onsets);
        std::visit([&](const auto& part) { playPart(part, stage, random); }, layer.part);
        applyEffects(layer.effects, clock(), stage.signal());
        return std::move(stage.signal());
    }

    EffectClock clock() const {
        EffectClock clock;
        clock.rate = m_rate;
        clock.framesPerStep = m_framesPerStep;
        clock.framesPerBar = m_framesPerStep * stepsPerBar(m_loop.timeSignature);
        clock.framesPerBeat = m_framesPerStep * 4;
        clock.wraps = !m_loop.oneShot;
        return clock;
    }

private:
    std::vector<Step> stepsOf(const Pattern& pattern, const Pattern& fill = {}) const {
        return unroll(pattern, fill, m_loop.oneShot ? std::max(pattern.length, fill.length) : m_steps);
    }

    /// The first step is on the spot, the others as exact as the players of the pack.
    std::size_t frameOf(double step, Random& random) const {
        const double late = step > 0 ? 0.001 * m_pack.looseness * random.bell() * m_rate : 0.0;
        const double frame =
            std::clamp(m_groove.frameOf(step) + late, 0.0, static_cast<double>(m_loop.frames - 1));
        return static_cast<std::size_t>(frame);
    }

    double secondsOf(const Step& step, float gate) const {
        const double end = m_groove.frameOf(step.at + step.length - 1.0 + static_cast<double>(gate));
        return (end - m_groove.frameOf(step.at)) / m_rate;
    }

    float velocityOf(const Step& step, Random& random) const {
        const float spread = 0.05f + 0.01f * m_pack.looseness;
        return std::clamp(step.velocity * (1.0f + spread * random.bell()), 0.05f, 1.0f);
    }

    /// Which chord of the progression sounds at a step.
    std::size_t chordAt(int step) const {
        const double bar = static_cast<double>(step) / stepsPerBar(m_loop.timeSignature);
        return static_cast<std::size_t>(bar / m_pack.barsPerChord) % m_pack.progression.size();
    }

    void hitDrum(const DrumLine& line, const Step& step, double at, Stage& stage, Random& random) const {
        const std::size_t frame = frameOf(at, random);
        const Signal sound = strike(line.drum, m_pack.kit, velocityOf(step, random), m_rate, random);
        stage.add(sound, frame, line.level, line.pan);
        stage.noteOnset(frame);
    }

    void playDrumLine(const DrumLine& line, const std::vector<Step>& steps, Stage& stage,
                      Random& random) const {
        for (const Step& step : steps) {
            hitDrum(line, step, step.at, stage, random);
            if (step.roll) hitDrum(line, step, step.at + 0.5, stage, random);
        }
    }

    void playPart(const DrumPart& part, Stage& stage, Random& random) const {
        Pattern gap;  // where the fill plays instead
        for (const DrumLine& line : part.fill)
            gap.length = std::max(gap.length, parseRhythm(line.steps).length);
        for (const DrumLine& line : part.lines)
            playDrumLine(line, stepsOf(parseRhythm(line.steps), gap), stage, random);
        for (const DrumLine& line : part.fill)
            playDrumLine(line, stepsOf({}, parseRhythm(line.steps)), stage, random);
    }

    /// The root of a chord above the tonic, in semitones: high degrees are taken below it.
    int rootOffset(int step) const {
        const int degree = m_pack.progression[chordAt(step)];
        return degreeToSemitones(m_pack.key.mode, degree >= 5 ? degree - 7 : degree);
    }

    int linePitch(const LinePart& part, const Step& step,
                  const std::vector<std::vector<int>>& voicings) const {
        if (part.follow == Follow::Voicing) {
            const std::vector<int>& chord = voicings[chordAt(step.at)];
            const int count = static_cast<int>(chord.size()), index = step.degree - 1;
            return chord[static_cast<std::size_t>(index % count)] + 12 * (index / count) + step.semitones;
        }
        const int tonic = tonicAtOrAbove(m_pack.key, part.low) + step.semitones;
        if (part.follow == Follow::Key) return tonic + degreeToSemitones(m_pack.key.mode, step.degree);
        // Degrees above a root are those of the scale, counted from the root's own degree.
        const int root = m_pack.progression[chordAt(step.at)];
        const int above = degreeToSemitones(m_pack.key.mode, root + step.degree - 1) -
                          degreeToSemitones(m_pack.key.mode, root);
        return tonic + rootOffset(step.at) + above;
    }

    void playPart(const LinePart& part, Stage& stage, Random& random) const {
        const auto voicings = voiceChords(m_pack.key, m_pack.progression, part.tones, part.low + 6);
        const std::vector<Step> steps = stepsOf(parseLine(part.steps));
        for (std::size_t i = 0; i < steps.size(); ++i) {
            Note note;
            note.pitch = static_cast<float>(linePitch(part, steps[i], voicings));
            note.seconds = secondsOf(steps[i], part.gate);
            note.velocity = velocityOf(steps[i], random);
            const Step& before = steps[(i + steps.size() - 1) % steps.size()];
            if (steps[i].glide) note.glideFrom = static_cast<float>(linePitch(part, before, voicings));
            const std::size_t at = frameOf(steps[i].at, random);
            stage.add(play(part.sound, note, m_rate, random), at, 1.0f, 0.0f);
            stage.noteOnset(at);
        }
    }

    /// Down-strokes on the beat, up-strokes off it; the notes spread a little from left to right.
    void strikeChord(const ChordPart& part, const std::vector<int>& chord, const Step& step, Stage& stage,
                     Random& random) const {
        const std::size_t at = frameOf(step.at, random), count = chord.size();
        const bool down = step.at % 4 == 0 || step.length > 2;
        const float velocity = velocityOf(step, random);
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t string = down ? i : count - 1 - i;
            const std::size_t late = toFrames(part.strum * static_cast<double>(i), m_rate);
            const Note note{static_cast<float>(chord[string]), secondsOf(step, part.gate),
                            velocity * (1.0f - 0.08f * random.uniform()), -1};
            const float pan =
                0.7f *
                (static_cast<float>(string) / static_cast<float>(std::max<std::size_t>(1, count - 1)) - 0.5f);
            stage.add(play(part.sound, note, m_rate, random), at + late, 0.6f, pan);
        }
        stage.noteOnset(at);
    }

    void playPart(const ChordPart& part, Stage& stage, Random& random) const {
        const auto chords = voiceChords(m_pack.key, m_pack.progression, part.tones, part.centre);
        for (const Step& step : stepsOf(parseRhythm(part.steps)))
            strikeChord(part, chords[chordAt(step.at)], step, stage, random);
    }

    void playPart(const TexturePart& part, Stage& stage, Random& random) const {
        const float hz = pitchToHz(static_cast<float>(tonicAtOrAbove(m_pack.key, 48)));
        TextureSound sound = makeTexture(part.texture, stage.signal().left.size(), m_rate, hz, random);
        stage.signal() = std::move(sound.signal);
        for (const std::size_t at : sound.onsets) stage.noteOnset(at);
    }

    const Pack& m_pack;
    const LoopDescription& m_loop;
    double m_rate;
    double m_framesPerStep;
    Groove m_groove;
    int m_steps;
};

void mixInto(StereoSignal& mix, const StereoSignal& layer, float level) {
    for (std::size_t i = 0; i < mix.left.size(); ++i) {
        mix.left[i] += level * layer.left[i];
        mix.right[i] += level * layer.right[i];
    }
}

float peakOf(const Signal& signal) {
    float peak = 0;
    for (const float x : signal) peak = std::max(peak, std::abs(x));
    return peak;
}

void removeMean(Signal& signal) {
    double sum = 0;
    for (const float x : signal) sum += static_cast<double>(x);
    const auto mean = static_cast<float>(sum / static_cast<double>(signal.size()));
    for (float& x : signal) x -= mean;
}

/// Takes out what is below hearing, softens the highest peaks and sets the level.
void master(StereoSignal& mix, const EffectClock& clock, float peak) {
    const float before = std::max({peakOf(mix.left), peakOf(mix.right), 1e-6f});
    for (Signal* channel : {&mix.left, &mix.right})
        for (float& x : *channel) x = saturate(1.4f * x / before);
    Effects rumble;
    rumble.highPass = 24;
    applyEffects(rumble, clock, mix);
    if (clock.wraps) {
        removeMean(mix.left);
        removeMean(mix.right);
    } else {
        fadeOut(mix.left, std::min(mix.left.size() / 6, toFrames(0.15, clock.rate)));
        fadeOut(mix.right, std::min(mix.right.size() / 6, toFrames(0.15, clock.rate)));
    }
    const float gain = peak / std::max({peakOf(mix.left), peakOf(mix.right), 1e-6f});
    for (Signal* channel : {&mix.left, &mix.right})
        for (float& x : *channel) x *= gain;
}

void foldToMono(StereoSignal& mix) {
    for (std::size_t i = 0; i < mix.left.size(); ++i)
        mix.left[i] = mix.right[i] = 0.5f * (mix.left[i] + mix.right[i]);
}

std::vector<float> interleave(const StereoSignal& mix, int channels) {
    if (channels == 1) return mix.left;
    std::vector<float> samples(2 * mix.left.size());
    for (std::size_t i = 0; i < mix.left.size(); ++i) {
        samples[2 * i] = mix.left[i];
        samples[2 * i + 1] = mix.right[i];
    }
    return samples;
}

/// Onsets as transients: sorted, chords and drums that sound together as one, the first at 0.
std::vector<std::int64_t> toTransients(std::vector<std::size_t> onsets, const LoopDescription& loop) {
    std::sort(onsets.begin(), onsets.end());
    const auto apart = static_cast<std::int64_t>(toFrames(kMergeSeconds, loop.format.sampleRate));
    std::vector<std::int64_t> transients = {0};
    for (const std::size_t onset : onsets) {
        const auto at = static_cast<std::int64_t>(onset);
        if (at - transients.back() >= apart && at < loop.frames) transients.push_back(at);
    }
    return transients;
}

}  // namespace

RenderedLoop renderLoop(const Pack& pack, const LoopEntry& entry, std::uint64_t seed) {
    RenderedLoop rendered{describeLoop(pack, entry), {}};
    LoopDescription& loop = rendered.description;
    Random random(seedFor(loop.folder + "/" + loop.fileName, seed));
    const Player player(pack, loop);
    const auto frames = static_cast<std::size_t>(loop.frames);
    StereoSignal mix{Signal(frames), Signal(frames)};
    std::vector<std::size_t> onsets;
    for (const Layer& layer : entry.layers)
        mixInto(mix, player.playLayer(layer, random, onsets), layer.level);
    if (loop.format.channels == 1) foldToMono(mix);
    const float decibels = -1.0f - 2.0f * random.uniform();
    master(mix, player.clock(), std::pow(10.0f, decibels / 20.0f));
    rendered.samples = interleave(mix, loop.format.channels);
    if (!loop.oneShot) loop.transients = toTransients(std::move(onsets), loop);
    return rendered;
}

}  // namespace loopmaker
