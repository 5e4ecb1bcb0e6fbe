#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "src/data/data_serializer.h"
#include "support/log_capture.h"

namespace {

// A type system with one schema holding types of the given sizes, and a serializer over a
// buffer of the given capacity.
class SerializerTest : public ::testing::Test {
 protected:
  void build(uint64_t capacity, std::vector<uint64_t> typeSizes) {
    types.resize(typeSizes.size());
    for (size_t i = 0; i < typeSizes.size(); ++i) {
      types[i].size = typeSizes[i];
      schema.types[i] = &types[i];
    }
    strcpy(schema.schema_id_string, "0123456789abcdef0123456789abcdef");
    typeSystem.schemas[0] = &schema;
    buffer.assign(capacity, 0xEE);
    serializer = {&typeSystem, buffer.data(), capacity, 0};
  }

  std::vector<vtr_type_definition_t> types;
  vtr_schema_t schema{};
  vtr_type_system_t typeSystem{};
  std::vector<uint8_t> buffer;
  vtr_data_serializer_t serializer{};
};

TEST_F(SerializerTest, FullBufferTakesWholeEventsOnlyThenNothing) {
  build(100, {20});
  std::vector<uint8_t> events(10 * 20, 0x5A);
  EXPECT_EQ(vtr_data_serializer_get_capacity(&serializer, 0, 0), 4u);
  EXPECT_EQ(vtr_data_serializer_write_events(&serializer, 0, 0, events.data(), 10), 4);
  EXPECT_EQ(serializer.used, 96u);
  EXPECT_EQ(buffer[15], 4);
  EXPECT_EQ(vtr_data_serializer_write_events(&serializer, 0, 0, events.data(), 6), 0);
  EXPECT_EQ(serializer.used, 96u);
  EXPECT_EQ(buffer[96], 0xEE);
}

// Room for a block header alone takes no event, and raw reservations stop at capacity.
TEST_F(SerializerTest, ReservationsStopAtCapacity) {
  vtr::test::LogRecorder log;
  build(116, {8});
  serializer.used = 100;
  uint8_t event[8] = {0};
  size_t dataSize = 0;
  EXPECT_EQ(vtr_data_serializer_write_events(&serializer, 0, 0, event, 1), 0);
  EXPECT_EQ(vtr_data_serializer_get_capacity(&serializer, 0, 0), 0u);
  EXPECT_EQ(vtr_data_serializer_get_events_buffer(&serializer, 0, 0, 1, &dataSize), nullptr);
  EXPECT_EQ(serializer.used, 100u);
  EXPECT_TRUE(log.contains(
      "[Data Serializer][vtr_data_serializer_get_events_buffer] Cannot get data buffer. free_space = 0 < data_size = 8"));
  EXPECT_EQ(vtr_data_serializer_reserve_buffer(&serializer, 16), buffer.data() + 100);
  EXPECT_EQ(vtr_data_serializer_reserve_buffer(&serializer, 1), nullptr);
  EXPECT_EQ(serializer.used, 116u);
}

TEST_F(SerializerTest, BlockHeaderIsPackedLittleEndian) {
  build(64, {1, 1, 1, 1, 1, 1, 1, 3});
  typeSystem.schemas[2] = &schema;
  const uint8_t events[6] = {1, 2, 3, 4, 5, 6};
  ASSERT_EQ(vtr_data_serializer_write_events_ts(&serializer, 2, 7, events, 2, 0x0102030405060708ull), 2);
  const uint8_t expected[] = {'V', 'T', 'R', 'E', 0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01,
                              2,   7,   0,   2,   1,    2,    3,    4,    5,    6};
  EXPECT_EQ(std::vector<uint8_t>(buffer.begin(), buffer.begin() + sizeof expected),
            std::vector<uint8_t>(expected, expected + sizeof expected));
  EXPECT_EQ(serializer.used, sizeof expected);
}

TEST_F(SerializerTest, EventsBufferIsReservedBehindItsHeader) {
  build(64, {4});
  size_t dataSize = 0;
  auto* data = static_cast<uint8_t*>(vtr_data_serializer_get_events_buffer(&serializer, 0, 0, 3, &dataSize));
  EXPECT_EQ(data, buffer.data() + VTR_EVENT_BLOCK_HEADER_SIZE);
  EXPECT_EQ(dataSize, 12u);
  EXPECT_EQ(serializer.used, 28u);
  EXPECT_EQ(0, memcmp(buffer.data(), "VTRE", 4));
  EXPECT_EQ(buffer[15], 3);
}

TEST_F(SerializerTest, ZeroSizedTypeIsReportedOncePerCallSite) {
  vtr::test::LogRecorder log(vtr_set_log_func, VTR_LOG_ERR);
  build(100, {20, 0});
  uint8_t event = 0;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(vtr_data_serializer_write_events(&serializer, 0, 1, &event, 1), 0);
    EXPECT_EQ(vtr_data_serializer_get_capacity(&serializer, 0, 1), 0u);
  }
  EXPECT_EQ(serializer.used, 0u);
  ASSERT_EQ(log.all().size(), 2u);
  EXPECT_EQ(log.all()[0].text, "schema 0123456789abcdef0123456789abcdef type index 1 size is zero");
}

}  // namespace
