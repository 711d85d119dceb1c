/*
 * The core interfaces that a host offers through its binder: memory, string atoms, errors,
 * containers, shared buffers, stream factory and stream methods. The cache, filter and progress
 * interfaces stand here for completeness: a host need not offer them.
 *
 * References. A new instance (from "NewFullContainer" or a stream factory procedure) has no
 * reference; it is destroyed when a "Release" takes its count to zero, or by
 * "DeleteUnownedContainer". Atoms, shared buffers and error objects are born with one reference.
 *
 * A null handle (0 for an atom) may be given only to error "Release" and to container "Release",
 * "AddRef" and "NGetInstance".
 *
 * A method whose procedure type is a plain ZELProc must be registered by a host, but the library
 * never calls it: any address will do.
 */
#pragma once

#include "zelutils/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Memory -------------------------------------------------------------------------------- */

#define ZEL_MEMORY_INTERFACE "ZELMemoryInterface"

/* Returns a block of at least `size` bytes, aligned for any object, or null when there is none. */
typedef void *(*ZELMemAllocProc)(size_t size);
/* Moves `block` (from "Alloc") into one of `size` bytes; null leaves the old block as it was. */
typedef void *(*ZELMemReallocProc)(void *block, size_t size);
/* Gives back a block of "Alloc" or "Realloc". */
typedef void (*ZELMemFreeProc)(void *block);
/* The usable size of a block in bytes. Not called by the library. */
typedef size_t (*ZELMemGetBlockSizeProc)(void *block);

#define ZEL_MEMORY_METHODS(X)   \
  X(Alloc, ZELMemAllocProc)     \
  X(Realloc, ZELMemReallocProc) \
  X(Free, ZELMemFreeProc)       \
  X(GetBlockSize, ZELMemGetBlockSizeProc)

/* ---- String atoms -------------------------------------------------------------------------- */

#define ZEL_STRING_INTERFACE "ZELStringInterface"

/* Returns the atom of a text, with one reference for the caller, or 0 when it cannot be made. */
typedef ZELStringAtom (*ZELNewStringAtomProc)(const char *text);
/* Gives back one reference; the text is gone with the last. */
typedef void (*ZELDeleteStringAtomProc)(ZELStringAtom atom);
/* The atom's text: the same address for equal texts, valid while a reference is held. */
typedef const char *(*ZELGetCStringProc)(ZELStringAtom atom);
/* Takes one more reference. */
typedef void (*ZELAddRefStringAtomProc)(ZELStringAtom atom);

#define ZEL_STRING_METHODS(X)                  \
  X(NewStringAtom, ZELNewStringAtomProc)       \
  X(DeleteStringAtom, ZELDeleteStringAtomProc) \
  X(GetCString, ZELGetCStringProc)             \
  X(AddRef, ZELAddRefStringAtomProc)

/* ---- Errors -------------------------------------------------------------------------------- */

#define ZEL_ERROR_INTERFACE "ZELErrorInterface"

/*
 * Makes an error object with one reference for the caller. `component` names the part of the system
 * that failed ("ZEL", "DUX", "ZELUtilsDir"); `id` is its number there. The library passes 0 for the
 * two further values.
 */
typedef ZELErrorObject (*ZELNewErrorProc)(const char *message, const char *component, int32_t id,
                                          int32_t reserved1, int32_t reserved2);
/*
 * Hands out a predefined error with one reference for the caller. The library asks for number 0
 * (its error for failures of unknown kind, which must exist) and 1 (its error for memory
 * exhaustion).
 */
typedef ZELErrorObject (*ZELGetCoreErrorProc)(int32_t number);
/* Takes one more reference and returns the same error object. */
typedef ZELErrorObject (*ZELErrorAddRefProcV2)(ZELErrorObject error);
/* Gives back one reference; null is allowed. */
typedef void (*ZELErrorReleaseProc)(ZELErrorObject error);
/* The message as an atom that the error object holds; the caller takes a reference to keep it. */
typedef ZELStringAtom (*ZELErrorGetMessageProc)(ZELErrorObject error);
/* The component, in the same way. */
typedef ZELStringAtom (*ZELErrorGetComponentProc)(ZELErrorObject error);
/* The number within the component. */
typedef int32_t (*ZELErrorGetIDProc)(ZELErrorObject error);
typedef ZELProc ZELGetErrorInfoProc;

#define ZEL_ERROR_METHODS(X)                 \
  X(NewError, ZELNewErrorProc)               \
  X(GetCoreError, ZELGetCoreErrorProc)       \
  X(AddRef, ZELErrorAddRefProcV2)            \
  X(Release, ZELErrorReleaseProc)            \
  X(GetErrorMessage, ZELErrorGetMessageProc) \
  X(GetComponent, ZELErrorGetComponentProc)  \
  X(GetID, ZELErrorGetIDProc)                \
  X(GetErrorInfo, ZELGetErrorInfoProc)

/* ---- Containers ---------------------------------------------------------------------------- */

#define ZEL_CONTAINER_INTERFACE "ZELContainerInterface"

/* Destroys the object of an instance; called by the host once, when the instance ends. */
typedef void (*ZELDestroyProc)(void *object);

/*
 * Makes an instance of `object` without any reference and stores its handle in `result`. The
 * instance offers the methods that are registered with the binder under `interfaceName`, and
 * `object` as the object of the implementation `implementation`. The host takes its own references
 * to both atoms. On an error object the host has not taken `object`: the caller still owns it. The
 * library passes 0 for the three further values.
 */
typedef ZELErrorObject (*ZELNewFullContainerV5Proc)(ZELInstance *result, void *object,
                                                    ZELStringAtom implementation,
                                                    ZELDestroyProc destroy,
                                                    ZELStringAtom interfaceName, int32_t reserved1,
                                                    int32_t reserved2, int32_t reserved3);
typedef ZELProc ZELNewContainerV2Proc;
typedef ZELProc ZELCloneContainerProc;
/* Takes one reference. Returns 0 for null and for an instance that refuses it, else non-zero. */
typedef int32_t (*ZELAddRefContainerV2Proc)(ZELInstance instance);
/* Gives back one reference and destroys the instance with the last; null is allowed. */
typedef void (*ZELReleaseContainerProc)(ZELInstance instance);
/* Gives back one reference without ever destroying the instance. */
typedef void (*ZELDecrementWithoutDeleteProc)(ZELInstance instance);
/* Destroys an instance that no reference holds. */
typedef void (*ZELDeleteUnownedContainerProc)(ZELInstance instance);
typedef ZELProc ZELRegisterInterfaceV2Proc;
typedef ZELProc ZELRegisterInstanceV2Proc;
/*
 * Stores in `result` the procedure that the instance offers under a method and a procedure-type
 * name, or null when it offers none. `optional` tells whether the caller can do without it.
 */
typedef ZELErrorObject (*ZELGetMethodV3Proc)(ZELProc *result, ZELInstance instance,
                                             ZELStringAtom method, ZELStringAtom procType,
                                             int32_t optional);
typedef ZELProc ZELGetParentMethodV2Proc;
typedef ZELProc ZELGetInstanceProc;
/*
 * Stores in `result` the object that the instance holds for an implementation. An error object for
 * null and for an instance without that implementation.
 */
typedef ZELErrorObject (*ZELNGetInstanceProc)(void **result, ZELInstance instance,
                                              ZELStringAtom implementation);
typedef ZELProc ZELGetSignatureProc;
typedef ZELProc ZELGetRefCountAddrProc;
/* The byte offset from a handle's address to its ZELPrimaryInstance; the same for all instances. */
typedef int32_t (*ZELGetOffsetToPrimaryInstProc)(void);

#define ZEL_CONTAINER_METHODS(X)                           \
  X(NewFullContainer, ZELNewFullContainerV5Proc)           \
  X(NewContainer, ZELNewContainerV2Proc)                   \
  X(CloneContainer, ZELCloneContainerProc)                 \
  X(AddRef, ZELAddRefContainerV2Proc)                      \
  X(Release, ZELReleaseContainerProc)                      \
  X(DecrementWithoutDelete, ZELDecrementWithoutDeleteProc) \
  X(DeleteUnownedContainer, ZELDeleteUnownedContainerProc) \
  X(RegisterInterface, ZELRegisterInterfaceV2Proc)         \
  X(RegisterInstance, ZELRegisterInstanceV2Proc)           \
  X(GetMethod, ZELGetMethodV3Proc)                         \
  X(GetParentMethod, ZELGetParentMethodV2Proc)             \
  X(GetInstance, ZELGetInstanceProc)                       \
  X(NGetInstance, ZELNGetInstanceProc)                     \
  X(GetSignature, ZELGetSignatureProc)                     \
  X(DebugGetRefCountAddr, ZELGetRefCountAddrProc)          \
  X(GetOffsetToPrimaryInstance, ZELGetOffsetToPrimaryInstProc)

/* ---- Shared buffers ------------------------------------------------------------------------ */

#define ZEL_SHARED_BUFF_INTERFACE "ZELSharedBuffInterface"

/*
 * Makes a buffer of `size` bytes with one reference for the caller, or returns null. The library
 * passes 0 for the four further values.
 */
typedef ZELSharedBuff (*ZELSharedBuffNewBufferV3Proc)(uint32_t size, int32_t reserved1,
                                                      int32_t reserved2, int32_t reserved3,
                                                      int32_t reserved4);
typedef ZELProc ZELSharedBuffDelUnownedProc;
/* Takes one more reference. */
typedef void (*ZELSharedBuffAddRefProc)(ZELSharedBuff buffer);
/* Gives back one reference; the bytes are gone with the last. */
typedef void (*ZELSharedBuffReleaseProc)(ZELSharedBuff buffer);
/* The address of the bytes, constant for the buffer's life. */
typedef void *(*ZELSharedBuffGetBufferProc)(ZELSharedBuff buffer);
/* The size in bytes. */
typedef uint32_t (*ZELSharedBuffGetSizeProc)(ZELSharedBuff buffer);

#define ZEL_SHARED_BUFF_METHODS(X)              \
  X(NewBuffer, ZELSharedBuffNewBufferV3Proc)    \
  X(DeleteUnowned, ZELSharedBuffDelUnownedProc) \
  X(AddRef, ZELSharedBuffAddRefProc)            \
  X(Release, ZELSharedBuffReleaseProc)          \
  X(GetBuffer, ZELSharedBuffGetBufferProc)      \
  X(GetSize, ZELSharedBuffGetSizeProc)

/* ---- Stream methods of an instance --------------------------------------------------------- */

/*
 * Reads up to `wanted` bytes into `buffer` and stores how many in `delivered`; at the end it
 * delivers 0 without an error.
 */
typedef ZELErrorObject (*ZELSimpleStreamReadProc)(ZELInstance stream, uint32_t *delivered,
                                                  void *buffer, uint32_t wanted);
/* Writes all of `count` bytes, or returns an error object. */
typedef ZELErrorObject (*ZELSimpleStreamWriteProc)(ZELInstance stream, const void *bytes,
                                                   uint32_t count);
/* Stores in `result` a new stream instance (without reference) over the same bytes. */
typedef ZELErrorObject (*ZELRewindableStreamCreateIndependentlyRewindableStreamProc)(
    ZELInstance stream, ZELInstance *result);
/* Goes back to the start. */
typedef ZELErrorObject (*ZELRewindableStreamRewindProc)(ZELInstance stream);
/* As CreateIndependentlyRewindableStream, with a position of its own. */
typedef ZELErrorObject (*ZELPositionableStreamCreateIndependentlyPositionableStreamProc)(
    ZELInstance stream, ZELInstance *result);
/* Stores the position in bytes from the start. */
typedef ZELErrorObject (*ZELPositionableStreamMarkProc)(ZELInstance stream, uint32_t *position);
/* Goes to a position in bytes from the start; `second` is 0. */
typedef ZELErrorObject (*ZELPositionableStreamSeekProc)(ZELInstance stream, uint32_t position,
                                                        uint32_t second);

#define ZEL_SIMPLE_STREAM_METHODS(X) \
  X(Read, ZELSimpleStreamReadProc)   \
  X(Write, ZELSimpleStreamWriteProc)

#define ZEL_REWINDABLE_STREAM_METHODS(X)                        \
  X(CreateIndependentlyRewindableStream,                        \
    ZELRewindableStreamCreateIndependentlyRewindableStreamProc) \
  X(Rewind, ZELRewindableStreamRewindProc)

#define ZEL_POSITIONABLE_STREAM_METHODS(X)                          \
  X(CreateIndependentlyPositionableStream,                          \
    ZELPositionableStreamCreateIndependentlyPositionableStreamProc) \
  X(Mark, ZELPositionableStreamMarkProc)                            \
  X(Seek, ZELPositionableStreamSeekProc)

/* ---- Stream factory ------------------------------------------------------------------------ */

#define ZEL_STREAM_FACTORY_INTERFACE "ZELStreamFactoryInterface"

/* Stores in `result` a new empty stream over memory, without reference. */
typedef ZELErrorObject (*ZELNewPositionableMemoryStreamProc)(ZELInstance *result);
typedef ZELProc ZELNewPositionableBufferStreamProc;
/* Opens a file with an open mode of the standard input-output library ("rb", "w+b", ...). */
typedef ZELErrorObject (*ZELNewPositionableFileStreamProc)(ZELInstance *result, const char *path,
                                                           const char *mode);
typedef ZELProc ZELNewClientSimpleStreamProc;
typedef ZELProc ZELNewClientRewindableStreamProc;

/* The callbacks of a client stream: the stream methods with the client object as first argument. */
typedef ZELErrorObject (*ZELClientStreamReadProc)(void *client, uint32_t *delivered, void *buffer,
                                                  uint32_t wanted);
typedef ZELErrorObject (*ZELClientStreamWriteProc)(void *client, const void *bytes, uint32_t count);
typedef ZELErrorObject (*ZELClientStreamCreateProc)(void *client, ZELInstance *result);
typedef ZELErrorObject (*ZELClientStreamRewindProc)(void *client);
typedef ZELErrorObject (*ZELClientStreamMarkProc)(void *client, uint32_t *position);
typedef ZELErrorObject (*ZELClientStreamSeekProc)(void *client, uint32_t position, uint32_t second);
typedef void (*ZELClientStreamDestroyProc)(void *client);

/*
 * Stores in `result` a new stream instance, without reference, whose methods call the callbacks
 * with `client`. On an error object the host has not taken `client`: destroy is not called.
 */
typedef ZELErrorObject (*ZELNewClientPositionableStreamProc)(
    ZELInstance *result, void *client, ZELClientStreamReadProc read, ZELClientStreamWriteProc write,
    ZELClientStreamCreateProc createIndependentlyRewindable, ZELClientStreamRewindProc rewind,
    ZELClientStreamCreateProc createIndependentlyPositionable, ZELClientStreamMarkProc mark,
    ZELClientStreamSeekProc seek, ZELClientStreamDestroyProc destroy);

#define ZEL_STREAM_FACTORY_METHODS(X)                                \
  X(NewPositionableMemoryStream, ZELNewPositionableMemoryStreamProc) \
  X(NewPositionableBufferStream, ZELNewPositionableBufferStreamProc) \
  X(NewPositionableFileStream, ZELNewPositionableFileStreamProc)     \
  X(NewClientSimpleStream, ZELNewClientSimpleStreamProc)             \
  X(NewClientRewindableStream, ZELNewClientRewindableStreamProc)     \
  X(NewClientPositionableStream, ZELNewClientPositionableStreamProc)

/* ---- Data stores: imported per instance, never called --------------------------------------- */

typedef ZELProc ZELDataStoreGetBlockProcV2;
typedef ZELProc ZELSizedDataStoreGetSizeProc;
typedef ZELProc ZELDataBlockStreamGetNextBlockProc;
typedef ZELProc ZELDataBlockStreamRewindProc;

#define ZEL_DATA_STORE_METHODS(X) X(GetBlock, ZELDataStoreGetBlockProcV2)
#define ZEL_SIZED_DATA_STORE_METHODS(X) X(GetSize, ZELSizedDataStoreGetSizeProc)
#define ZEL_DATA_BLOCK_STREAM_METHODS(X)              \
  X(GetNextBlock, ZELDataBlockStreamGetNextBlockProc) \
  X(Rewind, ZELDataBlockStreamRewindProc)

/* ---- Cache, filter and progress: never called ----------------------------------------------- */

#define ZEL_CACHE_INTERFACE "ZELCacheInterface"

typedef ZELProc ZELCacheNewCacheIDProc;
typedef ZELProc ZELCacheAddRefProc;
typedef ZELProc ZELCacheReleaseProc;
typedef ZELProc ZELCacheAttachProcV2;
typedef ZELProc ZELCacheAddProc;
typedef ZELProc ZELCacheUpdateCostProc;
typedef ZELProc ZELCacheReturnCostProc;
typedef ZELProc ZELCacheMarkNoPurgeProcV2;
typedef ZELProc ZELCacheMarkPurgeProc;
typedef ZELProc ZELCacheGetCacheTimeProc;
typedef ZELProc ZELCurrentCacheSizeProc;
typedef ZELProc ZELCacheNewCachePurgeProc;
typedef ZELProc ZELCachePurgeNextBlockProc;
typedef ZELProc ZELCacheDeleteCachePurgeProc;
typedef ZELProc ZELCachePurgeAllProc;
typedef ZELProc ZELCachePurgeAllStaticCachesProc;
typedef ZELProc ZELCacheAddRemoveClientPurgeProcV2;
typedef ZELProc ZELCacheNewCacheSetProc;
typedef ZELProc ZELCacheAddRefCacheSetProc;
typedef ZELProc ZELCacheDeleteCacheSetProc;
typedef ZELProc ZELCacheSearchForIDProc;
typedef ZELProc ZELCacheRemoveIDProc;
typedef ZELProc ZELCacheRemoveIDsProc;

#define ZEL_CACHE_METHODS(X)                                \
  X(NewCacheID, ZELCacheNewCacheIDProc)                     \
  X(AddRef, ZELCacheAddRefProc)                             \
  X(Release, ZELCacheReleaseProc)                           \
  X(Attach, ZELCacheAttachProcV2)                           \
  X(Add, ZELCacheAddProc)                                   \
  X(UpdateCost, ZELCacheUpdateCostProc)                     \
  X(ReturnCost, ZELCacheReturnCostProc)                     \
  X(MarkNoPurge, ZELCacheMarkNoPurgeProcV2)                 \
  X(MarkPurge, ZELCacheMarkPurgeProc)                       \
  X(GetCacheTime, ZELCacheGetCacheTimeProc)                 \
  X(CurrentCacheSize, ZELCurrentCacheSizeProc)              \
  X(NewCachePurge, ZELCacheNewCachePurgeProc)               \
  X(PurgeNextBlock, ZELCachePurgeNextBlockProc)             \
  X(DeleteCachePurge, ZELCacheDeleteCachePurgeProc)         \
  X(PurgeAll, ZELCachePurgeAllProc)                         \
  X(PurgeAllStaticCaches, ZELCachePurgeAllStaticCachesProc) \
  X(AddClientPurge, ZELCacheAddRemoveClientPurgeProcV2)     \
  X(RemoveClientPurge, ZELCacheAddRemoveClientPurgeProcV2)  \
  X(NewCacheSet, ZELCacheNewCacheSetProc)                   \
  X(AddRefCacheSet, ZELCacheAddRefCacheSetProc)             \
  X(DeleteCacheSet, ZELCacheDeleteCacheSetProc)             \
  X(SearchForID, ZELCacheSearchForIDProc)                   \
  X(RemoveID, ZELCacheRemoveIDProc)                         \
  X(RemoveIDs, ZELCacheRemoveIDsProc)

#define ZEL_FILTER_INTERFACE "ZELFilterInterface"

typedef ZELProc ZELFilterNewNullDataSinkV2Proc;
typedef ZELProc ZELFilterNewClientDataSinkV2Proc;
typedef ZELProc ZELFilterNewIdentityFilterV2Proc;
typedef ZELProc ZELFilterNewClientFilterV2Proc;
typedef ZELProc ZELFilterNewFilterJPEGV2Proc;
typedef ZELProc ZELFilterAddRefV2Proc;
typedef ZELProc ZELFilterReleaseProc;
typedef ZELProc ZELFilterWriteV2Proc;
typedef ZELProc ZELFilterIsFilterProc;
typedef ZELProc ZELFilterCloseProc;
typedef ZELProc ZELFilterGetPostScriptFilterProc;
typedef ZELProc ZELFilterSetDataSinkV2Proc;
typedef ZELProc ZELFilterPeekTargetProc;
typedef ZELProc ZELFilterJPEGSetImageParametersProc;
typedef ZELProc ZELFilterJPEGSetCompressionParametersProc;
typedef ZELProc ZELFilterGetChainStateV2Proc;
typedef ZELProc ZELFilterResetChainStateProc;

#define ZEL_FILTER_METHODS(X)                                            \
  X(NewNullDataSink, ZELFilterNewNullDataSinkV2Proc)                     \
  X(NewClientDataSink, ZELFilterNewClientDataSinkV2Proc)                 \
  X(NewIdentityFilter, ZELFilterNewIdentityFilterV2Proc)                 \
  X(NewClientFilter, ZELFilterNewClientFilterV2Proc)                     \
  X(NewFilterJPEG, ZELFilterNewFilterJPEGV2Proc)                         \
  X(AddRef, ZELFilterAddRefV2Proc)                                       \
  X(Release, ZELFilterReleaseProc)                                       \
  X(Write, ZELFilterWriteV2Proc)                                         \
  X(IsFilter, ZELFilterIsFilterProc)                                     \
  X(Close, ZELFilterCloseProc)                                           \
  X(GetPostScriptFilter, ZELFilterGetPostScriptFilterProc)               \
  X(SetDataSink, ZELFilterSetDataSinkV2Proc)                             \
  X(PeekTarget, ZELFilterPeekTargetProc)                                 \
  X(SetImageParameters, ZELFilterJPEGSetImageParametersProc)             \
  X(SetCompressionParameters, ZELFilterJPEGSetCompressionParametersProc) \
  X(GetChainState, ZELFilterGetChainStateV2Proc)                         \
  X(ResetChainState, ZELFilterResetChainStateProc)

#define ZEL_PROGRESS_INTERFACE "ZELProgressInterface"

typedef ZELProc ZELProgressNewNullProgressProc;
typedef ZELProc ZELProgressNewClientProgressProc;
typedef ZELProc ZELProgressAddRefProc;
typedef ZELProc ZELProgressReleaseProc;
typedef ZELProc ZELProgressUpdateProc;

#define ZEL_PROGRESS_METHODS(X)                          \
  X(NewNullProgress, ZELProgressNewNullProgressProc)     \
  X(NewClientProgress, ZELProgressNewClientProgressProc) \
  X(AddRef, ZELProgressAddRefProc)                       \
  X(Release, ZELProgressReleaseProc)                     \
  X(Update, ZELProgressUpdateProc)

/* ---- Lists --------------------------------------------------------------------------------- */

/* All interfaces above that are registered by name: X(Name, interface name, method list). */
#define ZEL_CORE_INTERFACES(X)                                               \
  X(Memory, ZEL_MEMORY_INTERFACE, ZEL_MEMORY_METHODS)                        \
  X(Atom, ZEL_STRING_INTERFACE, ZEL_STRING_METHODS)                          \
  X(Error, ZEL_ERROR_INTERFACE, ZEL_ERROR_METHODS)                           \
  X(Container, ZEL_CONTAINER_INTERFACE, ZEL_CONTAINER_METHODS)               \
  X(SharedBuff, ZEL_SHARED_BUFF_INTERFACE, ZEL_SHARED_BUFF_METHODS)          \
  X(StreamFactory, ZEL_STREAM_FACTORY_INTERFACE, ZEL_STREAM_FACTORY_METHODS) \
  X(Cache, ZEL_CACHE_INTERFACE, ZEL_CACHE_METHODS)                           \
  X(Filter, ZEL_FILTER_INTERFACE, ZEL_FILTER_METHODS)                        \
  X(Progress, ZEL_PROGRESS_INTERFACE, ZEL_PROGRESS_METHODS)

/* The families of methods that an instance may offer: X(Name, method list). */
#define ZEL_STREAM_FAMILIES(X)                       \
  X(SimpleStream, ZEL_SIMPLE_STREAM_METHODS)         \
  X(RewindableStream, ZEL_REWINDABLE_STREAM_METHODS) \
  X(PositionableStream, ZEL_POSITIONABLE_STREAM_METHODS)
#define ZEL_DATA_STORE_FAMILIES(X)                \
  X(DataStore, ZEL_DATA_STORE_METHODS)            \
  X(SizedDataStore, ZEL_SIZED_DATA_STORE_METHODS) \
  X(DataBlockStream, ZEL_DATA_BLOCK_STREAM_METHODS)

/* All methods of a positionable stream instance, of the three stream families. */
#define ZEL_STREAM_METHODS(X)      \
  ZEL_SIMPLE_STREAM_METHODS(X)     \
  ZEL_REWINDABLE_STREAM_METHODS(X) \
  ZEL_POSITIONABLE_STREAM_METHODS(X)

#ifdef __cplusplus
}
#endif
