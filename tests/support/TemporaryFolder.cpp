// SPDX-License-Identifier: MIT
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace support {
namespace {

/// Named by digits: no letters that a test could look for in a path, and no word that the search engine
/// knows.
std::string makeFolder() {
    static std::atomic<unsigned> count{0};
    for (;;) {
        char name[40];
        std::snprintf(name, sizeof name, "marl-test-%08ld-%04u", static_cast<long>(::getpid()), ++count);
        const std::string path = (std::filesystem::temp_directory_path() / name).string();
        if (::mkdir(path.c_str(), 0700) == 0) return path;
        if (errno != EEXIST) throw std::system_error(errno, std::generic_category(), path);
    }
}

}  // namespace

TemporaryFolder::TemporaryFolder() : m_path(makeFolder()) {}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    std::filesystem::remove_all(m_path, error);
    EXPECT_FALSE(error) << m_path << " stays behind: " << error.message();
}

std::string TemporaryFolder::path(std::string_view name) const {
    return m_path + "/" + std::string(name);
}

std::string TemporaryFolder::write(std::string_view name, std::string_view contents) const {
    const std::string file = path(name);
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(contents.data(), static_cast<std::streamsize>(contents.size()));
    stream.close();
    if (!stream) throw std::system_error(errno, std::generic_category(), file);
    return file;
}

std::string TemporaryFolder::write(std::string_view name, const Bytes& contents) const {
    return write(name, contents.view());
}

}  // namespace support
