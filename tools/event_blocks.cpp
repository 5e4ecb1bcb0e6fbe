#include "tools/event_blocks.h"

#include <cstring>
#include <string>

#include "src/data/data_serializer.h"
#include "tools/plugin_library.h"

namespace vtr {
namespace host {

namespace {

constexpr std::uint8_t kEventsMagic[4] = {'V', 'T', 'R', 'E'};

std::uint64_t readLittleEndian(const std::uint8_t* bytes, std::size_t width) {
  std::uint64_t value = 0;
  for (std::size_t i = width; i-- > 0;) value = (value << 8) | bytes[i];
  return value;
}

[[noreturn]] void malformed(std::size_t offset, const std::string& reason) {
  throw HostError("malformed event block at byte " + std::to_string(offset) + ": " + reason);
}

EventBlock readHeader(const std::uint8_t* header) {
  EventBlock block;
  block.timestampUs = readLittleEndian(header + offsetof(vtr_event_block_header_t, timestamp_us), 8);
  block.schemaIndex = header[offsetof(vtr_event_block_header_t, schema_index)];
  block.typeIndex =
      static_cast<std::uint16_t>(readLittleEndian(header + offsetof(vtr_event_block_header_t, type_index), 2));
  block.count = header[offsetof(vtr_event_block_header_t, count)];
  return block;
}

}  // namespace

std::vector<EventBlock> decodeEventBlocks(const std::uint8_t* data, std::size_t size,
                                          const vtr_type_system_t& typeSystem) {
  static_assert(sizeof(vtr_event_block_header_t) == VTR_EVENT_BLOCK_HEADER_SIZE, "packed header");
  std::vector<EventBlock> blocks;
  std::size_t offset = 0;
  while (offset < size) {
    if (size - offset < VTR_EVENT_BLOCK_HEADER_SIZE) malformed(offset, "truncated header");
    const std::uint8_t* header = data + offset;
    if (std::memcmp(header, kEventsMagic, sizeof(kEventsMagic)) != 0) malformed(offset, "no VTRE magic");
    EventBlock block = readHeader(header);
    if (block.schemaIndex >= typeSystem.num_schemas || !typeSystem.schemas[block.schemaIndex]) {
      malformed(offset, "unknown schema index " + std::to_string(block.schemaIndex));
    }
    block.schema = typeSystem.schemas[block.schemaIndex];
    if (block.typeIndex >= block.schema->num_types || !block.schema->types[block.typeIndex]) {
      malformed(offset, "unknown type index " + std::to_string(block.typeIndex));
    }
    block.type = block.schema->types[block.typeIndex];
    std::size_t eventBytes = static_cast<std::size_t>(block.count) * block.type->size;
    offset += VTR_EVENT_BLOCK_HEADER_SIZE;
    if (size - offset < eventBytes) malformed(offset, "events run past the written bytes");
    block.events = data + offset;
    offset += eventBytes;
    blocks.push_back(block);
  }
  return blocks;
}

}  // namespace host
}  // namespace vtr
