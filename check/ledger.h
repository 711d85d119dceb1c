// The ledger: what the layer knows of the things that cross the boundary, from the calls that it
// has seen. It asks nobody: not one call more reaches the host or the library than without the
// layer.
//
// Of a thing whose birth was not seen nothing is known, and nothing is judged.
#pragma once

#include <cstdint>
#include <string>

#include "call.h"
#include "memory_map.h"
#include "table.h"

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
  void Forget() {
    of[0] = of[1] = 0;
    last[0].row = last[1].row = nullptr;
  }
};

// The life of a thing. A record is made again in place: of an origin without a row nothing else is
// read, so that nothing else is cleared.
struct Life {
  bool isLive = false;
  bool clientHeldOne = false;  // a client has been seen to take a reference
  Holders holders;
  Origin made;
  Origin ended;

  bool IsKnown() const { return made.row != nullptr; }
  void Begin(const Call& call) {
    isLive = true;
    clientHeldOne = false;
    holders.Forget();
    made = call.Here();
    ended.row = nullptr;
  }
  void End(const Origin& end) {
    isLive = false;
    ended = end;
  }
  void Take(const Call& call) {
    holders.Take(call);
    clientHeldOne = clientHeldOne || call.By() == Actor::kClient;
  }
};

struct Instance : Life {
  bool isDeathSeen = false;       // its destroy procedure comes through the layer
  const char* kind = "instance";  // or the name of the interface that it offers, or "stream"
  Origin returned;                // the call that last gave it to a client
  void* object = nullptr;
  ZELInstance holder = nullptr;  // the container that it was last seen in
  ZELInstance schema = nullptr;  // of a validator
};

struct Atom : Life {
  const char* interfaceName = nullptr;  // the layer's own constant, when it is such a name
  bool isHeldByHost = false;            // it came from something that the host holds it for
  std::string text;                     // shortened
  bool isShortened = false;
  const char* address = nullptr;  // as GetCString gave it; null: not asked yet
};

struct Error : Life {
  std::string message;
  std::int32_t id = 0;
  bool isKnown = false;  // message and number are those that it was made with
};

struct Buffer : Life {
  std::uint32_t size = 0;
  const void* address = nullptr;
};

struct Block {
  bool isLive = false;
  std::size_t size = 0;
  Actor owner = Actor::kClient;
  // Kept with the word "core" alone: without it no finding is about one block.
  Origin made;
  Origin ended;
};

struct Ledger {
  Table<ZELInstance, Instance> instances;
  Index<const void*, Instance> objects;  // the instances by their objects
  Table<ZELStringAtom, Atom> atoms;
  Table<ZELErrorObject, Error> errors;
  Table<ZELSharedBuff, Buffer> buffers;
  Table<const void*, Block> blocks;
  MemoryMap memory;  // the bytes that blocks cover

  // After a stop. Instances stay: the host may still end them, once.
  void ForgetAllButInstances() {
    atoms.Clear();
    errors.Clear();
    buffers.Clear();
    blocks.Clear();
    memory.Clear();
  }
  void ForgetAll() {
    ForgetAllButInstances();
    objects.Clear();
    instances.Clear();
  }
};

}  // namespace zelcheck
