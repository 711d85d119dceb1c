/*
 * The reference host in C: a process that wants to use ZELUtils and has no host of its own makes
 * one here, starts the library in it, and reaches every procedure by lookup.
 *
 *   ZELHost *host = ZELHostNew(0);
 *   if (host == NULL || !ZELHostStart(host, NULL)) puts(ZELHostLastError());
 *
 * It is the host of zelhost/host.h, which C++ programs use directly. It offers the core services of
 * zelutils/core.h (memory, string atoms, errors, containers, shared buffers, streams); they are
 * called as the library calls them, through the procedures that a lookup gives.
 *
 * Failures. A function that fails returns 0, or null where it returns a pointer, and
 * ZELHostLastError tells why. Nothing is thrown. A null host, one that has been destroyed, and any
 * other null where none is allowed are such failures.
 * Ownership. The texts that these functions return belong to the host and are valid until the time
 * that each function tells. Objects made through procedures are held by references, which the
 * procedures' own headers explain; no handle, block or atom outlives its host.
 * Threads. One call at a time, of these functions, of the host's procedures and of the library's.
 *
 * Everything but the tables at the end is a plain function, for callers that read no C headers.
 */
#pragma once

#include "zelutils/zelutils.h"

#if !defined(ZELHOST_BUILDS_SHARED)
#define ZELHOST_API
#elif defined(_WIN32)
#define ZELHOST_API __declspec(dllexport)
#else
#define ZELHOST_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef struct ZELHost ZELHost;

/* ---- Life ----------------------------------------------------------------------------------- */

/* Every block, instance, error and buffer is an allocation of its own, for memory checkers. */
#define ZELHOST_GUARD_MEMORY 1u
/*
 * The procedures may be called from any thread, still one call at a time. Otherwise a host belongs
 * to the thread that made it.
 */
#define ZELHOST_ANY_THREAD 2u

/*
 * Returns a new host; `options` is a sum of the above, 0 for none. There is one host in a process
 * at a time: a second one is a failure.
 */
ZELHOST_API ZELHost *ZELHostNew(uint32_t options);

/* Stops the library, then takes back all memory, also what leaked. Null is allowed. */
ZELHOST_API void ZELHostDestroy(ZELHost *host);

/*
 * The reason of the last failure of any function here, one line; "" when nothing has failed yet.
 * Never null; valid until the next failure. Needs no host.
 */
ZELHOST_API const char *ZELHostLastError(void);

/* ---- The library ---------------------------------------------------------------------------- */

/*
 * Loads the library and initialises it. `path` is given to the system's loader as it is; null looks
 * for the library beside the program and where an installation puts it, beside the file that this
 * code is in, under the path in the environment variable ZELUTILS_LIBRARY, and last under its plain
 * name by the loader's own rules. Returns 1, or 0 for a failure; also when one is started already.
 */
ZELHOST_API int32_t ZELHostStart(ZELHost *host, const char *path);

/*
 * Terminates the library and unloads it; while instances are live, it stays loaded until the host
 * is destroyed. Returns 1 when nothing is held then and nothing was ever given back wrongly; else
 * 0, and ZELHostLeaks names it. Without a started library it does nothing but the telling.
 */
ZELHOST_API int32_t ZELHostStop(ZELHost *host);

/* The answer of ZELUtilsGetVersion; 0 when no library is started. */
ZELHOST_API uint32_t ZELHostLibraryVersion(ZELHost *host);

/* ---- Procedures ----------------------------------------------------------------------------- */

/*
 * The procedure that is registered under the three names, to be cast to its type before the call;
 * null is a failure. An address is good until the unregister counter changes or the host stops.
 */
ZELHOST_API ZELProc ZELHostLookup(ZELHost *host, const char *interfaceName, const char *methodName,
                                  const char *procTypeName);

/* The lookup procedure of the host's binder, as a library is given it. Never null. */
ZELHOST_API ZELLookupProc ZELHostLookupProc(void);

/* ---- Reports -------------------------------------------------------------------------------- */

/*
 * Takes the oldest text that was reported with ZELReportError and not yet taken; null when there is
 * none, which is no failure. Valid until the next call with this host.
 */
ZELHOST_API const char *ZELHostTakeReport(ZELHost *host);

/* ---- What is held --------------------------------------------------------------------------- */

/* Things of the host that the library and its clients hold; none after a clean stop. */
typedef struct ZELHostCounts {
  size_t blocks;             /* of "Alloc" and "Realloc", not yet freed */
  size_t bytes;              /* asked for in those blocks */
  size_t atoms;              /* different texts */
  size_t atomReferences;     /* over all of them */
  size_t errors;             /* different error objects */
  size_t errorReferences;    /* over all of them */
  size_t instances;          /* streams included; also those without any reference */
  size_t instanceReferences; /* over all of them */
  size_t sharedBuffers;
  size_t sharedBufferReferences;
  size_t interfaces; /* registered by others than the host, not yet withdrawn */
} ZELHostCounts;

/* Stores in `counts` what is held at this moment. Returns 1, or 0 for a failure. */
ZELHOST_API int32_t ZELHostCount(ZELHost *host, ZELHostCounts *counts);

/*
 * Names what is held, and each misuse since the host was made (something given back that was not
 * held, an unsupported procedure called): one line for each, "" for nothing, null for a failure.
 * The interfaces of a started library are among them. Valid until the next call with this host.
 */
ZELHOST_API const char *ZELHostLeaks(ZELHost *host);

#ifdef __cplusplus
}
#endif

/* ---- Tables of procedures ------------------------------------------------------------------- */

/*
 * Declares a table of the procedures of one interface, from the list of its methods in the public
 * headers, and the function that fills it:
 *
 *   ZELHOST_TABLE(Dicts, POS_DICT_INTERFACE, POS_DICT_METHODS)
 *   Dicts dicts;
 *   if (DictsFill(&dicts, host)) value = dicts.DeepGet(dict, path);
 *
 * The function returns 1; or 0 when a procedure is missing, whose slot is null then.
 */
#define ZELHOST_TABLE(Table, INTERFACE_NAME, METHODS)              \
  typedef struct Table {                                           \
    METHODS(ZELHOST_TABLE_SLOT)                                    \
  } Table;                                                         \
  static inline int32_t Table##Fill(Table *table, ZELHost *host) { \
    const char *const interfaceName = INTERFACE_NAME;              \
    int32_t complete = 1;                                          \
    METHODS(ZELHOST_TABLE_FIND)                                    \
    return complete;                                               \
  }
#define ZELHOST_TABLE_SLOT(method, procType) procType method;
#define ZELHOST_TABLE_FIND(method, procType)                                        \
  table->method = (procType)ZELHostLookup(host, interfaceName, #method, #procType); \
  if (table->method == NULL) complete = 0;
