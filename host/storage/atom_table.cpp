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
  index_.Open();
  hasher_ = TextHasher::New();
  AddChunk();
  // Number 0 is no atom, and no text's length is that of its entry.
  chunks_[0]->units[0] = {0, 0, std::numeric_limits<std::uint32_t>::max(), 0};
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
  return FindOrAdd(text, length,
                   length > kShortText ? hasher_.OfLong(text, length)
                                       : hasher_.OfShort(EndsOf(text, length), length));
}

AtomTable::Found AtomTable::FindOrAdd(const char* text, std::size_t length,
                                      std::uint32_t hash) noexcept {
  const std::size_t place = index_.Find(hash, [&](ZELStringAtom atom) {
    Entry& entry = EntryOf(atom);
    return entry.length == length && std::memcmp(TextOf(entry), text, length) == 0;
  });
  const ZELStringAtom known = index_.At(place);
  if (known != 0) return {known, &EntryOf(known)};
  try {
    return Add(place, text, length, hash);
  } catch (const std::bad_alloc&) {
    return {};
  }
}

// Adds an atom at the place where the search for it has ended. Throws bad_alloc.
[[gnu::always_inline]] inline AtomTable::Found AtomTable::Add(std::size_t place, const char* text,
                                                              std::size_t length,
                                                              std::uint32_t hash) {
  if (length >= std::numeric_limits<std::uint32_t>::max()) [[unlikely]]
    throw std::bad_alloc();
  const bool isFull = index_.IsFull();
  if (isFull) [[unlikely]]
    index_.Grow();
  const Found added = TakeBlock(UnitsFor(length));
  *added.entry = {0, 0, static_cast<std::uint32_t>(length), hash};
  if (IsInline(length)) [[likely]] {
    CopyText(Behind(*added.entry), text, length + 1);
    StateOf(added.atom) = kInlineText;
  } else {
    KeepElsewhere(added, text, length);
  }
  if (isFull) [[unlikely]] {
    index_.Add(added.atom, hash);
  } else {
    index_.AddAt(place, added.atom, hash);
  }
  return added;
}

// Throws bad_alloc, and has given the atom's block back then.
void AtomTable::KeepElsewhere(Found added, const char* text, std::size_t length) {
  void* const copy = longTexts_.Allocate(length + 1);
  if (copy == nullptr) {
    GiveBack(added, UnitsFor(length));
    throw std::bad_alloc();
  }
  std::memcpy(copy, text, length + 1);
  std::memcpy(Behind(*added.entry), &copy, sizeof copy);
  StateOf(added.atom) = kTextElsewhere;
}

void AtomTable::Remove(ZELStringAtom atom, Entry& entry) noexcept {
  index_.Remove(atom, entry.hash);
  StateOf(atom) = kNoAtom;
  if (!IsInline(entry.length)) [[unlikely]]
    longTexts_.Free(TextOf(entry));
  GiveBack({atom, &entry}, UnitsFor(entry.length));
}

inline void AtomTable::GiveBack(Found block, std::uint32_t units) noexcept {
  Free& free = free_[units];
  block.entry->hash = 0;
  (free.count == 0 ? free.oldest : free.newest->hash) = block.atom;
  free.newest = block.entry;
  ++free.count;
}

// Throws bad_alloc.
[[gnu::always_inline]] inline AtomTable::Found AtomTable::TakeBlock(std::uint32_t units) {
  Free& free = free_[units];
  if (free.count <= kFewestFree) [[unlikely]]
    return TakeFreshBlock(units);
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

}  // namespace zelhost
