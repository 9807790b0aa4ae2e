// SPDX-License-Identifier: MIT
#include "Packs.h"

#include <algorithm>
#include <cmath>

namespace loopmaker {
namespace {

const LinePart* lineOf(const LoopEntry& entry) {
    for (const Layer& layer : entry.layers)
        if (const auto* line = std::get_if<LinePart>(&layer.part)) return line;
    return nullptr;
}

bool isPitched(const LoopEntry& entry) {
    return std::any_of(entry.layers.begin(), entry.layers.end(), [](const Layer& layer) {
        return std::holds_alternative<LinePart>(layer.part) || std::holds_alternative<ChordPart>(layer.part);
    });
}

/// A one-shot's own note; a loop's tonic, from middle C up.
int rootNoteOf(const Pack& pack, const LoopEntry& entry) {
    if (!isPitched(entry)) return -1;
    const LinePart* line = lineOf(entry);
    return tonicAtOrAbove(pack.key, entry.bars == 0 && line != nullptr ? line->low : 60);
}

int scaleTypeOf(const Pack& pack, const LoopEntry& entry) {
    if (!isPitched(entry)) return kScaleNeither;
    return isMajor(pack.key.mode) ? kScaleMajor : kScaleMinor;
}

std::string stemOf(const Pack& pack, const LoopEntry& entry) {
    std::string stem = pack.prefix + '_';
    if (entry.bars > 0) stem += std::to_string(std::lround(pack.tempo)) + '_';
    if (isPitched(entry)) stem += keyName(pack.key) + '_';
    return stem + entry.tag;
}

/// A loop's beats in units of its denominator.
int beatsOf(const Pack& pack, const LoopEntry& entry, const TimeSignature& meter) {
    const int whole = entry.bars * meter.numerator;
    if (!pack.shortened) return whole;
    const double beatSeconds = 240.0 / (meter.denominator * pack.tempo);
    return std::min(whole, static_cast<int>(std::floor(0.5 / beatSeconds)) + 1);
}

std::string annotationOf(const Pack& pack, const LoopDescription& loop) {
    std::string text = pack.genre;
    if (!loop.oneShot)
        text += ", " + std::to_string(std::lround(pack.tempo)) + " BPM, " +
                std::to_string(loop.timeSignature.numerator) + "/" +
                std::to_string(loop.timeSignature.denominator);
    if (loop.rootNote >= 0) text += ", " + keyName(pack.key);
    return text + ". Synthesised; free to use in your own music.";
}

void describeText(const Pack& pack, const LoopEntry& entry, LoopDescription& loop) {
    const std::string stem = stemOf(pack, entry);
    loop.folder = pack.title + " - " + pack.genre + "/" + entry.folder;
    loop.fileName = stem + (entry.format.container == Container::AIFF ? ".aif" : ".wav");
    loop.name = stem;
    std::replace(loop.name.begin(), loop.name.end(), '_', ' ');
    loop.author = pack.author;
    loop.copyright = "(c) " + std::to_string(pack.year) + " " + pack.author;
    loop.annotation = annotationOf(pack, loop);
    loop.instrument = entry.instrument;
    loop.instrumentSubType = entry.subType;
    loop.genre = pack.genre;
    loop.descriptors = entry.descriptors;
    loop.descriptors.emplace_back(loop.oneShot ? "One-Shot" : "Loop");
    if (loop.rootNote >= 0 && !loop.oneShot)
        loop.descriptors.emplace_back(isMajor(pack.key.mode) ? "Major" : "Minor");
}

}  // namespace

LoopEntry loop(const char* folder, const char* tag, Kind kind, std::vector<std::string> descriptors, int bars,
               FileFormat format, std::vector<Layer> layers) {
    return {folder, tag, kind.instrument, kind.subType,      std::move(descriptors),
            bars,   0,   format,          std::move(layers), {}};
}

LoopEntry oneShot(const char* folder, const char* tag, Kind kind, std::vector<std::string> descriptors,
                  double seconds, FileFormat format, std::vector<Layer> layers) {
    return {folder, tag,     kind.instrument, kind.subType,      std::move(descriptors),
            0,      seconds, format,          std::move(layers), {}};
}

LoopEntry inMeter(TimeSignature meter, LoopEntry entry) {
    entry.meter = meter;
    return entry;
}

std::vector<Pack> makeCatalogue() {
    return {harbourLights(), cornerCrates(),  nightCircuit(), brassTacks(),
            glassTides(),    paperLanterns(), sevenRivers(),  neonParallel()};
}

Pack varyPack(const Pack& pack, int copy, std::uint64_t seed) {
    Pack varied = pack;
    if (copy == 0) return varied;
    Random random(seedFor(pack.title, seed + static_cast<std::uint64_t>(copy)));
    varied.title += " Vol " + std::to_string(copy + 1);
    varied.tempo = pack.tempo + random.below(9) - 4;
    varied.key.tonic = random.below(12);
    return varied;
}

Pack shortenPack(const Pack& pack) {
    Pack small = pack;
    small.shortened = true;
    for (LoopEntry& entry : small.loops) {
        entry.format.bits = 16;
        entry.format.channels = 1;
        entry.format.sampleRate = 44100;
        entry.seconds = std::min(entry.seconds, 0.5);
    }
    return small;
}

int stepsPerBar(const TimeSignature& meter) {
    return meter.numerator * 16 / meter.denominator;
}

LoopDescription describeLoop(const Pack& pack, const LoopEntry& entry) {
    LoopDescription loop;
    loop.format = entry.format;
    loop.oneShot = entry.bars == 0;
    loop.timeSignature = entry.meter.value_or(pack.meter);
    loop.rootNote = rootNoteOf(pack, entry);
    loop.scaleType = scaleTypeOf(pack, entry);
    double seconds = entry.seconds;
    if (!loop.oneShot) {
        loop.tempo = pack.tempo;
        loop.numberOfBeats = beatsOf(pack, entry, loop.timeSignature);
        seconds = loop.numberOfBeats * 240.0 / (loop.timeSignature.denominator * loop.tempo);
    }
    loop.frames = std::llround(seconds * loop.format.sampleRate);
    describeText(pack, entry, loop);
    return loop;
}

}  // namespace loopmaker
