// The host's block decoder reading buffers that the library's real serializer wrote.

#include "tools/event_blocks.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "src/data/data_serializer.h"
#include "tools/plugin_library.h"

namespace vtr {
namespace host {
namespace {

struct Sample {
  double value;
  std::uint16_t state;
};

// A type system holding one schema with one two-field type, and a serializer over a buffer.
class SerializedEvents : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(typeSystem_, nullptr);
    vtr_schema_t* schema = vtr_type_system_add_schema(typeSystem_, "demo", VTR_MAKE_VERSION(1, 0, 0), &schemaIndex_);
    ASSERT_NE(schema, nullptr);
    vtr_type_field_info_t fields[] = {
        {const_cast<char*>("value"), const_cast<char*>("a reading"), const_cast<char*>("double"), 0, 1},
        {const_cast<char*>("state"), const_cast<char*>("a states word"), const_cast<char*>("uint16_t"), 0, 1},
    };
    ASSERT_EQ(vtr_schema_add_type(schema, "demo_event", fields, 2, &typeIndex_), 0);
    eventSize_ = schema->types[typeIndex_]->size;
    serializer_ = {typeSystem_, buffer_, sizeof(buffer_), 0};
  }
  void TearDown() override { vtr_destroy_type_system(typeSystem_); }

  // Events laid out as the type system says, written as one block.
  void write(const std::vector<Sample>& samples, std::uint64_t timestampUs) {
    std::vector<std::uint8_t> events(samples.size() * eventSize_);
    const vtr_type_definition_t* type = typeSystem_->schemas[schemaIndex_]->types[typeIndex_];
    for (std::size_t i = 0; i < samples.size(); ++i) {
      std::memcpy(&events[i * eventSize_ + type->fields[0]->offset], &samples[i].value, sizeof(double));
      std::memcpy(&events[i * eventSize_ + type->fields[1]->offset], &samples[i].state, sizeof(std::uint16_t));
    }
    ASSERT_EQ(vtr_data_serializer_write_events_ts(&serializer_, schemaIndex_, typeIndex_, events.data(),
                                                  static_cast<std::uint8_t>(samples.size()), timestampUs),
              static_cast<int>(samples.size()));
  }

  Sample read(const EventBlock& block, std::size_t i) const {
    Sample sample{};
    std::memcpy(&sample.value, block.event(i) + block.type->fields[0]->offset, sizeof(double));
    std::memcpy(&sample.state, block.event(i) + block.type->fields[1]->offset, sizeof(std::uint16_t));
    return sample;
  }

  vtr_type_system_t* typeSystem_ = vtr_create_type_system();
  std::uint8_t schemaIndex_ = 0;
  std::uint8_t typeIndex_ = 0;
  std::uint64_t eventSize_ = 0;
  std::uint8_t buffer_[1024] = {};
  vtr_data_serializer_t serializer_{};
};

TEST_F(SerializedEvents, EveryBlockAndEventComesBackWithItsHeader) {
  write({{45.5, 0x0100}, {47, 0x0300}, {-1, 0}}, 1700000000000001);
  write({{12.06, 7}}, 1700000000000002);

  std::vector<EventBlock> blocks = decodeEventBlocks(buffer_, serializer_.used, *typeSystem_);
  ASSERT_EQ(blocks.size(), 2u);
  EXPECT_EQ(blocks[0].timestampUs, 1700000000000001u);
  EXPECT_EQ(blocks[1].timestampUs, 1700000000000002u);
  EXPECT_STREQ(blocks[0].schema->name, "demo");
  EXPECT_STREQ(blocks[0].type->name, "demo_event");
  ASSERT_EQ(blocks[0].count, 3);
  ASSERT_EQ(blocks[1].count, 1);
  EXPECT_EQ(read(blocks[0], 1).value, 47);
  EXPECT_EQ(read(blocks[0], 1).state, 0x0300);
  EXPECT_EQ(read(blocks[0], 2).value, -1);
  EXPECT_EQ(read(blocks[1], 0).value, 12.06);
  EXPECT_EQ(read(blocks[1], 0).state, 7);
}

TEST_F(SerializedEvents, DamagedBuffersAreRefused) {
  write({{1, 1}, {2, 2}}, 1);
  const std::size_t written = serializer_.used;
  const struct {
    const char* damage;
    std::function<void(std::uint8_t*, std::size_t&)> apply;
  } cases[] = {
      {"counters magic", [](std::uint8_t* b, std::size_t&) { b[3] = 'D'; }},
      {"lower-case magic", [](std::uint8_t* b, std::size_t&) { b[0] = 'v'; }},
      {"unknown schema", [](std::uint8_t* b, std::size_t&) { b[12] = 9; }},
      {"unknown type", [](std::uint8_t* b, std::size_t&) { b[13] = 9; }},
      {"type index high byte", [](std::uint8_t* b, std::size_t&) { b[14] = 1; }},
      {"events cut short", [](std::uint8_t*, std::size_t& used) { --used; }},
      {"header cut short", [](std::uint8_t*, std::size_t& used) { used = 10; }},
      {"more events than written", [](std::uint8_t* b, std::size_t&) { b[15] = 3; }},
  };
  for (const auto& row : cases) {
    std::uint8_t copy[sizeof(buffer_)];
    std::memcpy(copy, buffer_, written);
    std::size_t used = written;
    row.apply(copy, used);
    EXPECT_THROW(decodeEventBlocks(copy, used, *typeSystem_), HostError) << row.damage;
  }
}

}  // namespace
}  // namespace host
}  // namespace vtr
