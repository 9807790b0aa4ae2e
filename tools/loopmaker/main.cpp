// SPDX-License-Identifier: MIT
/// \file
/// `marl-loopmaker`: a library of synthesised loops to try things on.

#include "WriteLoop.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <iostream>

namespace {

using namespace loopmaker;

struct Options {
    std::string folder;
    std::string only;
    std::uint64_t seed = 1;
    int copies = 1;
    bool isShort = false;
};

struct Totals {
    int loops = 0, oneShots = 0;
    double seconds = 0;
};

void writePack(const Pack& pack, const Options& options, Totals& totals) {
    for (const LoopEntry& entry : pack.loops) {
        const LoopDescription description = describeLoop(pack, entry);
        if ((description.folder + "/" + description.fileName).find(options.only) == std::string::npos)
            continue;
        writeLoop(renderLoop(pack, entry, options.seed), options.folder);
        ++(description.oneShot ? totals.oneShots : totals.loops);
        totals.seconds += static_cast<double>(description.frames) / description.format.sampleRate;
    }
}

Totals writeAll(const Options& options) {
    Totals totals;
    const std::vector<Pack> catalogue = makeCatalogue();
    for (int copy = 0; copy < options.copies; ++copy) {
        for (const Pack& original : catalogue) {
            const Pack pack = varyPack(original, copy, options.seed);
            writePack(options.isShort ? shortenPack(pack) : pack, options, totals);
        }
    }
    return totals;
}

int run(int argc, char** argv) {
    Options options;
    CLI::App app("Writes a library of synthesised loops and one-shots, with full metadata.",
                 "marl-loopmaker");
    app.add_option("--seed", options.seed, "Another number plays everything a little differently");
    app.add_option("--only", options.only, "Write only files whose path holds this text");
    app.add_option("--copies", options.copies, "Volumes of each pack, each in its own tempo and key")
        ->check(CLI::Range(1, 10000));
    app.add_flag("--short", options.isShort, "Short mono loops, for measuring with many files");
    app.add_option("OUTDIR", options.folder, "The folder to write to")->required();
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    const Totals totals = writeAll(options);
    std::printf("%d loops and %d one-shots, %.1f minutes, in %s\n", totals.loops, totals.oneShots,
                totals.seconds / 60, options.folder.c_str());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& exception) {
        std::cerr << "marl-loopmaker: " << exception.what() << "\n";
        return 1;
    }
}
