#include "storage/atom_table.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <limits>
#include <new>

namespace zelhost {

void AtomTable::Open(bool separate) {
  longTexts_.Open(separate);
  inlineRoom_ = separate ? 0 : kLongestInline + 1;
  hasher_ = TextHasher::New();
  if (!index_.Open() || !AddChunk()) throw std::bad_alloc();
  fresh_ = 1;
}

void AtomTable::Close() noexcept {
  for (std::uint32_t i = 0; i < chunkCount_; ++i) {
    std::free(chunks_[i]->hostReferences);
    std::free(chunks_[i]);
  }
  std::free(static_cast<void*>(chunks_));
  index_.Close();
  longTexts_.Close();
  *this = AtomTable();
}

AtomTable::Found AtomTable::FindOrAdd(const char* text) noexcept {
  const std::size_t length = std::strlen(text);
  return FindOrAdd(text, length, hasher_.Of(text, length));
}

AtomTable::Found AtomTable::FindOrAdd(const char* text, std::size_t length,
                                      std::uint32_t hash) noexcept {
  if (!IsInline(length)) return FindOrAddElsewhere(text, length, hash);
  const State state = StateFor(length);
  const Spot spot = Search(hash, [&](ZELStringAtom atom, const Entry& entry) {
    return StateOf(atom) == state && std::memcmp(entry.text, text, length) == 0;
  });
  if (spot.entry != nullptr) return {*spot.link, spot.entry};
  return AddInline(text, length, *spot.link, UnitsForInline(length));
}

AtomTable::Found AtomTable::FindOrAddElsewhere(const char* text, std::size_t length,
                                               std::uint32_t hash) noexcept {
  const Spot spot = Search(hash, [&](ZELStringAtom atom, const Entry& entry) {
    if (StateOf(atom) != kTextElsewhere) return false;
    const TextElsewhere known = TextElsewhereOf(entry);
    return known.length == length && std::memcmp(known.address, text, length) == 0;
  });
  if (spot.entry != nullptr) return {*spot.link, spot.entry};
  return Add(text, length, *spot.link);
}

AtomTable::Found AtomTable::Add(const char* text, std::size_t length, ZELStringAtom& end) noexcept {
  if (index_.IsFull()) [[unlikely]] {
    GrowIndex();
    const std::uint32_t hash = hasher_.Of(text, length);
    return AddWithRoom(text, length,
                       *Search(hash, [](ZELStringAtom, const Entry&) { return false; }).link);
  }
  return AddWithRoom(text, length, end);
}

AtomTable::Found AtomTable::AddWithRoom(const char* text, std::size_t length,
                                        ZELStringAtom& end) noexcept {
  if (!IsInline(length)) [[unlikely]]
    return AddElsewhere(text, length, end);
  const Found added = TakeBlock(UnitsForInline(length));
  if (added.entry == nullptr) [[unlikely]]
    return added;
  Enter(added, end, StateFor(length));
  CopyText(added.entry->text, text, length + 1);
  return added;
}

AtomTable::Found AtomTable::AddElsewhere(const char* text, std::size_t length,
                                         ZELStringAtom& end) noexcept {
  if (length >= std::numeric_limits<std::uint32_t>::max()) return {};
  auto* const copy = static_cast<char*>(longTexts_.Allocate(length + 1));
  if (copy == nullptr) return {};
  const Found added = TakeBlock(kUnitsElsewhere);
  if (added.entry == nullptr) {
    longTexts_.Free(copy);
    return {};
  }
  std::memcpy(copy, text, length + 1);
  const TextElsewhere elsewhere = {copy, static_cast<std::uint32_t>(length)};
  std::memset(added.entry->text, 0xFF, sizeof added.entry->text);
  std::memcpy(static_cast<void*>(added.entry + 1), &elsewhere, sizeof elsewhere);
  Enter(added, end, kTextElsewhere);
  return added;
}

void AtomTable::GrowIndex() noexcept {
  index_.Grow([this](ZELStringAtom atom) { return hasher_.Of(TextOf(atom), LengthOf(atom)); },
              NextOf());
}

void AtomTable::RemoveLong(ZELStringAtom atom, Entry& entry, State state) noexcept {
  if (state != kTextElsewhere) [[likely]] {
    const std::size_t length = state - 1u;
    Leave(atom, entry, hasher_.OfLong(entry.text, length));
    return GiveBack({atom, &entry}, UnitsForInline(length));
  }
  const TextElsewhere text = TextElsewhereOf(entry);
  Leave(atom, entry, hasher_.Of(text.address, text.length));
  longTexts_.Free(text.address);
  GiveBack({atom, &entry}, kUnitsElsewhere);
}

bool AtomTable::AddHostReference(ZELStringAtom atom) noexcept {
  std::uint32_t*& references = chunks_[atom >> kUnitBits]->hostReferences;
  if (references == nullptr) {
    references = static_cast<std::uint32_t*>(std::calloc(Chunk::kPlaces, sizeof *references));
    if (references == nullptr) return false;
  }
  ++references[Chunk::PlaceOf(atom % kUnits)];
  return true;
}

AtomTable::Found AtomTable::TakeFreshBlock(std::uint32_t units) noexcept {
  if (kUnits - fresh_ < units && !AddChunk()) return {};
  const ZELStringAtom atom = ((chunkCount_ - 1) << kUnitBits) + fresh_;
  fresh_ += units;
  return {atom, &EntryOf(atom)};
}

// False when there is no memory.
bool AtomTable::AddChunk() noexcept {
  if (chunkCount_ == kMostChunks) return false;
  if (std::has_single_bit(chunkCount_) || chunkCount_ == 0) {
    const std::size_t room = std::max<std::size_t>(chunkCount_ * std::size_t{2}, 1);
    void* moved = std::realloc(static_cast<void*>(chunks_), room * sizeof(void*));
    if (moved == nullptr) return false;
    chunks_ = static_cast<Chunk**>(moved);
  }
  auto* chunk = static_cast<Chunk*>(std::malloc(sizeof(Chunk)));
  if (chunk == nullptr) return false;
  std::memset(chunk->states, kNoAtom, sizeof chunk->states);
  chunk->hostReferences = nullptr;
  // The rest of the newest chunk is too little for one block and enough for a smaller one.
  const std::uint32_t left = chunkCount_ == 0 ? 0 : kUnits - fresh_;
  if (left >= kShortUnits) {
    const ZELStringAtom rest = ((chunkCount_ - 1) << kUnitBits) + fresh_;
    GiveBack({rest, &EntryOf(rest)}, left);
  }
  chunks_[chunkCount_++] = chunk;
  fresh_ = 0;
  return true;
}

}  // namespace zelhost
