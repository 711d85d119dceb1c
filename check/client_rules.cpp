#include "client_rules.h"

#include <atomic>
#include <cstring>

#include "findings.h"
#include "layer.h"
#include "watch.h"
#include "words.h"

namespace zelcheck {
namespace {

constexpr const char* kPlaces[] = {"first", "second",  "third",  "fourth", "fifth",
                                   "sixth", "seventh", "eighth", "ninth",  "tenth"};

std::string NthArgument(std::size_t index) {
  return std::string("the ") + kPlaces[index] + " argument";
}

// One argument of one call.
struct Place {
  const Call& call;
  std::size_t index;

  const Argument& Value() const { return call.arguments[index]; }
  const Argument& Next() const { return call.arguments[index + 1]; }
  void TellThat(Rule rule, const std::string& what, const std::string& who = "") const {
    Tell(rule, call, NthArgument(index) + " " + what + ".", who);
  }
};

void CheckInstance(const Place& place, char role) {
  Layer& layer = TheLayer();
  const auto instance = place.Value().As<ZELInstance>();
  if (instance == nullptr) {
    if (role == 'n') return;
    const FailedCall& failure = layer.lastNull;
    if (failure.origin.row == nullptr) return place.TellThat(Rule::kInstanceNull, "is null");
    return place.TellThat(Rule::kFailureIgnored, "is null, which is what " +
                                                     InWords(failure.origin) +
                                                     " gave when it failed with the report " +
                                                     Quoted(failure.message.c_str(), 200));
  }
  const Instance* const known = layer.ledger.instances.Find(instance);
  if (known == nullptr || known->isLive || (role == 's' && !layer.watchesClients)) return;
  const std::string story =
      "made by " + InWords(known->made) + " and ended in " + InWords(known->ended);
  if (layer.watchesClients && !known->clientHeldOne && known->returned.row != nullptr) {
    return place.TellThat(Rule::kInstanceUnheld,
                          "is an instance that is gone: " + story + ". The client got it from " +
                              InWords(known->returned) + " and has taken no reference to it");
  }
  place.TellThat(Rule::kInstanceDead, "is an instance that is gone: " + story);
}

// Whether a thing that clients may hold is known to be gone for them.
template <typename Thing>
bool IsGone(const Thing* known) {
  return known != nullptr && !known->isLive && known->clientHeldOne && TheLayer().watchesClients;
}

void CheckAtom(const Place& place) {
  const auto atom = place.Value().As<ZELStringAtom>();
  if (atom == 0) return place.TellThat(Rule::kAtomNull, "is no atom");
  const Atom* const known = TheLayer().ledger.atoms.Find(atom);
  if (!IsGone(known)) return;
  const bool isGivenBack = place.call.row.before == &watch::AtomEnds;
  place.TellThat(isGivenBack ? Rule::kAtomReleasedTwice : Rule::kAtomDead,
                 "is the atom of " + Quoted(known->text.c_str()) + ", made by " +
                     InWords(known->made) + ", to which the last reference was given back by " +
                     InWords(known->ended));
}

void CheckError(const Place& place, bool mayBeNull) {
  const auto error = place.Value().As<ZELErrorObject>();
  if (error == nullptr) {
    if (!mayBeNull) place.TellThat(Rule::kErrorNull, "is null");
    return;
  }
  const Error* const known = TheLayer().ledger.errors.Find(error);
  if (!IsGone(known)) return;
  const bool isGivenBack = place.call.row.before == &watch::ErrorEnds;
  place.TellThat(isGivenBack ? Rule::kErrorReleasedTwice : Rule::kErrorDead,
                 "is an error object that was given by " + InWords(known->made) +
                     " and given back for the last time by " + InWords(known->ended));
}

void CheckBuffer(const Place& place) {
  const auto buffer = place.Value().As<ZELSharedBuff>();
  if (buffer == nullptr) return place.TellThat(Rule::kBufferNull, "is null");
  const Buffer* const known = TheLayer().ledger.buffers.Find(buffer);
  if (!IsGone(known)) return;
  const bool isGivenBack = place.call.row.before == &watch::BufferEnds;
  place.TellThat(isGivenBack ? Rule::kBufferReleasedTwice : Rule::kBufferDead,
                 "is a shared buffer that was made by " + InWords(known->made) +
                     " and given back for the last time by " + InWords(known->ended));
}

void CheckBlock(const Place& place) {
  const Layer& layer = TheLayer();
  const void* const block = place.Value().As<const void*>();
  const Block* const known = layer.ledger.blocks.Find(block);
  if (known == nullptr) {
    place.TellThat(Rule::kBlockUnknown, "is no block that \"Alloc\" or \"Realloc\" has given");
  } else if (!known->isLive) {
    place.TellThat(Rule::kBlockDead, "is a block of " +
                                         Plural(static_cast<std::int64_t>(known->size), "byte") +
                                         ", made by " + InWords(known->made) + ", that " +
                                         InWords(known->ended) + " has freed");
  }
}

template <typename Unit>
bool IsEndedWithin(const Unit* text, std::size_t limit) {
  if constexpr (sizeof(Unit) == 1) return std::memchr(text, 0, limit) != nullptr;
  for (std::size_t i = 0; i < limit; ++i) {
    if (text[i] == 0) return true;
  }
  return false;
}

template <typename Unit>
void CheckText(const Place& place, bool mayBeNull) {
  const auto* const text = place.Value().As<const Unit*>();
  if (text == nullptr) {
    if (!mayBeNull) place.TellThat(Rule::kTextNull, "is null");
    return;
  }
  const std::size_t limit = TheLayer().settings.textLimit / sizeof(Unit);
  if (!IsEndedWithin(text, limit)) {
    place.TellThat(Rule::kTextUnbounded,
                   "is a text without end within " + std::to_string(limit) + " units");
  }
}

void CheckBytes(const Place& place) {
  if (place.Value().bits == 0 && place.Next().bits != 0) {
    place.TellThat(Rule::kSizeMisfit, "is null, and " + std::to_string(place.Next().bits) +
                                          " bytes are said to be there");
  }
}

// Sizes of 32 bits and of the platform's own width.
void CheckSize(const Place& place) {
  const std::uint64_t size = place.Value().bits;
  const auto asSigned = static_cast<std::int64_t>(size);
  if (asSigned >= 0 && size >> 31 != 1) return;
  place.TellThat(Rule::kSizeMisfit,
                 "is " + std::to_string(size) + ", which as a signed number is " +
                     std::to_string(asSigned < 0 ? asSigned : static_cast<std::int32_t>(size)));
}

void CheckPhase(const Call& call) {
  switch (TheLayer().phase) {
    case Phase::kRunning:
      return;
    case Phase::kStarting:
      return Tell(Rule::kCallDuringStart, call, "the library is still being started.");
    case Phase::kStopping:
      return Tell(Rule::kCallDuringStop, call, "the library is being stopped.");
    case Phase::kStopped:
      return Tell(Rule::kCallAfterStop, call, "the library has been stopped.");
  }
}

}  // namespace

namespace {

[[gnu::noinline]] void NoteNull(const Call& call) {
  Layer& layer = TheLayer();
  if (call.failed) layer.lastNull = {call.Here(), layer.lastReport};
}

}  // namespace

// The handle that a call of the library has given to its caller in the role of its result.
void NoteHandle(const Call& call, ZELInstance instance) {
  if (instance == nullptr) return NoteNull(call);
  Instance* const known = TheLayer().ledger.instances.Find(instance);
  if (known == nullptr) return;
  known->returned = call.Here();
  if (call.row.result == 'B') known->holder = call.arguments[0].As<ZELInstance>();
}

namespace {

// Takes a reference from who has answered the call, unless that is the host.
void TakeFromCallee(const Call& call, Holders& holders) {
  if (call.side == Side::kClientToLibrary) {
    --holders.By(Actor::kLibrary);
  } else if (call.side == Side::kLibraryToHost && call.row.isOfLibrary) {
    --holders.By(Actor::kClient);
  } else if (call.side == Side::kCallback) {
    --holders.By(holders.Of(Actor::kLibrary) > 0 ? Actor::kLibrary : Actor::kClient);
  }
}

}  // namespace

void NoteError(const Call& call, ZELErrorObject error) {
  Ledger& ledger = TheLayer().ledger;
  if (call.side == Side::kCallback) {
    Error* const given = ledger.errors.Find(error);
    if (given != nullptr) TakeFromCallee(call, given->holders);
    return;
  }
  Error& known = ledger.errors[error];
  if (!known.isLive) {
    known.Begin(call);
    known.isKnown = false;
  }
  known.Take(call);
  TakeFromCallee(call, known.holders);
}

void NoteAtom(const Call& call, ZELStringAtom atom) {
  Atom* const known = TheLayer().ledger.atoms.Find(atom);
  if (known == nullptr) return;
  known->Take(call);
  TakeFromCallee(call, known->holders);
}

void CheckPlaceInTime(const Call& call) {
  const Layer& layer = TheLayer();
  if (call.side == Side::kClientToLibrary && layer.phase != Phase::kRunning) CheckPhase(call);
  if (layer.home != kNoThread && layer.home != ThisThread()) {
    Tell(Rule::kSecondThread, call, "the thread is not the one in which the library was started.");
  }
}

void CheckArgument(const Call& call, std::size_t index, char role) {
  const Place place{call, index};
  switch (role) {
    case 'h':
    case 'n':
    case 's':
      return CheckInstance(place, role);
    case 'a':
      return CheckAtom(place);
    case 'e':
    case 'E':
      return CheckError(place, role == 'E');
    case 'b':
      return CheckBuffer(place);
    case 'm':
      return CheckBlock(place);
    case 't':
    case 'T':
      return CheckText<char>(place, role == 'T');
    case 'u':
      return CheckText<std::uint16_t>(place, false);
    case 'd':
    case 'D':
      return CheckBytes(place);
    case 'z':
      return CheckSize(place);
    case 'o':
      if (place.Value().bits == 0) place.TellThat(Rule::kPlaceNull, "is null");
      return;
    case 'f':
      if (place.Value().bits == 0) place.TellThat(Rule::kProcedureNull, "is null");
      return;
    default:
      return;
  }
}

}  // namespace zelcheck
