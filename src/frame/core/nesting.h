// One bound for every operation that descends into values, so that no input exhausts the stack.
#pragma once

#include <cstdint>

#include "frame/core/raise.h"
#include "zelutils/pos.h"

namespace ZEL_T_NMT {

inline constexpr std::uint32_t kNestingLimit = POS_NESTING_LIMIT;

// Enters one level of nesting for its own life; raises "nesting too deep" beyond the limit.
class NestingLevel {
 public:
  explicit NestingLevel(std::uint32_t& depth) : depth_(depth) {
    if (depth_ >= kNestingLimit) RaisePOSException("nesting too deep");
    ++depth_;
  }
  NestingLevel(const NestingLevel&) = delete;
  NestingLevel& operator=(const NestingLevel&) = delete;
  ~NestingLevel() { --depth_; }

 private:
  std::uint32_t& depth_;
};

}  // namespace ZEL_T_NMT
