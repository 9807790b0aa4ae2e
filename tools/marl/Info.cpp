// SPDX-License-Identifier: MIT
#include "marl/Info.h"

#include "marl/InfoJSON.h"
#include "marl/TerminalText.h"
#include "marl/TextTable.h"

#include <MarlCore/Files/browsing/FileNode.h>
#include <MarlCore/platform/Exception.h>

#include <optional>
#include <ostream>

namespace marl::tool {
namespace {

/// A file to show, or a folder that cannot be.
struct Item {
    std::string path;
    std::string error;  // empty for a file
};

/// What the paths of the command line stand for, in their order; the files of a folder in the order of names.
class ItemList {
public:
    explicit ItemList(std::ostream& err) : m_err(err) {}

    /// The path itself, or every loop file below it when it is a folder.
    void add(const std::string& path) {
        if (NodeTypesHelper::nodeTypeFromPath(path) != NodeTypesHelper::kFolder)
            return m_items.push_back({path, ""});
        const std::size_t before = m_items.size();
        FileNode folder(path, nullptr, std::nullopt);
        addChildren(folder, path);
        if (m_items.size() == before) reportError(m_err, path, "note: no loop files in this folder");
    }

    const std::vector<Item>& items() const noexcept { return m_items; }

private:
    void addChildren(FileNode& folder, const std::string& path) {
        try {
            folder.children();
        } catch (const platform::Exception& exception) {
            return m_items.push_back({path, messageOfFolder(path, exception)});
        }
        for (const FileNodeRef& child : folder.children()) {
            const std::string childPath = (path.ends_with('/') ? path : path + "/") + child->pathName();
            const bool isLoop =
                child->nodeType() == NodeTypesHelper::kAIFF || child->nodeType() == NodeTypesHelper::kWAV;
            if (isLoop) m_items.push_back({childPath, ""});
            // Folders behind a link are left out: they are listed where they are, and a link may lead back
            // here.
            if (child->isContainer() && !child->isAlias()) addChildren(*child, childPath);
            child->sync();
        }
    }

    std::ostream& m_err;
    std::vector<Item> m_items;
};

bool isOneShot(const IFileParser& parser) {
    return parser.getFileType() == tagging::kFileTypeOneShot;
}

std::string noteAndNumber(int rootNote) {
    return rootNote > 0 ? formatted("%s (MIDI %d)", noteName(rootNote).c_str(), rootNote) : "-";
}

std::string tempoText(const IFileParser& parser) {
    const auto tempo = tempoOf(parser);
    return tempo ? formatted("%.2f", *tempo) : "-";
}

/// A one-shot has none.
std::string meterText(const IFileParser& parser) {
    if (isOneShot(parser)) return "-";
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

std::string formatText(const LoopFile& loop) {
    return formatted("%s, %g Hz, %u bits, ", containerOf(loop).c_str(), loop.format.mSampleRate,
                     loop.format.mBitsPerChannel) +
           counted(loop.format.mChannelsPerFrame, "channel");
}

std::string typeText(const IFileParser& parser) {
    if (isOneShot(parser)) return "one-shot";
    std::string text =
        "loop of " + counted(parser.getNaturalNumberOfBeats(), "beat") + " in " + meterText(parser);
    if (tempoOf(parser)) text += " at " + tempoText(parser) + " bpm";
    return parser.getSourceFileNumberOfBeats() != 0 ? text : text + ", guessed from the length";
}

std::string transientsText(const IFileParser& parser) {
    const std::size_t count = parser.getTransients().size();
    if (count == 0) return "none";
    return formatted("%zu %s", count, parser.didSourceFileHaveTransients() ? "in the file" : "on a grid");
}

void printInFull(std::ostream& out, const std::string& path, const LoopFile& loop) {
    const IFileParser& parser = loop.parser();
    out << terminalText(path) << "\n";
    printLine(out, "format", formatText(loop));
    printLine(
        out, "length",
        formatted("%.3f s, ", parser.getLengthInSeconds()) + counted(parser.getLengthInFrames(), "frame"));
    printLine(out, "type", typeText(parser));
    printLine(out, "root note", noteAndNumber(parser.getMidiRootNote()));
    printLine(out, "instrument", keywordText(parser.getInstrument().type));
    printLine(out, "sub-type", keywordText(parser.getInstrument().subType));
    printLine(out, "genre", keywordText(parser.getGenre()));
    printLine(out, "descriptors", joined(parser.getDescriptors()));
    printLine(out, "transients", transientsText(parser));
    printText(out, "name", parser.getFileInfo().name);
    printText(out, "author", parser.getFileInfo().author);
    printText(out, "copyright", parser.getFileInfo().copyright);
    printText(out, "annotation", parser.getFileInfo().annotation);
    if (loop.parser().hasMidiChunk()) printLine(out, "midi", "embedded");
}

constexpr TextTable::Column kColumns[] = {{"file", 4, false},       {"rate", 6, true},    {"bits", 4, true},
                                          {"ch", 2, true},          {"seconds", 8, true}, {"type", 8, false},
                                          {"bpm", 7, true},         {"meter", 5, false},  {"root", 4, false},
                                          {"instrument", 20, false}};

std::vector<std::string> cellsOf(const LoopFile& loop) {
    const IFileParser& parser = loop.parser();
    const std::string instrument = terminalText(keywordText(parser.getInstrument().type));
    return {containerOf(loop),
            formatted("%g", loop.format.mSampleRate),
            formatted("%u", loop.format.mBitsPerChannel),
            formatted("%u", loop.format.mChannelsPerFrame),
            formatted("%.3f", parser.getLengthInSeconds()),
            isOneShot(parser) ? "one-shot" : "loop",
            tempoText(parser),
            meterText(parser),
            noteName(parser.getMidiRootNote()),
            instrument.empty() ? "-" : instrument};
}

/// Prints what was asked for in the form that was asked for.
class Report {
public:
    Report(const InfoOptions& options, std::size_t items, std::ostream& out, std::ostream& err)
        : m_json(options.json), m_inTable(items > 1), m_out(out), m_err(err) {}

    void add(const Item& item) {
        if (!item.error.empty()) return addError(item.path, item.error);
        try {
            addFile(item.path, openLoopFile(item.path));
        } catch (const std::exception& exception) {
            addError(item.path, messageOf(exception, "cannot be read"));
        }
    }

    /// Returns the exit status.
    int finish() {
        const int status = m_json                  ? printJSON(m_out, m_err, m_results)
                           : flushed(m_out, m_err) ? kDone
                                                   : kFailed;
        return m_failed ? kFailed : status;
    }

private:
    void addFile(const std::string& path, const LoopFile& loop) {
        if (m_json)
            m_results.push_back(infoJSON(path, loop));
        else if (m_inTable)
            table().addRow(cellsOf(loop), terminalText(path));
        else
            printInFull(m_out, path, loop);
    }

    /// Begun when there is a row for it.
    TextTable& table() { return m_table ? *m_table : m_table.emplace(m_out, kColumns, "path"); }

    void addError(const std::string& path, const std::string& message) {
        m_failed = true;
        reportError(m_err, path, message);
        if (m_json) m_results.push_back(errorJSON(path, message));
    }

    const bool m_json;
    const bool m_inTable;
    std::ostream& m_out;
    std::ostream& m_err;
    std::optional<TextTable> m_table;
    json m_results = json::array();
    bool m_failed = false;
};

}  // namespace

int runInfo(const InfoOptions& options, std::ostream& out, std::ostream& err) {
    ItemList list(err);
    for (const std::string& path : options.paths) list.add(path);
    Report report(options, list.items().size(), out, err);
    for (const Item& item : list.items()) {
        if (!out) break;  // nobody reads on
        report.add(item);
    }
    return report.finish();
}

}  // namespace marl::tool
