#ifndef VTR_EXPORT_H
#define VTR_EXPORT_H

/* Marks the library's C interface; everything else is hidden. */
#define VTR_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define VTR_EXTERN_C_BEGIN extern "C" {
#define VTR_EXTERN_C_END }
#else
#define VTR_EXTERN_C_BEGIN
#define VTR_EXTERN_C_END
#endif

#endif
