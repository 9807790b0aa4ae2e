// SPDX-License-Identifier: MIT
/// \file
/// A search keyword as a user interface shows it.
#pragma once

#include <MarlCore/platform/Export.h>

#include <cstdint>
#include <string>

namespace marl {

/// The text that a user sees for a keyword, and the keyword's number in the list of
/// `CSearchEngine::generateKeywordList`. [any thread]
class MARLCORE_EXPORT LocalizedKeyword {
public:
    /// The number of a text that stands for no keyword.
    static constexpr std::int32_t kNoKeyword = -1;

    LocalizedKeyword(std::string localizedKeyword, std::int32_t searchKeyIndexNumber);

    /// UTF-8.
    const std::string& localizedKeyword() const noexcept { return m_localizedKeyword; }
    std::int32_t searchKeyIndexNumber() const noexcept { return m_searchKeyIndexNumber; }

    /// Negative, zero or positive as this text sorts before, with or behind the other one, without regard to
    /// the case of the letters A to Z and those of Latin-1 (À to Þ). The numbers take no part.
    int caseInsensitiveCompare(const LocalizedKeyword& other) const noexcept;

    /// "<none>" for the text of no keyword, otherwise "TEXT [index = NUMBER]".
    std::string description() const;

private:
    std::string m_localizedKeyword;
    std::int32_t m_searchKeyIndexNumber;
};

}  // namespace marl
