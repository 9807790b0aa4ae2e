// SPDX-License-Identifier: MIT
/// \file
/// The command line of `marl`: arguments in, exit status out.

#include "marl/Browse.h"
#include "marl/Convert.h"
#include "marl/Hardware.h"
#include "marl/Index.h"
#include "marl/Info.h"
#include "marl/Keywords.h"
#include "marl/Output.h"
#include "marl/Peaks.h"
#include "marl/Prefs.h"
#include "marl/Record.h"
#include "marl/Search.h"
#include "marl/StopSignals.h"
#include "marl/Stream.h"
#include "marl/TerminalText.h"

#include <MarlCore/Common/MarlPreferences.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iostream>
#include <limits>

#include <fcntl.h>
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
    "  marl stream --from 2 --format s16 beat.wav | aplay -f cd\n"
    "  marl index Loops                make them searchable\n"
    "  marl search bass Dark           dark basses\n"
    "  marl search drums 120           drum loops of 120 beats a minute\n"
    "  marl peaks beat.aif             its waveform in beat.png\n"
    "  arecord -t raw -f FLOAT_LE -r 48000 -c 2 | marl record --rate 48000 --channels 2 take.aif\n"
    "\n"
    "'marl COMMAND --help' has the options of a command.";

/// A sample rate: unlike a range of the argument library's own, this refuses "nan".
std::string wrongWithRate(const std::string& text) {
    constexpr double kHighest = 4294967295.0;  // as files can state
    double rate = 0;
    if (CLI::detail::lexical_cast(text, rate) && rate >= 1 && rate <= kHighest) return "";
    return "'" + text + "' is not a sample rate in Hz, from 1 to 4294967295";
}

/// A time, which "nan" and "inf" are not.
std::string wrongWithSeconds(const std::string& text) {
    double seconds = 0;
    if (CLI::detail::lexical_cast(text, seconds) && std::isfinite(seconds) && seconds >= 0) return "";
    return "'" + text + "' is not a time in seconds: 0 or more";
}

/// True, with a line that says so, when the samples (or what it is) would go to a terminal.
bool isOutputATerminal(const std::string& what = "samples") {
    if (!::isatty(STDOUT_FILENO)) return false;
    marl::tool::reportError(std::cerr, "standard output",
                            "is a terminal: lead the " + what + " into a file or program");
    return true;
}

void addInfo(CLI::App& app, marl::tool::InfoOptions& options, Command& command) {
    CLI::App* const info = app.add_subcommand("info", "Show format, tempo, root note and tags of loops");
    info->add_flag("--json", options.json, "Print a JSON array with all that is known");
    info->add_option("FILE", options.paths,
                     "AIFF, WAV and QuickTime files, and folders\nof AIFF and WAV files")
        ->type_name("")
        ->required();
    info->callback([&] { command = [&] { return marl::tool::runInfo(options, std::cout, std::cerr); }; });
}

/// What samples are to be delivered as: options of all commands that convert.
template <typename Options>
void addDelivery(CLI::App* app, Options& options, const std::string& formats) {
    app->add_option("--format", options.format, formats)
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"s16", "s24", "f32"}).description(""));
    app->add_option("--rate", options.sampleRate, "Sample rate in Hz; default: the file's")
        ->type_name("HZ")
        ->check(wrongWithRate);
    app->add_option("--channels", options.channels, "1 or 2, mono becomes stereo; default: the file's")
        ->type_name("N")
        ->check(CLI::Range(1, 2).description(""));
}

void addConvert(CLI::App& app, marl::tool::ConvertOptions& options, Command& command) {
    CLI::App* const convert =
        app.add_subcommand("convert", "Convert a loop to another format, rate or width");
    addDelivery(convert, options,
                "s16 or s24 (integers of 16 or 24 bits), f32 (floats, to .mov,\n.raw and - only); "
                "default: as IN, where 8 bits become s16");
    convert->add_flag("--streamed", options.streamed,
                      "Stream IN from disk instead of holding it in memory;\nthe same samples");
    convert->add_option("IN", options.input, "AIFF, WAV or QuickTime file")->type_name("")->required();
    convert
        ->add_option("OUT", options.output,
                     "File to write, replaced when it exists: .aif, .aiff, .wav, .mov\n"
                     "or .raw for samples alone in this machine's byte order;\n"
                     "- for the same to standard output")
        ->type_name("")
        ->required();
    convert->callback([&] {
        command = [&] {
            if (options.output == "-" && isOutputATerminal()) return kWrongUsage;
            return marl::tool::runConvert(options, std::cout, std::cerr);
        };
    });
}

void addStream(CLI::App& app, marl::tool::StreamOptions& options, Command& command) {
    CLI::App* const stream = app.add_subcommand("stream", "Stream the samples of a loop to standard output");
    stream->footer(
        "Samples alone, interleaved, in this machine's byte order, read from disk a few\n"
        "seconds ahead of the program that takes them, however long the file is.");
    addDelivery(stream, options,
                "s16 or s24 (integers of 16 or 24 bits), f32 (floats);\n"
                "default: as FILE, where 8 bits become s16");
    stream->add_option("--from", options.from, "Start, in seconds; default: 0")
        ->type_name("S")
        ->check(wrongWithSeconds);
    stream->add_option("--to", options.to, "End, in seconds; default: the file's")
        ->type_name("S")
        ->check(wrongWithSeconds);
    stream->add_option("FILE", options.input, "AIFF, WAV or QuickTime file")->type_name("")->required();
    stream->callback([&] {
        if (options.to && *options.to <= options.from)
            throw CLI::ValidationError("--to", "the end must be later than the start");
        command = [&] {
            if (isOutputATerminal()) return kWrongUsage;
            return marl::tool::runStream(options, std::cout, std::cerr);
        };
    });
}

int recordUnlessFromTerminal(const marl::tool::RecordOptions& options) {
    if (::isatty(STDIN_FILENO)) {
        marl::tool::reportError(std::cerr, "standard input",
                                "is a terminal: lead 32-bit float samples into it");
        return kWrongUsage;
    }
    return marl::tool::runRecord(options, STDIN_FILENO, std::cout, std::cerr);
}

void addRecord(CLI::App& app, marl::tool::RecordOptions& options, Command& command) {
    CLI::App* const record =
        app.add_subcommand("record", "Record samples from standard input into a new file");
    record->footer(
        "Standard input: interleaved 32-bit floats in this machine's byte order, until it\n"
        "ends or Ctrl-C. What is beyond full scale is clipped. A take that is cut off plays\n"
        "up to its last second.");
    record->add_option("--format", options.format, "s16 or s24 (integers of 16 or 24 bits); default: s24")
        ->type_name("FORMAT")
        ->check(CLI::IsMember({"s16", "s24"}).description(""));
    record->add_option("--rate", options.sampleRate, "Sample rate in Hz")
        ->type_name("HZ")
        ->check(wrongWithRate)
        ->required();
    record->add_option("--channels", options.channels, "1 to 32767")
        ->type_name("N")
        ->check(CLI::Range(1, 32767).description(""))
        ->required();
    record->add_flag("--real-time", options.isRealTime,
                     "Never let the source wait: drop blocks while the disk is too slow");
    record->add_flag("--deferred", options.isDeferred,
                     "Keep the take in memory and write it at the end; a program that is\n"
                     "killed loses all of it");
    record->add_option("OUT", options.output, "File to write, replaced when it exists: .aif or .aiff")
        ->type_name("")
        ->required();
    record->callback([&] { command = [&] { return recordUnlessFromTerminal(options); }; });
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

void addIndexDirectory(CLI::App* command, std::string& directory) {
    command
        ->add_option("--index-dir", directory,
                     "Folder of the indexes; default: MARL_INDEX_DIR, or\n"
                     "marlcore/indexes in XDG_DATA_HOME (~/.local/share)")
        ->type_name("DIR");
}

struct IndexArguments {
    marl::tool::IndexOptions options;
    bool list = false;
    std::string remove;
};

int runIndexAs(const IndexArguments& arguments) {
    using namespace marl::tool;
    const std::string& directory = arguments.options.indexDirectory;
    if (arguments.list) return runIndexList(directory, std::cout, std::cerr);
    if (!arguments.remove.empty()) return runIndexRemove(directory, arguments.remove, std::cout, std::cerr);
    return endBySignalOf(runIndex(arguments.options, std::cout, std::cerr));
}

/// The library's own check would show up in the help.
void requireAlone(const CLI::Option& option, std::initializer_list<const CLI::Option*> others) {
    for (const CLI::Option* const other : others)
        if (!option.empty() && !other->empty())
            throw CLI::ExcludesError(option.get_name(), other->get_name());
}

void addIndex(CLI::App& app, IndexArguments& arguments, Command& command) {
    CLI::App* const index = app.add_subcommand("index", "Make the loops of folders searchable");
    index->footer(
        "Run again, it reads the files that have changed since. Times are compared in\n"
        "whole seconds: files that were written within the second before they were\n"
        "read count as updated once more.");
    addIndexDirectory(index, arguments.options.indexDirectory);
    CLI::Option* const rebuild =
        index->add_flag("--rebuild", arguments.options.rebuild, "Make the indexes anew");
    CLI::Option* const watch =
        index->add_flag("--watch", arguments.options.watch, "Follow the folders until Ctrl-C");
    CLI::Option* const list = index->add_flag("--list", arguments.list, "Show what is indexed");
    CLI::Option* const remove =
        index->add_option("--remove", arguments.remove, "Forget a folder; its files stay")
            ->type_name("FOLDER")
            ->check([](const std::string& text) { return text.empty() ? "'' is no folder" : ""; });
    CLI::Option* const folders =
        index->add_option("FOLDER", arguments.options.folders, "Folders of AIFF and WAV files")
            ->type_name("");
    index->callback([=, &arguments, &command] {
        requireAlone(*list, {rebuild, watch, remove, folders});
        requireAlone(*remove, {rebuild, watch, folders});
        if (list->empty() && remove->empty() && folders->empty()) throw CLI::RequiredError("FOLDER");
        arguments.options.isProgressShown = ::isatty(STDERR_FILENO) != 0;
        command = [&] { return runIndexAs(arguments); };
    });
}

/// Reads a meter such as "7/8".
std::string wrongWithMeter(const std::string& text, marl::tagging::TimeSignature& meter) {
    const std::size_t slash = std::min(text.find('/'), text.size() - 1);
    std::int16_t numerator = 0, denominator = 0;
    if (CLI::detail::lexical_cast(text.substr(0, slash), numerator) && numerator > 0 &&
        CLI::detail::lexical_cast(text.substr(slash + 1), denominator) && denominator > 0) {
        meter = {numerator, denominator};
        return "";
    }
    return "'" + text + "' is not a time signature such as 4/4";
}

/// The library's own check names a range of 300 digits.
std::string wrongWithCount(const std::string& text) {
    std::size_t count = 0;
    if (!text.starts_with('-') && CLI::detail::lexical_cast(text, count)) return "";
    return "'" + text + "' is not a number of loops: 0 or more";
}

std::string wrongWithKey(const std::string& text) {
    return text.empty() ? "'' is no key" : "";
}

void addFilters(CLI::App* search, marl::tool::SearchOptions& options) {
    search->add_option("--name", options.name, "Text in the path; one letter: names that begin with it")
        ->type_name("TEXT");
    search
        ->add_option_function<std::string>(
            "--time-signature", [](const std::string&) {}, "Such as 4/4 or 7/8")
        ->type_name("N/D")
        ->check([&](const std::string& text) { return wrongWithMeter(text, options.filters.timeSignature); });
    CLI::Option* const key =
        search->add_option("--key", options.key, "Root note (MIDI 1 to 127), or none")->type_name("N");
    key->check(CLI::Range(1, 127).description(""));
    search
        ->add_option("--tolerance", options.filters.keyTolerance, "Semitones that it may be off; default: 0")
        ->type_name("S")
        ->check(CLI::Range(0, 127).description(""))
        ->needs(key);
    search
        ->add_option("--key-type", options.filters.keyType,
                     "Scale: 1 minor, 2 major, 3 fits both or not said; files\nmay state others (scaleType "
                     "in info --json)")
        ->type_name("N")
        ->check(CLI::Range(1, std::numeric_limits<std::int16_t>::max() + 0).description(""));
}

void addSearch(CLI::App& app, marl::tool::SearchOptions& options, Command& command) {
    CLI::App* const search = app.add_subcommand("search", "Find loops in the indexes");
    addIndexDirectory(search, options.indexDirectory);
    addFilters(search, options);
    search->add_option("--limit", options.limit, "Most loops to list; all are counted")
        ->type_name("N")
        ->check(wrongWithCount);
    search->add_flag("--json", options.json, "Print a JSON object with all that is known");
    search
        ->add_option("KEY", options.keys,
                     "Instrument, genre or descriptor as 'marl keywords' lists\n"
                     "them, or a word for it (hihat, gtr); a number from 20 to\n"
                     "400 that is no key: beats a minute, half a beat more or\n"
                     "less. Loops have all of them")
        ->type_name("")
        ->check(wrongWithKey);
    search->callback([&] { command = [&] { return marl::tool::runSearch(options, std::cout, std::cerr); }; });
}

void addKeywords(CLI::App& app, marl::tool::KeywordsOptions& options, Command& command) {
    CLI::App* const keywords = app.add_subcommand("keywords", "Show the keys that loops can be found by");
    keywords->footer(
        "Named in your language, as LC_ALL, LC_MESSAGES or LANG say; a key that has another\n"
        "name stands behind it, in parentheses: that is what 'marl search' takes.");
    addIndexDirectory(keywords, options.indexDirectory);
    keywords->add_flag("--json", options.json, "Print a JSON object");
    keywords->callback(
        [&] { command = [&] { return marl::tool::runKeywords(options, std::cout, std::cerr); }; });
}

/// The user's settings, over the defaults of the library.
platform::UserDefaults& userSettings() {
    auto& settings = platform::UserDefaults::standardUserDefaults();
    settings.setMessageHandler([](const std::string& message) {
        std::cerr << "marl: " << marl::tool::terminalText(message) << "\n";
    });
    marl::MarlPreferences::initializeDefaults();
    return settings;
}

int runPeaksUnlessToTerminal(const marl::tool::PeaksOptions& options) {
    if (options.output == "-" && isOutputATerminal("picture")) return kWrongUsage;
    userSettings();
    return marl::tool::runPeaks(options, std::cout, std::cerr);
}

void addPeaks(CLI::App& app, marl::tool::PeaksOptions& options, Command& command) {
    CLI::App* const peaks = app.add_subcommand("peaks", "Draw the waveform of a loop");
    peaks
        ->add_option(
            "-o", options.output,
            "PNG file to write, replaced when it exists; - for\nstandard output; default: the name of "
            "FILE with .png,\nin this folder")
        ->type_name("OUT.png");
    peaks
        ->add_option_function<std::string>(
            "--size", [](const std::string&) {}, "Columns and rows; default: 1000x200")
        ->type_name("WxH")
        ->check([&](const std::string& text) { return marl::tool::wrongWithSize(text, options.size); });
    CLI::Option* const from =
        peaks->add_option("--from", options.from, "First frame; default: that of the file");
    CLI::Option* const to = peaks->add_option("--to", options.to, "Last frame; default: that of the file");
    for (CLI::Option* const frame : {from, to}) frame->type_name("F")->check(marl::tool::wrongWithFrame);
    CLI::Option* const color =
        peaks
            ->add_option_function<std::string>(
                "--color", [](const std::string&) {}, "Red, green, blue and opacity, such as FF8000FF")
            ->type_name("RRGGBBAA");
    color->check([&](const std::string& text) { return marl::tool::wrongWithColor(text, options.color); });
    CLI::Option* const json = peaks->add_flag("--json", options.json,
                                              "Print the peaks of as many columns in place of a picture:\n"
                                              "[max, min], or [leftMax, leftMin, rightMax, rightMin];\n"
                                              "a column without a frame has a max of -1, a min of 1");
    peaks->add_option("FILE", options.path, "AIFF, WAV or QuickTime file")->type_name("")->required();
    CLI::Option* const output = peaks->get_option("-o");
    peaks->callback([=, &options, &command] {
        requireAlone(*json, {output, color});
        if (options.from && options.to && *options.to < *options.from)
            throw CLI::ValidationError("--to",
                                       "frame " + std::to_string(*options.to) + " lies before --from");
        options.isProgressShown = ::isatty(STDERR_FILENO) != 0;
        command = [&] { return runPeaksUnlessToTerminal(options); };
    });
}

struct PrefsArguments {
    std::string key, value;
};

void addKey(CLI::App* command, std::string& key) {
    command->add_option("KEY", key, "A setting, such as 'Default Tempo'")->type_name("")->required();
}

void addPrefs(CLI::App& app, PrefsArguments& arguments, Command& command) {
    using namespace marl::tool;
    CLI::App* const prefs = app.add_subcommand("prefs", "Show and change settings");
    prefs->require_subcommand(1);
    CLI::App* const list = prefs->add_subcommand("list", "Show all settings");
    list->callback([&] { command = [] { return runPrefsList(userSettings(), std::cout, std::cerr); }; });
    CLI::App* const get = prefs->add_subcommand("get", "Print a setting");
    addKey(get, arguments.key);
    get->callback(
        [&] { command = [&] { return runPrefsGet(userSettings(), arguments.key, std::cout, std::cerr); }; });
    CLI::App* const set = prefs->add_subcommand("set", "Change a setting");
    addKey(set, arguments.key);
    set->add_option("VALUE", arguments.value,
                    "What 'get' would print; text that begins with - goes behind --")
        ->type_name("")
        ->required();
    set->callback([&] {
        command = [&] { return runPrefsSet(userSettings(), arguments.key, arguments.value, std::cerr); };
    });
    CLI::App* const reset = prefs->add_subcommand("reset", "Let the default count again");
    addKey(reset, arguments.key);
    reset->callback(
        [&] { command = [&] { return runPrefsReset(userSettings(), arguments.key, std::cerr); }; });
}

void addHardware(CLI::App& app, bool& isJSON, Command& command) {
    CLI::App* const hardware = app.add_subcommand("hardware", "Show processor, memory and audio output");
    hardware->footer(
        "Audio output: a sound card that plays. Devices that only a sound server knows are\n"
        "not looked for.");
    hardware->add_flag("--json", isJSON, "Print a JSON object; 0 and false for what is not known");
    hardware->callback([&] {
        command = [&] {
            return marl::tool::printMachine(marl::tool::thisMachine(), isJSON, std::cout, std::cerr);
        };
    });
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
    CLI::App app("Loops in your terminal: read, convert, browse and find loop files.", "marl");
    app.set_version_flag("--version", "marl " MARL_VERSION);
    app.require_subcommand(1);
    app.failure_message(failureMessage);
    Command command;
    marl::tool::InfoOptions info;
    marl::tool::ConvertOptions convert;
    marl::tool::StreamOptions stream;
    marl::tool::RecordOptions record;
    marl::tool::BrowseOptions browse;
    IndexArguments index;
    marl::tool::SearchOptions search;
    marl::tool::KeywordsOptions keywords;
    marl::tool::PeaksOptions peaks;
    PrefsArguments prefs;
    bool isHardwareJSON = false;
    addInfo(app, info, command);
    addConvert(app, convert, command);
    addStream(app, stream, command);
    addRecord(app, record, command);
    addBrowse(app, browse, command);
    addIndex(app, index, command);
    addSearch(app, search, command);
    addKeywords(app, keywords, command);
    addPeaks(app, peaks, command);
    addPrefs(app, prefs, command);
    addHardware(app, isHardwareJSON, command);
    app.footer(kExamples);  // behind the subcommands, which would take it over
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return exitAfter(app, error);
    }
    return command();
}

/// A program may be started with some of them closed. What it opens next must not be taken for its input or
/// output.
void reserveStandardDescriptors() {
    while (true) {
        const int descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (descriptor < 0) return;
        if (descriptor > STDERR_FILENO) {
            ::close(descriptor);
            return;
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    reserveStandardDescriptors();
    // A limit on the size of files then fails a write like a full disk does, instead of ending the program.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return run(argc, argv);
    } catch (const std::exception& exception) {
        std::cerr << "marl: " << marl::tool::messageOf(exception, "failed") << "\n";
        return kFailed;
    }
}
