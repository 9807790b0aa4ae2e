// SPDX-License-Identifier: MIT
#include <MarlCore/SearchEngine/CFileIndexer.h>

#include <MarlCore/Files/FileClasses.h>
#include <MarlCore/Files/IFile.h>
#include <MarlCore/Files/browsing/NodeTypes.h>
#include <MarlCore/SearchEngine/PathWords.h>
#include <MarlCore/foundation/CException.h>
#include <MarlCore/platform/Bundle.h>
#include <MarlCore/platform/UTF8.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <filesystem>
#include <future>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <unistd.h>

namespace marl {
namespace {

using halyard::CException;
using halyard::kFileIOError;
using platform::Bundle;
using platform::PropertyList;

constexpr char kDictionaryName[] = "Keyword Dictionary", kDictionaryType[] = "plist";
constexpr char kTranslationName[] = "additionalData", kTranslationType[] = "dat";

constexpr std::int16_t kMusicalContent = 0;  // content file type of a loop
constexpr float kNoTempo = -1;

/// The path and the contents of a file that the library ships.
std::pair<std::string, PropertyList> shippedList(const char* name, const char* type) {
    const auto path = Bundle::pathForResource(name, type);
    if (!path) {
        CException failure(kFileIOError, ENOENT);
        failure.concatMessage("couldn't find the resource '%s.%s'", name, type);
        failure.Throw();
    }
    try {
        return {*path, PropertyList::load(*path)};
    } catch (const platform::PropertyListError& error) {
        throw CException(kFileIOError, 0, error.reason().c_str());
    }
}

/// Hands the path and the contents of a user's file of that name to `use`, when there is one. A malformed one
/// is a problem of the dictionary.
template <typename Use>
void withUserList(const char* name, const char* type, KeywordDictionary& dictionary, Use use) {
    const auto folder = Bundle::userFolder();
    if (!folder) return;
    const std::string path = *folder + '/' + name + '.' + type;
    std::error_code error;
    if (std::filesystem::status(path, error).type() == std::filesystem::file_type::not_found) return;
    try {
        use(PropertyList::load(path), path);
    } catch (const platform::PropertyListError& fault) {
        dictionary.addProblem(fault.reason());
    }
}

/// At most the 29 bytes of a key, and no half character at their end.
SearchKey boundedKey(std::string_view text) noexcept {
    std::size_t length = 0;
    while (length < text.size()) {
        const std::size_t next = std::max<std::size_t>(platform::utf8SequenceLength(text.substr(length)), 1);
        if (length + next >= SearchKey::kSize) break;
        length += next;
    }
    return SearchKey(text.substr(0, length));
}

/// Beats a minute, or `kNoTempo`: for a one-shot, and where there is no duration that the beats could be
/// spread over. Always finite.
float tempoOf(const IFileParser& parser) noexcept {
    const double seconds = parser.getLengthInSeconds(), beats = parser.getLengthInQuarterNotes();
    if (parser.getFileType() == tagging::kFileTypeOneShot || !(seconds > 0) || beats < 0) return kNoTempo;
    const auto tempo = static_cast<float>(beats * 60 / seconds);
    return std::isfinite(tempo) ? tempo : kNoTempo;
}

AdditionalFileInfo additionalInfoOf(const IFileParser& parser) noexcept {
    AdditionalFileInfo info;
    info.tempo = tempoOf(parser);
    info.midiRootNote = parser.getMidiRootNote();
    info.numberOfBeats = parser.getNumberOfBeats();
    // Both in the units of the time signature; a file that states none differs from what was derived.
    info.sourceBeatsDiffer = parser.getSourceFileNumberOfBeats() != parser.getNaturalNumberOfBeats();
    info.lacksTransients = !parser.didSourceFileHaveTransients();
    info.lacksSearchTags = !parser.didSourceFileHaveSearchTags();
    return info;
}

std::int16_t contentFileTypeOf(const IFileParser& parser) noexcept {
    const int type = parser.getFileType();
    return type == tagging::kFileTypeLoop ? kMusicalContent : static_cast<std::int16_t>(type);
}

/// Opens the file at `path` and reads what a record needs. Whether there are slice points suffices of those.
IFileRef openForMetadata(const std::string& path) {
    const CURLRef url(new CURL(halyard::CSTR(path), CURL::kPOSIXPathStyle, false));
    const IFileRef file(IFile::New(url, false));
    file->getFileParserRef()->parse(IFileParser::kFormatInfo | IFileParser::kBasicTaggingInfo |
                                    IFileParser::kSearchInfo | IFileParser::kCheckForTransients);
    return file;
}

bool isIndexedType(NodeType type) noexcept {
    return type == NodeTypesHelper::kAIFF || type == NodeTypesHelper::kWAV;
}

constexpr std::size_t kMostExaminers = 4, kFilesWorthAThread = 8;

constexpr const char* kNoSoundFile = "neither an AIFF nor a WAV file";

void refuse(FileIndexResult& result, const std::string& path, const std::string& reason) {
    result.outcome = FileIndexResult::Outcome::kNotIndexable;
    result.reason = path + ": " + reason;
    result.keys.clear();
}

/// Where the system refused, its own words: the library's text names the file once more.
std::string reasonOf(const CException& exception) {
    if (exception.getType() != kFileIOError || exception.getCode() == 0) return exception.getMessage();
    return "cannot be read: " + std::generic_category().message(exception.getCode());
}

}  // namespace

CFileIndexer::CFileIndexer() {
    loadIndexSets();
    loadSearchKeyTranslation();
}

void CFileIndexer::loadIndexSets() {
    const auto [path, list] = shippedList(kDictionaryName, kDictionaryType);
    m_dictionary.loadIndexSets(list, path);
    withUserList(kDictionaryName, kDictionaryType, m_dictionary,
                 [this](const PropertyList& own, const std::string& ownPath) {
                     m_dictionary.loadIndexSets(own, ownPath);
                 });
}

/// The user's first: the first translation of a word is the one that is taken when nothing else decides.
void CFileIndexer::loadSearchKeyTranslation() {
    withUserList(kTranslationName, kTranslationType, m_dictionary,
                 [this](const PropertyList& own, const std::string& ownPath) {
                     m_dictionary.loadSearchKeyTranslation(own, ownPath);
                 });
    const auto [path, list] = shippedList(kTranslationName, kTranslationType);
    m_dictionary.loadSearchKeyTranslation(list, path);
}

bool CFileIndexer::searchKeyToSearchKeyInfo(const SearchKey& key, SearchKeyInfo& out) const noexcept {
    const SearchKeyInfo* const entry = m_dictionary.matchTag(key);
    if (entry) out = *entry;
    return entry != nullptr;
}

bool CFileIndexer::shouldAddFile(const std::string& path) const noexcept {
    return isIndexedType(NodeTypesHelper::nodeTypeFromPath(path));
}

bool CFileIndexer::shouldAddKnownFile(const std::string& path) const noexcept {
    const CatalogInfo untyped{.kind = CatalogInfo::Kind::kFile};
    const NodeType byName = NodeTypesHelper::nodeTypeFromCatalogInfo(untyped, path);
    return byName == NodeTypesHelper::kUnknown ? shouldAddFile(path) : isIndexedType(byName);
}

void CFileIndexer::examineFile(const std::string& path, FileIndexResult& result) const {
    result.reason.clear();
    result.keys.clear();
    if (path.size() > CFileIndexInfo::kLongestFileName)
        return refuse(result, path, "the path is longer than 1024 bytes");
    const std::int32_t indexTime = CFileIndexInfo::now() - 1;
    try {
        const IFileRef file = openForMetadata(path);
        if (!dynamic_cast<const CSoundFile*>(file.get())) return refuse(result, path, kNoSoundFile);
        makeRecord(path, *file->getFileParserRef(), result);
    } catch (const CException& exception) {
        return refuse(result, path, shouldAddFile(path) ? reasonOf(exception) : kNoSoundFile);
    }
    // Times of files are in whole seconds too: one that is written to in the very second in which it is
    // examined must count as changed next time.
    result.record.setIndexTime(indexTime);
    result.outcome = FileIndexResult::Outcome::kIndexed;
}

void CFileIndexer::examineFiles(std::span<const std::string> paths,
                                std::span<FileIndexResult> results) const {
    std::atomic<std::size_t> next{0};
    const auto work = [&] {
        for (std::size_t i = next++; i < paths.size(); i = next++) examineFile(paths[i], results[i]);
    };
    const auto threads = std::min<std::size_t>(
        {std::thread::hardware_concurrency(), kMostExaminers, paths.size() / kFilesWorthAThread});
    std::vector<std::future<void>> helpers;
    for (std::size_t i = 1; i < threads; ++i)
        helpers.push_back(std::async(std::launch::async | std::launch::deferred, work));
    work();
    for (std::future<void>& helper : helpers) helper.get();
}

void CFileIndexer::makeRecord(const std::string& path, const IFileParser& parser,
                              FileIndexResult& result) const {
    FileTags tags(m_dictionary);
    addMetadata(parser, tags);
    PathWords(m_dictionary, tags).parsePath(path);
    result.record = CFileIndexInfo(path.c_str(), tags.chosen(), result.keys);
    result.record.setTimeSignature(parser.getTimeSignature());
    result.record.setKeyType(parser.getBasicTaggingChunk().scaleType);
    result.record.setContentFileType(contentFileTypeOf(parser));
    result.record.setAdditionalInfo(additionalInfoOf(parser));
}

void CFileIndexer::addMetadata(const IFileParser& parser, FileTags& tags) const {
    const tagging::Instrument& instrument = parser.getInstrument();
    tags.setInstrument(keyOf(instrument.type, SearchKeyInfo::kInstrument),
                       keyOf(instrument.subType, SearchKeyInfo::kInstrumentSubType));
    tags.setGenre(keyOf(parser.getGenre(), SearchKeyInfo::kGenre));
    for (const tagging::Descriptor& descriptor : parser.getDescriptors())
        tags.addDescriptor(keyOf(descriptor, SearchKeyInfo::kDescriptor));
}

/// The text of a file as a key: in the dictionary's spelling where it is one of its keywords, else as it is.
SearchKey CFileIndexer::keyOf(const tagging::Keyword& keyword, std::int32_t category) const noexcept {
    const SearchKey key = boundedKey(keyword.view());
    const SearchKeyInfo* const known = m_dictionary.matchTag(key, category);
    return known ? known->key : key;
}

FileIndexResult::Outcome CFileIndexer::indexFile(const std::string& path, CIndexFile& indexFile,
                                                 std::int32_t fileID) {
    FileIndexResult result;
    examineFile(path, result);
    if (result.outcome == FileIndexResult::Outcome::kIndexed) {
        const std::int32_t written = writeFileInfo(result.record, indexFile, fileID);
        updateSearchKeyIndex(written, result.keys, indexFile, fileID == 0);
    } else if (m_deleteNotIndexableFiles && !shouldAddFile(path)) {
        ::unlink(path.c_str());
    }
    return result.outcome;
}

std::int32_t CFileIndexer::writeFileInfo(CFileIndexInfo& record, CIndexFile& indexFile, std::int32_t fileID) {
    if (fileID == 0) return indexFile.appendFileInfo(record);
    record.setFileID(fileID);
    indexFile.writeFileInfo(fileID, record);
    return fileID;
}

void CFileIndexer::updateSearchKeyIndex(std::int32_t fileID, const std::set<SearchKeyInfo>& keys,
                                        CIndexFile& indexFile, bool isNew) {
    if (!isNew) indexFile.removeEntriesFromSearchKeySet(fileID);
    indexFile.updateSearchKeySet(fileID, keys);
}

}  // namespace marl
