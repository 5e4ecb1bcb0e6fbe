#ifndef VTR_HOST_EVENT_BLOCKS_H
#define VTR_HOST_EVENT_BLOCKS_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "src/data/schema.h"

namespace vtr {
namespace host {

// One events block of a serializer buffer, with its schema and type resolved.
struct EventBlock {
  std::uint64_t timestampUs = 0;
  std::uint8_t schemaIndex = 0;
  std::uint16_t typeIndex = 0;
  std::uint8_t count = 0;
  const vtr_schema_t* schema = nullptr;
  const vtr_type_definition_t* type = nullptr;
  const std::uint8_t* events = nullptr;  // count records of type->size bytes, in the buffer

  const std::uint8_t* event(std::size_t i) const { return events + i * type->size; }
};

// Splits the written part of a serializer buffer into its blocks. Throws HostError on a
// block that is not "VTRE", names a schema or type the type system lacks, or overruns.
std::vector<EventBlock> decodeEventBlocks(const std::uint8_t* data, std::size_t size,
                                          const vtr_type_system_t& typeSystem);

}  // namespace host
}  // namespace vtr

#endif
