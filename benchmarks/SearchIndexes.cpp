// SPDX-License-Identifier: MIT
#include "SearchIndexes.h"

#include <MarlCore/SearchEngine/CIndexFile.h>

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

namespace searching {

namespace {

constexpr std::uint32_t kSeed = 20261;

constexpr std::string_view kInstruments[] = {
    "Drum Kit", "Percussion", "Shaker",   "Synth Bass", "Guitar", "Piano",   "Organ",     "Clavinet",
    "Strings",  "Brass",      "Woodwind", "Synth Lead", "Vocals", "Mallets", "Turntable", "Texture"};
constexpr std::string_view kSorts[] = {"Acoustic", "Electric", "Vintage", "Muted",
                                       "Solo",     "Ensemble", "Layered", "Modern"};
constexpr std::string_view kGenres[] = {
    "Rock",    "Blues",   "Electronic", "Jazz",   "Urban", "World",  "Cinematic", "Orchestral",
    "Ambient", "Country", "Folk",       "Funk",   "Soul",  "Reggae", "Latin",     "House",
    "Techno",  "Trance",  "Dubstep",    "Garage", "Disco", "Gospel", "Metal",     "Experimental"};
constexpr std::string_view kMoods[] = {
    "Relaxed", "Intense", "Cheerful", "Dark",   "Dry",  "Bright", "Warm", "Groovy", "Dramatic", "Distorted",
    "Clean",   "Melodic", "Dense",    "Sparse", "Wide", "Narrow", "Soft", "Loud",   "Rising",   "Falling"};
constexpr std::string_view kManners[] = {"",       "Part",  "Fill",   "Riff",  "Arpeggio",
                                         "Chords", "Pulse", "Swells", "Break", "Ostinato"};
constexpr std::string_view kCollections[] = {
    "Late Night Sessions", "Concrete Rooms",   "Northern Lights Archive", "Tape and Dust",
    "The Cellar Takes",    "Analogue Gardens", "Morning Traffic",         "Open Air Ensemble"};
constexpr std::array<const char*, 12> kNotes = {"C",  "C#", "D",  "D#", "E",  "F",
                                                "F#", "G",  "G#", "A",  "A#", "B"};

std::string joined(std::string_view a, std::string_view b) {
    return b.empty() ? std::string(a) : std::string(a) + " " + std::string(b);
}

/// Zipf's law with exponent 1: the n-th most frequent word is n times rarer than the first.
std::discrete_distribution<int> zipf(std::size_t count) {
    std::vector<double> weights;
    for (std::size_t rank = 1; rank <= count; ++rank) weights.push_back(1.0 / static_cast<double>(rank));
    return {weights.begin(), weights.end()};
}

}  // namespace

Vocabulary::Vocabulary() : genres(std::begin(kGenres), std::end(kGenres)) {
    for (const std::string_view name : kInstruments) {
        Instrument& instrument = instruments.emplace_back();
        instrument.name = name;
        for (const std::string_view sort : kSorts) instrument.subTypes.push_back(joined(sort, name));
    }
    for (const std::string_view manner : kManners)
        for (const std::string_view mood : kMoods) descriptors.push_back(joined(mood, manner));
}

RecordMaker::RecordMaker() : m_random(kSeed), m_zipf(zipf(m_words.descriptors.size())) {}

int RecordMaker::below(std::size_t count) {
    return static_cast<int>(m_random() % count);
}

std::vector<std::string> RecordMaker::pickDescriptors() {
    const std::size_t count = 1 + m_random() % 6;
    std::vector<std::string> picked;
    while (picked.size() < count) {
        const std::string& word = m_words.descriptors[static_cast<std::size_t>(m_zipf(m_random))];
        if (std::ranges::find(picked, word) == picked.end()) picked.push_back(word);
    }
    return picked;
}

std::string RecordMaker::makePath(const std::string& subType, const std::string& genre,
                                  const std::string& descriptor, int tempo, int root) {
    const std::string_view collection = kCollections[m_random() % std::size(kCollections)];
    const std::string note = kNotes[static_cast<std::size_t>(root) % kNotes.size()];
    std::string path = "/Volumes/Audio/Loops/" + std::string(collection) + "/" + subType + "/" + genre + " ";
    path += descriptor + " " + std::to_string(tempo) + " " + note + " " + std::to_string(m_made) + ".aif";
    return path.size() >= 60 ? path : path.insert(path.size() - 4, 60 - path.size(), '0');
}

marl::CFileIndexInfo RecordMaker::next() {
    using Info = marl::SearchKeyInfo;
    ++m_made;
    const Vocabulary::Instrument& instrument =
        m_words.instruments[static_cast<std::size_t>(below(m_words.instruments.size()))];
    const std::string& subType =
        instrument.subTypes[static_cast<std::size_t>(below(instrument.subTypes.size()))];
    const std::string& genre = m_words.genres[static_cast<std::size_t>(below(m_words.genres.size()))];
    const std::vector<std::string> descriptors = pickDescriptors();

    std::set<Info> tags{{instrument.name, Info::kInstrument, nullptr},
                        {subType, Info::kInstrumentSubType, nullptr},
                        {genre, Info::kGenre, nullptr}};
    for (const std::string& word : descriptors) tags.emplace(word, Info::kDescriptor, nullptr);

    const int tempo = 60 + below(120);
    const std::int32_t root = kLowestRoot + below(kHighestRoot - kLowestRoot + 1);
    std::set<Info> keys;
    marl::CFileIndexInfo record(makePath(subType, genre, descriptors.front(), tempo, root).c_str(), tags,
                                keys);
    record.setIndexTime(1'790'000'000);
    const int meter = below(10);
    record.setTimeSignature(meter < 8    ? marl::tagging::TimeSignature{4, 4}
                            : meter == 8 ? marl::tagging::TimeSignature{3, 4}
                                         : marl::tagging::TimeSignature{6, 8});
    record.setKeyType(static_cast<std::int16_t>(1 + below(2)));
    record.setAdditionalInfo({static_cast<float>(tempo), root, 4 << below(4), false, below(4) == 0, false});
    return record;
}

void writeIndex(const std::string& path, int count) {
    const marl::CIndexFileRef index(new marl::CIndexFile(halyard::CSTR(path), true));
    index->setRootDirectory("/Volumes/Audio/Loops");
    RecordMaker maker;
    for (int i = 0; i < count; ++i) {
        marl::CFileIndexInfo record = maker.next();
        const std::int32_t fileID = index->appendFileInfo(record);
        index->updateSearchKeySet(fileID, record.searchKeys());
    }
    index->setState(marl::kIndexIsComplete);
    index->flushChanges();
}

}  // namespace searching
