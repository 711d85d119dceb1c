// The entries of a dictionary by number, in the order in which they came.
//
// Values are mostly made in that order, and so a walk by number finds them in the order in which
// they lie in memory. A removed entry leaves a tombstone, which the next new entry replaces.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

#include "frame/base/compiler.h"
#include "frame/core/container_reference.h"
#include "frame/core/string_atom.h"

namespace NPOSObjectImpl {

// No number of an entry.
inline constexpr std::uint32_t kNone = 0xFFFFFFFFu;

struct DictKey : ZEL_T_NMT::CZELStringAtom {
  DictKey() noexcept = default;
  explicit DictKey(ZEL_T_NMT::CZELStringAtom&& key, std::uint32_t keyHash = 0) noexcept
      : CZELStringAtom(std::move(key)), hash(keyHash) {}
  std::uint32_t hash = 0;  // 0 as well while there is no index that needs it
};

// A key that is looked for: not ended by a NUL where it is part of a path.
struct SoughtKey {
  const char* text;
  std::size_t length;
};

// By the byte: keys are short, and nothing is read behind the end of the text.
inline bool HasSameCharacters(const char* text, SoughtKey key) noexcept {
  for (std::size_t i = 0; i < key.length; ++i) {
    if (text[i] != key.text[i]) return false;
  }
  return text[key.length] == '\0';
}

inline bool IsSameKey(const char* text, SoughtKey key) noexcept {
  return text == key.text || HasSameCharacters(text, key);
}

struct DictEntry {
  // In a tombstone without text, and the hash is the number of the next tombstone.
  DictKey key;
  ZEL_T_NMT::ContainerReference value;
};

// Number of entries by which memory is asked ahead for the needs of a walk: texts, records and
// objects lie all over it, and waiting for each of them in turn would take longer than everything
// else.
inline constexpr std::uint32_t kPrefetchDistance = 4;

// Uses the middle of its owner's block, and is moved to another one when that is full.
class DictStore {
 public:
  // No room at all.
  DictStore() noexcept = default;
  DictStore(DictEntry* place, std::uint32_t capacity) noexcept
      : entries_(place), capacity_(capacity) {}
  // Destroys all entries.
  void Clear() noexcept;

  std::uint32_t Capacity() const noexcept { return capacity_; }
  std::uint32_t Live() const noexcept { return live_; }
  // All numbers are below this one.
  std::uint32_t End() const noexcept { return end_; }
  bool IsFull() const noexcept { return live_ == capacity_; }
  // The place that it uses, and the place behind it.
  DictEntry* Begin() const noexcept { return entries_; }
  void* Behind() const noexcept { return entries_ + capacity_; }

  DictEntry& operator[](std::uint32_t number) const noexcept {
    return entries_[number];  // NOLINT(clang-analyzer-core.uninitialized.UndefReturn)
  }
  const char* Text(std::uint32_t number) const noexcept { return entries_[number].key.Text(); }
  bool IsLive(std::uint32_t number) const noexcept { return Text(number) != nullptr; }

  // Adds an entry, for which there must be room, and returns its number.
  std::uint32_t Add(ZEL_T_NMT::CZELStringAtom&& key, std::uint32_t hash,
                    ZEL_T_NMT::ContainerReference&& value) noexcept {
    ++live_;
    if (firstTombstone_ != kNone) [[unlikely]]
      return Replace(std::move(key), hash, std::move(value));
    new (static_cast<void*>(&entries_[end_]))
        DictEntry{DictKey(std::move(key), hash), std::move(value)};
    return end_++;
  }
  // Leaves a tombstone and returns what the entry held.
  DictEntry Remove(std::uint32_t number) noexcept;

  // Moves all entries to an empty store with enough room, without tombstones: their numbers close
  // up. This store is then empty and good for NewNumber alone.
  void MoveTo(DictStore& target) noexcept;
  // The number that MoveTo has given an entry; kNone for a tombstone.
  std::uint32_t NewNumber(std::uint32_t number) const noexcept { return entries_[number].key.hash; }

  // Has the processor fetch a value's record, and its object when the record is at hand.
  void PrefetchRecord(std::uint32_t number) const noexcept {
    const ZELInstance value = entries_[number].value.Get();
    if (value != nullptr) ZEL_T_NMT::Prefetch(&ZEL_T_NMT::PrimaryInstance(value));
  }
  void PrefetchObject(std::uint32_t number) const noexcept {
    const ZELInstance value = entries_[number].value.Get();
    if (value != nullptr) ZEL_T_NMT::Prefetch(ZEL_T_NMT::PrimaryInstance(value).object);
  }
  void PrefetchEntry(std::uint32_t number) const noexcept {
    ZEL_T_NMT::Prefetch(&entries_[number]);
  }

 private:
  // Puts a new entry into the place of a tombstone.
  std::uint32_t Replace(ZEL_T_NMT::CZELStringAtom&& key, std::uint32_t hash,
                        ZEL_T_NMT::ContainerReference&& value) noexcept;

  DictEntry* entries_ = nullptr;  // those below end_ are constructed
  std::uint32_t capacity_ = 0;
  std::uint32_t end_ = 0;
  std::uint32_t live_ = 0;
  std::uint32_t firstTombstone_ = kNone;
};

}  // namespace NPOSObjectImpl
