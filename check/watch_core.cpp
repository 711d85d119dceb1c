// Calls of the binder, of memory, atoms, errors and shared buffers.
#include <algorithm>
#include <array>
#include <cstring>

#include "findings.h"
#include "layer.h"
#include "watch.h"
#include "words.h"

namespace zelcheck::watch {
namespace {

Ledger& Known() { return TheLayer().ledger; }

const char* TextAt(const Call& call, std::size_t index) {
  return call.arguments[index].As<const char*>();
}

// One reference is given back: the thing ends for those who were seen to hold it.
template <typename Thing>
void GiveBack(const Call& call, Thing* known) {
  if (known == nullptr || !known->isLive) return;
  --known->holders.By(call.By());
  if (known->holders.IsHeld()) return;
  known->End(call.Here());
}

// `thing` gives the noun.
template <typename Thing, typename Words>
void TellTooMany(const Call& call, const Thing* known, Rule rule, Words thing) {
  if (!TheLayer().watchesClients || call.By() != Actor::kClient) return;
  if (known == nullptr || !known->isLive || !known->clientHeldOne) return;
  if (known->holders.Of(Actor::kClient) > 0) return;
  TellBy(rule, call, [known, thing] {
    return Said{thing() + " is given back more often than clients have taken references to it.",
                InWords(known->holders)};
  });
}

}  // namespace

// ---- Binder ----

void Registered(Call& call) {
  if (call.result.bits != 0) return;
  Tell(Rule::kHostRegistrationRefused, call,
       "the host refuses the procedure, so that the library does not start.");
}

void Reported(Call& call) {
  Layer& layer = TheLayer();
  layer.lastReport = Text(TextAt(call, 0));
  for (Call* around = call.outer; around != nullptr; around = around->outer) {
    if (around->side != Side::kClientToLibrary) continue;
    around->failed = true;
    break;
  }
}

namespace {

constinit std::uint32_t g_counterBefore = 0;

}  // namespace

void Withdraws(Call&) {
  const Layer& layer = TheLayer();
  g_counterBefore = layer.unregisterCount == nullptr ? 0 : *layer.unregisterCount;
}

void Withdrawn(Call& call) {
  const Layer& layer = TheLayer();
  if (layer.unregisterCount == nullptr || call.result.bits == 0) return;
  if (*layer.unregisterCount != g_counterBefore || g_counterBefore == 0) return;
  Tell(Rule::kHostCounterStays, call,
       "the unregister counter still reads " + std::to_string(g_counterBefore) + ".");
}

void CounterAddress(Call& call) {
  Layer& layer = TheLayer();
  layer.unregisterCount = call.result.As<const std::uint32_t*>();
  if (layer.unregisterCount != nullptr && *layer.unregisterCount == 0) {
    Tell(Rule::kHostCounterZero, call,
         "the unregister counter reads 0, which stands for what was never imported.");
  }
}

// ---- Memory ----

namespace {

// Bytes that "Realloc" must keep: the block's first bytes.
struct Moving {
  std::array<unsigned char, 64> bytes{};
  std::size_t count = 0;
};
constinit Moving g_moving;

[[gnu::noinline, gnu::cold]] void TellOfBlock(const Call& call, std::uintptr_t address,
                                              std::size_t size, bool isOverOther) {
  if (address % 8 != 0) {
    Tell(Rule::kHostMemoryUnaligned, call, "the block at " + Hex(address) + " is not aligned.");
  }
  if (isOverOther) {
    Tell(Rule::kHostMemoryOverlaps, call,
         "the block of " + Plural(static_cast<std::int64_t>(size), "byte") + " at " + Hex(address) +
             " lies over one that is still held.");
  }
}

void NoteBlock(const Call& call, const void* address, std::size_t size) {
  if (address == nullptr) return;
  Ledger& ledger = Known();
  Block& block = ledger.blocks[address];
  const bool wasLive = block.isLive;
  block.isLive = true;
  block.size = size;
  block.owner = call.By();
  if (TheLayer().settings.core) block.made = call.Here();
  const bool isOverOther = ledger.memory.Take(address, size) || wasLive;
  const auto number = reinterpret_cast<std::uintptr_t>(address);
  if (isOverOther || number % 8 != 0) TellOfBlock(call, number, size, isOverOther);
}

void ForgetBlock(const Call& call, const void* address) {
  Block* const known = Known().blocks.Find(address);
  if (known == nullptr || !known->isLive) return;
  known->isLive = false;
  if (TheLayer().settings.core) known->ended = call.Here();
  Known().memory.Free(address, known->size);
}

}  // namespace

void BlockMade(Call& call) {
  NoteBlock(call, call.result.As<const void*>(), static_cast<std::size_t>(call.arguments[0].bits));
}

void BlockMoves(Call& call) {
  const void* const address = call.arguments[0].As<const void*>();
  const Block* const known = Known().blocks.Find(address);
  g_moving.count = 0;
  if (known == nullptr || !known->isLive) return;
  g_moving.count = std::min(
      {known->size, static_cast<std::size_t>(call.arguments[1].bits), g_moving.bytes.size()});
  std::memcpy(g_moving.bytes.data(), address, g_moving.count);
}

void BlockMoved(Call& call) {
  const void* const address = call.result.As<const void*>();
  if (address == nullptr) return;
  ForgetBlock(call, call.arguments[0].As<const void*>());
  NoteBlock(call, address, static_cast<std::size_t>(call.arguments[1].bits));
  if (std::memcmp(address, g_moving.bytes.data(), g_moving.count) != 0) {
    Tell(Rule::kHostMemoryLost, call, "the moved block does not begin with the bytes of the old.");
  }
}

void BlockEnds(Call& call) { ForgetBlock(call, call.arguments[0].As<const void*>()); }

// ---- Atoms ----

namespace {

constexpr std::size_t kKeptText = 60;

bool IsTextOf(const Atom& atom, const char* text) {
  return atom.isShortened ? std::strncmp(atom.text.c_str(), text, kKeptText) == 0
                          : std::strcmp(atom.text.c_str(), text) == 0;
}

// Whether the atom is held for certain: what clients give back may go unseen.
bool IsCertain(const Atom& atom) {
  return atom.isLive && (atom.holders.Of(Actor::kLibrary) > 0 || TheLayer().watchesClients);
}

void TakeAtom(const Call& call, Atom& atom) {
  // An atom of its text may have ended unseen, and come again with its text elsewhere.
  if (!IsCertain(atom)) atom.address = nullptr;
  atom.Take(call);
}

}  // namespace

void AtomMade(Call& call) {
  const auto atom = call.result.As<ZELStringAtom>();
  const char* const text = TextAt(call, 0);
  if (atom == 0 || text == nullptr) return;
  Atom& known = Known().atoms[atom];
  if (IsCertain(known) && !IsTextOf(known, text)) {
    TellBy(Rule::kHostAtomNotUnique, call, [atom, before = &known] {
      return Said{"atom " + std::to_string(atom) + " is given, which is that of " +
                      Quoted(before->text.c_str()) + " and still held.",
                  InWords(before->holders)};
    });
  }
  if (!known.isLive || (!IsCertain(known) && !IsTextOf(known, text))) {
    known.text.assign(text, strnlen(text, kKeptText));
    known.isShortened = known.text.size() == kKeptText;
    known.interfaceName = known.address = nullptr;
    known.isHeldByHost = false;
    known.Begin(call);
  }
  TakeAtom(call, known);
}

void AtomReferenced(Call& call) {
  Atom* const known = Known().atoms.Find(call.arguments[0].As<ZELStringAtom>());
  if (known != nullptr && known->isLive) TakeAtom(call, *known);
}

void AtomEnds(Call& call) {
  const auto atom = call.arguments[0].As<ZELStringAtom>();
  Atom* const known = Known().atoms.Find(atom);
  if (known == nullptr) return;
  TellTooMany(call, known, Rule::kAtomReleasedTwice, [atom] { return AtomInWords(atom); });
  if (known->isHeldByHost && known->holders.Sum() == 1) {
    Known().atoms.Erase(atom);  // the host may go on holding it
    return;
  }
  GiveBack(call, known);
}

void AtomText(Call& call) {
  const auto atom = call.arguments[0].As<ZELStringAtom>();
  const auto* const text = call.result.As<const char*>();
  Atom* const known = Known().atoms.Find(atom);
  if (known == nullptr || !IsCertain(*known)) return;
  if (text == nullptr || !IsTextOf(*known, text)) {
    return TellBy(Rule::kHostAtomTextWrong, call, [atom, text] {
      return Said{AtomInWords(atom) + " has the text " + Quoted(text) + "."};
    });
  }
  if (known->address != nullptr && known->address != text) {
    TellBy(Rule::kHostAtomTextChanged, call, [atom, known, text] {
      return Said{"the text of " + AtomInWords(atom) + " has moved from " +
                  Hex(reinterpret_cast<std::uintptr_t>(known->address)) + " to " +
                  Hex(reinterpret_cast<std::uintptr_t>(text)) + "."};
    });
  }
  known->address = text;
}

// ---- Errors ----

void ErrorMade(Call& call) {
  const auto error = call.result.As<ZELErrorObject>();
  const bool isNew = call.arguments[0].type == Argument::Type::kText;
  if (error == nullptr) {
    if (isNew) Tell(Rule::kHostErrorNull, call, "the host gives null, which means success.");
    return;
  }
  Error& known = Known().errors[error];
  if (!known.isLive) {
    known.Begin(call);
    known.isKnown = false;
    if (isNew) {
      known.message = Text(TextAt(call, 0));
      known.id = call.arguments[2].As<std::int32_t>();
      known.isKnown = true;
    }
  }
  known.Take(call);
}

void ErrorReferenced(Call& call) {
  const auto error = call.arguments[0].As<ZELErrorObject>();
  const auto given = call.result.As<ZELErrorObject>();
  if (error != given) {
    return Tell(Rule::kHostErrorWrong, call, "another error object is given.");
  }
  Error* const known = Known().errors.Find(error);
  if (known != nullptr && known->isLive) known->Take(call);
}

void ErrorEnds(Call& call) {
  Error* const known = Known().errors.Find(call.arguments[0].As<ZELErrorObject>());
  TellTooMany(call, known, Rule::kErrorReleasedTwice,
              [] { return std::string("the error object"); });
  GiveBack(call, known);
}

void ErrorAtom(Call& call) {
  const auto atom = call.result.As<ZELStringAtom>();
  if (atom == 0) return;
  Atom* const known = Known().atoms.Find(atom);
  if (known == nullptr) return;  // the host's own, of which nothing is known
  if (!known->isLive) return Known().atoms.Erase(atom);
  known->isHeldByHost = true;
}

void ErrorId(Call& call) {
  const Error* const known = Known().errors.Find(call.arguments[0].As<ZELErrorObject>());
  const auto id = call.result.As<std::int32_t>();
  if (known == nullptr || !known->isLive || !known->isKnown || known->id == id) return;
  Tell(Rule::kHostErrorWrong, call,
       "the number is " + std::to_string(id) + "; the error object was made with " +
           std::to_string(known->id) + " by " + InWords(known->made) + ".");
}

// ---- Shared buffers ----

void BufferMade(Call& call) {
  const auto buffer = call.result.As<ZELSharedBuff>();
  if (buffer == nullptr) return;
  Buffer& known = Known().buffers[buffer];
  known.Begin(call);
  known.size = call.arguments[0].As<std::uint32_t>();
  known.address = nullptr;
  known.Take(call);
}

void BufferReferenced(Call& call) {
  Buffer* const known = Known().buffers.Find(call.arguments[0].As<ZELSharedBuff>());
  if (known != nullptr && known->isLive) known->Take(call);
}

void BufferEnds(Call& call) {
  Buffer* const known = Known().buffers.Find(call.arguments[0].As<ZELSharedBuff>());
  TellTooMany(call, known, Rule::kBufferReleasedTwice,
              [] { return std::string("the shared buffer"); });
  GiveBack(call, known);
}

void BufferAddress(Call& call) {
  Buffer* const known = Known().buffers.Find(call.arguments[0].As<ZELSharedBuff>());
  const void* const address = call.result.As<const void*>();
  if (known == nullptr || !known->isLive) return;
  if (known->address != nullptr && known->address != address) {
    Tell(Rule::kHostBufferMoved, call, "the bytes are not where they were.");
  }
  known->address = address;
}

void BufferSize(Call& call) {
  const Buffer* const known = Known().buffers.Find(call.arguments[0].As<ZELSharedBuff>());
  const auto size = call.result.As<std::uint32_t>();
  if (known == nullptr || !known->isLive || known->size == size) return;
  Tell(Rule::kHostBufferSize, call,
       "the size is " + std::to_string(size) + ", and the buffer was made with " +
           std::to_string(known->size) + ".");
}

}  // namespace zelcheck::watch
