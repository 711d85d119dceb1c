// Calls that make, hold and end instances, streams among them, and calls that change containers.
#include <cstring>

#include "findings.h"
#include "layer.h"
#include "rows.h"
#include "watch.h"
#include "words.h"

namespace zelcheck::watch {
namespace {

Ledger& Known() { return TheLayer().ledger; }

ZELInstance InstanceAt(const Call& call, std::size_t index) {
  return call.arguments[index].As<ZELInstance>();
}

// A handle that a call has stored beside an error object, or has not stored without one. Returns
// whether there is a result.
[[gnu::noinline]] void CheckFailure(const Call& call, const void* stored, const char* noun) {
  if (call.result.bits == 0) {
    Tell(Rule::kHostNothingDelivered, call,
         "neither " + std::string(noun) + " is stored nor an error object returned.");
  } else if (stored != nullptr && call.By() == Actor::kLibrary) {
    // A client's place may have held something before; the library's hold null.
    Tell(Rule::kHostResultWithError, call,
         "an error object is returned, and yet " + std::string(noun) + " is stored.");
  }
}

bool HasResult(const Call& call, const void* stored, const char* noun) {
  if (call.result.bits == 0 && stored != nullptr) return true;
  CheckFailure(call, stored, noun);
  return false;
}

[[gnu::noinline]] void NoteInterface(Atom& atom) {
  atom.interfaceName = "instance";
  for (const RowGroup& group : RowGroups()) {
    if (group.name != nullptr && atom.text == group.name) atom.interfaceName = group.name;
  }
}

// The interface that an atom names, as a text that stays.
const char* InterfaceOf(ZELStringAtom name) {
  Atom* const atom = Known().atoms.Find(name);
  if (atom == nullptr) return "instance";
  if (atom->interfaceName == nullptr) NoteInterface(*atom);
  return atom->interfaceName;
}

Instance& NoteBirth(const Call& call, ZELInstance instance, const char* kind, void* object) {
  Ledger& ledger = Known();
  Instance& known = ledger.instances[instance];
  // A stream of the host's own may have ended unseen.
  if (known.isLive && known.isDeathSeen) {
    TellBy(Rule::kHostInstanceReborn, call, [before = &known] {
      return Said{"the handle is that of an instance that has not ended, made by " +
                      InWords(before->made) + ".",
                  InWords(before->holders)};
    });
  }
  known.Begin(call);
  known.kind = kind;
  known.isDeathSeen = false;
  known.object = object;
  known.holder = known.schema = nullptr;
  known.returned.row = nullptr;
  if (call.By() == Actor::kClient) known.returned = known.made;
  return known;
}

void CheckRecord(const Call& call, ZELInstance instance, const void* object) {
  const Layer& layer = TheLayer();
  if (!layer.offsetIsKnown) return;
  ZELPrimaryInstance record;
  std::memcpy(&record, reinterpret_cast<const char*>(instance) + layer.offset, sizeof record);
  const Atom* const name = Known().atoms.Find(call.arguments[2].As<ZELStringAtom>());
  if (record.object != object) {
    TellBy(Rule::kHostRecordWrong, call,
           [] { return Said{"the primary record does not hold the object."}; });
  } else if (record.signature == nullptr) {
    TellBy(Rule::kHostRecordWrong, call,
           [] { return Said{"the primary record has no signature."}; });
  } else if (record.implementationName == nullptr ||
             (name != nullptr && !name->isShortened &&
              std::strcmp(name->text.c_str(), record.implementationName) != 0)) {
    TellBy(Rule::kHostRecordWrong, call, [found = record.implementationName] {
      return Said{"the primary record has " + Quoted(found) +
                  " for the name of the implementation."};
    });
  }
}

}  // namespace

// ---- Containers ----

void InstanceMade(Call& call) {
  const auto* const place = call.arguments[0].As<const ZELInstance*>();
  const ZELInstance instance = place == nullptr ? nullptr : *place;
  if (!HasResult(call, instance, "a handle")) return;
  auto* const object = call.arguments[1].As<void*>();
  Instance& known =
      NoteBirth(call, instance, InterfaceOf(call.arguments[4].As<ZELStringAtom>()), object);
  known.isDeathSeen = call.arguments[3].bits != 0;
  if (Known().objects.Find(object) != &known) Known().objects.Set(object, &known);
  CheckRecord(call, instance, object);
}

void InstanceReferenced(Call& call) {
  if (call.result.bits == 0) return;
  Instance* const known = Known().instances.Find(InstanceAt(call, 0));
  if (known == nullptr || !known->isLive) return;
  known->Take(call);
}

namespace {

[[gnu::noinline, gnu::cold]] void GiveBackTooOften(const Call& call, Instance& known) {
  Tell(Rule::kInstanceReleasedTwice, call,
       "the instance, made by " + InWords(known.made) +
           ", is given back more often than clients have taken references to it.",
       InWords(known.holders));
  --known.holders.By(call.By());
}

}  // namespace

void ReferenceEnds(Call& call) {
  Instance* const known = Known().instances.Find(InstanceAt(call, 0));
  if (known == nullptr || !known->isLive) return;
  const Actor actor = call.By();
  if (TheLayer().watchesClients && actor == Actor::kClient && known->holders.Of(actor) <= 0) {
    return GiveBackTooOften(call, *known);
  }
  --known->holders.By(actor);
}

void ReferenceEnded(Call& call) {
  if (!TheLayer().watchesClients) return;  // not all holders are seen
  Instance* const known = Known().instances.Find(InstanceAt(call, 0));
  if (known == nullptr || !known->isLive || known->holders.IsHeld()) return;
  // Of what the layer does not see ending.
  if (!known->isDeathSeen) known->End(call.Here());
}

void InstanceDeleted(Call& call) {
  const Instance* const known = Known().instances.Find(InstanceAt(call, 0));
  if (known == nullptr || !known->isLive || !known->holders.IsHeld()) return;
  if (call.By() != Actor::kClient) return;
  Tell(Rule::kInstanceDeletedWhileHeld, call,
       "the instance, made by " + InWords(known->made) + ", is held.", InWords(known->holders));
}

void InstanceGone(Call& call) {
  Instance* const known = Known().instances.Find(InstanceAt(call, 0));
  if (known == nullptr || !known->isLive || known->holders.IsHeld()) return;
  if (known->isDeathSeen) {
    return Tell(Rule::kHostNotDestroyed, call,
                "the destroy procedure of the instance, made by " + InWords(known->made) +
                    ", was not called.");
  }
  known->End(call.Here());
}

void MethodFound(Call& call) {
  const auto* const place = call.arguments[0].As<const ZELProc*>();
  if (call.result.bits != 0 && place != nullptr && *place != nullptr &&
      call.By() == Actor::kLibrary) {
    Tell(Rule::kHostResultWithError, call,
         "an error object is returned, and yet a procedure is stored.");
  }
}

void ObjectFound(Call& call) {
  const auto* const place = call.arguments[0].As<void* const*>();
  if (place != nullptr) HasResult(call, *place, "an object");
}

void Offset(Call& call) {
  Layer& layer = TheLayer();
  const auto offset = call.result.As<std::int32_t>();
  layer.offset = offset;
  layer.offsetIsKnown = true;
}

// ---- Streams ----

void StreamMade(Call& call) {
  // The place of the result is the first argument of a factory and the second of a stream.
  const std::size_t index = call.row.roles[0] == 'o' ? 0 : 1;
  const auto* const place = call.arguments[index].As<const ZELInstance*>();
  const ZELInstance instance = place == nullptr ? nullptr : *place;
  if (!HasResult(call, instance, "a stream")) return;
  const bool isOfClient = call.row.roles[1] == '-';
  void* const object = isOfClient ? call.arguments[1].As<void*>() : nullptr;
  Instance& known = NoteBirth(call, instance, "stream", object);
  known.isDeathSeen = isOfClient;
  if (isOfClient) Known().objects.Set(object, &known);
}

void StreamRead(Call& call) {
  const auto* const delivered = call.arguments[1].As<const std::uint32_t*>();
  const std::uint64_t wanted = call.arguments[3].bits;
  if (call.result.bits != 0 || delivered == nullptr || *delivered <= wanted) return;
  Tell(Rule::kHostStreamTooMuch, call,
       std::to_string(*delivered) + " bytes are delivered, and " + std::to_string(wanted) +
           " are wanted.");
}

namespace {

// The last position sought, until anything else is done with a stream.
struct Sought {
  ZELInstance stream = nullptr;
  std::uint32_t position = 0;
  std::uint64_t number = 0;  // of the call
};
constinit Sought g_sought;

}  // namespace

void StreamSought(Call& call) {
  g_sought = {};
  if (call.result.bits != 0) return;
  g_sought = {InstanceAt(call, 0), call.arguments[1].As<std::uint32_t>(), TheLayer().calls};
}

void StreamMarked(Call& call) {
  const auto* const position = call.arguments[1].As<const std::uint32_t*>();
  if (call.result.bits != 0 || position == nullptr || g_sought.stream != InstanceAt(call, 0) ||
      g_sought.number + 1 != call.number || *position == g_sought.position) {
    return;
  }
  Tell(Rule::kHostStreamPosition, call,
       "the position is " + std::to_string(*position) + " right after " +
           std::to_string(g_sought.position) + " was sought.");
}

// ---- Callbacks ----

namespace {

void NoteEnd(const Call& call, Instance& known) {
  known.End(call.outer == nullptr ? call.Here() : call.outer->Here());
}

[[gnu::noinline, gnu::cold]] void RefuseSecondEnd(Call& call, const Instance& known) {
  call.Refuse();
  Tell(Rule::kHostDestroyedTwice, call,
       "the object was destroyed before, in " + InWords(known.ended) +
           "; the call is kept from the library.");
}

[[gnu::noinline, gnu::cold]] void NoteEarlyEnd(const Call& call, Instance& known) {
  Tell(Rule::kHostDestroyedEarly, call,
       "the instance, made by " + InWords(known.made) + ", is still held.", InWords(known.holders));
  NoteEnd(call, known);
}

}  // namespace

void ObjectDestroyed(Call& call) {
  void* const object = call.arguments[0].As<void*>();
  Instance* const known = Known().objects.Find(object);
  if (known == nullptr || known->object != object) return;
  if (!known->isLive) return RefuseSecondEnd(call, *known);
  if (known->holders.Of(Actor::kLibrary) > 0 && known->holders.Of(Actor::kClient) >= 0) {
    return NoteEarlyEnd(call, *known);
  }
  NoteEnd(call, *known);
}

// ---- The library's containers ----

namespace {

// Whether a container is, or was last seen in, another one.
bool IsWithin(ZELInstance inner, ZELInstance outer) {
  for (int level = 0; inner != nullptr && level < 600; ++level) {
    if (inner == outer) return true;
    const Instance* const known = Known().instances.Find(inner);
    inner = known == nullptr ? nullptr : known->holder;
  }
  return false;
}

void NoteMember(const Call& call, std::size_t index) {
  if (call.side != Side::kClientToLibrary || call.failed) return;
  Instance* const member = Known().instances.Find(InstanceAt(call, index));
  if (member != nullptr) member->holder = InstanceAt(call, 0);
}

// Whether the container is used by a call that has not returned.
bool IsInUse(const Call& call, ZELInstance container, const Call& user) {
  for (std::size_t i = 0; user.row.roles[i] != '\0'; ++i) {
    if (user.row.roles[i] != 'h') continue;
    const ZELInstance used = InstanceAt(user, i);
    const Instance* const validator = Known().instances.Find(used);
    if (IsWithin(container, used)) {
      Tell(Rule::kChangedInUse, call,
           "the container is in use by " + InWords(user) + ", which has not returned.");
      return true;
    }
    if (validator != nullptr && IsWithin(container, validator->schema)) {
      Tell(Rule::kSchemaChanged, call,
           "the container is, or is in, the schema of the validator that " + InWords(user) +
               " works with, which has not returned.");
      return true;
    }
  }
  return false;
}

}  // namespace

void Changes(Call& call) {
  if (call.side != Side::kClientToLibrary) return;
  for (const Call* around = call.outer; around != nullptr; around = around->outer) {
    if (around->side == Side::kClientToLibrary && IsInUse(call, InstanceAt(call, 0), *around)) {
      return;
    }
  }
}

void MemberPut(Call& call) { NoteMember(call, 2); }
void MemberSet(Call& call) { NoteMember(call, 2); }
void MemberAppended(Call& call) { NoteMember(call, 1); }

void SchemaTaken(Call& call) {
  Instance* const validator = Known().instances.Find(call.result.As<ZELInstance>());
  if (validator != nullptr) validator->schema = InstanceAt(call, 0);
}

}  // namespace zelcheck::watch
