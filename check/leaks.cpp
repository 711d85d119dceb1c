// At the end of the library: what is still there, and who was seen to hold it.
#include <algorithm>
#include <functional>
#include <map>
#include <vector>

#include "client_rules.h"
#include "findings.h"
#include "layer.h"
#include "words.h"

namespace zelcheck {
namespace {

// The first of the things that one place of a program has left, and how many there are.
struct Group {
  std::string story;
  Origin origin;
  std::string who;
  std::int64_t count = 0;
};
using Groups = std::map<std::pair<const Row*, const void*>, Group>;

void Add(Groups& groups, const Origin& origin, const std::string& story, const std::string& who) {
  const void* const caller = origin.outerRow == nullptr ? origin.caller : origin.outerCaller;
  Group& group = groups[{origin.row, caller}];
  if (group.count++ == 0 || origin.number < group.origin.number) {
    group.story = story;
    group.origin = origin;
    group.who = who;
  }
}

void TellAll(Rule rule, const Groups& groups) {
  std::vector<const Group*> sorted;
  for (const auto& [place, group] : groups) sorted.push_back(&group);
  std::sort(sorted.begin(), sorted.end(), [](const Group* one, const Group* other) {
    return one->origin.number < other->origin.number;
  });
  for (const Group* group : sorted) {
    std::string what = group->story + ".";
    if (group->count > 1)
      what += " It is the first of " + std::to_string(group->count) + " from there.";
    TellOf(rule, group->origin, what, group->who);
  }
}

template <typename Thing>
Origin LatestOfClients(const Thing& thing) {
  const Origin& latest = thing.holders.last[static_cast<int>(Actor::kClient)];
  return latest.row == nullptr ? thing.made : latest;
}

// A container that is left keeps what is in it; only what nobody else keeps is told of.
bool IsKeptByOthers(const Instance& instance) {
  return instance.holders.Of(Actor::kLibrary) > 0 && instance.holders.Of(Actor::kClient) <= 0;
}

void TellInstances(Layer& layer) {
  Groups leaked;
  Groups neverHeld;
  Groups notDestroyed;
  layer.ledger.instances.ForEach([&](ZELInstance, const Instance& known) {
    if (!known.isLive || !known.isDeathSeen || IsKeptByOthers(known)) return;
    const Origin& given = known.returned.row == nullptr ? known.made : known.returned;
    const std::string thing =
        "an instance of " + Text(known.kind) + ", which a client got from " + InWords(given);
    if (!layer.watchesClients || known.holders.Of(Actor::kClient) > 0) {
      Add(leaked, given, thing + ", is still there when the library stops",
          layer.watchesClients ? InWords(known.holders) : "");
    } else if (!known.clientHeldOne && known.holders.Sum() == 0) {
      Add(neverHeld, given,
          thing +
              ", is still there when the library stops, and nobody has ever taken a reference to "
              "it",
          "");
    } else {
      Add(notDestroyed, given,
          thing +
              ", is still there, although each reference to it that was seen has been given back",
          "");
    }
  });
  TellAll(Rule::kInstanceLeaked, leaked);
  TellAll(Rule::kInstanceNeverHeld, neverHeld);
  TellAll(Rule::kHostNotDestroyed, notDestroyed);
}

// `describe` gives a noun phrase for a thing.
template <typename Map, typename Describe>
void TellHeld(Rule rule, const Map& things, Describe describe) {
  Groups groups;
  things.ForEach([&](auto key, const auto& thing) {
    if (!thing.isLive || thing.holders.Of(Actor::kClient) <= 0) return;
    const Origin latest = LatestOfClients(thing);
    Add(groups, latest,
        describe(key, thing) + " is still held when the library stops: " +
            Plural(thing.holders.Of(Actor::kClient), "reference") +
            " of clients, the latest from " + InWords(latest),
        "");
  });
  TellAll(rule, groups);
}

void TellBlocks(const Ledger& ledger) {
  Groups groups;
  ledger.blocks.ForEach([&](const void*, const Block& block) {
    if (!block.isLive || block.owner != Actor::kClient) return;
    Add(groups, block.made,
        "a block of " + Plural(static_cast<std::int64_t>(block.size), "byte") + ", made by " +
            InWords(block.made) + ", is still held when the library stops",
        "");
  });
  TellAll(Rule::kBlockLeaked, groups);
}

}  // namespace

void TellLeaks() {
  Layer& layer = TheLayer();
  TellInstances(layer);
  if (!layer.watchesClients) return;
  TellHeld(Rule::kAtomReferenceLost, layer.ledger.atoms,
           [](ZELStringAtom atom, const Atom&) { return AtomInWords(atom); });
  TellHeld(Rule::kErrorLeaked, layer.ledger.errors, [](ZELErrorObject, const Error& error) {
    return error.isKnown ? "an error object with the message " + Quoted(error.message.c_str(), 200)
                         : std::string("an error object");
  });
  TellHeld(Rule::kBufferLeaked, layer.ledger.buffers, [](ZELSharedBuff, const Buffer& buffer) {
    return "a shared buffer of " + Plural(buffer.size, "byte");
  });
  TellBlocks(layer.ledger);
}

}  // namespace zelcheck
