// The string-atom interface: one number and one text address for equal texts. References of clients
// and of the host are counted apart.
#include <cstring>
#include <string>

#include "services.h"
#include "storage/atom_table.h"

namespace zelhost {

namespace {

using Entry = AtomTable::Entry;

constinit AtomTable table;

// The entry of an atom that somebody holds; else null, and the misuse is noted.
Entry* Require(ZELStringAtom atom, const char* procedure) noexcept {
  Entry* const entry = table.Find(atom);
  if (entry == nullptr) {
    NoteMisuse(procedure, atom == 0 ? "of the null atom" : "of an atom that nobody holds");
  }
  return entry;
}

// 0 when there is no memory.
ZELStringAtom WithReference(AtomTable::Found found) noexcept {
  if (found.entry != nullptr) ++found.entry->clientReferences;
  return found.atom;
}

[[gnu::noinline]] ZELStringAtom NewStringAtomChecked(const char* text) noexcept {
  if (Fails(Service::kNewStringAtom)) return 0;
  if (text != nullptr) return WithReference(table.FindOrAdd(text));
  NoteMisuse("NewStringAtom", "of null");
  return 0;
}

[[gnu::noinline]] ZELStringAtom NewStringAtomOfNew(const char* text, std::size_t length,
                                                   ZELStringAtom& end) noexcept {
  return WithReference(table.AddShort(text, length, end));
}
[[gnu::noinline]] ZELStringAtom NewStringAtomOfLong(const char* text, std::size_t length) noexcept {
  return WithReference(table.FindOrAdd(text, length, table.Hasher().OfLong(text, length)));
}

ZELStringAtom NewStringAtom(const char* text) noexcept {
  if (!IsPlainCall() || text == nullptr) [[unlikely]]
    return NewStringAtomChecked(text);
  CountPlainCall(Service::kNewStringAtom);
  const std::size_t length = std::strlen(text);
  if (length > kShortText) [[unlikely]]
    return NewStringAtomOfLong(text, length);
  const TextEnds ends = EndsOf(text, length);
  const std::uint32_t hash = table.Hasher().OfShort(ends, length);
  const AtomTable::Spot spot = table.FindShort(length, hash, ends);
  if (spot.entry == nullptr) [[unlikely]]
    return NewStringAtomOfNew(text, length, *spot.link);
  ++spot.entry->clientReferences;
  return *spot.link;
}

// Of an atom that no client holds any more.
[[gnu::noinline]] void Remove(ZELStringAtom atom, Entry& entry) noexcept {
  if (!table.IsHeldByHost(atom)) table.Remove(atom, entry);
}

[[gnu::noinline]] void DeleteStringAtomChecked(ZELStringAtom atom) noexcept {
  if (Refuses(Service::kDeleteStringAtom)) return;
  Entry* const entry = Require(atom, "DeleteStringAtom");
  if (entry == nullptr) return;
  if (entry->clientReferences == 0) {
    NoteMisuse("DeleteStringAtom", "of an atom that no client holds");
  } else if (--entry->clientReferences == 0) {
    Remove(atom, *entry);
  }
}

void DeleteStringAtom(ZELStringAtom atom) noexcept {
  Entry* const entry = IsPlainCall() ? table.Find(atom) : nullptr;
  if (entry == nullptr || entry->clientReferences == 0) [[unlikely]]
    return DeleteStringAtomChecked(atom);
  CountPlainCall(Service::kDeleteStringAtom);
  if (--entry->clientReferences == 0) Remove(atom, *entry);
}

[[gnu::noinline]] const char* GetCStringChecked(ZELStringAtom atom) noexcept {
  if (Refuses(Service::kGetCString)) return nullptr;
  Entry* const entry = Require(atom, "GetCString");
  return entry == nullptr ? nullptr : table.TextOf(atom);
}

const char* GetCString(ZELStringAtom atom) noexcept {
  const char* const text = IsPlainCall() ? table.FindInlineText(atom) : nullptr;
  if (text == nullptr) [[unlikely]]
    return GetCStringChecked(atom);
  CountPlainCall(Service::kGetCString);
  return text;
}

[[gnu::noinline]] void AddRefChecked(ZELStringAtom atom) noexcept {
  if (Refuses(Service::kAddRefStringAtom)) return;
  if (Entry* const entry = Require(atom, "AddRef")) ++entry->clientReferences;
}

void AddRef(ZELStringAtom atom) noexcept {
  Entry* const entry = IsPlainCall() ? table.Find(atom) : nullptr;
  if (entry == nullptr) [[unlikely]]
    return AddRefChecked(atom);
  CountPlainCall(Service::kAddRefStringAtom);
  ++entry->clientReferences;
}

void Open(const HostOptions& options) {
  table.Open(options.guardMemory);
  const Procedure procedures[] = {ZEL_STRING_METHODS(ZELHOST_PROCEDURE)};
  OfferProcedures(ZEL_STRING_INTERFACE, procedures);
}

void Close() noexcept { table.Close(); }

template <typename Visit>
void ForEachHeldByClients(Visit visit) {
  table.ForEach([&](ZELStringAtom atom) {
    const std::uint32_t references = table.Find(atom)->clientReferences;
    if (references != 0) visit(atom, references);
  });
}

void Count(Counts& counts) {
  ForEachHeldByClients([&](ZELStringAtom, std::uint32_t references) {
    ++counts.atoms;
    counts.atomReferences += references;
  });
}

void ListLeaks(std::vector<Leak>& leaks) {
  ForEachHeldByClients([&](ZELStringAtom atom, std::uint32_t references) {
    leaks.push_back({Leak::Kind::kAtom, "atom " + Quoted(table.TextOf(atom)) + ", " +
                                            Plural(references, "reference")});
  });
}

}  // namespace

constinit const ServiceLife kAtomLife = {Open, Close, Count, ListLeaks};

ZELStringAtom KeepAtom(const char* text) noexcept {
  const AtomTable::Found found = table.FindOrAdd(text);
  if (found.entry == nullptr || table.AddHostReference(found.atom)) return found.atom;
  if (found.entry->clientReferences == 0) Remove(found.atom, *found.entry);
  return 0;
}

bool KeepAtom(ZELStringAtom atom) noexcept {
  return table.Find(atom) != nullptr && table.AddHostReference(atom);
}

void DropAtom(ZELStringAtom atom) noexcept {
  Entry* const entry = table.Find(atom);
  if (entry == nullptr) return;
  table.RemoveHostReference(atom);
  if (entry->clientReferences == 0) Remove(atom, *entry);
}

const char* AtomText(ZELStringAtom atom) noexcept {
  Entry* const entry = table.Find(atom);
  return entry == nullptr ? nullptr : table.TextOf(atom);
}

}  // namespace zelhost
