// The source range syntax ("N", "A-B", "prefix[A-B]") on arbitrary text.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "runtime/source.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  // A fixed base id keeps runs independent of the machine's host name.
  setenv("VTR_SOURCE_ID", "fuzz", 1);
  vtr_source_array_t* array = vtr_create_source_array_from_string(text.c_str());
  vtr_destroy_source_array(array);
  return 0;
}
