#include "storage/atom_table.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <limits>
#include <new>

namespace zelhost {

namespace {

// Copies a text of `size` bytes, its NUL included, by words, of which the last two may overlap.
// Texts are short: what memcpy makes ready for long ones costs more than their copy.
inline void CopyText(char* target, const char* text, std::size_t size) noexcept {
  using Word = std::uint64_t;
  if (size < sizeof(Word)) {
    std::memcpy(target, text, size);
    return;
  }
  const std::size_t last = size - sizeof(Word);
  for (std::size_t at = 0; at < last; at += sizeof(Word)) {
    StoreWord(target + at, LoadWord<Word>(text + at));
  }
  StoreWord(target + last, LoadWord<Word>(text + last));
}

}  // namespace

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
  for (ZELStringAtom atom = index_.First(hash); atom != 0;) {
    Entry& entry = EntryOf(atom);
    if (entry.length == length && std::memcmp(TextOf(entry), text, length) == 0) {
      return {atom, &entry};
    }
    atom = entry.next;
  }
  return Add(text, length, hash);
}

AtomTable::Found AtomTable::Add(const char* text, std::size_t length, std::uint32_t hash) noexcept {
  if (!IsInline(length)) [[unlikely]]
    return AddElsewhere(text, length, hash);
  const Found added = TakeBlock(UnitsFor(length));
  if (added.entry == nullptr) [[unlikely]]
    return added;
  CopyText(Behind(*added.entry), text, length + 1);
  Enter(added, length, hash, kInlineText);
  return added;
}

AtomTable::Found AtomTable::AddElsewhere(const char* text, std::size_t length,
                                         std::uint32_t hash) noexcept {
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
  Enter(added, length, hash, kTextElsewhere);
  return added;
}

inline void AtomTable::Enter(Found added, std::size_t length, std::uint32_t hash,
                             State state) noexcept {
  added.entry->clientReferences = 0;
  added.entry->hostReferences = 0;
  added.entry->length = static_cast<std::uint32_t>(length);
  index_.Add(added.atom, added.entry->next, hash);
  StateOf(added.atom) = state;
  if (index_.IsFull()) [[unlikely]]
    GrowIndex();
}

void AtomTable::GrowIndex() noexcept {
  index_.Grow(
      [this](ZELStringAtom atom) {
        Entry& entry = EntryOf(atom);
        return hasher_.Of(TextOf(entry), entry.length);
      },
      NextOf());
}

void AtomTable::Remove(ZELStringAtom atom, Entry& entry) noexcept {
  const char* const text = TextOf(entry);
  index_.Remove(atom, entry.next, hasher_.Of(text, entry.length), NextOf());
  StateOf(atom) = kNoAtom;
  if (!IsInline(entry.length)) [[unlikely]]
    longTexts_.Free(TextOf(entry));
  GiveBack({atom, &entry}, UnitsFor(entry.length));
}

inline void AtomTable::GiveBack(Found block, std::uint32_t units) noexcept {
  Free& free = free_[units];
  block.entry->next = 0;
  (free.count == 0 ? free.oldest : free.newest->next) = block.atom;
  free.newest = block.entry;
  ++free.count;
}

// {0, null} when there is no memory.
inline AtomTable::Found AtomTable::TakeBlock(std::uint32_t units) noexcept {
  Free& free = free_[units];
  if (free.count <= kFewestFree) [[unlikely]]
    return TakeFreshBlock(units);
  const Found taken = {free.oldest, &EntryOf(free.oldest)};
  free.oldest = taken.entry->next;
  --free.count;
  return taken;
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
