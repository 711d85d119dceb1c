// Thunks: C procedures that stand in the place of others, one for each procedure and side, made by
// the compiler from the members of the typed tables.
#pragma once

#include <array>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "client_rules.h"
#include "findings.h"
#include "roles.h"
#include "row.h"

namespace zelcheck {

// Replacements in a call on its way: none, unless a specialisation says otherwise.
template <auto member>
struct Adapt {
  template <typename... Arguments>
  static void Before(Side, Arguments&...) {}
  template <typename... Arguments>
  static void After(Side, Arguments&...) {}
};
// Those that are made even in a call that is not looked at; they touch nothing of the layer's.
template <auto member>
inline constexpr bool kAdaptsAlways = false;

// Whether two watches are the same one. Under gcc's sanitizers a comparison of the addresses of two
// functions is no constant.
template <void (*one)(Call&), void (*other)(Call&)>
inline constexpr bool kIsSameWatch = std::is_same_v<std::integral_constant<void (*)(Call&), one>,
                                                    std::integral_constant<void (*)(Call&), other>>;

// Number of different procedures that a host may have under one name in the course of a process.
// One more is called directly: the call is as it should be, and goes unseen.
inline constexpr std::size_t kPlaces = 8;

template <Side side, auto member, typename Signature>
class Procedure;

template <Side side, auto member, typename Result, typename... Arguments>
class Procedure<side, member, Result (*)(Arguments...)> {
 public:
  using Target = Result (*)(Arguments...);

  static ZELProc Wrap(const Row& row, ZELProc procedure) {
    if (row_ == nullptr) row_ = &row;
    const auto target = reinterpret_cast<Target>(procedure);
    for (std::size_t i = 0; i < kPlaces; ++i) {
      if (targets_[i] == nullptr) targets_[i] = target;
      if (targets_[i] == target) return reinterpret_cast<ZELProc>(kThunks[i]);
    }
    return procedure;
  }

  static ZELProc Unwrap(ZELProc thunk) {
    for (std::size_t i = 0; i < kPlaces; ++i) {
      if (thunk == reinterpret_cast<ZELProc>(kThunks[i])) {
        return reinterpret_cast<ZELProc>(targets_[i]);
      }
    }
    return nullptr;
  }

 private:
  using Of = Roles<member>;
  static constexpr bool kIsOfClient = side == Side::kClientToLibrary || side == Side::kClientToHost;
  static constexpr bool kGivesError = std::is_same_v<Result, ZELErrorObject>;

  template <std::size_t place>
  static Result Through(Arguments... arguments) {
    return Pass(arguments..., targets_[place], __builtin_return_address(0));
  }

  // The arguments come first, in the registers in which they are.
  [[gnu::noinline]] static Result Pass(Arguments... arguments, Target target, const void* caller) {
    const std::array<Argument, sizeof...(Arguments)> values = {Argument::Of(arguments)...};
    Call call(*row_, side, caller, values.data());
    if (!call.template Enters<side>()) return Unseen(target, arguments...);
    if constexpr (std::is_void_v<Result>) {
      if (Begins(call)) {
        Adapt<member>::Before(side, arguments...);
        target(arguments...);
        Adapt<member>::After(side, arguments...);
      }
      Ends(call);
      call.template Leaves<side>();
    } else {
      Result result{};
      if (Begins(call)) {
        Adapt<member>::Before(side, arguments...);
        result = target(arguments...);
        Adapt<member>::After(side, result, arguments...);
      } else if constexpr (kGivesError) {
        result = call.InjectedError();
      }
      call.result = Argument::Of(result);
      Ends(call);
      call.template Leaves<side>();
      return result;
    }
  }

  [[gnu::noinline]] static Result Unseen(Target target, Arguments... arguments) {
    if constexpr (kAdaptsAlways<member>) {
      Result result = target(arguments...);
      Adapt<member>::After(side, result, arguments...);
      return result;
    } else {
      return target(arguments...);
    }
  }

  // Whether the call shall go on.
  static bool Begins(Call& call) noexcept {
    try {
      if constexpr (kIsOfClient) {
        if (IsOutOfPlace(call)) CheckPlaceInTime(call);
        CheckArguments(call, std::index_sequence_for<Arguments...>());
      }
      if (TheLayer().observes) {
        call.BeginsObserved();
        if (call.IsRefused()) return false;
      }
      if constexpr (!kIsSameWatch<Of::kBefore, nullptr>) Of::kBefore(call);
    } catch (...) {
      TellOfLostSight();
    }
    if constexpr (kIsSameWatch<Of::kBefore, &watch::ObjectDestroyed>) return !call.IsRefused();
    return true;
  }

  template <std::size_t... index>
  static void CheckArguments(const Call& call, std::index_sequence<index...>) {
    ((IsSuspect<Of::kRoles[index]>(call.arguments + index)
          ? CheckArgument(call, index, Of::kRoles[index])
          : void()),
     ...);
  }

  static void Ends(Call& call) noexcept {
    try {
      if constexpr (!kIsSameWatch<Of::kAfter, nullptr>) {
        if (!call.IsRefused()) Of::kAfter(call);
      }
      NoteResult(call);
      if (TheLayer().observes) call.EndsObserved();
    } catch (...) {
      TellOfLostSight();
    }
  }

  static void NoteResult(const Call& call) {
    if constexpr (kGivesError) {
      if (call.result.bits != 0) {
        // Those that make an error object note it themselves.
        if constexpr (!kIsSameWatch<Of::kAfter, &watch::ErrorMade> &&
                      !kIsSameWatch<Of::kAfter, &watch::ErrorReferenced>) {
          NoteError(call, call.result.As<ZELErrorObject>());
        }
        return;
      }
    }
    if constexpr (Of::kResult == 'A') {
      const auto* const place = call.arguments[0].As<const ZELStringAtom*>();
      if (place != nullptr) NoteAtom(call, *place);
    } else if constexpr (side == Side::kClientToLibrary && Of::kResult != '-') {
      if constexpr (std::is_same_v<Result, ZELInstance>) {
        NoteHandle(call, call.result.As<ZELInstance>());
      } else if (const auto* const place = call.arguments[0].As<const ZELInstance*>()) {
        NoteHandle(call, *place);
      }
    }
  }

  template <std::size_t... place>
  static constexpr std::array<Target, kPlaces> MakeThunks(std::index_sequence<place...>) {
    return {&Through<place>...};
  }

  static constexpr std::array<Target, kPlaces> kThunks =
      MakeThunks(std::make_index_sequence<kPlaces>());
  static inline constinit std::array<Target, kPlaces> targets_{};
  static inline constinit const Row* row_ = nullptr;
};

template <typename Member>
struct MemberTraits;
template <typename Table, typename Slot>
struct MemberTraits<Slot Table::*> {
  using Interface = Table;
  using Proc = Slot;
};

template <auto member>
using ProcOf = typename MemberTraits<decltype(member)>::Proc;

// The sides on which a row's procedures are met: a mask of 1 << side.
template <auto member, unsigned sides, typename Action>
ZELProc OnSide(Side side, Action action) {
  using Proc = ProcOf<member>;
  const auto is = [side](Side other) { return side == other; };
  if constexpr ((sides & 1U << static_cast<unsigned>(Side::kClientToLibrary)) != 0) {
    if (is(Side::kClientToLibrary))
      return action(Procedure<Side::kClientToLibrary, member, Proc>());
  }
  if constexpr ((sides & 1U << static_cast<unsigned>(Side::kLibraryToHost)) != 0) {
    if (is(Side::kLibraryToHost)) return action(Procedure<Side::kLibraryToHost, member, Proc>());
  }
  if constexpr ((sides & 1U << static_cast<unsigned>(Side::kClientToHost)) != 0) {
    if (is(Side::kClientToHost)) return action(Procedure<Side::kClientToHost, member, Proc>());
  }
  if constexpr ((sides & 1U << static_cast<unsigned>(Side::kCallback)) != 0) {
    if (is(Side::kCallback)) return action(Procedure<Side::kCallback, member, Proc>());
  }
  return nullptr;
}

template <auto member, unsigned sides>
ZELProc WrapOn(const Row& row, Side side, ZELProc procedure) {
  const ZELProc thunk = OnSide<member, sides>(
      side, [&](auto thunks) { return decltype(thunks)::Wrap(row, procedure); });
  return thunk == nullptr ? procedure : thunk;
}

template <auto member, unsigned sides>
ZELProc UnwrapOn(Side side, ZELProc thunk) {
  return OnSide<member, sides>(side, [&](auto thunks) { return decltype(thunks)::Unwrap(thunk); });
}

}  // namespace zelcheck
