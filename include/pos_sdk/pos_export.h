/* Export and linkage macros shared by every public header of the SDK. */
#ifndef POS_SDK_POS_EXPORT_H
#define POS_SDK_POS_EXPORT_H

/* Symbols are hidden by default; POS_API marks the ones that form the library's API. */
#define POS_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define POS_BEGIN_DECLS extern "C" {
#define POS_END_DECLS }
#else
#define POS_BEGIN_DECLS
#define POS_END_DECLS
#endif

#endif
