#ifndef VTR_C_FREE_H
#define VTR_C_FREE_H

#include <stdlib.h>

#include <memory>

namespace vtr {

// Owns memory that C code handed out with malloc, calloc or strdup.
struct CFree {
  void operator()(void* memory) const { free(memory); }
};

template <typename T>
using CPtr = std::unique_ptr<T, CFree>;

}  // namespace vtr

#endif
