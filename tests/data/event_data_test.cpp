// Events as bytes: the serializer's blocks, and an event record as JSON.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <string.h>

#include <cstring>
#include <string>
#include <vector>

#include "src/data/builtin_types.h"
#include "src/data/data_serializer.h"
#include "src/data/event_json.h"
#include "support/log_capture.h"
#include "tests/data/data_test_support.h"

using namespace data_test;

namespace {

// One registered type and a zeroed record of its size; values are poked in at field offsets.
class EventRecord {
 public:
  explicit EventRecord(const std::vector<vtr_type_field_info_t>& fields) : type_system_(vtr_create_type_system()) {
    vtr_schema_t* schema = vtr_type_system_add_schema(type_system_.get(), "events", 1, nullptr);
    add_type(schema, "pair", {field("a", "uint8_t"), field("b", "int16_t")});
    EXPECT_EQ(add_type(schema, "event", fields), VTR_SCHEMA_OK);
    type_ = vtr_schema_find_type_definition(schema, "event");
    bytes_.assign(type_->size, 0);
  }

  template <typename T>
  void set(int field_index, const T& value) {
    memcpy(bytes_.data() + type_->fields[field_index]->offset, &value, sizeof value);
  }

  std::string json() const {
    JsonPtr json(vtr_type_definition_jsonify_data(type_, bytes_.data()));
    return json ? compact(json.get()) : "<null>";
  }

 private:
  TypeSystemPtr type_system_;
  const vtr_type_definition_t* type_ = nullptr;
  std::vector<uint8_t> bytes_;
};

struct GuidOption {
  const char* variable;  // null: neither form set
  const char* value;
  bool on;
};

// The option is read once per process. A name-marked 64-bit unsigned value is always hex;
// with the option on, so is any 64-bit value whose name has "guid" as a word of its own.
class GuidOptionFreshProcess : public ::testing::TestWithParam<GuidOption> {};

TEST_P(GuidOptionFreshProcess, DecidesWhichGuidFieldsBecomeHexStrings) {
  unsetenv("VTR_CONVERT_GUID_TO_HEX_STRING");
  unsetenv("CONVERT_GUID_TO_HEX_STRING");
  if (GetParam().variable) setenv(GetParam().variable, GetParam().value, 1);
  EventRecord record({field("port_guid", "uint64_t"), field("count", "uint64_t"), field("node_guid", "double"),
                      field("GUID", "double"), field("sys-Guid2", "double"), field("myguid", "double"),
                      field("guids", "double"), field("small_guid", "uint8_t")});
  record.set(0, uint64_t{0x1234});
  record.set(1, uint64_t{0x1234});
  record.set(2, 1.0);
  for (int i = 3; i < 7; ++i) record.set(i, 2.0);
  record.set(7, uint8_t{7});
  const bool on = GetParam().on;
  EXPECT_EQ(record.json(), std::string(R"({"port_guid":"0x0000000000001234","count":4660,"node_guid":)") +
                               (on ? R"("0x3ff0000000000000","GUID":"0x4000000000000000","sys-Guid2":"0x4000000000000000")"
                                   : R"(1,"GUID":2,"sys-Guid2":2)") +
                               R"(,"myguid":2,"guids":2,"small_guid":7})");
}

INSTANTIATE_TEST_SUITE_P(Values, GuidOptionFreshProcess,
                         ::testing::Values(GuidOption{"VTR_CONVERT_GUID_TO_HEX_STRING", "yes", true},
                                           GuidOption{"VTR_CONVERT_GUID_TO_HEX_STRING", "True", true},
                                           GuidOption{"VTR_CONVERT_GUID_TO_HEX_STRING", "t", true},
                                           GuidOption{"CONVERT_GUID_TO_HEX_STRING", "1", true},
                                           GuidOption{"VTR_CONVERT_GUID_TO_HEX_STRING", "0", false},
                                           GuidOption{"VTR_CONVERT_GUID_TO_HEX_STRING", "no", false},
                                           GuidOption{"VTR_CONVERT_GUID_TO_HEX_STRING", "", false},
                                           GuidOption{nullptr, nullptr, false}));

// Character arrays stop at their first unprintable character; other arrays and nested types
// follow their elements.
TEST(EventJson, ArraysAndNestedTypes) {
  EventRecord record({field("name", "char", 8), field("code", "unsigned char", 4), field("empty", "char", 0),
                      field("levels", "int16_t", 3), field("none", "uint32_t", 0), field("p", "pair")});
  const char name[8] = {'a', 'b', '\0', 'c', 'd', 'e', 'f', 'g'}, code[4] = {'w', 'x', 'y', 'z'};
  record.set(0, name);
  record.set(1, code);
  const int16_t levels[3] = {-1, 2, 300};
  record.set(3, levels);
  const uint8_t pair[3] = {9, 0xFE, 0xFF};  // a = 9, b = -2
  record.set(5, pair);
  EXPECT_EQ(record.json(), R"({"name":"ab","code":"wxyz","empty":"","levels":[-1,2,300],"none":[],"p":{"a":9,"b":-2}})");
}

TEST(EventJson, BuiltinScalarIsReadWithItsWidthAndSign) {
  const struct {
    uint32_t id;
    uint64_t bits;
    const char* fieldName;
    const char* json;
  } rows[] = {
      {VTR_BUILTIN_BOOL, 1, nullptr, "1"},
      {VTR_BUILTIN_CHAR, 0xFF, nullptr, "255"},
      {VTR_BUILTIN_UINT8, 0x1FF, nullptr, "255"},
      {VTR_BUILTIN_INT8, 0xFF, nullptr, "-1"},
      {VTR_BUILTIN_SHORT, 0xFFFE, nullptr, "-2"},
      {VTR_BUILTIN_UINT16, 0xFFFE, nullptr, "65534"},
      {VTR_BUILTIN_INT32, 0xFFFFFFFD, nullptr, "-3"},
      {VTR_BUILTIN_UNSIGNED_INT, 0xFFFFFFFD, nullptr, "4294967293"},
      {VTR_BUILTIN_LONG, 0xFFFFFFFFFFFFFFFC, nullptr, "-4"},
      {VTR_BUILTIN_INT64, 0xFFFFFFFFFFFFFFFC, "GUID", "\"0xfffffffffffffffc\""},
      {VTR_BUILTIN_UINT64, 0x10, "count", "16"},
      {VTR_BUILTIN_UNSIGNED_LONG_LONG, 0xAB, "port_guid", "\"0x00000000000000ab\""},
      {VTR_BUILTIN_FLOAT, 0x3FC00000, nullptr, "1.5"},
      {VTR_BUILTIN_DOUBLE, 0x4002000000000000, nullptr, "2.25"},
      {VTR_BUILTIN_TIMESTAMP, 1000000, nullptr, "1000000"},
      {99, 1, nullptr, "<null>"},
  };
  for (const auto& row : rows) {
    uint64_t bits = row.bits;
    JsonPtr json(vtr_builtin_type_jsonify_with_field_name(row.id, &bits, row.fieldName));
    EXPECT_EQ(json ? compact(json.get()) : "<null>", row.json) << "type " << row.id;
  }
}

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
