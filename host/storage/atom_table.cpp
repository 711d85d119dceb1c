#include "storage/atom_table.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <limits>
#include <new>

namespace zelhost {

namespace {

constexpr std::size_t kFirstSlotCount = 1024;  // a power of two

// Copies a text of `size` bytes, its NUL included. The two ends of a short one may overlap.
void CopyText(char* target, const char* text, std::size_t size) noexcept {
  constexpr std::size_t kWord = sizeof(std::uint64_t);
  if (size < kWord || size > 2 * kWord) {
    std::memcpy(target, text, size);
    return;
  }
  std::uint64_t first;
  std::uint64_t last;
  std::memcpy(&first, text, kWord);
  std::memcpy(&last, text + size - kWord, kWord);
  std::memcpy(target, &first, kWord);
  std::memcpy(target + size - kWord, &last, kWord);
}

}  // namespace

void AtomTable::Open(bool separate) {
  longTexts_.Open(separate);
  separate_ = separate;
  slots_ = new Slot[kFirstSlotCount]{};
  mask_ = kFirstSlotCount - 1;
  hasher_ = TextHasher::New();
  AddChunk();
  // Number 0 is no atom, and no text's length is that of its entry.
  chunks_[0]->units[0] = {0, 0, std::numeric_limits<std::uint32_t>::max(), 0};
  fresh_ = 1;
}

void AtomTable::Close() noexcept {
  for (std::uint32_t i = 0; i < chunkCount_; ++i) std::free(chunks_[i]);
  std::free(static_cast<void*>(chunks_));
  delete[] slots_;
  longTexts_.Close();
  *this = AtomTable();
}

AtomTable::Found AtomTable::FindOrAdd(const char* text) noexcept {
  const std::size_t length = std::strlen(text);
  return FindOrAdd(text, length,
                   length > kShortText ? hasher_.OfLong(text, length)
                                       : hasher_.OfShort(EndsOf(text, length), length));
}

AtomTable::Found AtomTable::FindOrAdd(const char* text, std::size_t length,
                                      std::uint32_t hash) noexcept {
  std::size_t place = hash & mask_;
  for (; slots_[place].atom != 0; place = (place + 1) & mask_) {
    if (slots_[place].hash != hash) continue;
    Entry& entry = EntryOf(slots_[place].atom);
    if (entry.length == length && std::memcmp(TextOf(entry), text, length) == 0) {
      return {slots_[place].atom, &entry};
    }
  }
  try {
    return Add(&slots_[place], text, length, hash);
  } catch (const std::bad_alloc&) {
    return {};
  }
}

// Throws bad_alloc.
inline AtomTable::Found AtomTable::Add(Slot* free, const char* text, std::size_t length,
                                       std::uint32_t hash) {
  if (length >= std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
  if (used_ >= mask_ / 2) [[unlikely]] {
    DoubleSlots();
    free = FreeSlot(slots_, mask_, hash);
  }
  const Found added = TakeBlock(UnitsFor(length));
  *added.entry = {0, 0, static_cast<std::uint32_t>(length), hash};
  if (IsInline(length)) [[likely]] {
    CopyText(Behind(*added.entry), text, length + 1);
    StateOf(added.atom) = kInlineText;
  } else {
    KeepElsewhere(added, text, length);
  }
  *free = {added.atom, hash};
  ++used_;
  return added;
}

// Throws bad_alloc, and has given the atom's block back then.
void AtomTable::KeepElsewhere(const Found& added, const char* text, std::size_t length) {
  void* const copy = longTexts_.Allocate(length + 1);
  if (copy == nullptr) {
    GiveBack(added, UnitsFor(length));
    throw std::bad_alloc();
  }
  std::memcpy(copy, text, length + 1);
  std::memcpy(Behind(*added.entry), &copy, sizeof copy);
  StateOf(added.atom) = kTextElsewhere;
}

// Closes the gap in the slots that an atom leaves, so that no search ends too early.
inline void AtomTable::Forget(ZELStringAtom atom, std::uint32_t hash) noexcept {
  std::size_t gap = hash & mask_;
  while (slots_[gap].atom != atom) gap = (gap + 1) & mask_;
  for (std::size_t place = (gap + 1) & mask_; slots_[place].atom != 0;
       place = (place + 1) & mask_) {
    const std::size_t distance = (place - slots_[place].hash) & mask_;
    if (distance < ((place - gap) & mask_)) continue;
    slots_[gap] = slots_[place];
    gap = place;
  }
  slots_[gap].atom = 0;
  --used_;
}

void AtomTable::Remove(ZELStringAtom atom, Entry& entry) noexcept {
  Forget(atom, entry.hash);
  StateOf(atom) = kNoAtom;
  if (!IsInline(entry.length)) [[unlikely]]
    longTexts_.Free(TextOf(entry));
  GiveBack({atom, &entry}, UnitsFor(entry.length));
}

inline void AtomTable::GiveBack(const Found& block, std::uint32_t units) noexcept {
  Free& free = free_[units];
  block.entry->hash = 0;
  (free.count == 0 ? free.oldest : free.newest->hash) = block.atom;
  free.newest = block.entry;
  ++free.count;
}

// Throws bad_alloc.
inline AtomTable::Found AtomTable::TakeBlock(std::uint32_t units) {
  Free& free = free_[units];
  if (free.count <= kFewestFree) return TakeFreshBlock(units);
  const Found taken = {free.oldest, &EntryOf(free.oldest)};
  free.oldest = taken.entry->hash;
  --free.count;
  return taken;
}

// Throws bad_alloc.
AtomTable::Found AtomTable::TakeFreshBlock(std::uint32_t units) {
  if (kUnits - fresh_ < units) AddChunk();
  const ZELStringAtom atom = ((chunkCount_ - 1) << kUnitBits) + fresh_;
  fresh_ += units;
  return {atom, &EntryOf(atom)};
}

// Throws bad_alloc.
void AtomTable::AddChunk() {
  if (chunkCount_ == kMostChunks) throw std::bad_alloc();
  if (std::has_single_bit(chunkCount_) || chunkCount_ == 0) {
    const std::size_t room = std::max<std::size_t>(chunkCount_ * std::size_t{2}, 1);
    void* moved = std::realloc(static_cast<void*>(chunks_), room * sizeof(void*));
    if (moved == nullptr) throw std::bad_alloc();
    chunks_ = static_cast<Chunk**>(moved);
  }
  auto* chunk = static_cast<Chunk*>(std::malloc(sizeof(Chunk)));
  if (chunk == nullptr) throw std::bad_alloc();
  std::memset(chunk->states, kNoAtom, sizeof chunk->states);
  // The rest of the newest chunk is too little for one block and enough for a smaller one.
  const std::uint32_t left = chunkCount_ == 0 ? 0 : kUnits - fresh_;
  if (left > 1) {
    const ZELStringAtom rest = ((chunkCount_ - 1) << kUnitBits) + fresh_;
    GiveBack({rest, &EntryOf(rest)}, left);
  }
  chunks_[chunkCount_++] = chunk;
  fresh_ = 0;
}

AtomTable::Slot* AtomTable::FreeSlot(Slot* slots, std::size_t mask, std::uint32_t hash) noexcept {
  std::size_t place = hash & mask;
  while (slots[place].atom != 0) place = (place + 1) & mask;
  return &slots[place];
}

// Throws bad_alloc.
void AtomTable::DoubleSlots() {
  const std::size_t count = (mask_ + 1) * 2;
  auto* larger = new Slot[count]{};
  for (std::size_t place = 0; place <= mask_; ++place) {
    const Slot moved = slots_[place];
    if (moved.atom != 0) *FreeSlot(larger, count - 1, moved.hash) = moved;
  }
  delete[] slots_;
  slots_ = larger;
  mask_ = count - 1;
}

}  // namespace zelhost
