// SPDX-License-Identifier: MIT
/// \file
/// Arguments of the subcommands that work with folders and indexes.
#include "marl/CommandLine.h"

#include "marl/InfoJSON.h"
#include "marl/StopSignals.h"

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <limits>

#include <unistd.h>

namespace marl::tool {
namespace {

void addBrowse(CLI::App& app, BrowseOptions& options, Command& command) {
    CLI::App* const browse =
        app.add_subcommand("browse", "Show the tree of a folder with the types of its files");
    browse->add_option("--depth", options.depth, "Levels to show, 0 for all")
        ->type_name("N")
        ->check(CLI::Range(0, std::numeric_limits<int>::max()).description(""));
    browse->add_option("FOLDER", options.folder, "The folder; default: this one")->type_name("");
    browse->callback([&] { command = [&] { return runBrowse(options, std::cout, std::cerr); }; });
}

void addIndexDirectory(CLI::App* command, std::string& directory) {
    command
        ->add_option("--index-dir", directory,
                     "Folder of the indexes; default: MARL_INDEX_DIR, or\n"
                     "marlcore/indexes in XDG_DATA_HOME (~/.local/share)")
        ->type_name("DIR");
}

int runIndexAs(const IndexArguments& arguments) {
    const std::string& directory = arguments.options.indexDirectory;
    if (arguments.list) return runIndexList(directory, std::cout, std::cerr);
    if (!arguments.remove.empty()) return runIndexRemove(directory, arguments.remove, std::cout, std::cerr);
    return endBySignalOf(runIndex(arguments.options, std::cout, std::cerr));
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
std::string wrongWithMeter(const std::string& text, tagging::TimeSignature& meter) {
    const std::size_t slash = std::min(text.find('/'), text.size() - 1);
    std::int16_t numerator = 0, denominator = 0;
    if (CLI::detail::lexical_cast(text.substr(0, slash), numerator) && numerator > 0 &&
        CLI::detail::lexical_cast(text.substr(slash + 1), denominator) && denominator > 0) {
        meter = {numerator, denominator};
        return "";
    }
    return "'" + text + "' is not a time signature such as 4/4";
}

/// Reads a root note: that of a name such as "F#" in any octave, or a MIDI note number.
std::string wrongWithRootNote(const std::string& text, SearchOptions& options) {
    constexpr int kHighest = 127;
    options.pitchClass = pitchClassNamed(text);
    if (options.pitchClass) return "";
    if (CLI::detail::lexical_cast(text, options.key) && options.key >= 1 && options.key <= kHighest)
        return "";
    return "'" + text + "' is no root note: a name such as F# or Bb, or MIDI 1 to 127";
}

/// Reads a type of scales: its number, or its name in any case.
std::string wrongWithKeyType(const std::string& text, std::int16_t& keyType) {
    const auto name = std::ranges::find(kScaleNames, CLI::detail::to_lower(text));
    if (name != kScaleNames.end()) {
        keyType = static_cast<std::int16_t>(name - kScaleNames.begin() + 1);
        return "";
    }
    if (CLI::detail::lexical_cast(text, keyType) && keyType >= 1) return "";
    return "'" + text + "' is no type of scale: minor, major or 1 to 32767";
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

void addFilters(CLI::App* search, SearchOptions& options) {
    search->add_option("--name", options.name, "Text in the path; one letter: names that begin with it")
        ->type_name("TEXT");
    search
        ->add_option_function<std::string>(
            "--time-signature", [](const std::string&) {}, "Such as 4/4 or 7/8")
        ->type_name("N/D")
        ->check([&](const std::string& text) { return wrongWithMeter(text, options.filters.timeSignature); });
    CLI::Option* const key = search
                                 ->add_option_function<std::string>(
                                     "--key", [](const std::string&) {},
                                     "Root note: a name such as G, F# or Bb, in any octave, or\n"
                                     "MIDI 1 to 127; loops without a root note match too")
                                 ->type_name("N");
    key->check([&](const std::string& text) { return wrongWithRootNote(text, options); });
    search
        ->add_option("--tolerance", options.filters.keyTolerance, "Semitones that it may be off; default: 0")
        ->type_name("S")
        ->check(CLI::Range(0, 127).description(""))
        ->needs(key);
    search
        ->add_option_function<std::string>(
            "--key-type", [](const std::string&) {},
            "Scale: 1 or minor, 2 or major, 3 fits both or not said;\n"
            "files may state others (scaleType in info --json); loops\n"
            "without a root note match too")
        ->type_name("N")
        ->check([&](const std::string& text) { return wrongWithKeyType(text, options.filters.keyType); });
}

void addSearch(CLI::App& app, SearchOptions& options, Command& command) {
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
                     "less; two of them, as in 90-130: from one to the other.\n"
                     "Loops have all of them")
        ->type_name("")
        ->check(wrongWithKey);
    search->callback([&] { command = [&] { return runSearch(options, std::cout, std::cerr); }; });
}

void addKeywords(CLI::App& app, KeywordsOptions& options, Command& command) {
    CLI::App* const keywords = app.add_subcommand("keywords", "Show the keys that loops can be found by");
    keywords->footer(
        "Named in your language, as LC_ALL, LC_MESSAGES or LANG say; a key that has another\n"
        "name stands behind it, in parentheses: that is what 'marl search' takes.");
    addIndexDirectory(keywords, options.indexDirectory);
    keywords->add_flag("--json", options.json, "Print a JSON object");
    keywords->callback([&] { command = [&] { return runKeywords(options, std::cout, std::cerr); }; });
}

}  // namespace

void addLibraryCommands(CLI::App& app, LibraryArguments& arguments, Command& command) {
    addBrowse(app, arguments.browse, command);
    addIndex(app, arguments.index, command);
    addSearch(app, arguments.search, command);
    addKeywords(app, arguments.keywords, command);
}

}  // namespace marl::tool
