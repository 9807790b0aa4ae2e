// SPDX-License-Identifier: MIT
#include <MarlCore/Files/parsing/MovieTexts.h>

#include <algorithm>
#include <string_view>

namespace marl::movie {
namespace {

constexpr std::size_t kMostTextBytes = 65536;
constexpr std::size_t kMostKeyBytes = 64;  // longer ones are none of ours

struct NamedCode {
    Code code;
    TextKind kind;
};

constexpr NamedCode kCodes[] = {
    {fourCharCode("\251nam"), kName},       {fourCharCode("\251ART"), kAuthor},
    {fourCharCode("\251aut"), kAuthor},     {fourCharCode("\251cpy"), kCopyright},
    {fourCharCode("cprt"), kCopyright},     {fourCharCode("\251cmt"), kAnnotation},
    {fourCharCode("\251des"), kAnnotation},
};

struct NamedKey {
    std::string_view key;  // behind the prefix that may be in front of it
    TextKind kind;
};

constexpr std::string_view kKeyPrefix = "com.apple.quicktime.";

constexpr NamedKey kKeys[] = {
    {"title", kName},          {"displayname", kName},   {"author", kAuthor},          {"artist", kAuthor},
    {"copyright", kCopyright}, {"comment", kAnnotation}, {"description", kAnnotation},
};

std::optional<TextKind> kindOf(Code code) {
    const auto* const row = std::ranges::find(kCodes, code, &NamedCode::code);
    if (row == std::end(kCodes)) return std::nullopt;
    return row->kind;
}

std::optional<TextKind> kindOfKey(std::string_view key) {
    if (key.starts_with(kKeyPrefix)) key.remove_prefix(kKeyPrefix.size());
    const auto* const row = std::ranges::find(kKeys, key, &NamedKey::key);
    if (row == std::end(kKeys)) return std::nullopt;
    return row->kind;
}

void keep(Texts& texts, TextKind kind, std::string text) {
    if (!texts[kind] && !text.empty()) texts[kind] = std::move(text);
}

/// User data: the length of the text, its language, and the text itself; others of other languages follow.
void readUserData(IFileData& file, const std::optional<Atom>& userData, Texts& texts) {
    if (!userData) return;
    AtomReader atoms(file, *userData);
    while (const auto atom = atoms.next()) {
        const auto kind = kindOf(atom->type);
        if (!kind || atom->type == fourCharCode("cprt")) continue;  // which here has another form
        const Fields fields(file, *atom, kMostTextBytes);
        keep(texts, *kind, fields.text(4, fields.u16(0)));
    }
}

/// The text in an item: that of its 'data' atom, behind type and locale.
std::string textOfItem(IFileData& file, const Atom& item) {
    const auto data = findAtom(file, item, fourCharCode("data"));
    if (!data) return {};
    constexpr std::uint32_t kUTF8 = 1;
    const Fields fields(file, *data, kMostTextBytes);
    return fields.u32(0) == kUTF8 ? fields.text(8, kMostTextBytes) : std::string();
}

/// What the keys of a list of keyed items stand for, in their order.
std::vector<std::optional<TextKind>> readKeys(IFileData& file, const std::optional<Atom>& keys) {
    std::vector<std::optional<TextKind>> kinds;
    if (!keys) return kinds;
    constexpr std::size_t kMostKeys = 4096;
    AtomReader atoms(file, *keys, 8);
    while (const auto key = atoms.next()) {
        if (kinds.size() == kMostKeys) break;
        kinds.push_back(kindOfKey(Fields(file, *key, kMostKeyBytes).text(0, kMostKeyBytes)));
    }
    return kinds;
}

/// A list of items, each named by a code or, where there are keys, by the number of its key, from 1 on.
void readItems(IFileData& file, const std::optional<Atom>& metadata, Texts& texts) {
    if (!metadata) return;
    // One kind of file puts version and flags in front, another one does not.
    const long long skipped = Fields(file, *metadata, 4).u32(0) == 0 ? 4 : 0;
    const auto list = findAtom(file, metadata, fourCharCode("ilst"), skipped);
    if (!list) return;
    const auto keys = readKeys(file, findAtom(file, metadata, fourCharCode("keys"), skipped));
    AtomReader items(file, *list);
    while (const auto item = items.next()) {
        const bool isNumber = item->type >= 1 && item->type <= keys.size();
        const auto kind = isNumber ? keys[item->type - 1] : kindOf(item->type);
        if (kind) keep(texts, *kind, textOfItem(file, *item));
    }
}

}  // namespace

Texts readTexts(IFileData& file, const Movie& movie) {
    Texts texts;
    const auto userData = findAtom(file, movie.place, fourCharCode("udta"));
    readUserData(file, userData, texts);
    readItems(file, findAtom(file, userData, fourCharCode("meta")), texts);
    readItems(file, findAtom(file, movie.place, fourCharCode("meta")), texts);
    return texts;
}

}  // namespace marl::movie
