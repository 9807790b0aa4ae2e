// SPDX-License-Identifier: MIT
/// \file
/// The atoms that a QuickTime movie is made of, and the fields and tables in them.
///
/// An atom is a size, a type and a body; the bodies of some types are lists of atoms. Everything in them is
/// big-endian. No size is believed: an atom ends where the one around it does, a table where its atom does,
/// and what lies behind either reads as zero.
#pragma once

#include <MarlCore/Files/IFileData.h>

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace marl::movie {

using platform::fourCharCode;

/// Four characters as one number (`fourCharCode`): the type of an atom, a handler or a codec.
using Code = std::uint32_t;

/// The characters of `code`; those that cannot be printed as "\xHH".
std::string textOf(Code code);

/// Where an atom lies, in bytes from the start of the file.
struct Atom {
    Code type = 0;
    long long header = 0;  // of its size
    long long start = 0;   // of its body
    long long end = 0;     // exclusive; never behind the end of the file

    long long size() const noexcept { return end - start; }
};

/// Walks over a list of atoms in the bytes from `begin` to `end` (exclusive) of a file, which it observes.
class AtomReader {
public:
    AtomReader(IFileData& file, long long begin, long long end) noexcept
        : m_file(file), m_position(begin), m_end(end) {}
    /// The atoms in `parent`, behind its first `skipped` bytes.
    AtomReader(IFileData& file, const Atom& parent, long long skipped = 0) noexcept
        : AtomReader(file, parent.start + skipped, parent.end) {}

    /// The next atom; nothing at the end of the list, where the bytes make no atom, and after 2^20 of them.
    /// One that states more than the list has ends with the list.
    std::optional<Atom> next();

private:
    IFileData& m_file;
    long long m_position;
    long long m_end;
    int m_count = 0;
};

/// The first atom of `type` in `parent`; nothing when there is none, or no parent.
std::optional<Atom> findAtom(IFileData& file, const std::optional<Atom>& parent, Code type,
                             long long skipped = 0);

/// The first bytes of a body, as numbers. What lies behind them reads as zero.
class Fields {
public:
    /// Reads at most `limit` bytes of `atom`.
    Fields(IFileData& file, const Atom& atom, std::size_t limit);

    std::size_t size() const noexcept { return m_bytes.size(); }
    std::uint16_t u16(std::size_t at) const noexcept;
    std::uint32_t u32(std::size_t at) const noexcept;
    std::uint64_t u64(std::size_t at) const noexcept;
    /// The version of an atom that begins with one.
    unsigned version() const noexcept { return u16(0) >> 8; }
    /// `count` characters, or what there is of them.
    std::string text(std::size_t at, std::size_t count) const;

private:
    std::vector<std::byte> m_bytes;
};

/// Reads the entries of a table in order, a few thousand bytes at a time: a table of 2^32 entries costs no
/// more memory than one of two.
class TableReader {
public:
    /// The table in the bytes from `begin` to `end` (exclusive), which states `count` entries.
    TableReader(IFileData& file, long long begin, long long end, std::uint64_t count, std::size_t entryBytes);
    /// The table that begins `head` bytes into `atom`, behind a count of entries in the four bytes before.
    TableReader(IFileData& file, const Atom& atom, std::size_t head, std::size_t entryBytes);

    /// Entries that are left: those stated that the atom holds.
    std::uint64_t left() const noexcept { return m_left; }
    /// The next entry, of which there is one left; valid until the next call.
    const std::byte* next();

private:
    void fill();

    IFileData& m_file;
    long long m_position;
    std::size_t m_entryBytes;
    std::uint64_t m_left;
    std::size_t m_at = 0;    // of the next entry in the block
    std::size_t m_size = 0;  // bytes of the block that are whole entries
    std::array<std::byte, 8192> m_block;
};

}  // namespace marl::movie
