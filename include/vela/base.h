/* Basic conventions shared by every public header of the Vela runtime.
 *
 * Compiled application code, plug-ins and the debugger call the runtime's
 * exports by name and read its records by position; the headers under
 * include/vela/ declare both. All exports are plain C functions. */
#ifndef VELA_BASE_H
#define VELA_BASE_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define VELA_EXTERN_C extern "C"
#define VELA_BEGIN_DECLS extern "C" {
#define VELA_END_DECLS }
#else
#define VELA_EXTERN_C
#define VELA_BEGIN_DECLS
#define VELA_END_DECLS
#endif

/* Marks a function as part of the binary interface. The library is built with
 * hidden visibility, so nothing else leaves it. */
#define VELA_API VELA_EXTERN_C __attribute__((visibility("default")))

/* A Boolean crosses the interface as one byte. */
typedef uint8_t VelaBoolean;

#endif
