// SPDX-License-Identifier: MIT
#include <MarlCore/Files/parsing/LoopMetadata.h>

#include <MarlCore/platform/ByteOrder.h>

#include <algorithm>
#include <cstring>

namespace marl::tagging {
namespace {

using platform::loadBig16;
using platform::loadBig32;
using platform::loadBig64;
using platform::storeBig16;
using platform::storeBig32;
using platform::storeBig64;

std::int16_t signed16(const std::byte* bytes) noexcept {
    return static_cast<std::int16_t>(loadBig16(bytes));
}

void store16(std::byte* bytes, std::int16_t value) noexcept {
    storeBig16(bytes, static_cast<std::uint16_t>(value));
}

}  // namespace

Keyword::Keyword(std::string_view keyword) noexcept {
    keyword = keyword.substr(0, std::min(keyword.find('\0'), kSize));
    std::copy(keyword.begin(), keyword.end(), text.begin());
}

std::string_view Keyword::view() const noexcept {
    return {text.data(), static_cast<std::size_t>(std::find(text.begin(), text.end(), '\0') - text.begin())};
}

BasicTaggingChunk decodeBasicTagging(const std::byte* body) noexcept {
    BasicTaggingChunk chunk;
    chunk.version = loadBig32(body);
    chunk.numberOfBeats = static_cast<std::int32_t>(loadBig32(body + 4));
    chunk.rootNote = signed16(body + 8);
    chunk.scaleType = signed16(body + 10);
    chunk.timeSignature = {signed16(body + 12), signed16(body + 14)};
    chunk.fileType = signed16(body + 16);
    std::memcpy(chunk.reserved.data(), body + 18, chunk.reserved.size());
    return chunk;
}

void encodeBasicTagging(const BasicTaggingChunk& chunk, std::byte* body) noexcept {
    storeBig32(body, chunk.version);
    storeBig32(body + 4, static_cast<std::uint32_t>(chunk.numberOfBeats));
    store16(body + 8, chunk.rootNote);
    store16(body + 10, chunk.scaleType);
    store16(body + 12, chunk.timeSignature.numerator);
    store16(body + 14, chunk.timeSignature.denominator);
    store16(body + 16, chunk.fileType);
    std::memcpy(body + 18, chunk.reserved.data(), chunk.reserved.size());
}

TransientsChunk decodeTransientsHead(const std::byte* body) noexcept {
    TransientsChunk head;
    head.version = loadBig16(body);
    head.detectionPercentage = signed16(body + 2);
    head.forcedDivisions = signed16(body + 4);
    head.modificationDate = static_cast<std::int64_t>(loadBig64(body + 6));
    head.count = static_cast<std::int32_t>(loadBig32(body + 72));
    return head;
}

void encodeTransientsHead(const TransientsChunk& head, std::byte* body) noexcept {
    std::fill_n(body, TransientsChunk::kHeadSize, std::byte{0});
    storeBig16(body, head.version);
    store16(body + 2, head.detectionPercentage);
    store16(body + 4, head.forcedDivisions);
    storeBig64(body + 6, static_cast<std::uint64_t>(head.modificationDate));
    storeBig32(body + 72, static_cast<std::uint32_t>(head.count));
}

TransientStruct decodeTransient(const std::byte* record) noexcept {
    TransientStruct transient;
    transient.value = signed16(record);
    transient.position = loadBig32(record + 4);
    return transient;
}

void encodeTransient(const TransientStruct& transient, std::byte* record) noexcept {
    std::fill_n(record, TransientsChunk::kRecordSize, std::byte{0});
    store16(record, transient.value);
    storeBig32(record + 4, transient.position);
}

}  // namespace marl::tagging
