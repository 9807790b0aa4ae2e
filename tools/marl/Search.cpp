// SPDX-License-Identifier: MIT
#include "marl/Search.h"

#include "marl/IndexDirectory.h"
#include "marl/InfoJSON.h"
#include "marl/Output.h"
#include "marl/SearchQuery.h"
#include "marl/TerminalText.h"
#include "marl/TextTable.h"

#include <algorithm>
#include <iterator>
#include <ostream>
#include <span>

namespace marl::tool {
namespace {

using Records = OrganizedSearchResults::Records;

// ---- One loop ----

json keyOrNull(const SearchKey& key) {
    return key.isValid() ? json(keywordText(key.view())) : json(nullptr);
}

json descriptorsOf(const CFileIndexInfo& record) {
    json descriptors = json::array();
    record.forEachKey([&](const SearchKey& key, std::int32_t category) {
        if (category == SearchKeyInfo::kDescriptor) descriptors.push_back(keywordText(key.view()));
    });
    return descriptors;
}

json resultJSON(const CFileIndexInfo& record) {
    const AdditionalFileInfo info = record.getAdditionalInfo();
    const tagging::TimeSignature meter = record.getTimeSignature();
    const auto tempo = tempoOf(record);
    json result;
    putPath(result, record.getFileName());
    result["instrument"] = keyOrNull(record.getInstrument());
    result["instrumentSubType"] = keyOrNull(record.getInstrumentSubType());
    result["genre"] = keyOrNull(record.getGenre());
    result["descriptors"] = descriptorsOf(record);
    result["tempo"] = tempo ? json(*tempo) : json(nullptr);
    result["rootNote"] = info.midiRootNote;
    result["keyType"] = record.getKeyType();
    result["timeSignature"] = {meter.numerator, meter.denominator};
    result["numberOfBeats"] = info.numberOfBeats;
    result["oneShot"] = isOneShot(record);
    result["fileID"] = record.getFileID();
    return result;
}

std::string cellOf(const SearchKey& key) {
    return key.isValid() ? terminalText(keywordText(key.view())) : "-";
}

/// "A minor"; the note alone where the scale is neither minor nor major, or may be both.
std::string keyOf(const CFileIndexInfo& record) {
    const int rootNote = record.getAdditionalInfo().midiRootNote;
    const int scale = record.getKeyType() - 1;
    std::string key = noteName(rootNote);
    if (rootNote != 0 && scale >= 0 && scale < std::ssize(kScaleNames))
        key.append(" ").append(kScaleNames[static_cast<std::size_t>(scale)]);
    return key;
}

std::vector<std::string> cellsOf(const CFileIndexInfo& record) {
    const tagging::TimeSignature meter = record.getTimeSignature();
    const auto tempo = tempoOf(record);
    return {isOneShot(record) ? "one-shot" : "loop",
            tempo ? formatted("%.2f", *tempo) : "-",
            isOneShot(record) ? "-" : formatted("%d/%d", meter.numerator, meter.denominator),
            keyOf(record),
            cellOf(record.getInstrument()),
            cellOf(record.getGenre())};
}

constexpr TextTable::Column kColumns[] = {{"type", 8, false},        {"bpm", 7, true},
                                          {"meter", 5, false},       {"key", 8, false},
                                          {"instrument", 20, false}, {"genre", 16, false}};

// ---- All of them ----

/// Keys in their order, with the number of loops that were found under each.
json keyCountsJSON(const OrganizedSearchResults& results) {
    json counts = json::object();
    for (const auto& [key, records] : results.recordsByKey())
        counts[keywordText(key.view())] = records.size();
    return counts;
}

/// What is listed of what was found.
std::span<const CFileIndexInfo* const> listed(const Records& files, const SearchOptions& options) {
    return std::span(files).first(std::min(files.size(), options.limit.value_or(files.size())));
}

int printAsJSON(const OrganizedSearchResults& results, const SearchOptions& options, std::ostream& out,
                std::ostream& err) {
    json object;
    object["count"] = results.files().size();
    object["results"] = json::array();
    for (const CFileIndexInfo* const record : listed(results.files(), options))
        object["results"].push_back(resultJSON(*record));
    object["keys"] = keyCountsJSON(results);
    return printJSON(out, err, object);
}

int printAsTable(const OrganizedSearchResults& results, const SearchOptions& options, std::ostream& out,
                 std::ostream& err) {
    const auto records = listed(results.files(), options);
    if (!records.empty()) {
        TextTable table(out, kColumns, "path");
        for (const CFileIndexInfo* const record : records)
            table.addRow(cellsOf(*record), terminalText(record->getFileName()));
    }
    const std::string found = counted(static_cast<long long>(results.files().size()), "loop file");
    if (results.files().empty())
        out << "no loop files\n";
    else if (records.size() < results.files().size())
        out << records.size() << " of " << found << "\n";
    else
        out << found << "\n";
    return flushed(out, err) ? kDone : kFailed;
}

// ---- What a user should know of ----

/// What searches miss of an index; empty: nothing.
std::string gapOf(const CIndexFile& file) {
    const bool isBusy = file.isBeingUpdated();
    switch (file.getState()) {
        case kIndexIsComplete:
            return "";
        case kIndexIsDamaged:
            return "its index is damaged and not searched: 'marl index' makes it again";
        case kIndexIsIncomplete:
            return isBusy ? "its index is still being made"
                          : "its index is incomplete: 'marl index' completes it";
        default:
            return isBusy ? "its index is still being made, nothing is found yet"
                          : "its index was never completed: 'marl index' does so";
    }
}

void reportGaps(const CSearchEngine& engine, std::ostream& err) {
    for (int i = 0; i < engine.indexFileCount(); ++i) {
        const CIndexFileRef file = engine.getIndexFile(i);
        const std::string gap = gapOf(*file);
        if (file->getEnabled() && !gap.empty()) reportError(err, file->getRootDirectory(), "note: " + gap);
    }
}

}  // namespace

int runSearch(const SearchOptions& options, std::ostream& out, std::ostream& err) {
    const CSearchEngineRef engine = openIndexesToSearch(options.indexDirectory, err);
    if (!engine) return kFailed;
    reportGaps(*engine, err);
    SearchQuery query(*engine, options.keys, err);
    if (options.pitchClass) query.requirePitchClass(*options.pitchClass, options.filters.keyTolerance);
    OrganizedSearchResults results;
    query.run(*engine, options.filters, options.name, options.key, results);
    return options.json ? printAsJSON(results, options, out, err) : printAsTable(results, options, out, err);
}

}  // namespace marl::tool
