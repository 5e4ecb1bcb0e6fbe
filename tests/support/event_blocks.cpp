#include "event_blocks.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "src/data/data_serializer.h"

namespace vtr {
namespace test {

std::vector<EventBlock> decodeEventBlocks(const uint8_t* data, size_t size, size_t eventSize) {
  std::vector<EventBlock> blocks;
  size_t at = 0;
  while (at < size) {
    if (size - at < VTR_EVENT_BLOCK_HEADER_SIZE) {
      ADD_FAILURE() << "truncated block header at byte " << at;
      break;
    }
    vtr_event_block_header_t header;
    memcpy(&header, data + at, sizeof header);
    at += VTR_EVENT_BLOCK_HEADER_SIZE;
    EventBlock block;
    block.magic.assign(reinterpret_cast<const char*>(header.magic), sizeof header.magic);
    block.timestampUs = header.timestamp_us;
    block.schemaIndex = header.schema_index;
    block.typeIndex = header.type_index;
    if (block.magic != "VTRE") {
      ADD_FAILURE() << "block at byte " << at - VTR_EVENT_BLOCK_HEADER_SIZE << " has magic '" << block.magic << "'";
      break;
    }
    if (size - at < header.count * eventSize) {
      ADD_FAILURE() << "block of " << unsigned(header.count) << " events is truncated";
      break;
    }
    for (unsigned i = 0; i < header.count; ++i, at += eventSize)
      block.events.emplace_back(data + at, data + at + eventSize);
    blocks.push_back(std::move(block));
  }
  return blocks;
}

namespace {

std::mutex capturedMutex;
std::vector<std::string> captured;

void captureLine(int, const char* format, ...) {
  va_list args;
  va_start(args, format);
  char line[2048];
  vsnprintf(line, sizeof line, format, args);
  va_end(args);
  std::lock_guard<std::mutex> lock(capturedMutex);
  captured.emplace_back(line);
}

}  // namespace

void LogCapture::install(SetLogFunc setLogFunc, uint32_t level) { setLogFunc(captureLine, level); }

std::vector<std::string> LogCapture::lines() {
  std::lock_guard<std::mutex> lock(capturedMutex);
  return captured;
}

size_t LogCapture::count(const std::string& text) {
  std::lock_guard<std::mutex> lock(capturedMutex);
  size_t n = 0;
  for (const std::string& line : captured) n += line.find(text) != std::string::npos;
  return n;
}

}  // namespace test
}  // namespace vtr
