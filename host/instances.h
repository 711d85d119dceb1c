// Instances as the container interface and the streams see them: their records and their ends.
#pragma once

#include <cstdint>

#include "instance_kinds.h"
#include "services.h"
#include "storage/pool.h"

// 32 bytes on a 64-bit machine. All that instances have in common stands in their kind.
struct ZELInstanceRecord {
  // From here on no reference is given: the object is being destroyed, or the instance is gone.
  static constexpr std::uint32_t kRefused = 0x80000000u;
  static constexpr std::uint32_t kDying = kRefused;
  static constexpr std::uint32_t kGone = kRefused + 1;

  std::uint32_t references;
  std::uint32_t kind;  // 0: never used
  ZELPrimaryInstance primary;

  bool IsLive() const noexcept { return kind != 0 && references != kGone; }
  // Whether one more reference can be given, and whether there is one to give back.
  bool CanBeHeld() const noexcept { return references < kRefused - 1; }
  bool IsHeld() const noexcept { return references - 1 < kRefused - 1; }
  ZELInstance& NextDead() noexcept { return reinterpret_cast<ZELInstance&>(primary.object); }
};

namespace zelhost {

ZELHOST_HIDDEN extern Pool<ZELInstanceRecord> instancePool;

// Whether an instance is there, be it being destroyed; else the misuse is noted.
bool IsThere(ZELInstance instance, const char* procedure) noexcept;
// Notes the misuse of an instance: "Release of an instance of "POSObjectImpl" that is gone".
void NoteInstance(const char* procedure, ZELInstance instance, std::string_view state) noexcept;

ZELErrorObject NewInstance(ZELInstance* result, void* object, std::uint32_t kind) noexcept;

// Destroys the object and lets the instance go. A client that uses it after that finds names that
// are nobody's, and has to ask.
void EndInstance(ZELInstance instance) noexcept;

}  // namespace zelhost
