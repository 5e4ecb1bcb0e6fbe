#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>

#include <string>

#include "src/data/builtin_types.h"
#include "src/data/event_json.h"
#include "tests/data/data_test_support.h"

using namespace data_test;

namespace {

// One registered type and a zeroed record of its size; values are poked in at field offsets.
class EventRecord {
 public:
  EventRecord(const std::vector<vtr_type_field_info_t>& fields) : type_system_(vtr_create_type_system()) {
    schema_ = vtr_type_system_add_schema(type_system_.get(), "events", 1, nullptr);
    add_type(schema_, "pair", {field("a", "uint8_t"), field("b", "int16_t")});
    EXPECT_EQ(add_type(schema_, "event", fields), VTR_SCHEMA_OK);
    type_ = vtr_schema_find_type_definition(schema_, "event");
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
  vtr_schema_t* schema_ = nullptr;
  const vtr_type_definition_t* type_ = nullptr;
  std::vector<uint8_t> bytes_;
};

void set_guid_option(const char* value) {
  unsetenv("VTR_CONVERT_GUID_TO_HEX_STRING");
  unsetenv("CONVERT_GUID_TO_HEX_STRING");
  if (value) setenv("VTR_CONVERT_GUID_TO_HEX_STRING", value, 1);
}

// The option is read once per process, so each of these cases needs a process of its own.
TEST(EventJsonGuidOptionFreshProcess, GuidFieldsBecomeHexStringsWhenTheOptionIsOn) {
  set_guid_option("1");
  EventRecord record({field("port_guid", "uint64_t"), field("count", "uint64_t"), field("node_guid", "double"),
                      field("guidance", "double")});
  record.set(0, uint64_t{0x1234});
  record.set(1, uint64_t{0x1234});
  record.set(2, 1.0);
  record.set(3, 1.0);
  EXPECT_EQ(record.json(),
            R"({"port_guid":"0x0000000000001234","count":4660,"node_guid":"0x3ff0000000000000","guidance":1})");
}

TEST(EventJsonGuidOptionFreshProcess, OnlyNameMarkedSixtyFourBitValuesAreHexWhenTheOptionIsOff) {
  set_guid_option(nullptr);
  EventRecord record({field("port_guid", "uint64_t"), field("node_guid", "double")});
  record.set(0, uint64_t{0x1234});
  record.set(1, 1.0);
  EXPECT_EQ(record.json(), R"({"port_guid":"0x0000000000001234","node_guid":1})");
}

struct OptionCase {
  const char* variable;
  const char* value;
  bool on;
};

void PrintTo(const OptionCase& c, std::ostream* os) { *os << c.variable << "=\"" << c.value << '"'; }

class GuidOptionValueFreshProcess : public ::testing::TestWithParam<OptionCase> {};

TEST_P(GuidOptionValueFreshProcess, IsOnForValuesStartingWithOneTOrY) {
  set_guid_option(nullptr);
  setenv(GetParam().variable, GetParam().value, 1);
  EventRecord record({field("node_guid", "double")});
  record.set(0, 1.0);
  EXPECT_EQ(record.json(), GetParam().on ? R"({"node_guid":"0x3ff0000000000000"})" : R"({"node_guid":1})");
}

INSTANTIATE_TEST_SUITE_P(Values, GuidOptionValueFreshProcess,
                         ::testing::Values(OptionCase{"VTR_CONVERT_GUID_TO_HEX_STRING", "yes", true},
                                           OptionCase{"VTR_CONVERT_GUID_TO_HEX_STRING", "True", true},
                                           OptionCase{"CONVERT_GUID_TO_HEX_STRING", "1", true},
                                           OptionCase{"VTR_CONVERT_GUID_TO_HEX_STRING", "0", false},
                                           OptionCase{"VTR_CONVERT_GUID_TO_HEX_STRING", "no", false},
                                           OptionCase{"VTR_CONVERT_GUID_TO_HEX_STRING", "", false}));

TEST(EventJsonGuidOptionFreshProcess, GuidMarkerMustBeAWordOfItsOwn) {
  set_guid_option("t");
  EventRecord record({field("GUID", "double"), field("sys-Guid2", "double"), field("myguid", "double"),
                      field("guids", "double"), field("small_guid", "uint8_t")});
  for (int i = 0; i < 4; ++i) record.set(i, 2.0);
  record.set(4, uint8_t{7});
  EXPECT_EQ(record.json(),
            R"({"GUID":"0x4000000000000000","sys-Guid2":"0x4000000000000000","myguid":2,"guids":2,"small_guid":7})");
}

TEST(EventJson, CharArraysStopAtTheFirstUnprintableCharacter) {
  EventRecord record({field("name", "char", 8), field("code", "unsigned char", 4), field("empty", "char", 0)});
  const char name[8] = {'a', 'b', '\0', 'c', 'd', 'e', 'f', 'g'};
  record.set(0, name);
  const char code[4] = {'w', 'x', 'y', 'z'};
  record.set(1, code);
  EXPECT_EQ(record.json(), R"({"name":"ab","code":"wxyz","empty":""})");
}

TEST(EventJson, OtherArraysAndNestedTypesFollowTheirElements) {
  EventRecord record({field("levels", "int16_t", 3), field("none", "uint32_t", 0), field("p", "pair")});
  const int16_t levels[3] = {-1, 2, 300};
  record.set(0, levels);
  const uint8_t pair[3] = {9, 0xFE, 0xFF};  // a = 9, b = -2
  record.set(2, pair);
  EXPECT_EQ(record.json(), R"({"levels":[-1,2,300],"none":[],"p":{"a":9,"b":-2}})");
}

struct ScalarCase {
  uint32_t id;
  uint64_t bits;
  const char* field_name;
  const char* json;
};

void PrintTo(const ScalarCase& c, std::ostream* os) { *os << vtr_builtin_type_name(c.id) << ' ' << c.json; }

class BuiltinScalar : public ::testing::TestWithParam<ScalarCase> {};

TEST_P(BuiltinScalar, IsReadWithItsWidthAndSign) {
  uint64_t bits = GetParam().bits;
  JsonPtr json(vtr_builtin_type_jsonify_with_field_name(GetParam().id, &bits, GetParam().field_name));
  EXPECT_EQ(json ? compact(json.get()) : "<null>", GetParam().json);
}

INSTANTIATE_TEST_SUITE_P(
    Table, BuiltinScalar,
    ::testing::Values(ScalarCase{VTR_BUILTIN_BOOL, 1, nullptr, "1"}, ScalarCase{VTR_BUILTIN_CHAR, 0xFF, nullptr, "255"},
                      ScalarCase{VTR_BUILTIN_UINT8, 0x1FF, nullptr, "255"},
                      ScalarCase{VTR_BUILTIN_INT8, 0xFF, nullptr, "-1"},
                      ScalarCase{VTR_BUILTIN_SHORT, 0xFFFE, nullptr, "-2"},
                      ScalarCase{VTR_BUILTIN_UINT16, 0xFFFE, nullptr, "65534"},
                      ScalarCase{VTR_BUILTIN_INT32, 0xFFFFFFFD, nullptr, "-3"},
                      ScalarCase{VTR_BUILTIN_UNSIGNED_INT, 0xFFFFFFFD, nullptr, "4294967293"},
                      ScalarCase{VTR_BUILTIN_LONG, 0xFFFFFFFFFFFFFFFC, nullptr, "-4"},
                      ScalarCase{VTR_BUILTIN_INT64, 0xFFFFFFFFFFFFFFFC, "GUID", "\"0xfffffffffffffffc\""},
                      ScalarCase{VTR_BUILTIN_UINT64, 0x10, "count", "16"},
                      ScalarCase{VTR_BUILTIN_UNSIGNED_LONG_LONG, 0xAB, "port_guid", "\"0x00000000000000ab\""},
                      ScalarCase{VTR_BUILTIN_FLOAT, 0x3FC00000, nullptr, "1.5"},
                      ScalarCase{VTR_BUILTIN_DOUBLE, 0x4002000000000000, nullptr, "2.25"},
                      ScalarCase{VTR_BUILTIN_TIMESTAMP, 1000000, nullptr, "1000000"},
                      ScalarCase{99, 1, nullptr, "<null>"}));

}  // namespace
