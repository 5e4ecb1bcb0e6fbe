#include <gtest/gtest.h>

#include <cstring>

#include "runtime/magic_value.h"

namespace {

TEST(MagicValue, FilledEventsMagicReadsVtreAndMatchesItsKindOnly) {
  vtr_magic_value_t magic;
  vtr_magic_value_fill(magic, VTR_MAGIC_EVENTS);
  EXPECT_EQ(0, memcmp(magic, "VTRE", 4));
  EXPECT_TRUE(vtr_magic_value_match_type(magic, VTR_MAGIC_EVENTS));
  EXPECT_FALSE(vtr_magic_value_match_type(magic, VTR_MAGIC_COUNTERS_DATA));
}

TEST(MagicValue, LowerCasedMagicNoLongerMatchesItsKind) {
  vtr_magic_value_t magic;
  vtr_magic_value_fill_lower(magic, VTR_MAGIC_COUNTERS_DATA);
  EXPECT_EQ(0, memcmp(magic, "vtrd", 4));
  EXPECT_FALSE(vtr_magic_value_match_type(magic, VTR_MAGIC_COUNTERS_DATA));
  EXPECT_FALSE(vtr_magic_value_match_type(magic, 'd'));
}

TEST(MagicValue, CopiesMatchAndDifferentKindsDoNot) {
  vtr_magic_value_t events, copy, counters;
  vtr_magic_value_fill(events, VTR_MAGIC_EVENTS);
  vtr_magic_value_copy(copy, events);
  vtr_magic_value_fill(counters, VTR_MAGIC_COUNTERS_DATA);
  EXPECT_TRUE(vtr_magic_value_match(events, copy));
  EXPECT_FALSE(vtr_magic_value_match(events, counters));
}

}  // namespace
