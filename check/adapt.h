// Contents of a call that must be replaced on its way: procedures in arguments and results.
#pragma once

#include "rows.h"
#include "thunk.h"
#include "zelutils/table.hpp"

namespace zelcheck {

// A procedure that the library registers, as clients shall see it.
ZELProc ForClients(const char* interfaceName, const char* method, const char* procType,
                   ZELProc procedure);
// A method that the host gives for an instance, as the one who asked shall see it.
ZELProc MethodFor(Side side, ZELStringAtom method, ZELStringAtom procType, ZELProc procedure);

struct AdaptNothingAfter {
  template <typename... Arguments>
  static void After(Side, Arguments&...) {}
};
struct AdaptNothingBefore {
  template <typename... Arguments>
  static void Before(Side, Arguments&...) {}
};

template <>
struct Adapt<&zelutils::BinderInterface::ZELRegisterProcAddress> : AdaptNothingAfter {
  static void Before(Side, const char*& interfaceName, const char*& method, const char*& procType,
                     ZELProc& procedure) {
    procedure = ForClients(interfaceName, method, procType, procedure);
  }
};

template <>
struct Adapt<&zelutils::ContainerInterface::GetMethod> : AdaptNothingBefore {
  static void After(Side side, ZELErrorObject& error, ZELProc*& result, ZELInstance&,
                    ZELStringAtom& method, ZELStringAtom& procType, std::int32_t&) {
    if (error != nullptr || result == nullptr || *result == nullptr) return;
    *result = MethodFor(side, method, procType, *result);
  }
};

template <>
struct Adapt<&zelutils::ContainerInterface::NewFullContainer> : AdaptNothingAfter {
  static void Before(Side, ZELInstance*&, void*&, ZELStringAtom&, ZELDestroyProc& destroy,
                     ZELStringAtom&, std::int32_t&, std::int32_t&, std::int32_t&) {
    if (destroy == nullptr) return;
    using Thunks = Procedure<Side::kCallback, &CallbackTable::Destroy, ZELDestroyProc>;
    destroy = reinterpret_cast<ZELDestroyProc>(
        Thunks::Wrap(kCallbackRows[kDestroyRow], reinterpret_cast<ZELProc>(destroy)));
  }
};

template <>
struct Adapt<&zelutils::StreamFactoryInterface::NewClientPositionableStream> : AdaptNothingAfter {
  static void Before(Side, ZELInstance*&, void*&, ZELClientStreamReadProc& read,
                     ZELClientStreamWriteProc& write, ZELClientStreamCreateProc& rewindable,
                     ZELClientStreamRewindProc& rewind, ZELClientStreamCreateProc& positionable,
                     ZELClientStreamMarkProc& mark, ZELClientStreamSeekProc& seek,
                     ZELClientStreamDestroyProc& destroy) {
    read = WrapCallback(kClientStreamRows[0], read);
    write = WrapCallback(kClientStreamRows[1], write);
    rewindable = WrapCallback(kClientStreamRows[2], rewindable);
    rewind = WrapCallback(kClientStreamRows[3], rewind);
    positionable = WrapCallback(kClientStreamRows[4], positionable);
    mark = WrapCallback(kClientStreamRows[5], mark);
    seek = WrapCallback(kClientStreamRows[6], seek);
    destroy = WrapCallback(kClientStreamRows[7], destroy);
  }
};

template <>
struct Adapt<&zelutils::ValidatorInterface::Validate> : AdaptNothingAfter {
  static void Before(Side, ZELInstance&, ZELInstance&, ZELStringAtom&,
                     POSValidatorMessageProc& report) {
    report = WrapCallback(kCallbackRows[kMessageRow], report);
  }
};

template <>
struct Adapt<&zelutils::StructValidatorInterface::ValidateSchema> : AdaptNothingAfter {
  static void Before(Side, ZELInstance&, POSValidatorMessageProc& report) {
    report = WrapCallback(kCallbackRows[kMessageRow], report);
  }
};

template <>
struct Adapt<&zelutils::StructValidatorInterface::RegisterCallbackProc> : AdaptNothingAfter {
  static void Before(Side, ZELInstance&, ZELStringAtom&, POSStructValidatorCallbackProc& check,
                     void*&) {
    check = WrapCallback(kCallbackRows[kCheckRow], check);
  }
};

// The release procedure of a raw pointer comes back as it was given.
template <>
struct Adapt<&zelutils::RawPointerInterface::NewPOSRawPointer> : AdaptNothingAfter {
  static void Before(Side side, void*&, POSRawPointerReleaseProc& release) {
    if (side == Side::kClientToLibrary) {
      release = WrapCallback(kCallbackRows[kReleaseRow], release);
    }
  }
};
template <>
inline constexpr bool kAdaptsAlways<&zelutils::RawPointerInterface::GetReleaseProc> = true;
template <>
struct Adapt<&zelutils::RawPointerInterface::GetReleaseProc> : AdaptNothingBefore {
  static void After(Side, POSRawPointerReleaseProc& release, ZELInstance&) {
    const ZELProc given =
        kCallbackRows[kReleaseRow].unwrap(Side::kCallback, reinterpret_cast<ZELProc>(release));
    if (given != nullptr) release = reinterpret_cast<POSRawPointerReleaseProc>(given);
  }
};

}  // namespace zelcheck
