// The string-atom interface: one number and one text address for equal texts. References of clients
// and of the host are counted apart.
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
  if (entry == nullptr) [[unlikely]]
    NoteMisuse(procedure, atom == 0 ? "of the null atom" : "of an atom that nobody holds");
  return entry;
}

ZELStringAtom NewStringAtom(const char* text) noexcept {
  if (Fails(Service::kNewStringAtom)) return 0;
  if (text == nullptr) [[unlikely]] {
    NoteMisuse("NewStringAtom", "of null");
    return 0;
  }
  try {
    const AtomTable::Found found = table.FindOrAdd(text);
    ++found.entry->clientReferences;
    return found.atom;
  } catch (...) {
    return 0;
  }
}

void DeleteStringAtom(ZELStringAtom atom) noexcept {
  if (Refuses(Service::kDeleteStringAtom)) return;
  Entry* const entry = Require(atom, "DeleteStringAtom");
  if (entry == nullptr) [[unlikely]]
    return;
  if (entry->clientReferences == 0) [[unlikely]] {
    NoteMisuse("DeleteStringAtom", "of an atom that no client holds");
    return;
  }
  if (--entry->clientReferences == 0 && entry->hostReferences == 0) table.Remove(atom, *entry);
}

const char* GetCString(ZELStringAtom atom) noexcept {
  if (Refuses(Service::kGetCString)) return nullptr;
  Entry* const entry = Require(atom, "GetCString");
  return entry == nullptr ? nullptr : table.TextOf(*entry);
}

void AddRef(ZELStringAtom atom) noexcept {
  if (Refuses(Service::kAddRefStringAtom)) return;
  if (Entry* const entry = Require(atom, "AddRef")) ++entry->clientReferences;
}

void Open(const HostOptions& options) {
  table.Open(options.guardMemory);
  const Procedure procedures[] = {ZEL_STRING_METHODS(ZELHOST_PROCEDURE)};
  OfferProcedures(ZEL_STRING_INTERFACE, procedures);
}

void Close() noexcept { table.Close(); }

template <typename Visit>
void ForEachHeldByClients(Visit visit) {
  table.ForEach([&](Entry& entry) {
    if (entry.clientReferences != 0) visit(entry);
  });
}

void Count(Counts& counts) {
  ForEachHeldByClients([&](const Entry& entry) {
    ++counts.atoms;
    counts.atomReferences += entry.clientReferences;
  });
}

void ListLeaks(std::vector<Leak>& leaks) {
  ForEachHeldByClients([&](Entry& entry) {
    leaks.push_back({Leak::Kind::kAtom, "atom " + Quoted(table.TextOf(entry)) + ", " +
                                            Plural(entry.clientReferences, "reference")});
  });
}

}  // namespace

constinit const ServiceLife kAtomLife = {Open, Close, Count, ListLeaks};

ZELStringAtom KeepAtom(const char* text) noexcept {
  try {
    const AtomTable::Found found = table.FindOrAdd(text);
    ++found.entry->hostReferences;
    return found.atom;
  } catch (...) {
    return 0;
  }
}

void KeepAtom(ZELStringAtom atom) noexcept {
  if (Entry* const entry = table.Find(atom)) ++entry->hostReferences;
}

void DropAtom(ZELStringAtom atom) noexcept {
  Entry* const entry = table.Find(atom);
  if (entry == nullptr) return;
  if (--entry->hostReferences == 0 && entry->clientReferences == 0) table.Remove(atom, *entry);
}

const char* AtomText(ZELStringAtom atom) noexcept {
  Entry* const entry = table.Find(atom);
  return entry == nullptr ? nullptr : table.TextOf(*entry);
}

}  // namespace zelhost
