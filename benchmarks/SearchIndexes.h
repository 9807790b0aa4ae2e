// SPDX-License-Identifier: MIT
/// \file
/// Index files of loops that do not exist, for measuring searches: the same records on every run.
#pragma once

#include <MarlCore/SearchEngine/CFileIndexInfo.h>

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace searching {

/// The words that loops are tagged with.
struct Vocabulary {
    struct Instrument {
        std::string name;
        std::vector<std::string> subTypes;
    };

    Vocabulary();

    std::vector<Instrument> instruments;
    std::vector<std::string> genres;
    std::vector<std::string> descriptors;  ///< 200, the most frequent first
};

/// Root notes of the loops, as MIDI note numbers.
constexpr std::int32_t kLowestRoot = 48, kHighestRoot = 59;

/// Makes one record after another. Each has an instrument, a sub-type, a genre and 1 to 6 descriptors by
/// Zipf's law; a path of 60 to 110 bytes; a tempo, a root note and a meter. Neighbours have nothing in
/// common, which is harder on a search than a library of folders that each hold one sort of loop. All are
/// loops with a root note, so that a range of notes means the same to a database as to the engine.
class RecordMaker {
public:
    RecordMaker();
    marl::CFileIndexInfo next();

private:
    int below(std::size_t count);
    std::vector<std::string> pickDescriptors();
    std::string makePath(const std::string& subType, const std::string& genre, const std::string& descriptor,
                         int tempo, int root);

    Vocabulary m_words;
    std::mt19937 m_random;
    std::discrete_distribution<int> m_zipf;
    int m_made = 0;
};

/// Writes an index file of the first `count` records that a `RecordMaker` makes.
void writeIndex(const std::string& path, int count);

}  // namespace searching
