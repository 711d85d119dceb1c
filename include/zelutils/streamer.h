/*
 * The POS streamer: writes a POS object with everything it holds as text to a stream, and reads it
 * back. A written text begins with the name of its format and one space.
 */
#pragma once

#include "zelutils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

#define POS_STREAMER_INTERFACE "POSStreamerInterface"

/*
 * The formats, by name, and X(name) of all of them from the oldest to the newest; the default is
 * the one that a null name stands for.
 */
#define POS_STREAMER_TYPE_A_VERSION_1_0 "POSStreamerTypeA_Version1.0"
#define POS_STREAMER_VERSIONS(X) X(POS_STREAMER_TYPE_A_VERSION_1_0)
#define POS_STREAMER_DEFAULT_VERSION POS_STREAMER_TYPE_A_VERSION_1_0

/* Returns a new streamer without reference, or null after a report. A streamer keeps no state. */
typedef ZELInstance (*POSStreamerNewPOSStreamerProc)(void);

/*
 * Writes `object` to `stream`, a positionable stream, at its current position, in the format named
 * `version` (null: the default). Returns 1, or 0 after a report: an unknown version writes nothing,
 * any other failure may leave a part written. Raw pointers are written as text for debugging that
 * cannot be read back; an array with an empty slot, and nesting beyond 512 levels, are failures.
 */
typedef int32_t (*POSStreamerSerializeProc)(ZELInstance streamer, ZELInstance stream,
                                            ZELInstance object, const char *version);

/*
 * Reads one object from `stream`, a positionable stream, which then stands right after the object's
 * last character. Returns the object without reference, or null after a report; nesting beyond 512
 * levels is a failure.
 */
typedef ZELInstance (*POSStreamerDeserializeProc)(ZELInstance streamer, ZELInstance stream);

#define POS_STREAMER_METHODS(X)                    \
  X(NewPOSStreamer, POSStreamerNewPOSStreamerProc) \
  X(Serialize, POSStreamerSerializeProc)           \
  X(Deserialize, POSStreamerDeserializeProc)

/* In the order of registration: X(Name, interface name, methods). */
#define POS_STREAMER_INTERFACES(X) X(Streamer, POS_STREAMER_INTERFACE, POS_STREAMER_METHODS)

#ifdef __cplusplus
}
#endif
