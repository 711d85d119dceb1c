/*
 * The types that cross the boundary between ZELUtils, its host and its clients.
 *
 * Everything here is plain C (C99) and C++. Procedures use the platform's default C calling
 * convention. No C++ type and no exception crosses the boundary.
 */
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A procedure's address as the binder keeps it; cast to its typedef before the call. Null: none. */
typedef void (*ZELProc)(void);

/*
 * A handle of a binder instance: a POS object, an iterator, a streamer, a validator, a directory or
 * a stream alike. Opaque; the host owns what it points at and counts the references to it.
 */
typedef struct ZELInstanceRecord *ZELInstance;

/* A handle of an interned text of the host. 0: none. Equal texts are the same atom. */
typedef uint32_t ZELStringAtom;

/* A reference-counted error of the host. Null: success. */
typedef struct ZELErrorRecord *ZELErrorObject;

/* A reference-counted block of bytes of the host. */
typedef struct ZELSharedBuffRecord *ZELSharedBuff;

/*
 * The record that a host keeps for every instance, at the byte offset from the handle's address
 * that the container procedure "GetOffsetToPrimaryInstance" gives.
 */
typedef struct ZELPrimaryInstance {
  const char *implementationName; /* text of the implementation-name atom given at creation */
  const char *signature;          /* text of an atom that all instances of one kind share */
  void *object;                   /* the object given at creation */
} ZELPrimaryInstance;

/*
 * One method of an interface: its method name and its procedure-type name, which is also the name
 * of the C typedef. Each interface below lists its methods once, in table order, as a macro
 * ZEL_..._METHODS(X) that calls X(method, procedureType) for each; #method and #procedureType are
 * the names under which the binder keeps the procedure. ZEL_COUNT_METHOD counts them:
 *   enum { count = 0 ZEL_MEMORY_METHODS(ZEL_COUNT_METHOD) };
 */
#define ZEL_COUNT_METHOD(method, procedureType) +1

/* On a 32-bit platform a handle, an atom and an index are four bytes each. */
#if UINTPTR_MAX == 0xFFFFFFFFu
#define ZEL_HANDLE_BYTES 4
#else
#define ZEL_HANDLE_BYTES 8
#endif
#ifdef __cplusplus
#define ZEL_STATIC_ASSERT(name, condition) static_assert(condition, #name)
#else
#define ZEL_STATIC_ASSERT(name, condition) typedef char name[(condition) ? 1 : -1]
#endif
ZEL_STATIC_ASSERT(ZELHandleIsPointerSized, sizeof(ZELInstance) == ZEL_HANDLE_BYTES);
ZEL_STATIC_ASSERT(ZELProcIsPointerSized, sizeof(ZELProc) == ZEL_HANDLE_BYTES);
ZEL_STATIC_ASSERT(ZELAtomIsFourBytes, sizeof(ZELStringAtom) == 4);
ZEL_STATIC_ASSERT(ZELBooleanIsOneByte, sizeof(bool) == 1);

#ifdef __cplusplus
}
#endif
