#include "storage/atom_table.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cstdlib>
#include <limits>
#include <new>
#include <random>

namespace zelhost {

namespace {

constexpr std::size_t kFirstSlotCount = 1024;  // a power of two

template <typename Word>
std::uint64_t Load(const char* bytes) noexcept {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// Both ends of a text of at most sixteen bytes: two texts of one length are equal when these are.
struct Ends {
  std::uint64_t first;
  std::uint64_t last;
  bool operator==(const Ends&) const = default;
};

[[gnu::always_inline]] inline Ends EndsOf(const char* text, std::size_t length) noexcept {
  if (length >= 8) {
    return {Load<std::uint64_t>(text), Load<std::uint64_t>(text + length - 8)};
  }
  if (length >= 4) {
    return {Load<std::uint32_t>(text), Load<std::uint32_t>(text + length - 4)};
  }
  const auto byte = [&](std::size_t i) { return Load<unsigned char>(text + i); };
  if (length == 0) return {0, 0};
  return {byte(0) | byte(length / 2) << 8 | byte(length - 1) << 16, 0};
}

constexpr std::size_t kShort = 16;
constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15u;

[[gnu::always_inline]] inline std::uint64_t Mix(std::uint64_t hash, std::uint64_t word) noexcept {
  hash = (hash ^ word) * kMultiplier;
  return hash ^ hash >> 32;
}

[[gnu::noinline]] std::uint64_t MixLongText(std::uint64_t hash, const char* text,
                                            std::size_t length) noexcept {
  for (; length > kShort; length -= 8, text += 8) hash = Mix(hash, Load<std::uint64_t>(text));
  const Ends ends = EndsOf(text, length);
  return Mix(Mix(hash, ends.first), ends.last);
}

// From the system, so that a document cannot bring along keys that all collide.
std::uint64_t NewSeed(const void* address) {
  const auto time = std::chrono::steady_clock::now().time_since_epoch().count();
  const std::uint64_t fallback =
      static_cast<std::uint64_t>(time) ^ reinterpret_cast<std::uintptr_t>(address);
  try {
    std::random_device device;
    return fallback ^ (std::uint64_t{device()} << 32 | device());
  } catch (...) {
    return fallback;
  }
}

}  // namespace

void AtomTable::Open(bool separate) {
  longTexts_.Open(separate);
  separate_ = separate;
  slots_ = new Slot[kFirstSlotCount]{};
  mask_ = kFirstSlotCount - 1;
  seed_ = NewSeed(slots_);
}

void AtomTable::Close() noexcept {
  for (std::uint32_t i = 0; i < chunkCount_; ++i) std::free(chunks_[i]);
  std::free(static_cast<void*>(chunks_));
  delete[] slots_;
  longTexts_.Close();
  *this = AtomTable();
}

template <typename IsEqual>
[[gnu::always_inline]] inline AtomTable::Found AtomTable::FindOrAdd(const char* text,
                                                                    std::size_t length,
                                                                    std::uint32_t hash,
                                                                    IsEqual isEqual) {
  for (std::size_t place = hash & mask_; slots_[place].atom != 0; place = (place + 1) & mask_) {
    if (slots_[place].hash != hash) continue;
    Entry& entry = EntryOf(slots_[place].atom);
    if (entry.length == length && isEqual(TextOf(entry))) return {slots_[place].atom, &entry};
  }
  return Add(text, length, hash);
}

AtomTable::Found AtomTable::FindOrAdd(const char* text) {
  const std::size_t length = std::strlen(text);
  const std::uint64_t start = seed_ ^ (length * kMultiplier);
  if (length > kShort) [[unlikely]] {
    const auto hash = static_cast<std::uint32_t>(MixLongText(start, text, length));
    return FindOrAdd(text, length, hash,
                     [&](const char* other) { return std::memcmp(other, text, length) == 0; });
  }
  const Ends ends = EndsOf(text, length);
  const auto hash = static_cast<std::uint32_t>(Mix(Mix(start, ends.first), ends.last));
  return FindOrAdd(text, length, hash,
                   [&](const char* other) { return EndsOf(other, length) == ends; });
}

AtomTable::Found AtomTable::Add(const char* text, std::size_t length, std::uint32_t hash) {
  if (length > std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
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
  chunks_[atom >> kUnitBits]->FlipLive(atom % kUnits);
  EnterInto(slots_, mask_, {atom, hash});
  ++used_;
  return {atom, &entry};
}

void AtomTable::Remove(ZELStringAtom atom, Entry& entry) noexcept {
  Forget(atom, entry.hash);
  chunks_[atom >> kUnitBits]->FlipLive(atom % kUnits);
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
  if (chunkCount_ == 0 || kUnits - fresh_ < units) AddChunk();
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
  std::memset(chunk->live, 0, sizeof chunk->live);
  // The rest of the newest chunk is too little for one block and enough for a smaller one.
  const std::uint32_t left = chunkCount_ == 0 ? 0 : kUnits - fresh_;
  if (left > 1) GiveBack(((chunkCount_ - 1) << kUnitBits) + fresh_, left);
  chunks_[chunkCount_++] = chunk;
  fresh_ = chunkCount_ == 1 ? 1 : 0;
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
