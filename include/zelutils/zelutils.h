/*
 * ZELUtils: the three functions that the library exports, and all of its contracts.
 *
 * A host loads the library, calls ZELUtilsInitialize once with its binder's lookup procedure, and
 * from then on reaches everything else through the procedures that the library has registered with
 * that binder. At the end it calls ZELUtilsTerminate. The library never runs by itself: it has no
 * threads, takes no locks, and must be called one call at a time.
 */
#pragma once

#include "zelutils/binder.h"
#include "zelutils/core.h"
#include "zelutils/fileutils.h"
#include "zelutils/pos.h"
#include "zelutils/streamer.h"
#include "zelutils/types.h"
#include "zelutils/validator.h"

#define ZELUTILS_VERSION 0x00010101u

#ifdef __cplusplus
extern "C" {
#endif

/* Always ZELUTILS_VERSION; may be called at any time. */
uint32_t ZELUtilsGetVersion(void);

/*
 * Links to the binder behind `lookup`, imports the core interfaces that it needs and registers the
 * library's own. Returns 1 on success and 0 on failure, also when it has been called before without
 * a ZELUtilsTerminate in between. Nothing is undone on failure: call ZELUtilsTerminate before
 * trying again.
 */
int32_t ZELUtilsInitialize(ZELLookupProc lookup);

/*
 * Withdraws the library's interfaces and gives back everything that it holds of the host. Objects
 * that clients still hold stay theirs: the host may destroy them afterwards, as long as the library
 * is loaded and the host's core procedures answer. Does nothing when not initialised; may be
 * followed by another ZELUtilsInitialize.
 */
void ZELUtilsTerminate(void);

/*
 * All interfaces that the library registers, in that order: X(Name, interface name, method list).
 * They are withdrawn by groups, the last group first; within a group in the order of its list, but
 * for the validator's two, of which the struct validator goes first.
 */
#define ZEL_LIBRARY_INTERFACES(X) \
  POS_INTERFACES(X)               \
  POS_STREAMER_INTERFACES(X)      \
  POS_VALIDATOR_INTERFACES(X)     \
  ZEL_FILE_UTILS_INTERFACES(X)

/* The three functions as types, for hosts that find them with the system's loader. */
typedef uint32_t (*ZELUtilsGetVersionProc)(void);
typedef int32_t (*ZELUtilsInitializeProc)(ZELLookupProc lookup);
typedef void (*ZELUtilsTerminateProc)(void);

#ifdef __cplusplus
}
#endif
