// SPDX-License-Identifier: MIT
#include <MarlCore/Files/parsing/MovieAtoms.h>

#include <MarlCore/platform/ByteOrder.h>

#include <algorithm>

namespace marl::movie {
namespace {

constexpr long long kHeaderSize = 8;        // size and type
constexpr long long kLargeHeaderSize = 16;  // the same, and a size of 64 bits
constexpr std::uint32_t kSizeToTheEnd = 0;
constexpr std::uint32_t kSizeIsLarge = 1;

/// More atoms in one list than any real movie has. A file of nothing but empty atoms is given up after these.
constexpr int kMostAtoms = 1 << 20;

/// A size that no list can have, for those that do not fit.
constexpr std::uint64_t kTooLarge = std::uint64_t{1} << 62;

/// Fills `bytes` from byte `offset` on; zero behind the end of the file.
void readAt(IFileData& file, long long offset, std::span<std::byte> bytes) {
    if (bytes.empty()) return;
    file.seek(offset, false);
    const long long there =
        file.readBytes(static_cast<long long>(bytes.size()), reinterpret_cast<char*>(bytes.data()));
    std::ranges::fill(bytes.subspan(static_cast<std::size_t>(there)), std::byte{0});
}

}  // namespace

std::string textOf(Code code) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const unsigned character = code >> shift & 0xFF;
        constexpr char kDigits[] = "0123456789ABCDEF";
        if (character >= 0x20 && character < 0x7F)
            text += static_cast<char>(character);
        else
            text += {'\\', 'x', kDigits[character >> 4], kDigits[character & 15]};
    }
    return text;
}

std::optional<Atom> AtomReader::next() {
    const long long room = m_end - m_position;
    if (room < kHeaderSize || ++m_count > kMostAtoms) return std::nullopt;
    std::array<std::byte, kLargeHeaderSize> header;
    readAt(m_file, m_position, header);
    const std::uint32_t shortSize = platform::loadBig32(header.data());
    long long headerSize = kHeaderSize;
    std::uint64_t size = shortSize;
    if (shortSize == kSizeToTheEnd) size = static_cast<std::uint64_t>(room);
    if (shortSize == kSizeIsLarge) {
        if (room < kLargeHeaderSize) return std::nullopt;
        headerSize = kLargeHeaderSize;
        size = platform::loadBig64(header.data() + kHeaderSize);
    }
    if (size < static_cast<std::uint64_t>(headerSize)) return std::nullopt;
    const long long place = m_position;
    m_position += std::min(room, static_cast<long long>(std::min(size, kTooLarge)));
    return Atom{platform::loadBig32(header.data() + 4), place, place + headerSize, m_position};
}

std::optional<Atom> findAtom(IFileData& file, const std::optional<Atom>& parent, Code type,
                             long long skipped) {
    if (!parent) return std::nullopt;
    AtomReader atoms(file, *parent, skipped);
    while (const auto atom = atoms.next()) {
        if (atom->type == type) return atom;
    }
    return std::nullopt;
}

Fields::Fields(IFileData& file, const Atom& atom, std::size_t limit)
    : m_bytes(static_cast<std::size_t>(std::clamp(atom.size(), 0LL, static_cast<long long>(limit)))) {
    readAt(file, atom.start, m_bytes);
}

std::uint16_t Fields::u16(std::size_t at) const noexcept {
    return at + 2 <= m_bytes.size() ? platform::loadBig16(m_bytes.data() + at) : std::uint16_t{0};
}

std::uint32_t Fields::u32(std::size_t at) const noexcept {
    return at + 4 <= m_bytes.size() ? platform::loadBig32(m_bytes.data() + at) : 0;
}

std::uint64_t Fields::u64(std::size_t at) const noexcept {
    return at + 8 <= m_bytes.size() ? platform::loadBig64(m_bytes.data() + at) : 0;
}

std::string Fields::text(std::size_t at, std::size_t count) const {
    const std::size_t first = std::min(at, m_bytes.size());
    const auto* const characters = reinterpret_cast<const char*>(m_bytes.data());
    return std::string(characters + first, std::min(count, m_bytes.size() - first));
}

TableReader::TableReader(IFileData& file, long long begin, long long end, std::uint64_t count,
                         std::size_t entryBytes)
    : m_file(file),
      m_position(begin),
      m_entryBytes(entryBytes),
      m_left(std::min(count, static_cast<std::uint64_t>(std::max(end - begin, 0LL)) / entryBytes)) {}

TableReader::TableReader(IFileData& file, const Atom& atom, std::size_t head, std::size_t entryBytes)
    : TableReader(file, atom.start + static_cast<long long>(head), atom.end,
                  Fields(file, atom, head).u32(head - 4), entryBytes) {}

const std::byte* TableReader::next() {
    if (m_at == m_size) fill();
    const std::byte* const entry = m_block.data() + m_at;
    m_at += m_entryBytes;
    --m_left;
    return entry;
}

void TableReader::fill() {
    const std::uint64_t entries = std::min<std::uint64_t>(m_left, m_block.size() / m_entryBytes);
    m_size = static_cast<std::size_t>(entries) * m_entryBytes;
    m_at = 0;
    readAt(m_file, m_position, std::span(m_block).first(m_size));
    m_position += static_cast<long long>(m_size);
}

}  // namespace marl::movie
