#include "runtime/source.h"

#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "runtime/logger.h"

namespace {

constexpr size_t kIdMax = VTR_SOURCE_ID_SIZE - 1;
constexpr size_t kTagMax = VTR_SOURCE_TAG_SIZE - 1;
constexpr size_t kLineSize = 1024;

// Copies at most `max` characters of `text` (null reads as empty) and terminates.
void copy_bounded(char* destination, const char* text, size_t max) {
  const size_t length = text ? strnlen(text, max) : 0;
  if (length) memcpy(destination, text, length);
  destination[length] = '\0';
}

// VTR_SOURCE_ID, else the short host name (VTR_HOST_NAME or the system's, cut at the first '.').
bool default_source_id(char (&id)[VTR_SOURCE_ID_SIZE]) {
  if (const char* configured = getenv("VTR_SOURCE_ID")) {
    copy_bounded(id, configured, kIdMax);
    return true;
  }
  if (const char* host = getenv("VTR_HOST_NAME")) {
    copy_bounded(id, host, kIdMax);
  } else {
    char host_name[256] = {0};
    if (gethostname(host_name, sizeof host_name - 1) != 0) {
      vtr_log(VTR_LOG_ERR, "[source] Failed to get host name: %s", strerror(errno));
      return false;
    }
    copy_bounded(id, host_name, kIdMax);
  }
  if (char* dot = strchr(id, '.')) *dot = '\0';
  return true;
}

// Base-10 32-bit number made of exactly the characters in [begin, end).
bool bounded_string_to_int(const char* begin, const char* end, int* value) {
  if (begin >= end) return false;
  const auto result = std::from_chars(begin, end, *value, 10);
  return result.ec == std::errc() && result.ptr == end;
}

// Appends a new source; on failure destroys the array, so callers hand back null.
bool append_or_discard(vtr_source_array_t** array, const char* id) {
  vtr_source_t* source = vtr_create_source(id, "");
  if (source && vtr_source_array_append(*array, source)) return true;
  vtr_destroy_source(source);
  vtr_destroy_source_array(*array);
  *array = nullptr;
  return false;
}

vtr_source_array_t* create_numbered_sources(const char* base_id, int first, int last) {
  vtr_source_array_t* array = vtr_create_source_array();
  for (long long k = first; array && k <= last; ++k) {
    // Room for the whole "%s_%d"; the source keeps its first 63 characters.
    char id[VTR_SOURCE_ID_SIZE + sizeof "_-2147483648"];
    snprintf(id, sizeof id, "%.63s_%d", base_id, static_cast<int>(k));
    append_or_discard(&array, id);
  }
  return array;
}

struct Range {
  int first;
  int last;
};

// "N": 1 to N.
bool parse_count(const char* text, Range* range) {
  range->first = 1;
  return bounded_string_to_int(text, text + strlen(text), &range->last) && range->last >= 1;
}

// "A-B" with the first '-' at `dash`, neither at the start nor at the end.
bool parse_span(const char* text, const char* dash, Range* range) {
  const char* end = text + strlen(text);
  return dash != text && dash + 1 != end && bounded_string_to_int(text, dash, &range->first) &&
         bounded_string_to_int(dash + 1, end, &range->last) && range->first <= range->last;
}

// "prefix[A-B]": the numbers lie between '[' and the first '-' and between it and the closing ']'.
bool parse_bracketed_span(const char* open, const char* dash, const char* close, Range* range) {
  return open < dash && dash < close && close[1] == '\0' && bounded_string_to_int(open + 1, dash, &range->first) &&
         bounded_string_to_int(dash + 1, close, &range->last) && range->first <= range->last;
}

vtr_source_array_t* invalid_format(const char* text) {
  vtr_log(VTR_LOG_ERR, "[source] Invalid source format: %s", text);
  return nullptr;
}

vtr_source_array_t* create_bracketed_sources(const char* text, const char* open, const char* dash,
                                             const char* close) {
  Range range;
  if (!parse_bracketed_span(open, dash, close, &range)) return invalid_format(text);
  char* prefix = strndup(text, static_cast<size_t>(open - text));
  if (!prefix) {
    vtr_log(VTR_LOG_ERR, "[source] Failed to allocate memory");
    return nullptr;
  }
  vtr_source_array_t* array = create_numbered_sources(prefix, range.first, range.last);
  free(prefix);
  return array;
}

vtr_source_array_t* create_host_sources(const char* text, const char* dash) {
  Range range;
  const bool valid = dash ? parse_span(text, dash, &range) : parse_count(text, &range);
  if (!valid) return invalid_format(text);
  char base_id[VTR_SOURCE_ID_SIZE];
  if (!default_source_id(base_id)) return nullptr;
  return create_numbered_sources(base_id, range.first, range.last);
}

// Calls `on_line` with every line of the file (lines longer than the buffer arrive in pieces);
// false when the file cannot be opened.
template <typename OnLine>
bool for_each_line(const char* path, OnLine on_line) {
  FILE* file = fopen(path, "r");
  if (!file) return false;
  char line[kLineSize];
  bool more = true;
  while (more && fgets(line, sizeof line, file)) more = on_line(line);
  fclose(file);
  return true;
}

bool is_meshdiag_listing(const char* path) {
  bool meshdiag = false;
  const bool opened = for_each_line(path, [&](const char* line) {
    meshdiag = strstr(line, "H-") || strstr(line, "S-");
    return !meshdiag;
  });
  if (!opened) vtr_log(VTR_LOG_ERR, "[source] Failed to open file: %s", path);
  return meshdiag;
}

// Every "(id)" of a fabric diagnostic listing names a source.
vtr_source_array_t* create_sources_from_meshdiag(const char* path) {
  vtr_source_array_t* array = vtr_create_source_array();
  if (!array) return nullptr;
  const bool opened = for_each_line(path, [&](const char* line) {
    const char* open = strchr(line, '(');
    const char* close = open ? strchr(open + 1, ')') : nullptr;
    if (!close) return true;
    char id[VTR_SOURCE_ID_SIZE];
    const size_t length = static_cast<size_t>(close - open - 1);
    copy_bounded(id, open + 1, length < kIdMax ? length : kIdMax);
    return append_or_discard(&array, id);
  });
  if (!opened) {
    vtr_log(VTR_LOG_ERR, "[source] Failed to open meshdiag file: %s", path);
    vtr_destroy_source_array(array);
    return nullptr;
  }
  return array;
}

// One source per non-empty line, taken as it stands up to its line end.
vtr_source_array_t* create_sources_from_list(const char* path) {
  vtr_source_array_t* array = vtr_create_source_array();
  if (!array) return nullptr;
  const bool opened = for_each_line(path, [&](char* line) {
    line[strcspn(line, "\r\n")] = '\0';
    return line[0] == '\0' || append_or_discard(&array, line);
  });
  if (!opened) {
    vtr_log(VTR_LOG_ERR, "[source] Failed to open text file: %s", path);
    vtr_destroy_source_array(array);
    return nullptr;
  }
  return array;
}

}  // namespace

vtr_source_t* vtr_create_source(const char* id, const char* tag) {
  auto* source = static_cast<vtr_source_t*>(calloc(1, sizeof(vtr_source_t)));
  if (!source) return nullptr;
  copy_bounded(source->id, id, kIdMax);
  copy_bounded(source->tag, tag, kTagMax);
  return source;
}

vtr_source_t* vtr_create_default_source(const char* tag) {
  char id[VTR_SOURCE_ID_SIZE];
  return default_source_id(id) ? vtr_create_source(id, tag) : nullptr;
}

void vtr_destroy_source(vtr_source_t* source) { free(source); }

vtr_source_array_t* vtr_create_source_array(void) {
  return static_cast<vtr_source_array_t*>(calloc(1, sizeof(vtr_source_array_t)));
}

int vtr_source_array_append(vtr_source_array_t* array, vtr_source_t* source) {
  if (!array || !source || array->count >= VTR_MAX_SOURCES) return 0;
  // The pointer array doubles whenever the count reaches a power of two, so its size follows from the count.
  const size_t count = array->count;
  if ((count & (count - 1)) == 0) {
    const size_t grown = count ? count * 2 : 1;
    void* sources = realloc(array->sources, grown * sizeof(vtr_source_t*));
    if (!sources) return 0;
    array->sources = static_cast<vtr_source_t**>(sources);
  }
  array->sources[count] = source;
  array->count = static_cast<uint16_t>(count + 1);
  return 1;
}

uint16_t vtr_source_array_find_source(const vtr_source_array_t* array, const vtr_source_t* source) {
  if (!array) return VTR_SOURCE_NOT_FOUND;
  for (uint16_t i = 0; i < array->count; ++i) {
    if (array->sources[i] == source) return i;
  }
  return VTR_SOURCE_NOT_FOUND;
}

void vtr_destroy_source_array(vtr_source_array_t* array) {
  if (!array) return;
  for (uint16_t i = 0; i < array->count; ++i) vtr_destroy_source(array->sources[i]);
  free(array->sources);
  free(array);
}

vtr_source_array_t* vtr_create_default_source_array(const char* tag) {
  vtr_source_array_t* array = vtr_create_source_array();
  vtr_source_t* source = array ? vtr_create_default_source(tag) : nullptr;
  if (source && vtr_source_array_append(array, source)) return array;
  vtr_destroy_source(source);
  vtr_destroy_source_array(array);
  return nullptr;
}

void vtr_source_copy(vtr_source_t* destination, const vtr_source_t* source) {
  memcpy(destination, source, sizeof(vtr_source_t));
}

int vtr_source_compare(const vtr_source_t* a, const vtr_source_t* b) {
  const int by_id = strcmp(a->id, b->id);
  return by_id ? by_id : strcmp(a->tag, b->tag);
}

char* vtr_source_string(const vtr_source_t* source) { return strdup(source->id); }

int vtr_source_full_string(const vtr_source_t* source, char* buffer, size_t buffer_size) {
  if (strlen(source->id) + strlen(source->tag) + 2 > buffer_size) {
    vtr_log(VTR_LOG_DEBUG, "[source] buffer too small for source %s:%s (got %zu)", source->id, source->tag,
            buffer_size);
    return 0;
  }
  snprintf(buffer, buffer_size, "%s:%s", source->id, source->tag);
  return 1;
}

void vtr_source_array_log(const vtr_source_array_t* array, const char* name) {
  if (!array) return;
  for (size_t i = 0; i < array->count; ++i)
    vtr_log(VTR_LOG_DEBUG, "%s[%zu] = %s", name, i, array->sources[i]->id);
}

vtr_source_array_t* vtr_create_source_array_from_string(const char* text) {
  if (!text) return nullptr;
  const char* dash = strchr(text, '-');
  const char* open = strchr(text, '[');
  const char* close = strchr(text, ']');
  if (!open && !close) return create_host_sources(text, dash);
  if (dash && open && close) return create_bracketed_sources(text, open, dash, close);
  return invalid_format(text);
}

vtr_source_array_t* vtr_create_source_array_from_input(const char* text_or_path) {
  if (!text_or_path) return nullptr;
  if (access(text_or_path, F_OK) != 0) return vtr_create_source_array_from_string(text_or_path);
  return is_meshdiag_listing(text_or_path) ? create_sources_from_meshdiag(text_or_path)
                                           : create_sources_from_list(text_or_path);
}
