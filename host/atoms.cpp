// The string-atom interface: a hash table of texts. An atom is an index into the entries, so that
// only NewStringAtom looks at a text; each text keeps its address until its last reference is gone.
#include <chrono>
#include <cstring>

#include "heap.h"
#include "services.h"

namespace zelhost {

namespace {

struct Entry {
  char* text;  // null: the entry is free
  std::uint32_t hash;
  std::uint32_t next;  // in the bucket's chain or in the list of free entries; 0: last
  std::uint32_t clientReferences;
  std::uint32_t hostReferences;
};

struct State {
  std::vector<Entry> entries;          // [0] is no atom
  std::vector<std::uint32_t> buckets;  // first entry of each chain; their number is a power of two
  std::uint32_t firstFree = 0;
  std::size_t used = 0;
  std::uint64_t seed = 0;
};

constexpr std::size_t kFirstBucketCount = 1024;

State* state = nullptr;
Heap texts;

template <typename Word>
std::uint64_t Load(const char* bytes) noexcept {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

// Up to seven bytes as one number, different for different bytes of one length.
std::uint64_t LoadTail(const char* bytes, std::size_t length) noexcept {
  if (length >= 4) {
    return Load<std::uint32_t>(bytes) | Load<std::uint32_t>(bytes + length - 4) << 32;
  }
  if (length == 0) return 0;
  const auto byte = [&](std::size_t i) { return Load<unsigned char>(bytes + i); };
  return byte(0) | byte(length / 2) << 8 | byte(length - 1) << 16;
}

// Eight bytes a step. The seed keeps documents from bringing along keys that all collide.
std::uint32_t Hash(const char* text, std::size_t length) noexcept {
  constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15u;
  std::uint64_t hash = state->seed ^ (length * kMultiplier);
  const auto mix = [&](std::uint64_t word) {
    hash = (hash ^ word) * kMultiplier;
    hash ^= hash >> 32;
  };
  for (; length >= 8; length -= 8, text += 8) mix(Load<std::uint64_t>(text));
  mix(LoadTail(text, length));
  return static_cast<std::uint32_t>(hash);
}

std::uint32_t& BucketOf(std::uint32_t hash) noexcept {
  return state->buckets[hash & (state->buckets.size() - 1)];
}

void DoubleBuckets() {
  std::vector<std::uint32_t> larger(state->buckets.size() * 2);
  state->buckets.swap(larger);
  for (std::uint32_t i = 1; i < state->entries.size(); ++i) {
    Entry& entry = state->entries[i];
    if (entry.text == nullptr) continue;
    std::uint32_t& bucket = BucketOf(entry.hash);
    entry.next = bucket;
    bucket = i;
  }
}

// The atom of a text, made if there is none; its references are as they were. Throws bad_alloc.
ZELStringAtom FindOrAdd(const char* text) {
  const std::size_t length = std::strlen(text);
  const std::uint32_t hash = Hash(text, length);
  for (std::uint32_t i = BucketOf(hash); i != 0; i = state->entries[i].next) {
    const Entry& entry = state->entries[i];
    if (entry.hash == hash && std::strcmp(entry.text, text) == 0) return i;
  }
  if (state->used >= state->buckets.size()) DoubleBuckets();
  if (state->firstFree == 0) {
    if (state->entries.size() > UINT32_MAX) throw std::bad_alloc();
    state->entries.push_back({});
    state->firstFree = static_cast<std::uint32_t>(state->entries.size() - 1);
  }
  auto* copy = static_cast<char*>(texts.Allocate(length + 1));
  if (copy == nullptr) throw std::bad_alloc();
  std::memcpy(copy, text, length + 1);

  const std::uint32_t atom = state->firstFree;
  Entry& entry = state->entries[atom];
  std::uint32_t& bucket = BucketOf(hash);
  state->firstFree = entry.next;
  entry = {copy, hash, bucket, 0, 0};
  bucket = atom;
  ++state->used;
  return atom;
}

Entry* Find(ZELStringAtom atom) noexcept {
  if (state == nullptr || atom >= state->entries.size()) return nullptr;
  Entry& entry = state->entries[atom];
  return entry.text == nullptr ? nullptr : &entry;
}

void RemoveIfUnused(Entry& entry) noexcept {
  if (entry.clientReferences != 0 || entry.hostReferences != 0) return;
  const auto atom = static_cast<std::uint32_t>(&entry - state->entries.data());
  std::uint32_t* link = &BucketOf(entry.hash);
  while (*link != atom) link = &state->entries[*link].next;
  *link = entry.next;
  texts.Free(entry.text);
  entry.text = nullptr;
  entry.next = state->firstFree;
  state->firstFree = atom;
  --state->used;
}

ZELStringAtom NewStringAtom(const char* text) noexcept {
  if (state == nullptr || Fails(Service::kNewStringAtom) || text == nullptr) return 0;
  try {
    const ZELStringAtom atom = FindOrAdd(text);
    ++state->entries[atom].clientReferences;
    return atom;
  } catch (...) {
    return 0;
  }
}

void DeleteStringAtom(ZELStringAtom atom) noexcept {
  CountCall(Service::kDeleteStringAtom);
  Entry* entry = Find(atom);
  if (entry == nullptr || entry->clientReferences == 0) {
    NoteMisuse("DeleteStringAtom of an atom that no client holds");
    return;
  }
  --entry->clientReferences;
  RemoveIfUnused(*entry);
}

const char* GetCString(ZELStringAtom atom) noexcept {
  CountCall(Service::kGetCString);
  return AtomText(atom);
}

void AddRef(ZELStringAtom atom) noexcept {
  CountCall(Service::kAddRefStringAtom);
  Entry* entry = Find(atom);
  if (entry == nullptr) {
    NoteMisuse("AddRef of an atom that nobody holds");
    return;
  }
  ++entry->clientReferences;
}

const Procedure kProcedures[] = {ZEL_STRING_METHODS(ZELHOST_PROCEDURE)};

void Open(const HostOptions& options) {
  texts.Open(options.guardMemory);
  state = new State;
  state->entries.push_back({});
  state->buckets.resize(kFirstBucketCount);
  state->seed =
      static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
      reinterpret_cast<std::uintptr_t>(state);
  OfferProcedures(ZEL_STRING_INTERFACE, kProcedures);
}

void Close() noexcept {
  delete state;
  state = nullptr;
  texts.Close();
}

void Count(Counts& counts) {
  for (const Entry& entry : state->entries) {
    counts.atoms += entry.clientReferences != 0 ? 1 : 0;
    counts.atomReferences += entry.clientReferences;
  }
}

void ListLeaks(std::vector<Leak>& leaks) {
  for (const Entry& entry : state->entries) {
    if (entry.clientReferences == 0) continue;
    leaks.push_back({Leak::Kind::kAtom, "atom " + Quoted(entry.text) + ", " +
                                            Plural(entry.clientReferences, "reference")});
  }
}

}  // namespace

const ServiceLife kAtomLife = {Open, Close, Count, ListLeaks};

ZELStringAtom KeepAtom(const char* text) noexcept {
  try {
    const ZELStringAtom atom = FindOrAdd(text);
    ++state->entries[atom].hostReferences;
    return atom;
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
  --entry->hostReferences;
  RemoveIfUnused(*entry);
}

const char* AtomText(ZELStringAtom atom) noexcept {
  const Entry* entry = Find(atom);
  return entry == nullptr ? nullptr : entry->text;
}

}  // namespace zelhost
