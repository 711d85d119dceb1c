#include "storage/atom_table.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <limits>
#include <new>

namespace zelhost {

void AtomTable::Open(bool separate) {
  longTexts_.Open(separate);
  inlineRoom_ = separate ? 0 : kInlineRoom;
  hasher_ = TextHasher::New();
  if (!index_.Open() || !AddChunk()) throw std::bad_alloc();
  fresh_ = 1;
}

void AtomTable::Close() noexcept {
  for (std::uint32_t i = 0; i < chunkCount_; ++i) std::free(chunks_[i]);
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
  const Spot spot = Search(hash, [&](Entry& entry) {
    return entry.length == length && std::memcmp(TextOf(entry), text, length) == 0;
  });
  if (spot.entry != nullptr) return {*spot.link, spot.entry};
  return IsInline(length) ? AddInline(text, length, *spot.link, UnitsFor(length))
                          : Add(text, length, *spot.link);
}

AtomTable::Found AtomTable::Add(const char* text, std::size_t length, ZELStringAtom& end) noexcept {
  if (index_.IsFull()) [[unlikely]] {
    GrowIndex();
    const std::uint32_t hash = hasher_.Of(text, length);
    return AddWithRoom(text, length, *Search(hash, [](Entry&) { return false; }).link);
  }
  return AddWithRoom(text, length, end);
}

AtomTable::Found AtomTable::AddWithRoom(const char* text, std::size_t length,
                                        ZELStringAtom& end) noexcept {
  if (!IsInline(length)) [[unlikely]]
    return AddElsewhere(text, length, end);
  const Found added = TakeBlock(UnitsFor(length));
  if (added.entry == nullptr) [[unlikely]]
    return added;
  Enter(added, length, end, kInlineText);
  CopyText(Behind(*added.entry), text, length + 1);
  return added;
}

AtomTable::Found AtomTable::AddElsewhere(const char* text, std::size_t length,
                                         ZELStringAtom& end) noexcept {
  if (length >= std::numeric_limits<std::uint32_t>::max()) return {};
  void* const copy = longTexts_.Allocate(length + 1);
  if (copy == nullptr) return {};
  const Found added = TakeBlock(UnitsFor(length));
  if (added.entry == nullptr) {
    longTexts_.Free(copy);
    return {};
  }
  std::memcpy(copy, text, length + 1);
  std::memcpy(Behind(*added.entry), &copy, sizeof copy);
  Enter(added, length, end, kTextElsewhere);
  return added;
}

void AtomTable::GrowIndex() noexcept {
  index_.Grow(
      [this](ZELStringAtom atom) {
        Entry& entry = EntryOf(atom);
        return hasher_.Of(TextOf(entry), entry.length);
      },
      NextOf());
}

void AtomTable::RemoveLong(ZELStringAtom atom, Entry& entry) noexcept {
  char* const text = TextOf(entry);
  Leave(atom, entry, hasher_.Of(text, entry.length));
  if (!IsInline(entry.length)) longTexts_.Free(text);
  GiveBack({atom, &entry}, UnitsFor(entry.length));
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
  // The rest of the newest chunk is too little for one block and enough for a smaller one.
  const std::uint32_t left = chunkCount_ == 0 ? 0 : kUnits - fresh_;
  if (left > 1) {
    const ZELStringAtom rest = ((chunkCount_ - 1) << kUnitBits) + fresh_;
    GiveBack({rest, &EntryOf(rest)}, left);
  }
  chunks_[chunkCount_++] = chunk;
  fresh_ = 0;
  return true;
}

}  // namespace zelhost
