#include <gtest/gtest.h>

// The descriptor a pass writes by: its kind comes from the exact type name, a name it does not
// know gives no descriptor.
#include "provider/field_info.h"

namespace vtr {
namespace ipmitool {
namespace {

TEST(FieldDescriptor, KindComesFromTheExactTypeName) {
  struct Case {
    const char* typeName;
    bool made;
    CollectorFieldType kind;
  };
  const Case cases[] = {
      {"uint16_t", true, CollectorFieldType::Uint16}, {nullptr, true, CollectorFieldType::Unknown},
      {"uint8_t", false, CollectorFieldType::Unknown}, {"Double", false, CollectorFieldType::Unknown},
      {"double ", false, CollectorFieldType::Unknown},
  };
  for (const Case& c : cases) {
    char name[] = "fan1";
    vtr_type_field_definition_t definition{};
    definition.field_name = name;
    definition.type_name = const_cast<char*>(c.typeName);
    definition.offset = 48;
    definition.count = 1;
    field_info_t* info = ipmitool_field_info_from_vtr_type_field_definition(&definition);
    const char* shown = c.typeName ? c.typeName : "(none)";
    ASSERT_EQ(info != nullptr, c.made) << shown;
    if (info == nullptr) continue;
    EXPECT_EQ(info->kind, c.kind) << shown;
    EXPECT_STREQ(info->name, "fan1");
    EXPECT_NE(info->name, name) << "the descriptor keeps its own copy";
    EXPECT_EQ(info->offset, 48u);
    EXPECT_EQ(info->array_length, 1u);
    destroy_ipmitool_field_info(info);
  }
}

TEST(FieldDescriptor, NamelessDefinitionGivesANamelessDescriptor) {
  char typeName[] = "double";
  vtr_type_field_definition_t definition{};
  definition.type_name = typeName;
  field_info_t* info = ipmitool_field_info_from_vtr_type_field_definition(&definition);
  ASSERT_NE(info, nullptr);
  EXPECT_EQ(info->name, nullptr);
  destroy_ipmitool_field_info(info);
  destroy_ipmitool_field_info(nullptr);
}

}  // namespace
}  // namespace ipmitool
}  // namespace vtr
