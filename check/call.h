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

class Call {
 public:
  Call(const Row& calledRow, Side calledSide, const void* calledFrom,
       const Argument* values) noexcept
      : row(calledRow), side(calledSide), caller(calledFrom), arguments(values) {}
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  // Before the call goes on: whether it shall. Otherwise it is made to fail.
  bool Begin() noexcept;
  // After it, whether it went on or not.
  void End(const Argument& value) noexcept;
  // The result of a call that is made to fail, if it returns an error object.
  ZELErrorObject InjectedError() const;
  // Keeps the call from going on, because what it would do is known to do harm.
  void Refuse() noexcept { isRefused_ = true; }

  Actor By() const noexcept {
    return side == Side::kLibraryToHost ? Actor::kLibrary : Actor::kClient;
  }
  Origin Here() const noexcept;

  const Row& row;
  const Side side;
  const void* const caller;
  const Argument* const arguments;
  Argument result;
  Call* outer = nullptr;     // the call that this one is made in
  std::uint64_t number = 0;  // counted from 1 for each start of the library
  std::uint32_t depth = 0;
  bool failed = false;  // a failure was reported while it ran
  std::uint64_t startTime = 0;
  std::uint64_t innerTime = 0;  // spent in calls made in this one
  std::size_t line = 0;         // of the trace, counted from 1; 0: none

 private:
  bool Enters();
  void Leaves();

  // It just goes on: another call runs on another thread, or it is made in the
  // procedure that is told of a finding.
  bool isBypassed_ = false;
  bool isRefused_ = false;
  bool isInjected_ = false;
};

}  // namespace zelcheck
