// A call while it runs: what the layer sees of it on its way in and on its way out.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "row.h"

namespace zelcheck {

// An argument or a result, with its type erased.
struct Argument {
  enum class Type : std::uint8_t {
    kNone,
    kInteger,
    kUnsigned,
    kBoolean,
    kReal,
    kInstance,
    kError,
    kBuffer,
    kText,
    kUnits,
    kPointer,
    kProcedure,
  };

  template <typename T>
  static Argument Of(T value) noexcept {
    Argument argument;
    argument.type = TypeOf<T>();
    if constexpr (std::is_pointer_v<T>) {
      argument.bits = reinterpret_cast<std::uintptr_t>(value);
    } else if constexpr (std::is_same_v<T, double>) {
      argument.bits = std::bit_cast<std::uint64_t>(value);
    } else {
      argument.bits = static_cast<std::uint64_t>(value);
    }
    return argument;
  }

  // The value again; `T` must be of the same size and kind as the type it was made of.
  template <typename T>
  T As() const noexcept {
    if constexpr (std::is_pointer_v<T>) {
      return reinterpret_cast<T>(static_cast<std::uintptr_t>(bits));
    } else if constexpr (std::is_same_v<T, double>) {
      return std::bit_cast<double>(bits);
    } else {
      return static_cast<T>(bits);
    }
  }

  std::uint64_t bits = 0;
  Type type = Type::kNone;

 private:
  template <typename T>
  static constexpr Type TypeOf() noexcept {
    if constexpr (std::is_same_v<T, ZELInstance>) return Type::kInstance;
    if constexpr (std::is_same_v<T, ZELErrorObject>) return Type::kError;
    if constexpr (std::is_same_v<T, ZELSharedBuff>) return Type::kBuffer;
    if constexpr (std::is_same_v<T, const char*>) return Type::kText;
    if constexpr (std::is_same_v<T, const std::uint16_t*>) return Type::kUnits;
    if constexpr (std::is_same_v<T, bool>) return Type::kBoolean;
    if constexpr (std::is_same_v<T, double>) return Type::kReal;
    if constexpr (std::is_pointer_v<T>) {
      return std::is_function_v<std::remove_pointer_t<T>> ? Type::kProcedure : Type::kPointer;
    }
    return std::is_signed_v<T> ? Type::kInteger : Type::kUnsigned;
  }
};

// The side that acts in a call: its references are moved.
enum class Actor : std::uint8_t { kClient, kLibrary };

// The origin of a call; kept of the calls that made, held and ended a thing.
struct Origin {
  const Row* row = nullptr;  // null: not known
  std::uint64_t number = 0;
  const void* caller = nullptr;
  const Row* outerRow = nullptr;  // the client's call that it was made in, if it is another one
  const void* outerCaller = nullptr;
};

// A thunk makes one of each call, in this order: Enters, Begins, the call itself, Ends.
class Call {
 public:
  Call(const Row& calledRow, Side calledSide, const void* calledFrom,
       const Argument* values) noexcept
      : row(calledRow), side(calledSide), caller(calledFrom), arguments(values) {}
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  // Whether the call is looked at. It just goes on when another one runs on another thread, and
  // when it is made in the procedure that is told of a finding.
  template <Side onSide>
  bool Enters() noexcept;
  template <Side onSide>
  void Leaves() noexcept;
  // Keeps the call from going on, because what it would do is known to do harm.
  void Refuse() noexcept { isRefused_ = true; }
  bool IsRefused() const noexcept { return isRefused_; }
  // Before the call goes on, when calls are traced, counted or made to fail.
  void BeginsObserved();
  void EndsObserved();
  // The result of a call that is made to fail, if it returns an error object.
  ZELErrorObject InjectedError() const;

  Actor By() const noexcept {
    return side == Side::kLibraryToHost ? Actor::kLibrary : Actor::kClient;
  }
  Origin Here() const noexcept;

  const Row& row;
  const Side side;
  bool failed = false;  // a failure was reported while it ran

 private:
  bool TakesUnsettledLayer() noexcept;
  // That another call runs on another thread.
  void TellConcurrent() const noexcept;

  bool isOutermost_ = false;  // it has taken the layer for its thread
  bool isRefused_ = false;
  bool isInjected_ = false;
  const Call* clientCall_ = nullptr;  // the client's call that was innermost before this one

 public:
  const void* const caller;
  const Argument* const arguments;
  Argument result;
  Call* outer = nullptr;     // the call that this one is made in
  std::uint64_t number = 0;  // counted from 1 for each start of the library
  // Of a call that is traced or counted.
  std::uint64_t startTime = 0;
  std::uint64_t innerTime = 0;  // spent in calls made in this one
  std::size_t line = 0;         // of the trace, counted from 1; 0: none
};

}  // namespace zelcheck
