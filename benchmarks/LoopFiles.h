// SPDX-License-Identifier: MIT
/// \file
/// Files to measure with, in a folder that goes at the end.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include <unistd.h>

namespace benchmarks {

/// Made under the folder for temporary files.
class Folder {
public:
    Folder()
        : m_path(std::filesystem::temp_directory_path() / ("marl-benchmark-" + std::to_string(::getpid()))) {
        std::filesystem::create_directories(m_path);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() { std::filesystem::remove_all(m_path); }
    std::string path(const std::string& name) const { return (m_path / name).string(); }

private:
    std::filesystem::path m_path;
};

/// A stereo loop of noise with full metadata, as AIFF or, when `path` ends so, as WAV.
void writeLoop(const std::string& path, std::uint32_t bits, int frames);

}  // namespace benchmarks
