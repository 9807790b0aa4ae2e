// SPDX-License-Identifier: MIT
/// \file
/// Arguments of the subcommands that work with the samples of one file.
#include "marl/CommandLine.h"

#include "marl/Output.h"

#include <cmath>
#include <iostream>

#include <unistd.h>

namespace marl::tool {
namespace {

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
    reportError(std::cerr, "standard output", "is a terminal: lead the " + what + " into a file or program");
    return true;
}

void addInfo(CLI::App& app, InfoOptions& options, Command& command) {
    CLI::App* const info = app.add_subcommand("info", "Show format, tempo, root note and tags of loops");
    info->add_flag("--json", options.json, "Print a JSON array with all that is known");
    info->add_option("FILE", options.paths,
                     "AIFF, WAV and QuickTime files, and folders\nof AIFF and WAV files")
        ->type_name("")
        ->required();
    info->callback([&] { command = [&] { return runInfo(options, std::cout, std::cerr); }; });
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

void addConvert(CLI::App& app, ConvertOptions& options, Command& command) {
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
            return runConvert(options, std::cout, std::cerr);
        };
    });
}

void addStream(CLI::App& app, StreamOptions& options, Command& command) {
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
            return runStream(options, std::cout, std::cerr);
        };
    });
}

int recordUnlessFromTerminal(const RecordOptions& options) {
    if (::isatty(STDIN_FILENO)) {
        reportError(std::cerr, "standard input", "is a terminal: lead 32-bit float samples into it");
        return kWrongUsage;
    }
    return runRecord(options, STDIN_FILENO, std::cout, std::cerr);
}

void addRecord(CLI::App& app, RecordOptions& options, Command& command) {
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

int runPeaksUnlessToTerminal(const PeaksOptions& options) {
    if (options.output == "-" && isOutputATerminal("picture")) return kWrongUsage;
    userSettings();
    return runPeaks(options, std::cout, std::cerr);
}

void addPeaks(CLI::App& app, PeaksOptions& options, Command& command) {
    CLI::App* const peaks = app.add_subcommand("peaks", "Draw the waveform of a loop");
    peaks
        ->add_option(
            "-o", options.output,
            "PNG file to write, replaced when it exists; - for\nstandard output; default: the name of "
            "FILE with .png,\nin this folder")
        ->type_name("OUT.png")
        ->check(wrongWithPicture);
    peaks
        ->add_option_function<std::string>(
            "--size", [](const std::string&) {}, "Columns and rows; default: 1000x200")
        ->type_name("WxH")
        ->check([&](const std::string& text) { return wrongWithSize(text, options.size); });
    CLI::Option* const from =
        peaks->add_option("--from", options.from, "First frame; default: that of the file");
    CLI::Option* const to = peaks->add_option("--to", options.to, "Last frame; default: that of the file");
    for (CLI::Option* const frame : {from, to}) frame->type_name("F")->check(wrongWithFrame);
    CLI::Option* const color =
        peaks
            ->add_option_function<std::string>(
                "--color", [](const std::string&) {}, "Red, green, blue and opacity, such as FF8000FF")
            ->type_name("RRGGBBAA");
    color->check([&](const std::string& text) { return wrongWithColor(text, options.color); });
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

}  // namespace

void addSampleCommands(CLI::App& app, SampleArguments& arguments, Command& command) {
    addInfo(app, arguments.info, command);
    addConvert(app, arguments.convert, command);
    addStream(app, arguments.stream, command);
    addRecord(app, arguments.record, command);
    addPeaks(app, arguments.peaks, command);
}

}  // namespace marl::tool
