// SPDX-License-Identifier: MIT
/// \file
/// What the words of a search ask for.
#pragma once

#include <MarlCore/SearchEngine/CSearchEngine.h>

#include <iosfwd>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace marl::tool {

/// The words of a search as a musician means them. A word is the first of these:
/// - a key that loops have: itself;
/// - a word of the keyword dictionary: those of its keywords that loops have, as "bass" is Bass Guitar or
///   Synth Bass;
/// - a number from 20 to 400: a tempo in beats a minute, from which loops may be half a beat off;
/// - two of them with a hyphen between, the higher one last: tempos from the one to the other.
/// No loop has any other word.
class SearchQuery {
public:
    /// Tells on `err` what words that are no keys were taken for, and keys near to those that no loop has.
    SearchQuery(CSearchEngine& engine, std::span<const std::string> words, std::ostream& err);

    /// Asks for root notes that are, in some octave, at most `tolerance` semitones from `pitchClass`, which
    /// is 0 (C) to 11 (B). One-shots and loops without a root note pass, as they do every key.
    void requirePitchClass(int pitchClass, int tolerance);

    /// The loops that have every word and pass the filters; the arguments are those of
    /// `CSearchEngine::search`.
    void run(CSearchEngine& engine, const SearchFilters& filters, const std::string& name, int projectKey,
             OrganizedSearchResults& results) const;

private:
    using Keys = std::vector<SearchKey>;

    struct Tempos {
        double lowest, highest;  // beats a minute
        double tolerance;        // beyond both
    };
    struct PitchClass {
        int number, tolerance;
    };

    bool takeKey(CSearchEngine& engine, const std::string& word);
    bool takeKeywords(CSearchEngine& engine, const std::string& word, std::ostream& err);
    bool takeTempo(const std::string& word, std::ostream& err);
    bool takeTempoRange(const std::string& word, std::ostream& err);
    std::vector<Keys> lookUps() const;
    bool admitsKeyOf(const CFileIndexInfo& record) const;
    bool admitsTempoOf(const CFileIndexInfo& record) const;
    bool admits(const CFileIndexInfo& record) const;

    Keys m_keys;                // all of them
    std::vector<Keys> m_anyOf;  // of each of these at least one
    std::vector<Tempos> m_tempos;
    std::optional<PitchClass> m_pitchClass;
    bool m_isVain = false;  // no loop has one of the words
};

/// Beats a minute as the shortest decimal number that stands for the record's; nothing where it has none.
std::optional<double> tempoOf(const CFileIndexInfo& record);

bool isOneShot(const CFileIndexInfo& record);

}  // namespace marl::tool
