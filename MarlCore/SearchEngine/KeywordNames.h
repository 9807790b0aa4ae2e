// SPDX-License-Identifier: MIT
/// \file
/// What keywords are called in the language of a user.
#pragma once

#include <MarlCore/SearchEngine/SearchKey.h>
#include <MarlCore/platform/Locale.h>

#include <map>
#include <string>
#include <string_view>

namespace marl {

/// The names of the shipped keywords in one language, for display: keys stay what loops are searched by. From
/// the resource "Keyword Names LANGUAGE.plist", see docs/keyword-dictionary.md. [any thread]
class MARLCORE_EXPORT KeywordNames {
public:
    /// The names in `language` ("de"), or in English where there are none. Without any that can be read,
    /// every keyword is its own name.
    explicit KeywordNames(std::string_view language = platform::preferredLanguage());

    /// The name, UTF-8, or null for a keyword that has none, as those of users. Valid as long as this object.
    const std::string* find(const SearchKey& key) const noexcept;

private:
    bool load(std::string_view language);

    std::map<SearchKey, std::string> m_names;
};

}  // namespace marl
