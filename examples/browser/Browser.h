// SPDX-License-Identifier: MIT
/// \file
/// What the browser does with keys: its state beside the terminal.
#pragma once

#include "Keys.h"
#include "LoopList.h"
#include "Screen.h"
#include "Waveform.h"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace browser {

/// [main thread]
class Browser {
public:
    /// What is left to whoever has the terminal.
    enum class Wish { kGoOn, kQuit, kChoose, kSuspend, kRedraw };

    explicit Browser(std::vector<Loop> loops) : m_list(std::move(loops)) {}

    /// From now on a page is what a window of that size shows.
    void resize(Size size) noexcept { m_size = size; }
    Wish press(const Key& key);

    const LoopList& list() const noexcept { return m_list; }
    /// The window. Opens the chosen loop when that is another one than before.
    std::vector<std::string> draw(bool isColoured);

private:
    /// Down the list; 0 for a key that does not move.
    std::ptrdiff_t rowsToMove(Key::Code code) const noexcept;
    void openChosen();

    LoopList m_list;
    Size m_size;
    std::string m_openPath;  // of the waveform, or of the problem
    std::unique_ptr<Waveform> m_waveform;
    std::string m_problem;
};

}  // namespace browser
