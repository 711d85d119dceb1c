// The texts of string atoms, found by text and by number.
//
// An atom is a block in a chunk: what is counted about it and, behind that, its text, which keeps
// its address until the atom is removed. The number tells chunk and place, so that a text is looked
// at only to find its atom, and so that a number that is no atom is recognised. Numbers are used
// again as late as possible.
//
// Usable without having been constructed; holds nothing once closed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "storage/atom_index.h"
#include "storage/heap.h"
#include "storage/text_hash.h"
#include "zelutils/types.h"

namespace zelhost {

class AtomTable {
 public:
  // The beginning of an atom's block.
  struct Entry {
    std::uint32_t clientReferences;
    std::uint32_t hostReferences;
    std::uint32_t length;  // of the text
    ZELStringAtom next;    // of the same place in the index; in a free block: the next one
  };
  struct Found {
    ZELStringAtom atom;
    Entry* entry;
  };
  // The end of a search: the entry and the link that leads to it; else null and the link that leads
  // no further.
  struct Spot {
    Entry* entry;
    ZELStringAtom* link;
  };

  // With `separate` each text is an allocation of its own, for memory checkers. Throws bad_alloc.
  void Open(bool separate);
  void Close() noexcept;

  // The atom of a text, made without references if there is none. Without memory: {0, null}.
  Found FindOrAdd(const char* text) noexcept;
  Found FindOrAdd(const char* text, std::size_t length, std::uint32_t hash) noexcept;
  // The two steps of that for a short text in a table that is not separate.
  Spot FindShort(std::size_t length, std::uint32_t hash, const TextEnds& ends) const noexcept {
    return Search(hash, [&](Entry& entry) {
      return entry.length == length && EndsOf(Behind(entry), length) == ends;
    });
  }
  Found AddShort(const char* text, std::size_t length, ZELStringAtom& end) noexcept {
    return AddInline(text, length, end, kShortUnits);
  }
  const TextHasher& Hasher() const noexcept { return hasher_; }

  // Null for a number that is no atom.
  Entry* Find(ZELStringAtom atom) const noexcept {
    const std::uint32_t chunk = atom >> kUnitBits;
    if (chunk >= chunkCount_ || chunks_[chunk]->states[atom % kUnits] == kNoAtom) return nullptr;
    return &chunks_[chunk]->units[atom % kUnits];
  }
  // The text of an atom, if that lies behind its entry as short ones do; else null.
  const char* FindInlineText(ZELStringAtom atom) const noexcept {
    const std::uint32_t chunk = atom >> kUnitBits;
    if (chunk >= chunkCount_ || chunks_[chunk]->states[atom % kUnits] != kInlineText) {
      return nullptr;
    }
    return Behind(chunks_[chunk]->units[atom % kUnits]);
  }
  void Remove(ZELStringAtom atom, Entry& entry) noexcept {
    if (entry.length > kShortText || !IsInline(entry.length)) [[unlikely]]
      return RemoveLong(atom, entry);
    Leave(atom, entry, hasher_.OfShort(EndsOf(Behind(entry), entry.length), entry.length));
    GiveBack({atom, &entry}, kShortUnits);
  }

  char* TextOf(Entry& entry) const noexcept {
    if (IsInline(entry.length)) [[likely]]
      return Behind(entry);
    char* text;
    std::memcpy(&text, Behind(entry), sizeof text);
    return text;
  }

  template <typename Visit>
  void ForEach(Visit visit) const {
    for (std::uint32_t i = 0; i < chunkCount_; ++i) {
      for (std::uint32_t unit = 0; unit < kUnits; ++unit) {
        if (chunks_[i]->states[unit] != kNoAtom) visit(chunks_[i]->units[unit]);
      }
    }
  }

 private:
  static constexpr unsigned kUnitBits = 12;
  static constexpr std::uint32_t kUnits = 1u << kUnitBits;  // of a chunk, of the size of an entry
  static constexpr std::uint32_t kMostUnits = 16;           // of a block
  static constexpr std::uint32_t kShortUnits = 2;           // of one with a short text
  static_assert(kShortText < sizeof(Entry));
  static constexpr std::size_t kInlineRoom = (kMostUnits - 1) * sizeof(Entry);
  // Number 0 is no atom: the first unit of the first chunk stays unused.
  static constexpr std::uint32_t kMostChunks = 0xFFFFFFFFu >> kUnitBits;
  // Free blocks of a size that are not used again.
  static constexpr std::uint32_t kFewestFree = 64;

  // Of a unit: whether an atom begins with it, and where that has its text.
  enum State : std::uint8_t { kNoAtom, kInlineText, kTextElsewhere };
  struct Chunk {
    Entry units[kUnits];
    State states[kUnits];
  };
  // The free blocks of one size, the oldest first.
  struct Free {
    Entry* newest;
    ZELStringAtom oldest;
    std::uint32_t count;
  };

  Entry& EntryOf(ZELStringAtom atom) const noexcept {
    return chunks_[atom >> kUnitBits]->units[atom % kUnits];
  }
  State& StateOf(ZELStringAtom atom) const noexcept {
    return chunks_[atom >> kUnitBits]->states[atom % kUnits];
  }
  auto NextOf() const noexcept {
    return [this](ZELStringAtom atom) -> ZELStringAtom& { return EntryOf(atom).next; };
  }
  // Most texts are short and lie right behind their entry; of others there is the address.
  bool IsInline(std::size_t length) const noexcept { return length < inlineRoom_; }
  static char* Behind(Entry& entry) noexcept { return reinterpret_cast<char*>(&entry + 1); }
  std::uint32_t UnitsFor(std::size_t length) const noexcept {
    const std::size_t behind = IsInline(length) ? length + 1 : sizeof(char*);
    return static_cast<std::uint32_t>(1 + (behind + sizeof(Entry) - 1) / sizeof(Entry));
  }

  template <typename IsSought>
  Spot Search(std::uint32_t hash, IsSought isSought) const noexcept {
    ZELStringAtom* link = &index_.First(hash);
    while (*link != 0) {
      Entry& entry = EntryOf(*link);
      if (isSought(entry)) return {&entry, link};
      link = &entry.next;
    }
    return {nullptr, link};
  }

  // Makes no call when a block is waiting and the index has room.
  Found AddInline(const char* text, std::size_t length, ZELStringAtom& end,
                  std::uint32_t units) noexcept {
    if (index_.IsFull() || free_[units].count <= kFewestFree) [[unlikely]]
      return Add(text, length, end);
    const Found added = TakeBlock(units);
    Enter(added, length, end, kInlineText);
    CopyText(Behind(*added.entry), text, length + 1);
    return added;
  }
  Found Add(const char* text, std::size_t length, ZELStringAtom& end) noexcept;
  Found AddWithRoom(const char* text, std::size_t length, ZELStringAtom& end) noexcept;
  Found AddElsewhere(const char* text, std::size_t length, ZELStringAtom& end) noexcept;
  void RemoveLong(ZELStringAtom atom, Entry& entry) noexcept;
  void GrowIndex() noexcept;

  // All but the text.
  void Enter(Found added, std::size_t length, ZELStringAtom& end, State state) noexcept {
    added.entry->clientReferences = 0;
    added.entry->hostReferences = 0;
    added.entry->length = static_cast<std::uint32_t>(length);
    StateOf(added.atom) = state;
    added.entry->next = 0;
    index_.Add(added.atom, end);
  }
  void Leave(ZELStringAtom atom, Entry& entry, std::uint32_t hash) noexcept {
    StateOf(atom) = kNoAtom;
    index_.Remove(atom, entry.next, hash, NextOf());
  }

  // Without memory: {0, null}.
  Found TakeBlock(std::uint32_t units) noexcept {
    Free& free = free_[units];
    if (free.count <= kFewestFree) [[unlikely]]
      return TakeFreshBlock(units);
    const Found taken = {free.oldest, &EntryOf(free.oldest)};
    free.oldest = taken.entry->next;
    --free.count;
    return taken;
  }
  Found TakeFreshBlock(std::uint32_t units) noexcept;
  void GiveBack(Found block, std::uint32_t units) noexcept {
    Free& free = free_[units];
    block.entry->next = 0;
    (free.count == 0 ? free.oldest : free.newest->next) = block.atom;
    free.newest = block.entry;
    ++free.count;
  }
  bool AddChunk() noexcept;

  AtomIndex index_;
  TextHasher hasher_;
  Chunk** chunks_ = nullptr;
  std::uint32_t chunkCount_ = 0;
  std::uint32_t fresh_ = 0;  // the first unit of the newest chunk that was never handed out
  Free free_[kMostUnits + 1] = {};
  std::size_t inlineRoom_ = 0;  // a shorter text lies behind its entry
  Heap longTexts_;
};

}  // namespace zelhost
