/*
 * The interface binder: the host's process-wide registry of procedures, each kept under the triple
 * (interface name, method name, procedure-type name), and the five procedures of the binder itself,
 * kept under the interface name "ZEL" with method and procedure-type name equal to their own name.
 *
 * All names are NUL-terminated byte texts, compared byte for byte.
 */
#pragma once

#include "zelutils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

#define ZEL_BINDER_INTERFACE "ZEL"

/* Returns the procedure registered under the triple, or null when there is none. */
typedef ZELProc (*ZELLookupProc)(const char *interfaceName, const char *methodName,
                                 const char *procTypeName);

/*
 * Registers a procedure under a triple; a triple that is already registered gets the new address.
 * The binder keeps copies of the texts. Returns 0 when it refuses the entry, else non-zero.
 */
typedef int32_t (*ZELRegisterProcAddress)(const char *interfaceName, const char *methodName,
                                          const char *procTypeName, ZELProc procedure);

/*
 * Takes the text of an error that a procedure could not return to its caller. The text is valid
 * during the call only. The library does not look at the result.
 */
typedef int32_t (*ZELReportError)(const char *message);

/*
 * Withdraws every procedure registered under an interface name and changes the unregister counter.
 * The library does not look at the result.
 */
typedef int32_t (*ZELUnregisterInterface)(const char *interfaceName);

/*
 * Returns the address of the binder's unregister counter, valid as long as the library is linked.
 * The counter never reads 0 and changes whenever an interface is withdrawn: who keeps procedure
 * addresses looks them up again when it has changed.
 */
typedef uint32_t *(*ZELGetUnregisterCountAddr)(void);

/* Whether the host calls from several threads. Must be there; the library never calls it. */
typedef int32_t (*ZELIsMultiThreaded)(void);

/* The binder's own procedures in the order in which the library fetches them. */
#define ZEL_BINDER_METHODS(X)                             \
  X(ZELRegisterProcAddress, ZELRegisterProcAddress)       \
  X(ZELReportError, ZELReportError)                       \
  X(ZELUnregisterInterface, ZELUnregisterInterface)       \
  X(ZELGetUnregisterCountAddr, ZELGetUnregisterCountAddr) \
  X(ZELIsMultiThreaded, ZELIsMultiThreaded)

#ifdef __cplusplus
}
#endif
