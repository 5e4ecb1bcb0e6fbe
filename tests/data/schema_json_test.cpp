#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "src/data/schema_json.h"
#include "support/fake_ipmitool.h"
#include "tests/data/data_test_support.h"

using namespace data_test;

namespace {

constexpr const char* kDemoSchemaId = "6c9be2b72d4f917b3ae83f929bd5c3a3";

class SchemaJsonTest : public ::testing::Test {
 protected:
  vtr::test::LogRecorder log;
};

// The schema of add_demo_schema as parson pretty-prints it; its MD5 is the schema id.
std::string demo_text() { return vtr::test::readFile(vtr::test::fixturePath("schema-json", "demo-schema.json")); }

JsonPtr parse(const std::string& text) { return JsonPtr(json_parse_string(text.c_str())); }

TEST_F(SchemaJsonTest, SchemaIsWrittenInParsonPrettyLayoutAndIdentifiedByItsMd5) {
  TypeSystemPtr type_system = demo_type_system();
  const vtr_schema_t* schema = type_system->schemas[0];
  JsonPtr json(vtr_schema_jsonify(schema));
  EXPECT_EQ(pretty(json.get()), demo_text());
  EXPECT_STREQ(schema->schema_id_string, kDemoSchemaId);

  uint8_t id[VTR_SCHEMA_ID_SIZE];
  ASSERT_TRUE(vtr_get_schema_id_from_pretty_json_string(demo_text().c_str(), id));
  EXPECT_EQ(id_string(id), kDemoSchemaId);
  EXPECT_FALSE(vtr_get_schema_id_from_pretty_json_string(nullptr, id));
}

TEST_F(SchemaJsonTest, SchemaWithoutTypesHasNoJsonFormAndKeepsItsZeroId) {
  TypeSystemPtr type_system(vtr_create_type_system());
  vtr_schema_t* schema = vtr_type_system_add_schema(type_system.get(), "empty", 1, nullptr);
  EXPECT_EQ(vtr_schema_jsonify(schema), nullptr);
  vtr_type_system_update_md5_hashes(type_system.get());
  EXPECT_TRUE(vtr_schema_id_is_unset(schema->schema_id));
}

TEST_F(SchemaJsonTest, TypeSystemSurvivesTextRoundTrips) {
  TypeSystemPtr original = demo_type_system();
  for (bool pretty_text : {true, false}) {
    std::string text = take_text(vtr_type_system_serialize(original.get(), pretty_text));
    TypeSystemPtr read(vtr_type_system_deserialize(text.c_str()));
    ASSERT_TRUE(read) << text;
    EXPECT_EQ(take_text(vtr_type_system_serialize(read.get(), pretty_text)), text);
    ASSERT_EQ(read->num_schemas, 1);
    const vtr_schema_t* schema = read->schemas[0];
    EXPECT_STREQ(schema->schema_id_string, kDemoSchemaId);
    EXPECT_EQ(schema->parent, read->builtin_schema);
    const vtr_type_definition_t* event = vtr_schema_find_type_definition(schema, "event");
    ASSERT_NE(event, nullptr);
    EXPECT_EQ(event->fields[1]->count, 8u);
    EXPECT_EQ(event->fields[2]->value_type, VTR_VALUE_TYPE_RUNNING_SUM);
    EXPECT_EQ(event->fields[2]->index, 1);
    EXPECT_EQ(event->fields[2]->type_def, vtr_schema_find_type_definition(read->builtin_schema, "uint64_t"));
  }
}

TEST_F(SchemaJsonTest, TypeSystemDocumentCarriesCountersSchemaBeforeSchemas) {
  TypeSystemPtr type_system = demo_type_system();
  std::string text = take_text(vtr_type_system_serialize(type_system.get(), false));
  EXPECT_EQ(text.rfind(R"({"name":"Vantrove type system","version":"1.5.0","counters_schema":{"counter_groups":[]},"schemas":[{"title":"Vantrove schema",)", 0), 0u)
      << text;
}

TEST_F(SchemaJsonTest, CountersSchemaDocumentsAreKeptAsTheyAre) {
  const std::string groups = R"([{"name":"net","counters":["rx","tx"]}])";
  TypeSystemPtr bare(vtr_type_system_deserialize((R"({"version":"1.5.0","counter_groups":)" + groups + "}").c_str()));
  ASSERT_TRUE(bare);
  EXPECT_EQ(bare->num_schemas, 0);
  std::string text = take_text(vtr_type_system_serialize(bare.get(), false));
  EXPECT_NE(text.find(R"("counters_schema":{"counter_groups":)" + groups + "}"), std::string::npos) << text;

  TypeSystemPtr nested(vtr_type_system_deserialize(text.c_str()));
  ASSERT_TRUE(nested);
  EXPECT_EQ(take_text(vtr_type_system_serialize(nested.get(), false)), text);
}

struct FieldDocumentCase {
  const char* name;
  const char* json;
  bool accepted;
  uint32_t array_length;
};

void PrintTo(const FieldDocumentCase& c, std::ostream* os) { *os << c.name; }

class FieldDocument : public SchemaJsonTest, public ::testing::WithParamInterface<FieldDocumentCase> {};

TEST_P(FieldDocument, IsReadWhenItHasTheRequiredKeys) {
  JsonPtr json = parse(GetParam().json);
  ASSERT_TRUE(json);
  vtr::data::FieldDefinitionPtr field(vtr_type_field_definition_from_json(json.get()));
  EXPECT_EQ(field != nullptr, GetParam().accepted);
  if (field) {
    EXPECT_STREQ(field->field_name, "f");
    EXPECT_EQ(field->offset, 4u);
    EXPECT_EQ(field->count, GetParam().array_length);
  } else {
    EXPECT_TRUE(log.contains("Field definition JSON does not match schema with or without 'index'."));
  }
}

#define FIELD_KEYS R"("field_name":"f","description":"d","type_name":"int","counting_mode":"ABSOLUTE","type_size":4)"
INSTANTIATE_TEST_SUITE_P(
    Documents, FieldDocument,
    ::testing::Values(FieldDocumentCase{"complete", "{" FIELD_KEYS R"(,"offset":4,"index":2})", true, 1},
                      FieldDocumentCase{"without_index", "{" FIELD_KEYS R"(,"offset":4})", true, 1},
                      FieldDocumentCase{"array", "{" FIELD_KEYS R"(,"offset":4,"array_length":5})", true, 5},
                      FieldDocumentCase{"zero_length", "{" FIELD_KEYS R"(,"offset":4,"array_length":0})", true, 1},
                      FieldDocumentCase{"without_offset", "{" FIELD_KEYS "}", false, 0},
                      FieldDocumentCase{"offset_as_text", "{" FIELD_KEYS R"(,"offset":"4"})", false, 0},
                      FieldDocumentCase{"not_an_object", "[]", false, 0}));
#undef FIELD_KEYS

// A schema document with its "vtr_version" replaced.
std::string demo_text_with_format_version(const char* version) {
  JsonPtr json = parse(demo_text());
  json_object_set_string(json_value_get_object(json.get()), "vtr_version", version);
  return pretty(json.get());
}

struct VersionCase {
  const char* version;
  bool accepted;
};

void PrintTo(const VersionCase& c, std::ostream* os) { *os << '"' << c.version << '"'; }

class SchemaDocumentVersion : public SchemaJsonTest, public ::testing::WithParamInterface<VersionCase> {};

TEST_P(SchemaDocumentVersion, MustShareTheMajorAndNotExceedTheMinor) {
  JsonPtr json = parse(demo_text_with_format_version(GetParam().version));
  SchemaPtr schema(vtr_schema_from_json(json.get()));
  EXPECT_EQ(schema != nullptr, GetParam().accepted);
  EXPECT_EQ(log.contains(std::string("Schema version ") + GetParam().version +
                               " is incompatible with current version 1.5.0"),
            !GetParam().accepted);
}

INSTANTIATE_TEST_SUITE_P(Versions, SchemaDocumentVersion,
                         ::testing::Values(VersionCase{"1.4.2", true}, VersionCase{"1.5.0", true},
                                           VersionCase{"1.5.7", true}, VersionCase{"1.0", true},
                                           VersionCase{"1.6.0", false}, VersionCase{"2.0.0", false},
                                           VersionCase{"0.5.0", false}, VersionCase{"1", false},
                                           VersionCase{"one.five", false}, VersionCase{"", false}));

class TypeSystemDocumentVersion : public SchemaJsonTest, public ::testing::WithParamInterface<VersionCase> {};

TEST_P(TypeSystemDocumentVersion, MustBeAtLeast140) {
  TypeSystemPtr original = demo_type_system();
  JsonPtr json(vtr_type_system_jsonify(original.get()));
  json_object_set_string(json_value_get_object(json.get()), "version", GetParam().version);
  TypeSystemPtr read(vtr_type_system_from_json(json.get()));
  EXPECT_EQ(read != nullptr, GetParam().accepted);
  EXPECT_EQ(log.contains(std::string("[ts] Failed to deserialize: schema version ") + GetParam().version +
                               " is incompatible with the deserializer, the minimal supported schema version is 1.4.0"),
            !GetParam().accepted);
}

INSTANTIATE_TEST_SUITE_P(Versions, TypeSystemDocumentVersion,
                         ::testing::Values(VersionCase{"1.3.9", false}, VersionCase{"0.9.0", false},
                                           VersionCase{"1", false}, VersionCase{"1.4.0", true},
                                           VersionCase{"1.5.0", true}, VersionCase{"2.0.0", true}));

struct BadDocumentCase {
  const char* name;
  std::string text;
  std::string message;
};

void PrintTo(const BadDocumentCase& c, std::ostream* os) { *os << c.name; }

std::string many_schemas(int count) {
  std::string text = R"({"version":"1.5.0","schemas":[)";
  for (int i = 0; i < count; ++i) text += i ? ",{}" : "{}";
  return text + "]}";
}

std::string demo_with_unknown_field_type() {
  std::string text = demo_text();
  text.replace(text.find("\"uint16_t\""), 10, "\"mystery\"");
  return R"({"version":"1.5.0","schemas":[)" + text + "]}";
}

class BadTypeSystemDocument : public SchemaJsonTest, public ::testing::WithParamInterface<BadDocumentCase> {};

TEST_P(BadTypeSystemDocument, IsRefusedWithItsMessageAndNothingPartial) {
  EXPECT_EQ(vtr_type_system_deserialize(GetParam().text.c_str()), nullptr);
  EXPECT_TRUE(log.contains(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    Documents, BadTypeSystemDocument,
    ::testing::Values(
        BadDocumentCase{"malformed", R"({"version":"1.5.0",)", "Failed parsing schema JSON string"},
        BadDocumentCase{"array", "[1]", "[ts] Failed to deserialize: schema is not a JSON object"},
        BadDocumentCase{"numeric_version", R"({"version":1.5,"schemas":[]})",
                        "[ts] Failed to deserialize: missing Vantrove schema version"},
        BadDocumentCase{"unrecognised", R"({"version":"1.5.0"})",
                        "[schema writer] schema was not recognized as either type system or counters schema"},
        BadDocumentCase{"bad_counters", R"({"version":"1.5.0","counters_schema":[]})",
                        "[ts] Failed to deserialize: unable to decode counters schema"},
        BadDocumentCase{"types_not_array", R"({"version":"1.5.0","schemas":[{"vtr_version":"1.5.0","provider_name":"x","provider_version":"1.0.0","types":{}}]})",
                        "[ts] Failed to deserialize: unable to decode type schema"},
        BadDocumentCase{"too_many_schemas", many_schemas(256),
                        "[ts] Failed to deserialize: number of schemas 256 exceeds limit 255"},
        BadDocumentCase{"unknown_field_type", demo_with_unknown_field_type(),
                        "[ts] Failed to deserialize: unable to adjust type fields of schema demo"}));

TEST_F(SchemaJsonTest, UnknownFieldTypeNamesTheTypeAndSchema) {
  EXPECT_EQ(vtr_type_system_deserialize(demo_with_unknown_field_type().c_str()), nullptr);
  EXPECT_TRUE(log.contains("Definition of type mystery not found within the schema demo"));
}

TEST_F(SchemaJsonTest, BrokenTypeInsideSchemaIsReportedByPosition) {
  JsonPtr json = parse(demo_text());
  JSON_Array* types = json_object_get_array(json_value_get_object(json.get()), "types");
  json_object_set_string(json_array_get_object(types, 1), "size", "24");
  EXPECT_EQ(vtr_schema_from_json(json.get()), nullptr);
  EXPECT_TRUE(log.contains("Type definition JSON does not match schema '{\"name\" : \"\", \"size\" : 0, \"fields\" : []}'"));
  EXPECT_TRUE(log.contains("Failed to deserialize type #1 from JSON array"));
}

TEST_F(SchemaJsonTest, OtherDocumentsAreNotEventSchemas) {
  JsonPtr json = parse(R"({"counter_groups":[]})");
  EXPECT_EQ(vtr_schema_from_json(json.get()), nullptr);
  EXPECT_TRUE(log.contains("Not an event schema"));
  EXPECT_EQ(log.all().back().priority, VTR_LOG_INFO);
}

TEST_F(SchemaJsonTest, ProviderVersionReadsMajorMinorAndOptionalPatch) {
  for (auto [text, version] : {std::pair<const char*, uint32_t>{"2.7.9", VTR_MAKE_VERSION(2, 7, 9)},
                               {"2.7", VTR_MAKE_VERSION(2, 7, 0)},
                               {"3", 0u},
                               {"x", 0u}}) {
    JsonPtr json = parse(demo_text());
    json_object_set_string(json_value_get_object(json.get()), "provider_version", text);
    SchemaPtr schema(vtr_schema_from_json(json.get()));
    ASSERT_TRUE(schema) << text;
    EXPECT_EQ(schema->version, version) << text;
  }
}

class SchemaFileTest : public SchemaJsonTest {
 protected:
  void SetUp() override {
    SchemaJsonTest::SetUp();
    std::ofstream(file_.path()) << demo_text();
    type_system_.reset(vtr_create_type_system());
  }

  vtr_provider_field_set_t* field_set(std::vector<const char*> lines) {
    field_set_.reset(vtr_provider_field_set_create());
    vtr_provider_field_set_init_from_lines(field_set_.get(), lines.data(), lines.size());
    return field_set_.get();
  }

  struct FieldSetDeleter {
    void operator()(vtr_provider_field_set_t* set) const { vtr_provider_field_set_destroy(set); }
  };
  vtr::test::ScratchFile file_;
  TypeSystemPtr type_system_;
  std::unique_ptr<vtr_provider_field_set_t, FieldSetDeleter> field_set_;
};

TEST_F(SchemaFileTest, LoadedSchemaIsResolvedIdentifiedAndAppended) {
  vtr_schema_t* schema = vtr_type_system_load_schema(type_system_.get(), file_.path());
  ASSERT_NE(schema, nullptr);
  EXPECT_EQ(type_system_->schemas[0], schema);
  EXPECT_STREQ(schema->schema_id_string, kDemoSchemaId);
  EXPECT_EQ(vtr_schema_find_type_definition(schema, "pair")->fields[1]->type_def,
            vtr_schema_find_type_definition(type_system_->builtin_schema, "uint16_t"));

  SchemaPtr standalone(vtr_schema_load_from_file(file_.path(), type_system_->builtin_schema));
  ASSERT_TRUE(standalone);
  EXPECT_STREQ(standalone->schema_id_string, kDemoSchemaId);
}

TEST_F(SchemaFileTest, MissingFileIsReported) {
  EXPECT_EQ(vtr_type_system_load_schema(type_system_.get(), "/nonexistent/schema.json"), nullptr);
  EXPECT_TRUE(log.contains("Failed reading schema JSON from file '/nonexistent/schema.json'"));
  EXPECT_EQ(type_system_->num_schemas, 0);
}

TEST_F(SchemaFileTest, FieldSetKeepsOnlyWantedTypesAndFields) {
  bool filtered = false;
  vtr_schema_t* schema = vtr_type_system_load_schema_filtered_by_fset(
      type_system_.get(), file_.path(), field_set({"[event]", "packets"}), &filtered);
  ASSERT_NE(schema, nullptr);
  EXPECT_TRUE(filtered);
  ASSERT_EQ(schema->num_types, 1);
  const vtr_type_definition_t* event = schema->types[0];
  EXPECT_STREQ(event->name, "event");
  ASSERT_EQ(event->num_fields, 1);
  EXPECT_STREQ(event->fields[0]->field_name, "packets");
  EXPECT_EQ(event->fields[0]->offset, 16u);  // as written, not recomputed
  EXPECT_TRUE(log.contains("Skipping type definition 'pair' as it is not required by the provided field set"));
  EXPECT_TRUE(log.contains("Skipping field 'event.ts' as it is not required by the provided field set"));
}

TEST_F(SchemaFileTest, FieldSetThatWantsNothingHereLeavesNoSchema) {
  bool filtered = false;
  EXPECT_EQ(vtr_type_system_load_schema_filtered_by_fset(type_system_.get(), file_.path(),
                                                         field_set({"[pair]", "nothing_like_this"}), &filtered),
            nullptr);
  EXPECT_TRUE(filtered);
  EXPECT_TRUE(log.contains("Skipping type definition 'pair' as it has no fields after filtering by field set"));
  EXPECT_TRUE(log.contains("No types found in the schema after filtering by field set"));
  EXPECT_EQ(type_system_->num_schemas, 0);
}

}  // namespace
