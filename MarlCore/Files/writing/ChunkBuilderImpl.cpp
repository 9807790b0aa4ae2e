// SPDX-License-Identifier: MIT
#include <MarlCore/Files/writing/ChunkBuilderImpl.h>

#include <MarlCore/platform/ByteOrder.h>

namespace marl {

using std::endian;

ChunkBuilder& ChunkBuilder::add16(std::uint16_t value) {
    std::byte* const field = addSpace(sizeof value);
    m_order == endian::big ? platform::storeBig16(field, value) : platform::storeLittle16(field, value);
    return *this;
}

ChunkBuilder& ChunkBuilder::add32(std::uint32_t value) {
    std::byte* const field = addSpace(sizeof value);
    m_order == endian::big ? platform::storeBig32(field, value) : platform::storeLittle32(field, value);
    return *this;
}

ChunkBuilder& ChunkBuilder::addText(std::string_view characters) {
    const auto bytes = std::as_bytes(std::span(characters));
    m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
    return *this;
}

ChunkBuilder& ChunkBuilder::addField(std::string_view text, std::size_t width) {
    return addText(text).addZeros(width - text.size());
}

ChunkBuilder& ChunkBuilder::addZeros(std::size_t count) {
    addSpace(count);
    return *this;
}

ChunkBuilder& ChunkBuilder::addChunk(std::string_view id, const ChunkBuilder& body) {
    addText(id).add32(static_cast<std::uint32_t>(body.size()));
    m_bytes.insert(m_bytes.end(), body.m_bytes.begin(), body.m_bytes.end());
    return addZeros(body.size() % 2);
}

std::byte* ChunkBuilder::addSpace(std::size_t count) {
    m_bytes.resize(m_bytes.size() + count);
    return m_bytes.data() + m_bytes.size() - count;
}

}  // namespace marl
