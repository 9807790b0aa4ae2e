// SPDX-License-Identifier: MIT
/// \file
/// Arguments of the subcommands about settings and the machine.
#include "marl/CommandLine.h"

#include "marl/Hardware.h"
#include "marl/Prefs.h"
#include "marl/TerminalText.h"

#include <MarlCore/Common/MarlPreferences.h>

#include <iostream>

namespace marl::tool {

platform::UserDefaults& userSettings() {
    auto& settings = platform::UserDefaults::standardUserDefaults();
    settings.setMessageHandler(
        [](const std::string& message) { std::cerr << "marl: " << terminalText(message) << "\n"; });
    MarlPreferences::initializeDefaults();
    return settings;
}

namespace {

void addKey(CLI::App* command, std::string& key) {
    command->add_option("KEY", key, "A setting, such as 'Default Tempo'")->type_name("")->required();
}

void addPrefs(CLI::App& app, SettingsArguments& arguments, Command& command) {
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
    hardware->callback(
        [&] { command = [&] { return printMachine(thisMachine(), isJSON, std::cout, std::cerr); }; });
}

}  // namespace

void addSettingsCommands(CLI::App& app, SettingsArguments& arguments, Command& command) {
    addPrefs(app, arguments, command);
    addHardware(app, arguments.isHardwareJSON, command);
}

}  // namespace marl::tool
