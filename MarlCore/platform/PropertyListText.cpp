// SPDX-License-Identifier: MIT
#include <MarlCore/platform/PropertyListText.h>

#include <MarlCore/platform/UTF8.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <system_error>

namespace platform {
namespace {

constexpr std::string_view kBase64Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// The value of each byte as a digit of base64, -1 for the others.
constexpr std::array<int, 256> kBase64Values = [] {
    std::array<int, 256> values{};
    values.fill(-1);
    for (std::size_t i = 0; i < kBase64Digits.size(); ++i)
        values[static_cast<unsigned char>(kBase64Digits[i])] = static_cast<int>(i);
    return values;
}();

bool isBlank(char c) noexcept {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

/// Removes a sign from the front of `text`; true for a minus.
bool takeSign(std::string_view& text) noexcept {
    if (text.empty() || (text[0] != '-' && text[0] != '+')) return false;
    const bool isNegative = text[0] == '-';
    text.remove_prefix(1);
    return isNegative;
}

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

/// All of `text` as a number without a sign.
template <typename Number, typename... Form>
std::optional<Number> wholeNumber(std::string_view text, Form... form) noexcept {
    if (text.empty() || text[0] == '-') return std::nullopt;
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, form...);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::optional<double> namedReal(std::string_view text) {
    if (text.size() > 8) return std::nullopt;
    const std::string name = lowerCase(text);
    if (name == "nan") return std::numeric_limits<double>::quiet_NaN();
    if (name == "inf" || name == "infinity") return std::numeric_limits<double>::infinity();
    return std::nullopt;
}

bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

/// The digits at `offset` as a number.
int numberAt(std::string_view digits, std::size_t offset, std::size_t count) noexcept {
    int number = 0;
    for (const char c : digits.substr(offset, count)) number = number * 10 + (c - '0');
    return number;
}

}  // namespace

bool isXMLCharacter(char32_t character) noexcept {
    if (character < 0x20) return character == '\t' || character == '\n' || character == '\r';
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    return !isSurrogate && character != 0xFFFE && character != 0xFFFF && character <= 0x10FFFF;
}

std::size_t findNoXMLCharacter(std::string_view text) noexcept {
    for (std::size_t i = 0; i < text.size();) {
        const std::string_view rest = text.substr(i);
        const std::size_t length = utf8SequenceLength(rest);
        const bool isNone = length == 1
                                ? !isXMLCharacter(static_cast<unsigned char>(rest[0]))
                                : rest.starts_with("\xEF\xBF\xBE") || rest.starts_with("\xEF\xBF\xBF");
        if (length == 0 || isNone) return i;
        i += length;
    }
    return std::string_view::npos;
}

std::optional<std::int64_t> integerFromText(std::string_view text) noexcept {
    const bool isNegative = takeSign(text);
    const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (isHexadecimal) text.remove_prefix(2);
    const auto magnitude = wholeNumber<std::uint64_t>(text, isHexadecimal ? 16 : 10);
    constexpr std::uint64_t kMost = std::numeric_limits<std::int64_t>::max();
    if (!magnitude || *magnitude > kMost + (isNegative ? 1 : 0)) return std::nullopt;
    return static_cast<std::int64_t>(isNegative ? 0 - *magnitude : *magnitude);
}

std::string textFromReal(double value) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value < 0 ? "-infinity" : "+infinity";
    std::array<char, 32> text;  // the shortest decimal of a double has at most 24 characters
    const auto result = std::to_chars(text.data(), text.data() + text.size(), value);
    return std::string(text.data(), result.ptr);
}

std::optional<double> realFromText(std::string_view text) noexcept {
    const bool isNegative = takeSign(text);
    auto value = namedReal(text);
    // from_chars knows more names than these.
    const bool isDecimal = !text.empty() && (isDigit(text[0]) || text[0] == '.');
    if (isDecimal) value = wholeNumber<double>(text, std::chars_format::general);
    return value && isNegative ? -*value : value;
}

std::string textFromData(const PropertyList::Data& data) {
    std::string text;
    text.reserve((data.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < data.size(); i += 3) {
        const std::size_t there = std::min<std::size_t>(data.size() - i, 3);
        unsigned group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < there ? std::to_integer<unsigned>(data[i + k]) : 0u);
        for (std::size_t k = 0; k < 4; ++k)
            text += k <= there ? kBase64Digits[group >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

std::optional<PropertyList::Data> dataFromText(std::string_view text) {
    PropertyList::Data data;
    unsigned bits = 0;
    int digits = 0, padding = 0;  // of the group that is being read
    for (const char c : text) {
        if (isBlank(c)) continue;
        if (c == '=') {
            if (digits < 2 || digits + ++padding > 4) return std::nullopt;
            continue;
        }
        const int value = kBase64Values[static_cast<unsigned char>(c)];
        if (value < 0 || padding > 0) return std::nullopt;
        bits = bits << 6 | static_cast<unsigned>(value);
        if (++digits > 1) data.push_back(static_cast<std::byte>(bits >> (8 - 2 * digits) & 0xFF));
        digits %= 4;
    }
    if (digits == 1) return std::nullopt;
    return data;
}

std::optional<std::string> textFromDate(PropertyList::Date date) {
    using namespace std::chrono;
    constexpr auto kFirst = sys_days(year(0) / 1 / 1), kEnd = sys_days(year(10000) / 1 / 1);
    if (date < kFirst || date >= kEnd) return std::nullopt;
    const auto midnight = floor<days>(date);
    const year_month_day day(midnight);
    const hh_mm_ss time(date - midnight);
    std::array<char, 64> text;
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(day.year()),
                  static_cast<unsigned>(day.month()), static_cast<unsigned>(day.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text.data();
}

std::optional<PropertyList::Date> dateFromText(std::string_view text) noexcept {
    using namespace std::chrono;
    constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
    if (text.size() != kForm.size()) return std::nullopt;
    for (std::size_t i = 0; i < kForm.size(); ++i)
        if (kForm[i] == '0' ? !isDigit(text[i]) : text[i] != kForm[i]) return std::nullopt;
    const year_month_day day(year(numberAt(text, 0, 4)), month(static_cast<unsigned>(numberAt(text, 5, 2))),
                             std::chrono::day(static_cast<unsigned>(numberAt(text, 8, 2))));
    const int hour = numberAt(text, 11, 2), minute = numberAt(text, 14, 2), second = numberAt(text, 17, 2);
    if (!day.ok() || hour > 23 || minute > 59 || second > 59) return std::nullopt;
    return sys_days(day) + hours(hour) + minutes(minute) + seconds(second);
}

}  // namespace platform
