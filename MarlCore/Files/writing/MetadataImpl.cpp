// SPDX-License-Identifier: MIT
#include <MarlCore/Files/writing/MetadataImpl.h>

namespace marl {

std::vector<tagging::TransientStruct> transientsToWrite(const IFileParser& parser) {
    std::vector<tagging::TransientStruct> rising;
    if (isOneShot(parser)) return rising;
    for (const tagging::TransientStruct& transient : parser.calcSRConvertedTransients()) {
        if (rising.size() == IFileParser::kMaximumTransients) break;
        if (rising.empty() || transient.position > rising.back().position) rising.push_back(transient);
    }
    if (rising.size() < 2) rising.clear();  // readers of 'trns' take fewer than two for none
    return rising;
}

std::optional<std::string_view> textToWrite(const CStringRef& text, std::size_t limit) noexcept {
    if (!text) return {};
    const std::string_view whole = text->getCharPtr();
    if (whole.size() <= limit) return whole;
    std::size_t end = limit;
    while (end > 0 && (static_cast<unsigned char>(whole[end]) & 0xC0) == 0x80) --end;
    return whole.substr(0, end);
}

}  // namespace marl
