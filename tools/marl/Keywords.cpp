// SPDX-License-Identifier: MIT
#include "marl/Keywords.h"

#include "marl/IndexDirectory.h"
#include "marl/InfoJSON.h"
#include "marl/Output.h"
#include "marl/TerminalText.h"
#include "marl/TextTable.h"

#include <MarlCore/SearchEngine/KeywordNames.h>
#include <MarlCore/platform/Locale.h>

#include <algorithm>
#include <ostream>
#include <vector>

namespace marl::tool {
namespace {

using Keywords = std::vector<KeywordCount>;

std::string keyOf(const KeywordCount& one) {
    return keywordText(one.keyword.key.view());
}

/// What the user calls it.
std::string nameOf(const KeywordCount& one, const KeywordNames& names) {
    const std::string* const name = names.find(one.keyword.key);
    return name ? *name : keyOf(one);
}

/// As a dictionary has them. Those of the same place stay in the order of their keys.
Keywords sortedByName(Keywords all, const KeywordNames& names) {
    std::ranges::stable_sort(
        all, {}, [&](const KeywordCount& one) { return platform::dictionaryKey(nameOf(one, names)); });
    return all;
}

/// The keywords of one category, in the order of `all`. Those of no known category count as descriptors.
Keywords ofCategory(const Keywords& all, std::int32_t category) {
    Keywords chosen;
    for (const KeywordCount& one : all) {
        const std::int32_t own = one.keyword.category;
        const bool isKnown = own >= SearchKeyInfo::kInstrument && own <= SearchKeyInfo::kDescriptor;
        if ((isKnown ? own : SearchKeyInfo::kDescriptor) == category) chosen.push_back(one);
    }
    return chosen;
}

// ---- JSON ----

json countsJSON(const Keywords& keywords, const KeywordNames& names) {
    json array = json::array();
    for (const KeywordCount& one : keywords) {
        array.push_back({{"key", keyOf(one)}, {"name", nameOf(one, names)}, {"count", one.files}});
        if (one.keyword.category != SearchKeyInfo::kInstrumentSubType) continue;
        const std::string parent = keywordText(one.keyword.parent.view());
        array.back()["instrument"] = parent.empty() ? json(nullptr) : json(parent);
    }
    return array;
}

json keywordsJSON(const Keywords& all, const KeywordNames& names) {
    json object;
    object["instrument"] = countsJSON(ofCategory(all, SearchKeyInfo::kInstrument), names);
    object["instrumentSubType"] = countsJSON(ofCategory(all, SearchKeyInfo::kInstrumentSubType), names);
    object["genre"] = countsJSON(ofCategory(all, SearchKeyInfo::kGenre), names);
    object["descriptor"] = countsJSON(ofCategory(all, SearchKeyInfo::kDescriptor), names);
    return object;
}

// ---- Text ----

/// Prints keywords of the order in which they are shown.
class KeywordPrinter {
public:
    KeywordPrinter(std::ostream& out, const Keywords& all, const KeywordNames& names)
        : m_out(out), m_all(all), m_names(names) {}

    /// Each instrument with its sub-types below it; then the sub-types of instruments that no loop has.
    void printInstruments() const;
    void printCategory(const char* head, std::int32_t category) const;

private:
    void printKeyword(const KeywordCount& one, const char* indent = "") const;

    std::ostream& m_out;
    const Keywords& m_all;
    const KeywordNames& m_names;
};

void KeywordPrinter::printKeyword(const KeywordCount& one, const char* indent) const {
    const std::string name = nameOf(one, m_names), key = keyOf(one);
    m_out << formatted("%8d  ", one.files) << indent << terminalText(name);
    if (name != key) m_out << "  (" << terminalText(key) << ")";
    m_out << "\n";
}

void KeywordPrinter::printInstruments() const {
    m_out << "instruments\n";
    Keywords subTypes = ofCategory(m_all, SearchKeyInfo::kInstrumentSubType);
    for (const KeywordCount& instrument : ofCategory(m_all, SearchKeyInfo::kInstrument)) {
        printKeyword(instrument);
        std::erase_if(subTypes, [&](const KeywordCount& subType) {
            const bool isIts = subType.keyword.parent == instrument.keyword.key;
            if (isIts) printKeyword(subType, "  ");
            return isIts;
        });
    }
    for (const KeywordCount& subType : subTypes) printKeyword(subType);
}

void KeywordPrinter::printCategory(const char* head, std::int32_t category) const {
    m_out << head << "\n";
    for (const KeywordCount& one : ofCategory(m_all, category)) printKeyword(one);
}

void printText(std::ostream& out, const Keywords& all, const KeywordNames& names) {
    const Keywords sorted = sortedByName(all, names);
    const KeywordPrinter printer(out, sorted, names);
    printer.printInstruments();
    printer.printCategory("genres", SearchKeyInfo::kGenre);
    printer.printCategory("descriptors", SearchKeyInfo::kDescriptor);
}

}  // namespace

int runKeywords(const KeywordsOptions& options, std::ostream& out, std::ostream& err) {
    const CSearchEngineRef engine = openIndexesToSearch(options.indexDirectory, err);
    if (!engine) return kFailed;
    Keywords all;
    engine->generateKeywordList(all);
    const KeywordNames names;
    if (options.json) return printJSON(out, err, keywordsJSON(all, names));
    printText(out, all, names);
    return flushed(out, err) ? kDone : kFailed;
}

}  // namespace marl::tool
