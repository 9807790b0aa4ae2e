// SPDX-License-Identifier: MIT
/// \file
/// The command line of `marl`: arguments in, exit status out. The subcommands are described in three groups,
/// and each does its work in a file of its own.
#pragma once

#include "marl/Browse.h"
#include "marl/Convert.h"
#include "marl/Index.h"
#include "marl/Info.h"
#include "marl/Keywords.h"
#include "marl/Peaks.h"
#include "marl/Record.h"
#include "marl/Search.h"
#include "marl/Stream.h"

#include <MarlCore/platform/UserDefaults.h>

#include <CLI/CLI.hpp>

#include <functional>
#include <initializer_list>
#include <string>

namespace marl::tool {

/// What the chosen subcommand does; returns the exit status.
using Command = std::function<int()>;

/// What is done with the samples of one file.
struct SampleArguments {
    InfoOptions info;
    ConvertOptions convert;
    StreamOptions stream;
    RecordOptions record;
    PeaksOptions peaks;
};

struct IndexArguments {
    IndexOptions options;
    bool list = false;
    std::string remove;
};

/// What is done with many files.
struct LibraryArguments {
    BrowseOptions browse;
    IndexArguments index;
    SearchOptions search;
    KeywordsOptions keywords;
};

/// What concerns the user and his machine.
struct SettingsArguments {
    std::string key, value;
    bool isHardwareJSON = false;
};

// Each describes the subcommands of a group to `app`, whose parsing fills the arguments and sets the command.
// Both have to outlive it.
void addSampleCommands(CLI::App& app, SampleArguments& arguments, Command& command);
void addLibraryCommands(CLI::App& app, LibraryArguments& arguments, Command& command);
void addSettingsCommands(CLI::App& app, SettingsArguments& arguments, Command& command);

/// Throws `CLI::ExcludesError` where the option is given together with one of the others.
void requireAlone(const CLI::Option& option, std::initializer_list<const CLI::Option*> others);

/// The user's settings, over the defaults of the library.
platform::UserDefaults& userSettings();

/// Parses the arguments and does what they ask for.
int runCommandLine(int argc, char** argv);

}  // namespace marl::tool
