// SPDX-License-Identifier: MIT
#include "marl/Keywords.h"

#include "marl/IndexDirectory.h"
#include "marl/InfoJSON.h"
#include "marl/Output.h"
#include "marl/TerminalText.h"
#include "marl/TextTable.h"

#include <ostream>
#include <vector>

namespace marl::tool {
namespace {

using Keywords = std::vector<KeywordCount>;

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

json countsJSON(const Keywords& keywords) {
    json array = json::array();
    for (const KeywordCount& one : keywords) {
        array.push_back({{"key", keywordText(one.keyword.key.view())}, {"count", one.files}});
        if (one.keyword.category != SearchKeyInfo::kInstrumentSubType) continue;
        const std::string parent = keywordText(one.keyword.parent.view());
        array.back()["instrument"] = parent.empty() ? json(nullptr) : json(parent);
    }
    return array;
}

json keywordsJSON(const Keywords& all) {
    json object;
    object["instrument"] = countsJSON(ofCategory(all, SearchKeyInfo::kInstrument));
    object["instrumentSubType"] = countsJSON(ofCategory(all, SearchKeyInfo::kInstrumentSubType));
    object["genre"] = countsJSON(ofCategory(all, SearchKeyInfo::kGenre));
    object["descriptor"] = countsJSON(ofCategory(all, SearchKeyInfo::kDescriptor));
    return object;
}

// ---- Text ----

void printKeyword(std::ostream& out, const KeywordCount& one, const char* indent) {
    out << formatted("%8d  ", one.files) << indent << terminalText(keywordText(one.keyword.key.view()))
        << "\n";
}

/// Each instrument with its sub-types below it; then the sub-types of instruments that no loop has.
void printInstruments(std::ostream& out, const Keywords& all) {
    Keywords subTypes = ofCategory(all, SearchKeyInfo::kInstrumentSubType);
    for (const KeywordCount& instrument : ofCategory(all, SearchKeyInfo::kInstrument)) {
        printKeyword(out, instrument, "");
        std::erase_if(subTypes, [&](const KeywordCount& subType) {
            const bool isIts = subType.keyword.parent == instrument.keyword.key;
            if (isIts) printKeyword(out, subType, "  ");
            return isIts;
        });
    }
    for (const KeywordCount& subType : subTypes) printKeyword(out, subType, "");
}

void printCategory(std::ostream& out, const char* head, const Keywords& keywords) {
    out << head << "\n";
    for (const KeywordCount& one : keywords) printKeyword(out, one, "");
}

void printText(std::ostream& out, const Keywords& all) {
    out << "instruments\n";
    printInstruments(out, all);
    printCategory(out, "genres", ofCategory(all, SearchKeyInfo::kGenre));
    printCategory(out, "descriptors", ofCategory(all, SearchKeyInfo::kDescriptor));
}

}  // namespace

int runKeywords(const KeywordsOptions& options, std::ostream& out, std::ostream& err) {
    const CSearchEngineRef engine = openIndexesToSearch(options.indexDirectory, err);
    if (!engine) return kFailed;
    Keywords all;
    engine->generateKeywordList(all);
    if (options.json) return printJSON(out, err, keywordsJSON(all));
    printText(out, all);
    return flushed(out, err) ? kDone : kFailed;
}

}  // namespace marl::tool
