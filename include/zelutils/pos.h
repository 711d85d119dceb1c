/*
 * POS objects: typed values behind instance handles, and the ten interfaces over them. A POS object
 * is a number, a text, binary data, a raw pointer, or an array or dictionary of such objects; POS
 * is the name of this family of values, of their text syntax and of all interfaces that begin with
 * it.
 *
 * Handles given to a procedure are borrowed for the call; the procedure takes references of its own
 * for what it keeps. A handle that a procedure returns carries no reference for the caller, who
 * takes one with the container procedure "AddRef" to keep it. A new object that nobody takes a
 * reference to is ended with "DeleteUnownedContainer".
 *
 * A procedure that fails reports at least one text through the binder ("ZELReportError"), unless
 * said otherwise below, and returns null, 0 or false (an iterator's IsDone: true). A failed
 * operation leaves a container as it was. Among the texts: "instance was not an POSArray" (and so
 * on for each type), "invalid container" for a value handle that cannot be referenced, "bad
 * allocation", "nesting too deep" beyond 512 levels, "null string atom" for a key or path of 0, and
 * the host's own text for a handle that is null or of another kind. Procedures that call others, as
 * Clone calls that of each member, report a text for each one that fails.
 */
#pragma once

#include "zelutils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The type tags that "GetType" returns. No object has tag 0. */
typedef enum POSObjectType {
  POSTypeNumber = 1,
  POSTypeString = 2,
  POSTypeUnicodeString = 3,
  POSTypeBinData = 4,
  POSTypeRawPointer = 5,
  POSTypeArray = 6,
  POSTypeDict = 7
} POSObjectType;

/*
 * The kinds in the order of their tags, X(name, plural, noun, one, composite): the tag is POSType
 * and the name, the procedure type of a method POS, the name and the method; a composite kind holds
 * other values.
 */
#define POS_KINDS(X)                                                        \
  X(Number, numbers, "number", "a number", 0)                               \
  X(String, strings, "string", "a string", 0)                               \
  X(UnicodeString, unicodeStrings, "Unicode string", "a Unicode string", 0) \
  X(BinData, binData, "binary data", "binary data", 0)                      \
  X(RawPointer, rawPointers, "raw pointer", "a raw pointer", 0)             \
  X(Array, arrays, "array", "an array", 1)                                  \
  X(Dict, dicts, "dictionary", "a dictionary", 1)
/* The number of kinds; as many tags follow one another from 1. */
#define POS_COUNT_KIND(...) +1
#define POS_KIND_COUNT (0 POS_KINDS(POS_COUNT_KIND))

/* The most levels of nested arrays and dictionaries for the operations that descend. */
#define POS_NESTING_LIMIT 512

/*
 * The most bytes that a token of the text syntax may have: of a word, or between the parentheses of
 * a string, backslashes included; of a number; between the backquotes of a Unicode string.
 */
#define POS_TEXT_STRING_LIMIT 100
#define POS_TEXT_NUMBER_LIMIT 100
#define POS_TEXT_UNICODE_LIMIT 401

/* ---- Every POS object ---------------------------------------------------------------------- */

#define POS_OBJECT_INTERFACE "POSObjectInterface"

/*
 * Returns a deep copy: a new array or dictionary with cloned members, without reference. Numbers,
 * strings, binary data and raw pointers never change and are shared: the same handle comes back.
 * Empty array slots stay empty.
 */
typedef ZELInstance (*POSObjectCloneProc)(ZELInstance object);
/*
 * Whether two objects are equal: same type and same contents, deeply. NaN equals nothing; any two
 * raw pointers are equal; binary data must agree in type name and bytes; an empty array slot equals
 * an empty slot only.
 */
typedef bool (*POSObjectIsEqualProc)(ZELInstance object, ZELInstance other);
/* Returns the object's POSObjectType, or 0 after a report. */
typedef int32_t (*POSObjectGetTypeProc)(ZELInstance object);

#define POS_OBJECT_METHODS(X)      \
  X(Clone, POSObjectCloneProc)     \
  X(IsEqual, POSObjectIsEqualProc) \
  X(GetType, POSObjectGetTypeProc)

/* ---- Statics ------------------------------------------------------------------------------- */

#define POS_OBJECT_STATICS "POSObjectStatics"

/* Check that a handle is a POS object and write nothing. Further arguments are not read. */
typedef void (*POSObjectDebugDumpProc)(ZELInstance object);
typedef void (*POSObjectDebugDumpWithHeaderProc)(ZELInstance object);
typedef void (*POSObjectDebugDumpRewindProc)(ZELInstance object);
/*
 * Makes the object that a text in the POS text syntax describes, without reference. On a parse
 * error returns null, without a report, and stores in `errorPosition` (may be null) where in `text`
 * parsing stopped; on any other failure returns null after a report. The stored position is null
 * except after a parse error.
 */
typedef ZELInstance (*POSObjectCreateFromTextProc)(const char *text, const char **errorPosition);

#define POS_OBJECT_STATICS_METHODS(X)                      \
  X(DebugDump, POSObjectDebugDumpProc)                     \
  X(DebugDumpWithHeader, POSObjectDebugDumpWithHeaderProc) \
  X(DebugDumpRewind, POSObjectDebugDumpRewindProc)         \
  X(CreateFromText, POSObjectCreateFromTextProc)

/* ---- Numbers ------------------------------------------------------------------------------- */

#define POS_NUMBER_INTERFACE "POSNumberInterface"

/* Makes a number; whole numbers are doubles too. */
typedef ZELInstance (*POSNumberNewPOSNumberProc)(double value);
/* Whether the object is a number; false without a report for null and for other POS objects. */
typedef bool (*POSNumberIsPOSNumberProc)(ZELInstance object);
/* The value; 0.0 after a report. */
typedef double (*POSNumberGetProc)(ZELInstance number);

#define POS_NUMBER_METHODS(X)                \
  X(NewPOSNumber, POSNumberNewPOSNumberProc) \
  X(IsPOSNumber, POSNumberIsPOSNumberProc)   \
  X(Get, POSNumberGetProc)

/* ---- Strings ------------------------------------------------------------------------------- */

#define POS_STRING_INTERFACE "POSStringInterface"

/* Makes a string of bytes in no particular encoding; `text` must not be null. */
typedef ZELInstance (*POSStringNewPOSStringProc)(const char *text);
/* Whether the object is a string; false without a report for null and for other POS objects. */
typedef bool (*POSStringIsPOSStringProc)(ZELInstance object);
/* The text, valid as long as the string lives; null after a report. */
typedef const char *(*POSStringGetProc)(ZELInstance string);

#define POS_STRING_METHODS(X)                \
  X(NewPOSString, POSStringNewPOSStringProc) \
  X(IsPOSString, POSStringIsPOSStringProc)   \
  X(Get, POSStringGetProc)

/* ---- Unicode strings ----------------------------------------------------------------------- */

#define POS_UNICODE_STRING_INTERFACE "POSUnicodeStringInterface"

/* Makes a string of 16-bit code units, copied up to the first 0 unit; `units` must not be null. */
typedef ZELInstance (*POSUnicodeStringNewPOSUnicodeStringProc)(const uint16_t *units);
/* Whether the object is a Unicode string; false without a report for null and other POS objects. */
typedef bool (*POSUnicodeStringIsPOSUnicodeStringProc)(ZELInstance object);
/* The units, ended by a 0 unit, valid as long as the string lives; null after a report. */
typedef const uint16_t *(*POSUnicodeStringGetProc)(ZELInstance string);

#define POS_UNICODE_STRING_METHODS(X)                             \
  X(NewPOSUnicodeString, POSUnicodeStringNewPOSUnicodeStringProc) \
  X(IsPOSUnicodeString, POSUnicodeStringIsPOSUnicodeStringProc)   \
  X(Get, POSUnicodeStringGetProc)

/* ---- Binary data --------------------------------------------------------------------------- */

#define POS_BIN_DATA_INTERFACE "POSBinDataInterface"

/* Makes a copy of `size` bytes under a type name; `data` may be null when `size` is 0. */
typedef ZELInstance (*POSBinDataNewPOSBinDataProc)(const char *typeName, const void *data,
                                                   uint32_t size);
/* Whether the object is binary data; false without a report for null and other POS objects. */
typedef bool (*POSBinDataIsPOSBinDataProc)(ZELInstance object);
/* The type name, valid as long as the object lives; null after a report. */
typedef const char *(*POSBinDataGetTypeNameProc)(ZELInstance data);
/* The bytes, valid as long as the object lives; null after a report. */
typedef const void *(*POSBinDataGetBinDataProc)(ZELInstance data);
/* The size in bytes; 0 after a report. */
typedef uint32_t (*POSBinDataGetSizeProc)(ZELInstance data);

#define POS_BIN_DATA_METHODS(X)                 \
  X(NewPOSBinData, POSBinDataNewPOSBinDataProc) \
  X(IsPOSBinData, POSBinDataIsPOSBinDataProc)   \
  X(GetTypeName, POSBinDataGetTypeNameProc)     \
  X(GetBinData, POSBinDataGetBinDataProc)       \
  X(GetSize, POSBinDataGetSizeProc)

/* ---- Raw pointers -------------------------------------------------------------------------- */

#define POS_RAW_POINTER_INTERFACE "POSRawPointerInterface"

/* Called once with the stored pointer when the raw pointer object ends. */
typedef void (*POSRawPointerReleaseProc)(void *pointer);

/*
 * Makes an object around a pointer; `pointer` and `release` may be null. When the object cannot be
 * made, `release` is not called.
 */
typedef ZELInstance (*POSRawPointerNewPOSRawPointerProc)(void *pointer,
                                                         POSRawPointerReleaseProc release);
/* Whether the object is a raw pointer; false without a report for null and other POS objects. */
typedef bool (*POSRawPointerIsPOSRawPointerProc)(ZELInstance object);
/* The pointer as given; null also after a report. */
typedef void *(*POSRawPointerGetRawPointerProc)(ZELInstance pointer);
/* The release procedure as given; null also after a report. */
typedef POSRawPointerReleaseProc (*POSRawPointerGetReleaseProcProc)(ZELInstance pointer);

#define POS_RAW_POINTER_METHODS(X)                       \
  X(NewPOSRawPointer, POSRawPointerNewPOSRawPointerProc) \
  X(IsPOSRawPointer, POSRawPointerIsPOSRawPointerProc)   \
  X(GetRawPointer, POSRawPointerGetRawPointerProc)       \
  X(GetReleaseProc, POSRawPointerGetReleaseProcProc)

/* ---- Arrays -------------------------------------------------------------------------------- */

#define POS_ARRAY_INTERFACE "POSArrayInterface"

/* Makes an empty array. */
typedef ZELInstance (*POSArrayNewPOSArrayProc)(void);
/* Whether the object is an array; false without a report for null and for other POS objects. */
typedef bool (*POSArrayIsPOSArrayProc)(ZELInstance object);
/* The element at `index`, borrowed; null, without a report, beyond the end or for an empty slot. */
typedef ZELInstance (*POSArrayGetAtProc)(ZELInstance array, uint32_t index);
/* The number of elements, empty slots included; 0 after a report. */
typedef uint32_t (*POSArrayCountProc)(ZELInstance array);
/*
 * Stores a value at `index`, in place of what was there; beyond the end the array grows, and the
 * slots in between are empty.
 */
typedef void (*POSArraySetAtProc)(ZELInstance array, uint32_t index, ZELInstance value);
/* Adds a value at the end. */
typedef void (*POSArrayAppendProc)(ZELInstance array, ZELInstance value);
/* Takes the element at `index` out and closes the gap; beyond the end it does nothing. */
typedef void (*POSArrayRemoveProc)(ZELInstance array, uint32_t index);

#define POS_ARRAY_METHODS(X)              \
  X(NewPOSArray, POSArrayNewPOSArrayProc) \
  X(IsPOSArray, POSArrayIsPOSArrayProc)   \
  X(GetAt, POSArrayGetAtProc)             \
  X(Count, POSArrayCountProc)             \
  X(SetAt, POSArraySetAtProc)             \
  X(Append, POSArrayAppendProc)           \
  X(Remove, POSArrayRemoveProc)

/* ---- Dictionaries -------------------------------------------------------------------------- */

#define POS_DICT_INTERFACE "POSDictInterface"

/* Makes an empty dictionary. */
typedef ZELInstance (*POSDictNewPOSDictProc)(void);
/* Whether the object is a dictionary; false without a report for null and other POS objects. */
typedef bool (*POSDictIsPOSDictProc)(ZELInstance object);
/* The value under a key, borrowed; null, without a report, when the key is absent. */
typedef ZELInstance (*POSDictGetProc)(ZELInstance dict, ZELStringAtom key);
/*
 * The value that a path such as "pages[2].size.width" leads to, borrowed; null, without a report,
 * when the path is malformed or leads nowhere. A key ends at "." or "[".
 */
typedef ZELInstance (*POSDictDeepGetProc)(ZELInstance dict, ZELStringAtom path);
/* Stores a value under a key, in place of what was there. */
typedef void (*POSDictPutProc)(ZELInstance dict, ZELStringAtom key, ZELInstance value);
/* Takes a key and its value out; an absent key is no error. */
typedef void (*POSDictRemoveProc)(ZELInstance dict, ZELStringAtom key);

#define POS_DICT_METHODS(X)            \
  X(NewPOSDict, POSDictNewPOSDictProc) \
  X(IsPOSDict, POSDictIsPOSDictProc)   \
  X(Get, POSDictGetProc)               \
  X(DeepGet, POSDictDeepGetProc)       \
  X(Put, POSDictPutProc)               \
  X(Remove, POSDictRemoveProc)

/* ---- Dictionary iterators ------------------------------------------------------------------- */

#define POS_DICT_ITERATOR_INTERFACE "POSDictIteratorInterface"

/*
 * Makes an iterator at the first key, without reference. It keeps the dictionary alive, and stays
 * valid whatever is done to the dictionary meanwhile. Keys come in ascending order of their bytes.
 */
typedef ZELInstance (*POSDictIteratorNewPOSDictIteratorProc)(ZELInstance dict);
/* Goes to the first key. */
typedef void (*POSDictIteratorBeginProc)(ZELInstance iterator);
/* Goes to the next larger key than the one it stands on, even if that one has been taken out. */
typedef void (*POSDictIteratorNextProc)(ZELInstance iterator);
/* Whether there is no current key; true also after a report. */
typedef bool (*POSDictIteratorIsDoneProc)(ZELInstance iterator);
/* The current key, valid until the iterator moves; null when done. */
typedef const char *(*POSDictIteratorCurKeyProc)(ZELInstance iterator);

#define POS_DICT_ITERATOR_METHODS(X)                           \
  X(NewPOSDictIterator, POSDictIteratorNewPOSDictIteratorProc) \
  X(Begin, POSDictIteratorBeginProc)                           \
  X(Next, POSDictIteratorNextProc)                             \
  X(IsDone, POSDictIteratorIsDoneProc)                         \
  X(CurKey, POSDictIteratorCurKeyProc)

/* All interfaces above, in the order of their registration: X(Name, interface name, methods). */
#define POS_INTERFACES(X)                                                    \
  X(Object, POS_OBJECT_INTERFACE, POS_OBJECT_METHODS)                        \
  X(ObjectStatics, POS_OBJECT_STATICS, POS_OBJECT_STATICS_METHODS)           \
  X(Number, POS_NUMBER_INTERFACE, POS_NUMBER_METHODS)                        \
  X(String, POS_STRING_INTERFACE, POS_STRING_METHODS)                        \
  X(UnicodeString, POS_UNICODE_STRING_INTERFACE, POS_UNICODE_STRING_METHODS) \
  X(BinData, POS_BIN_DATA_INTERFACE, POS_BIN_DATA_METHODS)                   \
  X(RawPointer, POS_RAW_POINTER_INTERFACE, POS_RAW_POINTER_METHODS)          \
  X(Array, POS_ARRAY_INTERFACE, POS_ARRAY_METHODS)                           \
  X(Dict, POS_DICT_INTERFACE, POS_DICT_METHODS)                              \
  X(DictIterator, POS_DICT_ITERATOR_INTERFACE, POS_DICT_ITERATOR_METHODS)

#ifdef __cplusplus
}
#endif
