#include "runtime/dict.h"

#include <stdlib.h>
#include <string.h>

#include <new>

#include "runtime/c_free.h"
#include "runtime/logger.h"

// An open-addressing string table in the khash manner: two flag bits per bucket (bit 1
// empty, bit 0 deleted), power-of-two bucket counts and a 0.77 load factor.

namespace {

constexpr double kLoadFactor = 0.77;
constexpr uint32_t kMinBuckets = 4;
constexpr uint32_t kFlagDeleted = 1;
constexpr uint32_t kFlagEmpty = 2;

struct StringTable {
  uint32_t n_buckets = 0;
  uint32_t size = 0;
  uint32_t n_occupied = 0;
  uint32_t upper_bound = 0;
  uint32_t* flags = nullptr;
  char** keys = nullptr;
  char** values = nullptr;
};

uint32_t flag_words(uint32_t n_buckets) { return n_buckets < 16 ? 1 : n_buckets >> 4; }

uint32_t bucket_flags(const uint32_t* flags, uint32_t i) { return (flags[i >> 4] >> ((i & 0xFu) << 1)) & 3u; }
bool is_empty(const uint32_t* flags, uint32_t i) { return bucket_flags(flags, i) & kFlagEmpty; }
bool is_deleted(const uint32_t* flags, uint32_t i) { return bucket_flags(flags, i) & kFlagDeleted; }
bool is_live(const uint32_t* flags, uint32_t i) { return bucket_flags(flags, i) == 0; }
void mark_live(uint32_t* flags, uint32_t i) { flags[i >> 4] &= ~(3u << ((i & 0xFu) << 1)); }

uint32_t hash_string(const char* key) {
  uint32_t h = static_cast<unsigned char>(*key);
  if (h != 0)
    for (++key; *key != '\0'; ++key) h = h * 31u + static_cast<unsigned char>(*key);
  return h;
}

uint32_t upper_bound_for(uint32_t n_buckets) { return static_cast<uint32_t>(n_buckets * kLoadFactor + 0.5); }

uint32_t next_power_of_two(uint32_t n) {
  uint32_t power = kMinBuckets;
  while (power < n) power <<= 1;
  return power;
}

// Bucket holding `key`, or n_buckets when absent.
uint32_t find_bucket(const StringTable& table, const char* key) {
  const uint32_t mask = table.n_buckets - 1;
  const uint32_t start = hash_string(key) & mask;
  uint32_t i = start;
  for (uint32_t step = 1;; ++step) {
    if (is_empty(table.flags, i)) return table.n_buckets;
    if (!is_deleted(table.flags, i) && strcmp(table.keys[i], key) == 0) return i;
    i = (start + step) & mask;
    if (i == start) return table.n_buckets;
  }
}

// Bucket where `key` lives or should go: its own, else the first deleted one on the probe
// path, else the empty one that ended it. n_buckets when the table is full of others.
uint32_t insertion_bucket(const StringTable& table, const char* key) {
  const uint32_t mask = table.n_buckets - 1;
  const uint32_t start = hash_string(key) & mask;
  uint32_t first_deleted = table.n_buckets;
  uint32_t i = start;
  for (uint32_t step = 1;; ++step) {
    if (is_empty(table.flags, i)) return first_deleted != table.n_buckets ? first_deleted : i;
    if (is_deleted(table.flags, i)) {
      if (first_deleted == table.n_buckets) first_deleted = i;
    } else if (strcmp(table.keys[i], key) == 0) {
      return i;
    }
    i = (start + step) & mask;
    if (i == start) return first_deleted;
  }
}

void free_arrays(StringTable& table) {
  free(table.flags);
  free(table.keys);
  free(table.values);
}

// Rehashes every live entry into `n_buckets` fresh buckets; the old table is untouched on
// allocation failure.
bool rebuild(StringTable& table, uint32_t n_buckets) {
  vtr::CPtr<uint32_t> flags(static_cast<uint32_t*>(malloc(flag_words(n_buckets) * sizeof(uint32_t))));
  vtr::CPtr<char*> keys(static_cast<char**>(calloc(n_buckets, sizeof(char*))));
  vtr::CPtr<char*> values(static_cast<char**>(calloc(n_buckets, sizeof(char*))));
  if (!flags || !keys || !values) return false;
  memset(flags.get(), 0xAA, flag_words(n_buckets) * sizeof(uint32_t));

  StringTable rebuilt;
  rebuilt.n_buckets = n_buckets;
  rebuilt.flags = flags.release();
  rebuilt.keys = keys.release();
  rebuilt.values = values.release();
  rebuilt.upper_bound = upper_bound_for(n_buckets);
  for (uint32_t i = 0; i < table.n_buckets; ++i) {
    if (!is_live(table.flags, i)) continue;
    const uint32_t target = insertion_bucket(rebuilt, table.keys[i]);
    mark_live(rebuilt.flags, target);
    rebuilt.keys[target] = table.keys[i];
    rebuilt.values[target] = table.values[i];
    ++rebuilt.size;
  }
  rebuilt.n_occupied = rebuilt.size;
  free_arrays(table);
  table = rebuilt;
  return true;
}

// Makes room for one more entry: clears deleted buckets when they are the bulk of the
// occupancy, grows otherwise.
bool reserve_one(StringTable& table) {
  if (table.n_occupied < table.upper_bound) return true;
  if (table.n_buckets > (table.size << 1)) return rebuild(table, table.n_buckets);
  return rebuild(table, next_power_of_two(table.n_buckets + 1));
}

// Takes ownership of the copies on success.
bool put(StringTable& table, vtr::CPtr<char> key, vtr::CPtr<char> value) {
  if (!reserve_one(table)) return false;
  const uint32_t i = insertion_bucket(table, key.get());
  if (i == table.n_buckets) return false;
  if (is_live(table.flags, i)) {
    free(table.values[i]);
    table.values[i] = value.release();
    return true;
  }
  if (is_empty(table.flags, i)) ++table.n_occupied;
  mark_live(table.flags, i);
  table.keys[i] = key.release();
  table.values[i] = value.release();
  ++table.size;
  return true;
}

}  // namespace

struct vtr_custom_options {
  StringTable* table;
};

vtr_custom_options* vtr_dict_create(void) {
  std::unique_ptr<StringTable> table(new (std::nothrow) StringTable());
  if (!table) return nullptr;
  auto* dict = new (std::nothrow) vtr_custom_options{table.get()};
  if (dict == nullptr) return nullptr;
  table.release();
  return dict;
}

int vtr_dict_add(vtr_custom_options* dict, const char* key, const char* value) {
  if (dict == nullptr || key == nullptr) return 0;
  vtr::CPtr<char> key_copy(strdup(key));
  vtr::CPtr<char> value_copy(value != nullptr ? strdup(value) : nullptr);
  if (!key_copy || (value != nullptr && !value_copy)) return 0;
  return put(*dict->table, std::move(key_copy), std::move(value_copy)) ? 1 : 0;
}

const char* vtr_dict_get(const vtr_custom_options* dict, const char* key) {
  if (dict == nullptr || key == nullptr) return nullptr;
  const StringTable& table = *dict->table;
  if (table.n_buckets == 0) return nullptr;
  const uint32_t i = find_bucket(table, key);
  return i == table.n_buckets ? nullptr : table.values[i];
}

int vtr_dict_enum(const vtr_custom_options* dict, vtr_dict_enum_callback callback, void* user_data) {
  if (dict == nullptr) return 1;
  const StringTable& table = *dict->table;
  for (uint32_t i = 0; i < table.n_buckets; ++i) {
    if (!is_live(table.flags, i)) continue;
    const int keep_going = callback(table.keys[i], table.values[i], user_data);
    if (!keep_going) return keep_going;
  }
  return 1;
}

void vtr_dict_dump(const vtr_custom_options* dict, const char* name) {
  if (dict == nullptr) return;
  vtr_log(VTR_LOG_DEBUG, "%s map values: ", name);
  vtr_dict_enum(
      dict,
      [](const char* key, const char* value, void*) {
        vtr_log(VTR_LOG_DEBUG, "key=%s  val=%s", key, value != nullptr ? value : "(null)");
        return 1;
      },
      nullptr);
}

void vtr_dict_delete(vtr_custom_options* dict) {
  if (dict == nullptr) return;
  StringTable& table = *dict->table;
  for (uint32_t i = 0; i < table.n_buckets; ++i) {
    if (!is_live(table.flags, i)) continue;
    free(table.keys[i]);
    free(table.values[i]);
  }
  free_arrays(table);
  delete dict->table;
  delete dict;
}

vtr_custom_options* vtr_dict_dup(const vtr_custom_options* dict) {
  if (dict == nullptr) return nullptr;
  vtr_custom_options* copy = vtr_dict_create();
  if (copy == nullptr) return nullptr;
  const int complete = vtr_dict_enum(
      dict,
      [](const char* key, const char* value, void* target) {
        return vtr_dict_add(static_cast<vtr_custom_options*>(target), key, value);
      },
      copy);
  if (!complete) {
    vtr_dict_delete(copy);
    return nullptr;
  }
  return copy;
}
