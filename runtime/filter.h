#ifndef VTR_FILTER_H
#define VTR_FILTER_H

#include "runtime/vtr_export.h"

VTR_EXTERN_C_BEGIN

/* Longest token text taken into account; longer tokens are cut. */
#define VTR_FILTER_TOKEN_MAX 127

/* 1 when `token` occurs in `name`, ignoring case. Leading '^' characters anchor the token at the
 * start of the name, a trailing '$' at its end. Null arguments never match. */
VTR_API int vtr_filter_match_single_token(const char* name, const char* token);

VTR_EXTERN_C_END

#endif
