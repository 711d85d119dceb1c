// The ledger: what the layer knows of the things that cross the boundary, from the calls that it
// has seen. It asks nobody: not one call more reaches the host or the library than without the
// layer.
//
// Of a thing whose birth was not seen nothing is known, and nothing is judged.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include "call.h"
#include "memory_map.h"

namespace zelcheck {

// References that were taken and not given back, by whom.
struct Holders {
  std::int32_t of[2] = {0, 0};  // by Actor
  Origin last[2];               // the latest call that took one

  std::int32_t& By(Actor actor) { return of[static_cast<int>(actor)]; }
  std::int32_t Of(Actor actor) const { return of[static_cast<int>(actor)]; }
  std::int32_t Sum() const { return of[0] + of[1]; }
  // A client that gave back too much has not given back what the library holds.
  bool IsHeld() const { return of[0] > 0 || of[1] > 0; }
  void Take(const Call& call) {
    ++By(call.By());
    last[static_cast<int>(call.By())] = call.Here();
  }
};

struct Instance {
  bool isLive = true;
  bool isDeathSeen = false;       // its destroy procedure comes through the layer
  bool clientHeldOne = false;     // a client has been seen to take a reference
  const char* kind = "instance";  // or the name of the interface that it offers, or "stream"
  Holders holders;
  Origin made;
  Origin returned;  // the call that last gave it to a client
  Origin ended;
  void* object = nullptr;
  ZELInstance holder = nullptr;  // the container that it was last seen in
  ZELInstance schema = nullptr;  // of a validator
};

struct Atom {
  bool isLive = true;
  const char* interfaceName = nullptr;  // the layer's own constant, when it is such a name
  bool clientHeldOne = false;
  bool isHeldByHost = false;  // it came from something that the host holds it for
  std::string text;           // shortened
  bool isShortened = false;
  const char* address = nullptr;  // as GetCString gave it; null: not asked yet
  Holders holders;
  Origin made;
  Origin ended;
};

struct Error {
  bool isLive = true;
  bool clientHeldOne = false;
  std::string message;
  std::int32_t id = 0;
  bool isKnown = false;  // message and number are those that it was made with
  Holders holders;
  Origin made;
  Origin ended;
};

struct Buffer {
  bool isLive = true;
  bool clientHeldOne = false;
  std::uint32_t size = 0;
  const void* address = nullptr;
  Holders holders;
  Origin made;
  Origin ended;
};

struct Block {
  bool isLive = true;
  std::size_t size = 0;
  Actor owner = Actor::kClient;
  Origin made;
  Origin ended;
};

struct Ledger {
  std::unordered_map<ZELInstance, Instance> instances;
  std::unordered_map<const void*, ZELInstance> objects;  // of live instances
  std::unordered_map<ZELStringAtom, Atom> atoms;
  std::unordered_map<ZELErrorObject, Error> errors;
  std::unordered_map<ZELSharedBuff, Buffer> buffers;
  std::unordered_map<const void*, Block> blocks;
  MemoryMap memory;  // what the blocks cover

  // After a stop. Instances stay: the host may still end them, once.
  void ForgetAllButInstances() {
    atoms.clear();
    errors.clear();
    buffers.clear();
    blocks.clear();
    memory.Clear();
  }
};

// A thing that has just been made.
template <typename Thing>
Thing MadeBy(const Call& call) {
  Thing thing;
  thing.made = call.Here();
  return thing;
}

// The entry of a key, or null.
template <typename Map>
auto* Find(Map& map, const typename Map::key_type& key) {
  const auto found = map.find(key);
  return found == map.end() ? nullptr : &found->second;
}

}  // namespace zelcheck
