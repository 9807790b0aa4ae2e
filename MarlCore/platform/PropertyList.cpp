// SPDX-License-Identifier: MIT
#include <MarlCore/platform/PropertyList.h>

#include <MarlCore/platform/WholeFileImpl.h>

#include <system_error>

namespace platform {
namespace {

std::string placeOf(int line) {
    return line > 0 ? "line " + std::to_string(line) + ": " : "";
}

}  // namespace

PropertyListError::PropertyListError(int line, const std::string& problem)
    : PropertyListError(line, problem, placeOf(line)) {}

PropertyListError::PropertyListError(int line, std::string problem, const std::string& place)
    : Exception("PropertyListError", place + problem), m_line(line), m_problem(std::move(problem)) {}

PropertyListError PropertyListError::inFile(const std::string& path) const {
    return PropertyListError(m_line, m_problem, path + ": " + placeOf(m_line));
}

std::optional<double> PropertyList::asReal() const noexcept {
    if (const auto integer = asInteger()) return static_cast<double>(*integer);
    return copy<double>();
}

const PropertyList* PropertyList::find(std::string_view key) const noexcept {
    const Dictionary* const dictionary = asDictionary();
    if (!dictionary) return nullptr;
    const auto entry = dictionary->find(key);
    return entry == dictionary->end() ? nullptr : &entry->second;
}

const PropertyList& PropertyList::operator[](std::string_view key) const noexcept {
    static const PropertyList nothing;
    const PropertyList* const entry = find(key);
    return entry ? *entry : nothing;
}

bool operator==(const PropertyList& a, const PropertyList& b) {
    return a.m_value == b.m_value;
}

PropertyList PropertyList::load(const std::string& path) {
    try {
        return parse(readWholeFile(path, kLargestFile));
    } catch (const PropertyListError& error) {
        throw error.inFile(path);
    } catch (const std::system_error& error) {
        throw PropertyListError(0, wordsFor(error)).inFile(path);
    }
}

}  // namespace platform
