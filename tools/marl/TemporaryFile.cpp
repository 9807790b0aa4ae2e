// SPDX-License-Identifier: MIT
#include "marl/TemporaryFile.h"

#include <atomic>
#include <cstddef>
#include <utility>

#include <unistd.h>

namespace marl::tool {
namespace {

/// What a signal removes; its text belongs to the `TemporaryFile` that lives.
std::atomic<const char*> g_path{nullptr};
static_assert(std::atomic<const char*>::is_always_lock_free, "a signal handler reads it");

extern "C" void removeAndDie(int signal) {
    if (const char* const path = g_path.load()) ::unlink(path);
    ::signal(signal, SIG_DFL);
    ::raise(signal);  // arrives when this returns
}

}  // namespace

TemporaryFile::TemporaryFile(std::string path) : m_path(std::move(path)) {
    g_path = m_path.c_str();
    struct sigaction action {};
    action.sa_handler = removeAndDie;
    for (std::size_t i = 0; i < kDeadlySignals.size(); ++i) {
        ::sigaction(kDeadlySignals[i], nullptr, &m_actionsBefore[i]);
        if (m_actionsBefore[i].sa_handler != SIG_IGN) ::sigaction(kDeadlySignals[i], &action, nullptr);
    }
}

TemporaryFile::~TemporaryFile() {
    ::unlink(m_path.c_str());
    for (std::size_t i = 0; i < kDeadlySignals.size(); ++i)
        ::sigaction(kDeadlySignals[i], &m_actionsBefore[i], nullptr);
    g_path = nullptr;
}

}  // namespace marl::tool
