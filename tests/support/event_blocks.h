#ifndef VTR_TEST_EVENT_BLOCKS_H
#define VTR_TEST_EVENT_BLOCKS_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "runtime/logger.h"

namespace vtr {
namespace test {

// One block that a data serializer wrote: its 16-byte header and the events behind it.
struct EventBlock {
  std::string magic;
  uint64_t timestampUs = 0;
  uint8_t schemaIndex = 0;
  uint16_t typeIndex = 0;
  std::vector<std::vector<uint8_t>> events;
};

// Splits `size` bytes written by a serializer into blocks of `eventSize`-byte events. A bad
// magic or a truncated block is a test failure, and decoding stops there.
std::vector<EventBlock> decodeEventBlocks(const uint8_t* data, size_t size, size_t eventSize);

// The value of type T stored at `offset` of an event.
template <typename T>
T fieldAt(const std::vector<uint8_t>& event, uint64_t offset) {
  T value{};
  if (offset + sizeof value <= event.size()) memcpy(&value, event.data() + offset, sizeof value);
  return value;
}

// Collects every log line of the logger whose vtr_set_log_func is handed to install();
// safe to call from any thread.
class LogCapture {
 public:
  using SetLogFunc = void (*)(vtr_log_func_t, uint32_t);
  static void install(SetLogFunc setLogFunc, uint32_t level = VTR_LOG_DEBUG);
  static std::vector<std::string> lines();
  // Number of lines that contain `text`.
  static size_t count(const std::string& text);
};

}  // namespace test
}  // namespace vtr

#endif
