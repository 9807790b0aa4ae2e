// SPDX-License-Identifier: MIT
/// \file
/// Which command, and what to say when there is none.
#include "marl/CommandLine.h"

#include "marl/NearKeys.h"
#include "marl/Output.h"
#include "marl/TerminalText.h"

#include <iostream>
#include <vector>

namespace marl::tool {
namespace {

constexpr char kExamples[] =
    "Examples:\n"
    "  marl browse Loops               the tree of a folder\n"
    "  marl info Loops                 its loops in a table\n"
    "  marl info beat.aif              all about one loop\n"
    "  marl convert beat.aif beat.wav  beats, root note and slices come along\n"
    "  marl convert --rate 48000 --format s24 beat.wav beat-48k.aif\n"
    "  marl stream --from 2 --format s16 beat.wav | aplay -f cd\n"
    "  marl index Loops                make them searchable\n"
    "  marl search bass Dark           dark basses\n"
    "  marl search drums 120           drum loops of 120 beats a minute\n"
    "  marl peaks beat.aif             its waveform in beat.png\n"
    "  arecord -t raw -f FLOAT_LE -r 48000 -c 2 | marl record --rate 48000 --channels 2 take.aif\n"
    "\n"
    "'marl COMMAND --help' has the options of a command.";

std::string unknownCommand(const CLI::App& app, const std::string& name) {
    std::vector<std::string> commands;
    for (const CLI::App* const command : app.get_subcommands([](const CLI::App*) { return true; }))
        commands.push_back(command->get_name());
    return "there is no command '" + name + "'" + didYouMean(nearTexts(name, commands), "");
}

std::string failureMessage(const CLI::App* app, const CLI::Error& error) {
    const auto chosen = app->get_subcommands();
    const auto extras = app->remaining();
    std::string reason = error.what();
    if (chosen.empty()) reason = extras.empty() ? "which command?" : unknownCommand(*app, extras[0]);
    const std::string command = chosen.empty() ? "marl" : "marl " + chosen[0]->get_name();
    return "marl: " + terminalText(reason) + "\nTry '" + command + " --help'.\n";
}

/// Prints what the argument library has to say: help and version are results, the rest is wrong usage.
int exitAfter(const CLI::App& app, const CLI::ParseError& error) {
    if (app.exit(error, std::cout, std::cerr) != 0) return kWrongUsage;
    return flushed(std::cout, std::cerr) ? kDone : kFailed;
}

}  // namespace

// The argument library's own check would show up in the help.
void requireAlone(const CLI::Option& option, std::initializer_list<const CLI::Option*> others) {
    for (const CLI::Option* const other : others)
        if (!option.empty() && !other->empty())
            throw CLI::ExcludesError(option.get_name(), other->get_name());
}

int runCommandLine(int argc, char** argv) {
    CLI::App app("Loops in your terminal: read, convert, browse and find loop files.", "marl");
    app.set_version_flag("--version", "marl " MARL_VERSION);
    app.require_subcommand(1);
    app.failure_message(failureMessage);
    Command command;
    SampleArguments samples;
    LibraryArguments library;
    SettingsArguments settings;
    addSampleCommands(app, samples, command);
    addLibraryCommands(app, library, command);
    addSettingsCommands(app, settings, command);
    app.footer(kExamples);  // behind the subcommands, which would take it over
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return exitAfter(app, error);
    }
    return command();
}

}  // namespace marl::tool
