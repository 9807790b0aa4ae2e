// SPDX-License-Identifier: MIT
#include "marl/Info.h"

#include "marl/InfoJSON.h"
#include "marl/TerminalText.h"

#include <MarlCore/Files/browsing/FileNode.h>
#include <MarlCore/platform/Exception.h>

#include <array>
#include <cstdio>
#include <ostream>

namespace marl::tool {
namespace {

template <typename... Arguments>
std::string formatted(const char* format, Arguments... arguments) {
    std::array<char, 256> text;
    std::snprintf(text.data(), text.size(), format, arguments...);
    return text.data();
}

/// Reports what cannot be read, and goes on.
class PathList {
public:
    explicit PathList(std::ostream& err) : m_err(err) {}

    /// The path itself, or every loop file below it when it is a folder.
    void add(const std::string& path) {
        if (NodeTypesHelper::nodeTypeFromPath(path) != NodeTypesHelper::kFolder)
            return m_paths.push_back(path);
        FileNode folder(path, nullptr, std::nullopt);
        addChildren(folder, path);
    }

    const std::vector<std::string>& paths() const noexcept { return m_paths; }
    bool failed() const noexcept { return m_failed; }

private:
    void addChildren(FileNode& folder, const std::string& path) {
        try {
            folder.children();
        } catch (const platform::Exception& exception) {
            reportError(m_err, path, exception.what());
            m_failed = true;
            return;
        }
        for (const FileNodeRef& child : folder.children()) {
            const std::string childPath = (path.ends_with('/') ? path : path + "/") + child->pathName();
            const bool isLoop =
                child->nodeType() == NodeTypesHelper::kAIFF || child->nodeType() == NodeTypesHelper::kWAV;
            if (isLoop) m_paths.push_back(childPath);
            // Folders behind a link are left out: they are listed where they are, and a link may lead back
            // here.
            if (child->isContainer() && !child->isAlias()) addChildren(*child, childPath);
            child->sync();
        }
    }

    std::ostream& m_err;
    std::vector<std::string> m_paths;
    bool m_failed = false;
};

std::string noteName(int rootNote) {
    constexpr std::array kNames{"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
    if (rootNote <= 0) return "-";
    return formatted("%s (%d)", kNames[static_cast<std::size_t>(rootNote) % kNames.size()], rootNote);
}

std::string tempoText(const IFileParser& parser) {
    const auto tempo = tempoOf(parser);
    return tempo ? formatted("%.2f", *tempo) : "-";
}

std::string meterText(const IFileParser& parser) {
    const tagging::TimeSignature meter = parser.getTimeSignature();
    return formatted("%d/%d", meter.numerator, meter.denominator);
}

std::string joined(const std::vector<tagging::Descriptor>& descriptors) {
    std::string text;
    for (const auto& descriptor : descriptors) text += (text.empty() ? "" : ", ") + keywordText(descriptor);
    return text;
}

void printLine(std::ostream& out, const char* label, const std::string& text) {
    if (!text.empty()) out << formatted("  %-12s ", label) << terminalText(text) << "\n";
}

void printText(std::ostream& out, const char* label, const halyard::CStringRef& text) {
    if (text) printLine(out, label, text->getStringRef());
}

void printInFull(std::ostream& out, const std::string& path, const LoopFile& loop) {
    const IFileParser& parser = loop.parser();
    const bool oneShot = parser.getFileType() == tagging::kFileTypeOneShot;
    out << terminalText(path) << "\n";
    printLine(out, "format",
              formatted("%s, %g Hz, %u bits, %u channel%s", containerOf(loop).c_str(),
                        loop.format.mSampleRate, loop.format.mBitsPerChannel, loop.format.mChannelsPerFrame,
                        loop.format.mChannelsPerFrame == 1 ? "" : "s"));
    printLine(out, "length",
              formatted("%.3f s, %lld frames", parser.getLengthInSeconds(), parser.getLengthInFrames()));
    printLine(out, "type",
              oneShot ? "one-shot"
                      : formatted("loop of %d beats in %s at %s bpm", parser.getNaturalNumberOfBeats(),
                                  meterText(parser).c_str(), tempoText(parser).c_str()));
    printLine(out, "root note", noteName(parser.getMidiRootNote()));
    printLine(out, "instrument", keywordText(parser.getInstrument().type));
    printLine(out, "sub-type", keywordText(parser.getInstrument().subType));
    printLine(out, "genre", keywordText(parser.getGenre()));
    printLine(out, "descriptors", joined(parser.getDescriptors()));
    printLine(out, "transients",
              formatted("%zu (%s)", parser.getTransients().size(),
                        parser.didSourceFileHaveTransients() ? "in the file" : "on a grid"));
    printText(out, "name", parser.getFileInfo().name);
    printText(out, "author", parser.getFileInfo().author);
    printText(out, "copyright", parser.getFileInfo().copyright);
    printText(out, "annotation", parser.getFileInfo().annotation);
    if (loop.parser().hasMidiChunk()) printLine(out, "midi", "embedded");
}

constexpr char kRowFormat[] = "%-4s %6s %4s %2s %8s %8s %-5s %-8s %-20s ";

void printTableHead(std::ostream& out) {
    out << formatted(kRowFormat, "type", "rate", "bits", "ch", "seconds", "bpm", "meter", "root",
                     "instrument")
        << "path\n";
}

void printTableRow(std::ostream& out, const std::string& path, const LoopFile& loop) {
    const IFileParser& parser = loop.parser();
    const auto number = [](double value) { return formatted("%g", value); };
    out << formatted(kRowFormat, containerOf(loop).c_str(), number(loop.format.mSampleRate).c_str(),
                     number(loop.format.mBitsPerChannel).c_str(),
                     number(loop.format.mChannelsPerFrame).c_str(),
                     formatted("%.3f", parser.getLengthInSeconds()).c_str(), tempoText(parser).c_str(),
                     meterText(parser).c_str(), noteName(parser.getMidiRootNote()).c_str(),
                     terminalText(keywordText(parser.getInstrument().type)).c_str())
        << terminalText(path) << "\n";
}

}  // namespace

int runInfo(const InfoOptions& options, std::ostream& out, std::ostream& err) {
    PathList list(err);
    for (const std::string& path : options.paths) list.add(path);
    const bool table = !options.json && list.paths().size() > 1;
    if (table) printTableHead(out);
    json results = json::array();
    bool failed = list.failed();
    for (const std::string& path : list.paths()) {
        try {
            const LoopFile loop = openLoopFile(path);
            if (options.json)
                results.push_back(infoJSON(path, loop));
            else if (table)
                printTableRow(out, path, loop);
            else
                printInFull(out, path, loop);
        } catch (const halyard::CException& exception) {
            failed = true;
            reportError(err, path, messageOf(exception));
            json& result = results.emplace_back(json::object());
            putPath(result, path);
            result["error"] = toUTF8(messageOf(exception));
        }
    }
    if (options.json && printJSON(out, err, results) != kDone) return kFailed;
    return flushed(out, err) && !failed ? kDone : kFailed;
}

}  // namespace marl::tool
