// The roles of the arguments of every procedure, and what is watched at its calls: one line for
// each. A procedure without a line does not compile (rows.h).
#pragma once

#include "callbacks.h"
#include "watch.h"
#include "zelutils/table.hpp"

namespace zelcheck {

template <auto member>
struct Roles;

#define ZEL_ROLES(table, method, roles, result, watchBefore, watchAfter) \
  template <>                                                            \
  struct Roles<&table::method> {                                         \
    static constexpr const char* kRoles = roles;                         \
    static constexpr char kResult = result;                              \
    static constexpr void (*kBefore)(Call&) = watchBefore;               \
    static constexpr void (*kAfter)(Call&) = watchAfter;                 \
  };
#define ZEL_OF(name, method, roles, result, before, after) \
  ZEL_ROLES(zelutils::name##Interface, method, roles, result, before, after)
constexpr std::nullptr_t kNo = nullptr;

// clang-format off
ZEL_OF(Binder, ZELRegisterProcAddress, "tttf", '-', kNo, watch::Registered)
ZEL_OF(Binder, ZELReportError, "t", '-', watch::Reported, kNo)
ZEL_OF(Binder, ZELUnregisterInterface, "t", '-', watch::Withdraws, watch::Withdrawn)
ZEL_OF(Binder, ZELGetUnregisterCountAddr, "", '-', kNo, watch::CounterAddress)
ZEL_OF(Binder, ZELIsMultiThreaded, "", '-', kNo, kNo)

ZEL_OF(Memory, Alloc, "z", '-', kNo, watch::BlockMade)
ZEL_OF(Memory, Realloc, "mz", '-', watch::BlockMoves, watch::BlockMoved)
ZEL_OF(Memory, Free, "m", '-', watch::BlockEnds, kNo)
ZEL_OF(Memory, GetBlockSize, "m", '-', kNo, kNo)

ZEL_OF(Atom, NewStringAtom, "t", '-', kNo, watch::AtomMade)
ZEL_OF(Atom, DeleteStringAtom, "a", '-', watch::AtomEnds, kNo)
ZEL_OF(Atom, GetCString, "a", '-', kNo, watch::AtomText)
ZEL_OF(Atom, AddRef, "a", '-', watch::AtomReferenced, kNo)

ZEL_OF(Error, NewError, "tt---", '-', kNo, watch::ErrorMade)
ZEL_OF(Error, GetCoreError, "-", '-', kNo, watch::ErrorMade)
ZEL_OF(Error, AddRef, "e", '-', kNo, watch::ErrorReferenced)
ZEL_OF(Error, Release, "E", '-', watch::ErrorEnds, kNo)
ZEL_OF(Error, GetErrorMessage, "e", '-', kNo, watch::ErrorAtom)
ZEL_OF(Error, GetComponent, "e", '-', kNo, watch::ErrorAtom)
ZEL_OF(Error, GetID, "e", '-', kNo, watch::ErrorId)

ZEL_OF(Container, NewFullContainer, "o-afa---", 'N', kNo, watch::InstanceMade)
ZEL_OF(Container, AddRef, "n", '-', kNo, watch::InstanceReferenced)
ZEL_OF(Container, Release, "n", '-', watch::ReferenceEnds, watch::ReferenceEnded)
ZEL_OF(Container, DecrementWithoutDelete, "h", '-', watch::ReferenceEnds, kNo)
ZEL_OF(Container, DeleteUnownedContainer, "h", '-', watch::InstanceDeleted, watch::InstanceGone)
ZEL_OF(Container, GetMethod, "ohaa-", '-', kNo, watch::MethodFound)
ZEL_OF(Container, NGetInstance, "ona", '-', kNo, watch::ObjectFound)
ZEL_OF(Container, GetOffsetToPrimaryInstance, "", '-', kNo, watch::Offset)

ZEL_OF(SharedBuff, NewBuffer, "z----", '-', kNo, watch::BufferMade)
ZEL_OF(SharedBuff, AddRef, "b", '-', watch::BufferReferenced, kNo)
ZEL_OF(SharedBuff, Release, "b", '-', watch::BufferEnds, kNo)
ZEL_OF(SharedBuff, GetBuffer, "b", '-', kNo, watch::BufferAddress)
ZEL_OF(SharedBuff, GetSize, "b", '-', kNo, watch::BufferSize)

ZEL_OF(StreamFactory, NewPositionableMemoryStream, "o", 'N', kNo, watch::StreamMade)
ZEL_OF(StreamFactory, NewPositionableFileStream, "ott", 'N', kNo, watch::StreamMade)
ZEL_OF(StreamFactory, NewClientPositionableStream, "o-ffffffff", 'N', kNo, watch::StreamMade)

ZEL_OF(SimpleStream, Read, "hoDz", '-', kNo, watch::StreamRead)
ZEL_OF(SimpleStream, Write, "hdz", '-', kNo, kNo)
ZEL_OF(RewindableStream, CreateIndependentlyRewindableStream, "ho", 'N', kNo, watch::StreamMade)
ZEL_OF(RewindableStream, Rewind, "h", '-', kNo, kNo)
ZEL_OF(PositionableStream, CreateIndependentlyPositionableStream, "ho", 'N', kNo, watch::StreamMade)
ZEL_OF(PositionableStream, Mark, "ho", '-', kNo, watch::StreamMarked)
ZEL_OF(PositionableStream, Seek, "hz-", '-', kNo, watch::StreamSought)

ZEL_OF(Object, Clone, "h", 'N', kNo, kNo)
ZEL_OF(Object, IsEqual, "hh", '-', kNo, kNo)
ZEL_OF(Object, GetType, "h", '-', kNo, kNo)
ZEL_OF(ObjectStatics, DebugDump, "h", '-', kNo, kNo)
ZEL_OF(ObjectStatics, DebugDumpWithHeader, "h", '-', kNo, kNo)
ZEL_OF(ObjectStatics, DebugDumpRewind, "h", '-', kNo, kNo)
ZEL_OF(ObjectStatics, CreateFromText, "tO", 'N', kNo, kNo)
ZEL_OF(Number, NewPOSNumber, "-", 'N', kNo, kNo)
ZEL_OF(Number, IsPOSNumber, "n", '-', kNo, kNo)
ZEL_OF(Number, Get, "h", '-', kNo, kNo)
ZEL_OF(String, NewPOSString, "t", 'N', kNo, kNo)
ZEL_OF(String, IsPOSString, "n", '-', kNo, kNo)
ZEL_OF(String, Get, "h", '-', kNo, kNo)
ZEL_OF(UnicodeString, NewPOSUnicodeString, "u", 'N', kNo, kNo)
ZEL_OF(UnicodeString, IsPOSUnicodeString, "n", '-', kNo, kNo)
ZEL_OF(UnicodeString, Get, "h", '-', kNo, kNo)
ZEL_OF(BinData, NewPOSBinData, "tdz", 'N', kNo, kNo)
ZEL_OF(BinData, IsPOSBinData, "n", '-', kNo, kNo)
ZEL_OF(BinData, GetTypeName, "h", '-', kNo, kNo)
ZEL_OF(BinData, GetBinData, "h", '-', kNo, kNo)
ZEL_OF(BinData, GetSize, "h", '-', kNo, kNo)
ZEL_OF(RawPointer, NewPOSRawPointer, "-F", 'N', kNo, kNo)
ZEL_OF(RawPointer, IsPOSRawPointer, "n", '-', kNo, kNo)
ZEL_OF(RawPointer, GetRawPointer, "h", '-', kNo, kNo)
ZEL_OF(RawPointer, GetReleaseProc, "h", '-', kNo, kNo)
ZEL_OF(Array, NewPOSArray, "", 'N', kNo, kNo)
ZEL_OF(Array, IsPOSArray, "n", '-', kNo, kNo)
ZEL_OF(Array, GetAt, "hz", 'B', kNo, kNo)
ZEL_OF(Array, Count, "h", '-', kNo, kNo)
ZEL_OF(Array, SetAt, "hzh", '-', watch::Changes, watch::MemberSet)
ZEL_OF(Array, Append, "hh", '-', watch::Changes, watch::MemberAppended)
ZEL_OF(Array, Remove, "hz", '-', watch::Changes, kNo)
ZEL_OF(Dict, NewPOSDict, "", 'N', kNo, kNo)
ZEL_OF(Dict, IsPOSDict, "n", '-', kNo, kNo)
ZEL_OF(Dict, Get, "ha", 'B', kNo, kNo)
ZEL_OF(Dict, DeepGet, "ha", 'B', kNo, kNo)
ZEL_OF(Dict, Put, "hah", '-', watch::Changes, watch::MemberPut)
ZEL_OF(Dict, Remove, "ha", '-', watch::Changes, kNo)
ZEL_OF(DictIterator, NewPOSDictIterator, "h", 'N', kNo, kNo)
ZEL_OF(DictIterator, Begin, "h", '-', kNo, kNo)
ZEL_OF(DictIterator, Next, "h", '-', kNo, kNo)
ZEL_OF(DictIterator, IsDone, "h", '-', kNo, kNo)
ZEL_OF(DictIterator, CurKey, "h", '-', kNo, kNo)
ZEL_OF(Streamer, NewPOSStreamer, "", 'N', kNo, kNo)
ZEL_OF(Streamer, Serialize, "hshT", '-', kNo, kNo)
ZEL_OF(Streamer, Deserialize, "hs", 'N', kNo, kNo)
ZEL_OF(StructValidator, NewPOSStructValidator, "h", 'N', kNo, watch::SchemaTaken)
ZEL_OF(StructValidator, RegisterCallbackProc, "haF-", '-', watch::Changes, kNo)
ZEL_OF(StructValidator, ValidateSchema, "hF", '-', kNo, kNo)
ZEL_OF(Validator, Validate, "hhaF", '-', kNo, kNo)
ZEL_OF(UtilsDir, GetTempDir, "o", 'N', kNo, kNo)
ZEL_OF(UtilsDir, GetCurrent, "o", 'N', kNo, kNo)
ZEL_OF(UtilsDir, NewZELUtilsDir, "oa", 'N', kNo, kNo)
ZEL_OF(UtilsDir, FileExists, "oha", '-', kNo, kNo)
ZEL_OF(UtilsDir, Delete, "ha", '-', kNo, kNo)
ZEL_OF(UtilsDir, Rename, "haa", '-', kNo, kNo)
ZEL_OF(UtilsDir, GetFilePathSpec, "oha", 'A', kNo, kNo)
ZEL_OF(UtilsDir, CreateUniqueFilename, "ohaa", 'A', kNo, kNo)
ZEL_OF(TempFileStreamFactory, NewTempFileStream, "ottt", 'N', kNo, kNo)

ZEL_ROLES(ClientStreamTable, Read, "-oDz", '-', kNo, watch::StreamRead)
ZEL_ROLES(ClientStreamTable, Write, "-dz", '-', kNo, kNo)
ZEL_ROLES(ClientStreamTable, CreateIndependentlyRewindableStream, "-o", '-', kNo, kNo)
ZEL_ROLES(ClientStreamTable, Rewind, "-", '-', kNo, kNo)
ZEL_ROLES(ClientStreamTable, CreateIndependentlyPositionableStream, "-o", '-', kNo, kNo)
ZEL_ROLES(ClientStreamTable, Mark, "-o", '-', kNo, kNo)
ZEL_ROLES(ClientStreamTable, Seek, "-z-", '-', kNo, kNo)
ZEL_ROLES(ClientStreamTable, Destroy, "-", '-', watch::ObjectDestroyed, kNo)
ZEL_ROLES(CallbackTable, Destroy, "-", '-', watch::ObjectDestroyed, kNo)
ZEL_ROLES(CallbackTable, Message, "t", '-', kNo, kNo)
ZEL_ROLES(CallbackTable, Check, "nab-", '-', kNo, kNo)
ZEL_ROLES(CallbackTable, Release, "-", '-', kNo, kNo)
// clang-format on

#undef ZEL_OF
#undef ZEL_ROLES

}  // namespace zelcheck
