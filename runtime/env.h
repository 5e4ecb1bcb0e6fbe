#ifndef VTR_ENV_H
#define VTR_ENV_H

#include "runtime/vtr_export.h"

VTR_EXTERN_C_BEGIN

/* Environment lookup that accepts a key with or without the "VTR_" prefix; the prefixed
 * variable wins. The result points into the environment; null when neither is set. */
VTR_API const char* vtr_getenv(const char* key);

VTR_EXTERN_C_END

#endif
