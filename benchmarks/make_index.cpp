// SPDX-License-Identifier: MIT
// Writes an index of loops that do not exist into a folder of indexes, to try searches of any size on.
#include "SearchIndexes.h"

#include <charconv>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iostream>

int main(int argc, char** argv) {
    int count = 0;
    const char* const digits = argc == 3 ? argv[1] : "";
    const char* const end = digits + std::strlen(digits);
    if (std::from_chars(digits, end, count).ptr != end || count < 1) {
        std::cerr << "usage: make_index RECORDS FOLDER\n";
        return 2;
    }
    try {
        const std::filesystem::path folder = argv[2];
        std::filesystem::create_directories(folder);
        const auto path = folder / ("Search Index " + std::to_string(count) + ".txt");
        std::filesystem::remove(path);
        searching::writeIndex(path.string(), count);
        std::cout << path.string() << '\n';
        return 0;
    } catch (const std::exception& failure) {
        std::cerr << "make_index: " << failure.what() << '\n';
        return 1;
    }
}
