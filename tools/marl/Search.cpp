// SPDX-License-Identifier: MIT
#include "marl/Search.h"

#include "marl/IndexDirectory.h"
#include "marl/InfoJSON.h"
#include "marl/NearKeys.h"
#include "marl/Output.h"
#include "marl/TerminalText.h"
#include "marl/TextTable.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <ostream>
#include <span>

namespace marl::tool {
namespace {

using Records = OrganizedSearchResults::Records;

// ---- One loop ----

bool isOneShot(const CFileIndexInfo& record) {
    return record.getContentFileType() != 0;
}

/// Beats a minute as the shortest decimal number that stands for the record's; nothing where it has none.
std::optional<double> tempoOf(const CFileIndexInfo& record) {
    const float tempo = record.getAdditionalInfo().tempo;
    if (isOneShot(record) || !std::isfinite(tempo) || tempo <= 0) return std::nullopt;
    std::array<char, 32> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), tempo).ptr;
    double value = 0;
    std::from_chars(text.data(), end, value);
    return value;
}

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

std::vector<std::string> cellsOf(const CFileIndexInfo& record) {
    const tagging::TimeSignature meter = record.getTimeSignature();
    const auto tempo = tempoOf(record);
    return {isOneShot(record) ? "one-shot" : "loop",
            tempo ? formatted("%.2f", *tempo) : "-",
            isOneShot(record) ? "-" : formatted("%d/%d", meter.numerator, meter.denominator),
            noteName(record.getAdditionalInfo().midiRootNote),
            cellOf(record.getInstrument()),
            cellOf(record.getGenre())};
}

constexpr TextTable::Column kColumns[] = {{"type", 8, false},        {"bpm", 7, true},
                                          {"meter", 5, false},       {"root", 4, false},
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

std::string hintFor(const std::vector<std::string>& near) {
    if (near.empty()) return ": 'marl keywords' lists them";
    std::string list;
    for (const std::string& key : near) list += (list.empty() ? "'" : ", '") + key + "'";
    return "; did you mean " + list + "?";
}

void reportUnknownKeys(CSearchEngine& engine, const SearchOptions& options, std::ostream& err) {
    std::vector<KeywordCount> known;
    engine.generateKeywordList(known);
    for (const std::string& text : options.keys) {
        const SearchKey key(text);
        if (std::ranges::any_of(known, [&](const KeywordCount& one) { return one.keyword.key == key; }))
            continue;
        reportError(err, text, "no loop file has this key" + hintFor(nearKeys(text, known)));
    }
}

}  // namespace

int runSearch(const SearchOptions& options, std::ostream& out, std::ostream& err) {
    const CSearchEngineRef engine = openIndexesToSearch(options.indexDirectory, err);
    if (!engine) return kFailed;
    std::vector<SearchKey> keys;
    for (const std::string& text : options.keys) keys.emplace_back(text);
    OrganizedSearchResults results;
    engine->search(keys, options.filters, halyard::CSTR(options.name), options.key, results, true);
    reportGaps(*engine, err);
    if (results.files().empty()) reportUnknownKeys(*engine, options, err);
    return options.json ? printAsJSON(results, options, out, err) : printAsTable(results, options, out, err);
}

}  // namespace marl::tool
