// The string-atom interface: a hash table of texts.
//
// An atom is a block in a chunk: what is counted about it and, behind that, its text, which keeps
// its address until the last reference is gone. The atom's number tells chunk and place, so that
// only NewStringAtom looks at a text, and so that a number that is no atom is recognised.
#include <algorithm>
#include <bit>
#include <chrono>
#include <cstdlib>
#include <cstring>

#include "heap.h"
#include "services.h"

namespace zelhost {

namespace {

// Where an atom's text begins. Most texts are short and lie right here; of others there is the
// address.
struct Entry {
  std::uint32_t clientReferences;
  std::uint32_t hostReferences;
  std::uint32_t length;  // of the text
  std::uint32_t hash;    // in a free block: the next one
};
static_assert(sizeof(Entry) == 16);

constexpr unsigned kUnitBits = 12;
constexpr std::uint32_t kUnits = 1u << kUnitBits;  // of a chunk, of the size of an entry
constexpr std::uint32_t kMostUnits = 16;           // of a block
constexpr std::size_t kInlineRoom = (kMostUnits - 1) * sizeof(Entry);

struct Chunk {
  std::uint64_t live[kUnits / 64];  // a bit for each unit that an atom begins with
  Entry units[kUnits];

  bool IsLive(std::uint32_t unit) const noexcept { return (live[unit / 64] >> unit % 64 & 1) != 0; }
  void FlipLive(std::uint32_t unit) noexcept { live[unit / 64] ^= std::uint64_t{1} << unit % 64; }
};

struct Slot {
  ZELStringAtom atom;  // 0: the slot is free
  std::uint32_t hash;
};

constexpr std::size_t kFirstSlotCount = 1024;  // a power of two
// Number 0 is no atom: the first unit of the first chunk stays unused.
constexpr std::uint32_t kMostChunks = std::numeric_limits<std::uint32_t>::max() >> kUnitBits;

// All zero while there is no host.
struct Table {
  Slot* slots;
  std::size_t mask;
  std::size_t used;
  std::uint64_t seed;
  Chunk** chunks;
  std::uint32_t chunkCount;
  std::uint32_t fresh;  // the first unit of the newest chunk that was never handed out
  ZELStringAtom free[kMostUnits + 1];  // first of the free blocks of so many units
  bool separate;                       // each text is a block of its own, for memory checkers
};
constinit Table table{};
Heap texts;  // the long ones

template <typename Word>
std::uint64_t Load(const char* bytes) noexcept {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// One to seven bytes as one number, different for different bytes of one length.
std::uint64_t LoadTail(const char* bytes, std::size_t length) noexcept {
  if (length >= 4) {
    return Load<std::uint32_t>(bytes) | Load<std::uint32_t>(bytes + length - 4) << 32;
  }
  const auto byte = [&](std::size_t i) { return Load<unsigned char>(bytes + i); };
  return byte(0) | byte(length / 2) << 8 | byte(length - 1) << 16;
}

// Eight bytes a step. The seed keeps documents from bringing along keys that all collide.
std::uint32_t Hash(const char* text, std::size_t length) noexcept {
  constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15u;
  std::uint64_t hash = table.seed ^ (length * kMultiplier);
  const auto mix = [&](std::uint64_t word) {
    hash = (hash ^ word) * kMultiplier;
    hash ^= hash >> 32;
  };
  for (; length >= 8; length -= 8, text += 8) mix(Load<std::uint64_t>(text));
  if (length != 0) mix(LoadTail(text, length));
  return static_cast<std::uint32_t>(hash);
}

Entry& EntryOf(ZELStringAtom atom) noexcept {
  return table.chunks[atom >> kUnitBits]->units[atom % kUnits];
}

Entry* Find(ZELStringAtom atom) noexcept {
  const std::uint32_t chunk = atom >> kUnitBits;
  if (chunk >= table.chunkCount || !table.chunks[chunk]->IsLive(atom % kUnits)) return nullptr;
  return &table.chunks[chunk]->units[atom % kUnits];
}

bool IsInline(std::size_t length) noexcept { return length < kInlineRoom && !table.separate; }

// The place behind an entry that has the text or its address.
char* Behind(Entry& entry) noexcept { return reinterpret_cast<char*>(&entry + 1); }

char* TextOf(Entry& entry) noexcept {
  if (IsInline(entry.length)) [[likely]]
    return Behind(entry);
  char* text;
  std::memcpy(&text, Behind(entry), sizeof text);
  return text;
}

std::uint32_t UnitsFor(std::size_t length) noexcept {
  const std::size_t behind = IsInline(length) ? length + 1 : sizeof(char*);
  return static_cast<std::uint32_t>(1 + (behind + sizeof(Entry) - 1) / sizeof(Entry));
}

void GiveBack(ZELStringAtom atom, std::uint32_t units) noexcept {
  EntryOf(atom).hash = table.free[units];
  table.free[units] = atom;
}

// Throws bad_alloc.
void AddChunk() {
  if (table.chunkCount == kMostChunks) throw std::bad_alloc();
  if (std::has_single_bit(table.chunkCount) || table.chunkCount == 0) {
    const std::size_t room = std::max<std::size_t>(table.chunkCount * std::size_t{2}, 1);
    void* moved = std::realloc(static_cast<void*>(table.chunks), room * sizeof(void*));
    if (moved == nullptr) throw std::bad_alloc();
    table.chunks = static_cast<Chunk**>(moved);
  }
  auto* chunk = static_cast<Chunk*>(std::malloc(sizeof(Chunk)));
  if (chunk == nullptr) throw std::bad_alloc();
  std::memset(chunk->live, 0, sizeof chunk->live);
  // What is left of the newest chunk is too little for one block and enough for a smaller one.
  const std::uint32_t left = table.chunkCount == 0 ? 0 : kUnits - table.fresh;
  if (left > 1) GiveBack(((table.chunkCount - 1) << kUnitBits) + table.fresh, left);
  table.chunks[table.chunkCount++] = chunk;
  table.fresh = table.chunkCount == 1 ? 1 : 0;
}

ZELStringAtom TakeBlock(std::uint32_t units) {
  if (const ZELStringAtom atom = table.free[units]; atom != 0) {
    table.free[units] = EntryOf(atom).hash;
    return atom;
  }
  if (table.chunkCount == 0 || kUnits - table.fresh < units) AddChunk();
  const ZELStringAtom atom = ((table.chunkCount - 1) << kUnitBits) + table.fresh;
  table.fresh += units;
  return atom;
}

void EnterInto(Slot* slots, std::size_t mask, Slot entered) noexcept {
  std::size_t place = entered.hash & mask;
  while (slots[place].atom != 0) place = (place + 1) & mask;
  slots[place] = entered;
}

void DoubleSlots() {
  const std::size_t count = (table.mask + 1) * 2;
  auto* larger = new Slot[count]{};
  for (std::size_t place = 0; place <= table.mask; ++place) {
    if (table.slots[place].atom != 0) EnterInto(larger, count - 1, table.slots[place]);
  }
  delete[] table.slots;
  table.slots = larger;
  table.mask = count - 1;
}

// A text's atom and what is known about it.
struct Found {
  ZELStringAtom atom;
  Entry* entry;
};

[[gnu::noinline]] Found Add(const char* text, std::size_t length, std::uint32_t hash) {
  if (length > std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
  if (table.used >= table.mask / 2) DoubleSlots();
  const ZELStringAtom atom = TakeBlock(UnitsFor(length));
  Entry& entry = EntryOf(atom);
  char* copy = Behind(entry);
  if (!IsInline(length)) {
    copy = static_cast<char*>(texts.Allocate(length + 1));
    if (copy == nullptr) {
      GiveBack(atom, UnitsFor(length));
      throw std::bad_alloc();
    }
    std::memcpy(Behind(entry), &copy, sizeof copy);
  }
  entry = {0, 0, static_cast<std::uint32_t>(length), hash};
  std::memcpy(copy, text, length + 1);
  table.chunks[atom >> kUnitBits]->FlipLive(atom % kUnits);
  EnterInto(table.slots, table.mask, {atom, hash});
  ++table.used;
  return {atom, &entry};
}

// The atom of a text, made if there is none; its references are as they were. Throws bad_alloc.
Found FindOrAdd(const char* text) {
  const std::size_t length = std::strlen(text);
  const std::uint32_t hash = Hash(text, length);
  for (std::size_t place = hash & table.mask; table.slots[place].atom != 0;
       place = (place + 1) & table.mask) {
    if (table.slots[place].hash != hash) continue;
    Entry& entry = EntryOf(table.slots[place].atom);
    if (entry.length == length && std::memcmp(TextOf(entry), text, length) == 0) {
      return {table.slots[place].atom, &entry};
    }
  }
  return Add(text, length, hash);
}

// Closes the gap in the slots that an atom leaves, so that no search ends too early.
void Forget(ZELStringAtom atom, std::uint32_t hash) noexcept {
  Slot* const slots = table.slots;
  std::size_t gap = hash & table.mask;
  while (slots[gap].atom != atom) gap = (gap + 1) & table.mask;
  for (std::size_t place = (gap + 1) & table.mask; slots[place].atom != 0;
       place = (place + 1) & table.mask) {
    const std::size_t distance = (place - slots[place].hash) & table.mask;
    if (distance < ((place - gap) & table.mask)) continue;
    slots[gap] = slots[place];
    gap = place;
  }
  slots[gap].atom = 0;
  --table.used;
}

[[gnu::noinline]] void Remove(ZELStringAtom atom, Entry& entry) noexcept {
  Forget(atom, entry.hash);
  table.chunks[atom >> kUnitBits]->FlipLive(atom % kUnits);
  if (!IsInline(entry.length)) texts.Free(TextOf(entry));
  GiveBack(atom, UnitsFor(entry.length));
}

ZELStringAtom NewStringAtom(const char* text) noexcept {
  if (Fails(Service::kNewStringAtom) || table.slots == nullptr || text == nullptr) return 0;
  try {
    const Found found = FindOrAdd(text);
    ++found.entry->clientReferences;
    return found.atom;
  } catch (...) {
    return 0;
  }
}

void DeleteStringAtom(ZELStringAtom atom) noexcept {
  CountCall(Service::kDeleteStringAtom);
  Entry* entry = Find(atom);
  if (entry == nullptr || entry->clientReferences == 0) [[unlikely]] {
    NoteMisuse("DeleteStringAtom of an atom that no client holds");
    return;
  }
  if (--entry->clientReferences == 0 && entry->hostReferences == 0) Remove(atom, *entry);
}

const char* GetCString(ZELStringAtom atom) noexcept {
  CountCall(Service::kGetCString);
  Entry* entry = Find(atom);
  return entry == nullptr ? nullptr : TextOf(*entry);
}

void AddRef(ZELStringAtom atom) noexcept {
  CountCall(Service::kAddRefStringAtom);
  Entry* entry = Find(atom);
  if (entry == nullptr) [[unlikely]] {
    NoteMisuse("AddRef of an atom that nobody holds");
    return;
  }
  ++entry->clientReferences;
}

const Procedure kProcedures[] = {ZEL_STRING_METHODS(ZELHOST_PROCEDURE)};

void Open(const HostOptions& options) {
  texts.Open(options.guardMemory);
  table.separate = options.guardMemory;
  table.slots = new Slot[kFirstSlotCount]{};
  table.mask = kFirstSlotCount - 1;
  table.seed =
      static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
      reinterpret_cast<std::uintptr_t>(table.slots);
  OfferProcedures(ZEL_STRING_INTERFACE, kProcedures);
}

void Close() noexcept {
  for (std::uint32_t i = 0; i < table.chunkCount; ++i) std::free(table.chunks[i]);
  std::free(static_cast<void*>(table.chunks));
  delete[] table.slots;
  table = {};
  texts.Close();
}

template <typename Visit>
void ForEachHeldByClients(Visit visit) {
  for (std::uint32_t i = 0; i < table.chunkCount; ++i) {
    for (std::uint32_t unit = 0; unit < kUnits; ++unit) {
      if (!table.chunks[i]->IsLive(unit)) continue;
      Entry& entry = table.chunks[i]->units[unit];
      if (entry.clientReferences != 0) visit(entry);
    }
  }
}

void Count(Counts& counts) {
  ForEachHeldByClients([&](Entry& entry) {
    ++counts.atoms;
    counts.atomReferences += entry.clientReferences;
  });
}

void ListLeaks(std::vector<Leak>& leaks) {
  ForEachHeldByClients([&](Entry& entry) {
    leaks.push_back({Leak::Kind::kAtom, "atom " + Quoted(TextOf(entry)) + ", " +
                                            Plural(entry.clientReferences, "reference")});
  });
}

}  // namespace

const ServiceLife kAtomLife = {Open, Close, Count, ListLeaks};

ZELStringAtom KeepAtom(const char* text) noexcept {
  try {
    const Found found = FindOrAdd(text);
    ++found.entry->hostReferences;
    return found.atom;
  } catch (...) {
    return 0;
  }
}

void KeepAtom(ZELStringAtom atom) noexcept {
  if (Entry* entry = Find(atom)) ++entry->hostReferences;
}

void DropAtom(ZELStringAtom atom) noexcept {
  Entry* entry = Find(atom);
  if (entry == nullptr) return;
  if (--entry->hostReferences == 0 && entry->clientReferences == 0) Remove(atom, *entry);
}

const char* AtomText(ZELStringAtom atom) noexcept {
  Entry* entry = Find(atom);
  return entry == nullptr ? nullptr : TextOf(*entry);
}

}  // namespace zelhost
