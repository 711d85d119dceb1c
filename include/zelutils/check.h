/*
 * The checking layer, a library that is loaded in place of ZELUtils and tells who breaks the
 * contract: what it asks of a host that wants its findings. docs/checking.md tells the rest.
 */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/*
 * A procedure that a host may register under this interface before it starts the library, for a
 * layer that is told to hand over its findings: ZELUTILS_CHECK=callback. It gets the id of a rule
 * ("atom-reference-lost") and the paragraph, which are valid during the call only. It should not
 * call the library or the core services; the layer does not look at what it calls.
 */
#define ZEL_CHECK_INTERFACE "ZELUtilsCheck"
typedef void (*ZELUtilsCheckFindingProc)(const char *rule, const char *paragraph);

#ifdef __cplusplus
}
#endif
