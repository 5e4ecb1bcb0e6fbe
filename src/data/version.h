#ifndef VTR_DATA_VERSION_H
#define VTR_DATA_VERSION_H

#include <stddef.h>
#include <stdint.h>

#include "runtime/vtr_export.h"
#include "src/data/schema.h"

VTR_EXTERN_C_BEGIN

/* Writes "major.minor.patch" of a packed version into `buffer` (at most `size` bytes, always
 * terminated when size > 0) and returns `buffer`. 16 bytes hold every version. */
VTR_API char* vtr_version_to_string(uint32_t version, char* buffer, size_t size);

VTR_EXTERN_C_END

#ifdef __cplusplus
#include <string>

namespace vtr {
namespace data {

// Version of the schema and type-system documents this code writes.
constexpr uint32_t kFormatVersion = VTR_MAKE_VERSION(1, 5, 0);
constexpr const char* kFormatVersionText = "1.5.0";

std::string version_string(uint32_t version);

// Strict "major.minor[.patch]" reading of a document's format version.
bool parse_format_version(const char* text, uint32_t* version);

// A provider's version as schema documents carry it: "major.minor[ .patch]"; fewer than two
// numbers give version 0.
uint32_t parse_provider_version(const char* text);

inline uint32_t version_major(uint32_t version) { return version & 0xFFu; }
inline uint32_t version_minor(uint32_t version) { return (version >> 8) & 0xFFu; }
inline uint32_t version_patch(uint32_t version) { return version >> 16; }

}  // namespace data
}  // namespace vtr
#endif

#endif
