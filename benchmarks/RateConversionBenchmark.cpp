// SPDX-License-Identifier: MIT
// Sample-rate conversion of stereo float on one thread: ours (through the fill calls of 2048 bytes that the
// library makes) beside soxr and libsamplerate. The rate reported is frames of input a second, set-up
// included.
#include "RateConverters.h"

#include <MarlCore/platform/LowPassKernel.h>
#include <MarlCore/platform/SimdLevel.h>

#include <benchmark/benchmark.h>

#include <random>
#include <sstream>
#include <string>

namespace {

using namespace rates;

Samples noise(std::size_t frames) {
    std::minstd_rand random(1);
    std::uniform_real_distribution<float> level(-0.5f, 0.5f);
    Samples samples(frames * kChannels);
    for (float& sample : samples) sample = level(random);
    return samples;
}

void convert(benchmark::State& state, Converter converter, double from, double to, double seconds) {
    const Samples input = noise(static_cast<std::size_t>(from * seconds));
    Samples output(outputFrames(input, from, to) * kChannels);
    for (auto _ : state) {
        converter.convert(input, from, to, output);
        benchmark::DoNotOptimize(output.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(input.size() / kChannels));
}

// A new filter each time, as for the first file of a ratio.
void buildFilter(benchmark::State& state, double from, double to) {
    platform::LowPassKernel::shared();
    for (auto _ : state) {
        const platform::PolyphaseFilter filter(*platform::RateRatio::fromRates(from, to));
        benchmark::DoNotOptimize(filter.rowLength());
    }
}

std::string nameOf(const char* what, double from, double to, const char* length) {
    std::ostringstream name;
    name << what << '/' << from << "to" << to << length;
    return name.str();
}

void registerAll() {
    constexpr double kRatios[][2] = {
        {44100, 48000}, {48000, 44100}, {96000, 44100}, {192000, 44100}, {22255, 48000}};
    for (const auto& [from, to] : kRatios) {
        for (const Converter& converter : {kOurs, kSoxrHq, kSamplerateMedium}) {
            // A loop of two seconds, where starting up counts, and twenty seconds.
            for (const double seconds : {2.0, 20.0}) {
                const std::string name = nameOf(converter.name, from, to, seconds == 2 ? "/2s" : "/20s");
                benchmark::RegisterBenchmark(name.c_str(), convert, converter, from, to, seconds)
                    ->Unit(benchmark::kMillisecond);
            }
        }
        benchmark::RegisterBenchmark(nameOf("filter", from, to, "").c_str(), buildFilter, from, to)
            ->Unit(benchmark::kMillisecond);
    }
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    benchmark::AddCustomContext("kernels", platform::simdLevelName(platform::simdLevel()));
    benchmark::AddCustomContext("soxr", soxr_version());
    benchmark::AddCustomContext("peer", src_get_version());
    registerAll();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
