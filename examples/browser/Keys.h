// SPDX-License-Identifier: MIT
/// \file
/// What a terminal sends when keys are pressed.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace browser {

struct Key {
    enum class Code {
        kText,
        kUp,
        kDown,
        kPageUp,
        kPageDown,
        kHome,
        kEnd,
        kEnter,
        kEscape,
        kBackspace,
        kEraseWord,  ///< Ctrl-W, Alt-Backspace
        kClear,      ///< Ctrl-U
        kQuit,       ///< Ctrl-C, Ctrl-D
        kSuspend,    ///< Ctrl-Z
        kRedraw,     ///< Ctrl-L
    };

    Code code = Code::kText;
    std::string text = {};  ///< one character in UTF-8, of `kText`

    friend bool operator==(const Key&, const Key&) = default;
};

/// Makes keys of bytes, which come in pieces of any size. Sequences that stand for no key here, characters
/// with Alt, and bytes that are no UTF-8, are passed over.
class KeyDecoder {
public:
    std::vector<Key> feed(std::string_view bytes);
    /// Whether a sequence has begun and not ended: wait a moment, and then `finish`.
    bool isWaiting() const noexcept { return !m_rest.empty(); }
    /// Nothing comes any more: an escape was the key of that name.
    std::vector<Key> finish();

private:
    std::string m_rest;
};

}  // namespace browser
