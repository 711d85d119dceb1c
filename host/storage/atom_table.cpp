#include "storage/atom_table.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <limits>
#include <new>

namespace zelhost {

namespace {

constexpr std::size_t kFirstSlotCount = 1024;  // a power of two
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
  for (std::size_t place = hash & mask_; slots_[place].atom != 0; place = (place + 1) & mask_) {
    if (slots_[place].hash != hash) continue;
    Entry& entry = EntryOf(slots_[place].atom);
    if (entry.length == length && std::memcmp(TextOf(entry), text, length) == 0) {
      return {slots_[place].atom, &entry};
    }
  }
  try {
    return Add(text, length, hash);
  } catch (const std::bad_alloc&) {
    return {};
  }
}

// Throws bad_alloc.
AtomTable::Found AtomTable::Add(const char* text, std::size_t length, std::uint32_t hash) {
  if (length >= std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
  if (used_ >= mask_ / 2) DoubleSlots();
  const ZELStringAtom atom = TakeBlock(UnitsFor(length));
  Entry& entry = EntryOf(atom);
  char* copy = Behind(entry);
  if (!IsInline(length)) {
    copy = static_cast<char*>(longTexts_.Allocate(length + 1));
    if (copy == nullptr) {
      GiveBack(atom, UnitsFor(length));
      throw std::bad_alloc();
    }
    std::memcpy(Behind(entry), &copy, sizeof copy);
  }
  entry = {0, 0, static_cast<std::uint32_t>(length), hash};
  std::memcpy(copy, text, length + 1);
  StateOf(atom) = IsInline(length) ? kInlineText : kTextElsewhere;
  EnterInto(slots_, mask_, {atom, hash});
  ++used_;
  return {atom, &entry};
}

void AtomTable::Remove(ZELStringAtom atom, Entry& entry) noexcept {
  Forget(atom, entry.hash);
  StateOf(atom) = kNoAtom;
  if (!IsInline(entry.length)) longTexts_.Free(TextOf(entry));
  GiveBack(atom, UnitsFor(entry.length));
}

void AtomTable::GiveBack(ZELStringAtom atom, std::uint32_t units) noexcept {
  Free& free = free_[units];
  EntryOf(atom).hash = 0;
  (free.count == 0 ? free.oldest : EntryOf(free.newest).hash) = atom;
  free.newest = atom;
  ++free.count;
}

// Throws bad_alloc.
ZELStringAtom AtomTable::TakeBlock(std::uint32_t units) {
  Free& free = free_[units];
  if (free.count > kFewestFree) {
    const ZELStringAtom atom = free.oldest;
    free.oldest = EntryOf(atom).hash;
    --free.count;
    return atom;
  }
  if (kUnits - fresh_ < units) AddChunk();
  const ZELStringAtom atom = ((chunkCount_ - 1) << kUnitBits) + fresh_;
  fresh_ += units;
  return atom;
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
  if (left > 1) GiveBack(((chunkCount_ - 1) << kUnitBits) + fresh_, left);
  chunks_[chunkCount_++] = chunk;
  fresh_ = 0;
}

void AtomTable::EnterInto(Slot* slots, std::size_t mask, Slot entered) noexcept {
  std::size_t place = entered.hash & mask;
  while (slots[place].atom != 0) place = (place + 1) & mask;
  slots[place] = entered;
}

// Throws bad_alloc.
void AtomTable::DoubleSlots() {
  const std::size_t count = (mask_ + 1) * 2;
  auto* larger = new Slot[count]{};
  for (std::size_t place = 0; place <= mask_; ++place) {
    if (slots_[place].atom != 0) EnterInto(larger, count - 1, slots_[place]);
  }
  delete[] slots_;
  slots_ = larger;
  mask_ = count - 1;
}

// Closes the gap in the slots that an atom leaves, so that no search ends too early.
void AtomTable::Forget(ZELStringAtom atom, std::uint32_t hash) noexcept {
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

}  // namespace zelhost
