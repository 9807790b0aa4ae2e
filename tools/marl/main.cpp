// SPDX-License-Identifier: MIT
/// \file
/// The command line of `marl`: arguments in, exit status out.

#include "marl/Browse.h"
#include "marl/Convert.h"
#include "marl/Info.h"
#include "marl/Output.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <iostream>

namespace {

using marl::tool::kFailed;
using marl::tool::kWrongUsage;

/// What the chosen subcommand does; returns the exit status.
using Command = std::function<int()>;

void addInfo(CLI::App& app, marl::tool::InfoOptions& options, Command& command) {
    CLI::App* const info = app.add_subcommand("info", "Show format and loop metadata of files");
    info->add_flag("--json", options.json, "Print a JSON array");
    info->add_option("FILE", options.paths, "AIFF and WAV files, or folders of them")->required();
    info->callback([&] { command = [&] { return marl::tool::runInfo(options, std::cout, std::cerr); }; });
}

void addConvert(CLI::App& app, marl::tool::ConvertOptions& options, Command& command) {
    CLI::App* const convert = app.add_subcommand("convert", "Convert the samples of a file");
    convert
        ->add_option("--format", options.format, "Width of the samples (default: that of IN, at least s16)")
        ->check(CLI::IsMember({"s16", "s24", "f32"}));
    convert->add_option("--rate", options.sampleRate, "Sample rate in Hz (default: that of IN)")
        ->check(CLI::Range(1.0, 4294967295.0));
    convert->add_option("--channels", options.channels, "1 or 2; mono becomes stereo (default: as IN)")
        ->check(CLI::Range(1, 2));
    convert->add_option("IN", options.input, "AIFF or WAV file")->required();
    convert
        ->add_option("OUT", options.output,
                     ".aif, .aiff, .wav, .raw, or - for raw samples to standard output")
        ->required();
    convert->callback(
        [&] { command = [&] { return marl::tool::runConvert(options, std::cout, std::cerr); }; });
}

void addBrowse(CLI::App& app, marl::tool::BrowseOptions& options, Command& command) {
    CLI::App* const browse =
        app.add_subcommand("browse", "Show the tree of a folder with the types of its files");
    browse->add_option("--depth", options.depth, "Levels to show, 0 for all")->check(CLI::NonNegativeNumber);
    browse->add_option("FOLDER", options.folder, "The folder (default: this one)");
    browse->callback([&] { command = [&] { return marl::tool::runBrowse(options, std::cout, std::cerr); }; });
}

int run(int argc, char** argv) {
    CLI::App app("Loops in your terminal: read, convert and browse loop files.", "marl");
    app.set_version_flag("--version", "marl " MARL_VERSION);
    app.require_subcommand(1);
    Command command;
    marl::tool::InfoOptions info;
    marl::tool::ConvertOptions convert;
    marl::tool::BrowseOptions browse;
    addInfo(app, info, command);
    addConvert(app, convert, command);
    addBrowse(app, browse, command);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? marl::tool::kDone : kWrongUsage;
    }
    return command();
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& exception) {
        std::cerr << "marl: " << marl::tool::messageOf(exception, "failed") << "\n";
        return kFailed;
    }
}
