// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/KeywordNames.h>

#include <MarlCore/platform/Bundle.h>
#include <MarlCore/platform/PropertyList.h>

namespace marl {
namespace {

using platform::PropertyList;

constexpr std::string_view kFallbackLanguage = "en";

/// An empty one where there is no such file, or none that can be read: what is only for display stops
/// nothing.
PropertyList tableFor(std::string_view language) {
    const auto path = platform::Bundle::pathForResource("Keyword Names " + std::string(language), "plist");
    try {
        return path ? PropertyList::load(*path) : PropertyList();
    } catch (const platform::PropertyListError&) {
        return {};
    }
}

}  // namespace

KeywordNames::KeywordNames(std::string_view language) {
    if (!load(language)) load(kFallbackLanguage);
}

bool KeywordNames::load(std::string_view language) {
    const PropertyList table = tableFor(language);
    const PropertyList::Dictionary* const names = table.asDictionary();
    if (!names) return false;
    for (const auto& [key, name] : *names)
        if (const std::string* const text = name.asString()) m_names.emplace(SearchKey(key), *text);
    return !m_names.empty();
}

const std::string* KeywordNames::find(const SearchKey& key) const noexcept {
    const auto name = m_names.find(key);
    return name == m_names.end() ? nullptr : &name->second;
}

}  // namespace marl
