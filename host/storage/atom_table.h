// The texts of string atoms, found by text and by number.
//
// An atom is a block of units in a chunk: the count of its references and its text, which keeps its
// address until the atom is removed. The number tells chunk and unit, so that a text is looked at
// only to find its atom, and so that a number that is no atom is recognised. Numbers are used again
// as late as possible.
//
// Many atoms leave the processor's cache, which costs more than any instruction: an atom is small,
// and facts that are seldom asked for stand apart.
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
  // The beginning of an atom's block; a text that is not short goes on in the next units.
  struct Entry {
    std::uint32_t clientReferences;
    ZELStringAtom next;  // of the same place in the index; in a free block: the next one
    char text[kShortText + 1];
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
    return Search(hash, [&](ZELStringAtom, const Entry& entry) {
      return EndsOf(entry.text, length) == ends && entry.text[length] == '\0';
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
    return &chunks_[chunk]->EntryAt(atom % kUnits);
  }
  // The text of an atom, if that lies in its block as most do; else null.
  const char* FindInlineText(ZELStringAtom atom) const noexcept {
    const std::uint32_t chunk = atom >> kUnitBits;
    // Neither kNoAtom nor kTextElsewhere.
    if (chunk >= chunkCount_ ||
        static_cast<State>(chunks_[chunk]->states[atom % kUnits] - 1) >= kTextElsewhere - 1) {
      return nullptr;
    }
    return chunks_[chunk]->EntryAt(atom % kUnits).text;
  }
  void Remove(ZELStringAtom atom, Entry& entry) noexcept {
    const State state = StateOf(atom);
    if (state > StateFor(kShortText)) [[unlikely]]
      return RemoveLong(atom, entry, state);
    const std::size_t length = state - 1u;
    Leave(atom, entry, hasher_.OfShort(EndsOf(entry.text, length), length));
    GiveBack({atom, &entry}, kShortUnits);
  }

  // Of an atom that is there.
  char* TextOf(ZELStringAtom atom) const noexcept {
    Entry& entry = EntryOf(atom);
    return StateOf(atom) == kTextElsewhere ? TextElsewhereOf(entry).address : entry.text;
  }

  // References of the host, which few atoms have: a chunk has room for them once one has. The atoms
  // must be there. False when there is no memory.
  bool AddHostReference(ZELStringAtom atom) noexcept;
  void RemoveHostReference(ZELStringAtom atom) noexcept {
    --chunks_[atom >> kUnitBits]->hostReferences[Chunk::PlaceOf(atom % kUnits)];
  }
  bool IsHeldByHost(ZELStringAtom atom) const noexcept {
    const std::uint32_t* const references = chunks_[atom >> kUnitBits]->hostReferences;
    return references != nullptr && references[Chunk::PlaceOf(atom % kUnits)] != 0;
  }

  template <typename Visit>
  void ForEach(Visit visit) const {
    for (std::uint32_t i = 0; i < chunkCount_; ++i) {
      for (std::uint32_t unit = 0; unit < kUnits; ++unit) {
        if (chunks_[i]->states[unit] != kNoAtom) visit((i << kUnitBits) + unit);
      }
    }
  }

 private:
  static constexpr std::size_t kUnitBytes = 8;
  static constexpr unsigned kUnitBits = 13;
  static constexpr std::uint32_t kUnits = 1u << kUnitBits;  // of a chunk
  // Number 0 is no atom: the first unit of the first chunk stays unused.
  static constexpr std::uint32_t kMostChunks = 0xFFFFFFFFu >> kUnitBits;
  // Free blocks of a size that are not used again.
  static constexpr std::uint32_t kFewestFree = 64;

  // Of a unit: 0 when no atom begins with it; else where that has its text: in the block, with the
  // length and 1 as the state, or elsewhere.
  using State = std::uint8_t;
  static constexpr State kNoAtom = 0;
  static constexpr State kTextElsewhere = 0xFF;
  static constexpr std::size_t kLongestInline = kTextElsewhere - 2;
  static constexpr State StateFor(std::size_t inlineLength) noexcept {
    return static_cast<State>(inlineLength + 1);
  }

  // A text elsewhere. It is told behind an entry whose own text has no NUL, so that this is equal
  // to no short text.
  struct TextElsewhere {
    char* address;
    std::uint32_t length;
  };

  // Of a block. All short texts have blocks of one size.
  static constexpr std::uint32_t kShortUnits = sizeof(Entry) / kUnitBytes;
  static constexpr std::uint32_t kMostUnits = kLongestInline / kUnitBytes + 2;
  static constexpr std::uint32_t kUnitsElsewhere = kShortUnits + sizeof(TextElsewhere) / kUnitBytes;
  static constexpr std::uint32_t UnitsForInline(std::size_t length) noexcept {
    static_assert(offsetof(Entry, text) == kUnitBytes && sizeof(Entry) % kUnitBytes == 0);
    return length <= kShortText ? kShortUnits : static_cast<std::uint32_t>(length / kUnitBytes + 2);
  }

  struct Chunk {
    Entry& EntryAt(std::uint32_t unit) noexcept {
      return *reinterpret_cast<Entry*>(units + unit * kUnitBytes);
    }
    // Stretches of so many units that at most one atom begins in each.
    static constexpr std::uint32_t kPlaces = kUnits / kShortUnits + 1;
    static std::uint32_t PlaceOf(std::uint32_t unit) noexcept { return unit / kShortUnits; }

    alignas(kUnitBytes) std::byte units[kUnits * kUnitBytes];
    State states[kUnits];
    std::uint32_t* hostReferences;  // by place; null while the host holds none of the atoms
  };
  // The free blocks of one size, the oldest first.
  struct Free {
    Entry* newest;
    ZELStringAtom oldest;
    std::uint32_t count;
  };

  Entry& EntryOf(ZELStringAtom atom) const noexcept {
    return chunks_[atom >> kUnitBits]->EntryAt(atom % kUnits);
  }
  State& StateOf(ZELStringAtom atom) const noexcept {
    return chunks_[atom >> kUnitBits]->states[atom % kUnits];
  }
  auto NextOf() const noexcept {
    return [this](ZELStringAtom atom) -> ZELStringAtom& { return EntryOf(atom).next; };
  }
  bool IsInline(std::size_t length) const noexcept { return length < inlineRoom_; }
  static TextElsewhere TextElsewhereOf(const Entry& entry) noexcept {
    TextElsewhere text;
    std::memcpy(&text, &entry + 1, sizeof text);
    return text;
  }
  std::size_t LengthOf(ZELStringAtom atom) const noexcept {
    const State state = StateOf(atom);
    return state == kTextElsewhere ? TextElsewhereOf(EntryOf(atom)).length : state - 1u;
  }

  template <typename IsSought>
  Spot Search(std::uint32_t hash, IsSought isSought) const noexcept {
    ZELStringAtom* link = &index_.First(hash);
    while (*link != 0) {
      Entry& entry = EntryOf(*link);
      if (isSought(*link, entry)) return {&entry, link};
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
    Enter(added, end, StateFor(length));
    CopyText(added.entry->text, text, length + 1);
    return added;
  }
  Found FindOrAddElsewhere(const char* text, std::size_t length, std::uint32_t hash) noexcept;
  Found Add(const char* text, std::size_t length, ZELStringAtom& end) noexcept;
  Found AddWithRoom(const char* text, std::size_t length, ZELStringAtom& end) noexcept;
  Found AddElsewhere(const char* text, std::size_t length, ZELStringAtom& end) noexcept;
  void RemoveLong(ZELStringAtom atom, Entry& entry, State state) noexcept;
  void GrowIndex() noexcept;

  // All but the text.
  void Enter(Found added, ZELStringAtom& end, State state) noexcept {
    added.entry->clientReferences = 0;
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
  std::size_t inlineRoom_ = 0;  // a shorter text lies in its block
  Heap longTexts_;
};

}  // namespace zelhost
