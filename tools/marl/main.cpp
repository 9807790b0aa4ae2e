// SPDX-License-Identifier: MIT
/// \file
/// The command line of `marl`: arguments in, exit status out.

#include "marl/Browse.h"
#include "marl/Convert.h"
#include "marl/Info.h"
#include "marl/Output.h"
#include "marl/TerminalText.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <functional>
#include <iostream>
#include <limits>

#include <unistd.h>

namespace {

using marl::tool::kFailed;
using marl::tool::kWrongUsage;

/// What the chosen subcommand does; returns the exit status.
using Command = std::function<int()>;

constexpr char kExamples[] =
    "Examples:\n"
    "  marl browse Loops               the tree of a folder\n"
    "  marl info Loops                 its loops in a table\n"
    "  marl info beat.aif              all about one loop\n"
    "  marl convert beat.aif beat.wav  beats, root note and slices come along\n"
    "  marl convert --rate 48000 --format s24 beat.wav beat-48k.aif\n"
    "\n"
    "'marl COMMAND --help' has the options of a command.";

/// A sample rate: unlike a range of the argument library's own, this refuses "nan".
std::string wrongWithRate(const std::string& text) {
    constexpr double kHighest = 4294967295.0;  // as files can state
    double rate = 0;
    if (CLI::detail::lexical_cast(text, rate) && rate >= 1 && rate <= kHighest) return "";
    return "'" + text + "' is not a sample rate in Hz, from 1 to 4294967295";
}

int convertUnlessToTerminal(const marl::tool::ConvertOptions& options) {
    if (options.output == "-" && ::isatty(STDOUT_FILENO)) {
        marl::tool::reportError(std::cerr, "standard output",
                                "is a terminal: lead the samples into a file or program, or name a file");
        return kWrongUsage;
    }
    return marl::tool::runConvert(options, std::cout, std::cerr);
}

void addInfo(CLI::App& app, marl::tool::InfoOptions& options, Command& command) {
    CLI::App* const info = app.add_subcommand("info", "Show format, tempo, root note and tags of loops");
    info->add_flag("--json", options.json, "Print a JSON array with all that is known");
    info->add_option("FILE", options.paths, "AIFF and WAV files, and folders of them")
        ->type_name("")
        ->required();
    info->callback([&] { command = [&] { return marl::tool::runInfo(options, std::cout, std::cerr); }; });
}

void addConvert(CLI::App& app, marl::tool::ConvertOptions& options, Command& command) {
    CLI::App* const convert =
        app.add_subcommand("convert", "Convert a loop to another format, rate or width");
    convert
        ->add_option("--format", options.format,
                     "s16 or s24 (integers of 16 or 24 bits), f32 (floats, to .raw\nand - only); "
                     "default: as IN, where 8 bits become s16")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"s16", "s24", "f32"}).description(""));
    convert->add_option("--rate", options.sampleRate, "Sample rate in Hz; default: as IN")
        ->type_name("HZ")
        ->check(wrongWithRate);
    convert->add_option("--channels", options.channels, "1 or 2, mono becomes stereo; default: as IN")
        ->type_name("N")
        ->check(CLI::Range(1, 2).description(""));
    convert->add_option("IN", options.input, "AIFF or WAV file")->type_name("")->required();
    convert
        ->add_option("OUT", options.output,
                     "File to write, replaced when it exists: .aif, .aiff, .wav, or\n"
                     ".raw for samples alone in this machine's byte order;\n"
                     "- for the same to standard output")
        ->type_name("")
        ->required();
    convert->callback([&] { command = [&] { return convertUnlessToTerminal(options); }; });
}

void addBrowse(CLI::App& app, marl::tool::BrowseOptions& options, Command& command) {
    CLI::App* const browse =
        app.add_subcommand("browse", "Show the tree of a folder with the types of its files");
    browse->add_option("--depth", options.depth, "Levels to show, 0 for all")
        ->type_name("N")
        ->check(CLI::Range(0, std::numeric_limits<int>::max()).description(""));
    browse->add_option("FOLDER", options.folder, "The folder; default: this one")->type_name("");
    browse->callback([&] { command = [&] { return marl::tool::runBrowse(options, std::cout, std::cerr); }; });
}

std::string failureMessage(const CLI::App* app, const CLI::Error& error) {
    const auto chosen = app->get_subcommands();
    const auto extras = app->remaining();
    std::string reason = error.what();
    if (chosen.empty())
        reason = extras.empty() ? "which command?" : "there is no command '" + extras[0] + "'";
    const std::string command = chosen.empty() ? "marl" : "marl " + chosen[0]->get_name();
    return "marl: " + marl::tool::terminalText(reason) + "\nTry '" + command + " --help'.\n";
}

/// Prints what the argument library has to say: help and version are results, the rest is wrong usage.
int exitAfter(const CLI::App& app, const CLI::ParseError& error) {
    if (app.exit(error, std::cout, std::cerr) != 0) return kWrongUsage;
    return marl::tool::flushed(std::cout, std::cerr) ? marl::tool::kDone : kFailed;
}

int run(int argc, char** argv) {
    CLI::App app("Loops in your terminal: read, convert and browse loop files.", "marl");
    app.set_version_flag("--version", "marl " MARL_VERSION);
    app.require_subcommand(1);
    app.failure_message(failureMessage);
    Command command;
    marl::tool::InfoOptions info;
    marl::tool::ConvertOptions convert;
    marl::tool::BrowseOptions browse;
    addInfo(app, info, command);
    addConvert(app, convert, command);
    addBrowse(app, browse, command);
    app.footer(kExamples);  // behind the subcommands, which would take it over
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return exitAfter(app, error);
    }
    return command();
}

}  // namespace

int main(int argc, char** argv) {
    // A limit on the size of files then fails a write like a full disk does, instead of ending the program.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return run(argc, argv);
    } catch (const std::exception& exception) {
        std::cerr << "marl: " << marl::tool::messageOf(exception, "failed") << "\n";
        return kFailed;
    }
}
