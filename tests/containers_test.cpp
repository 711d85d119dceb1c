// Arrays, dictionaries, iterators, deep lookup and what they do to the references of their members.
#include "support.h"

namespace {

class ContainersTest : public zeltest::LibraryTest {
 protected:
  // The numbers in an array, with -1 for an empty slot.
  std::vector<double> Elements(ZELInstance array) {
    std::vector<double> elements;
    for (std::uint32_t i = 0; i < arrays.Count(array); ++i) {
      const ZELInstance element = arrays.GetAt(array, i);
      elements.push_back(element == nullptr ? -1 : numbers.Get(element));
    }
    return elements;
  }

  // The keys that an iterator still has before it.
  std::string Rest(ZELInstance iterator) {
    std::string keys;
    for (; !iterators.IsDone(iterator); iterators.Next(iterator)) {
      keys += iterators.CurKey(iterator);
      keys += ' ';
    }
    return keys;
  }
};

using Values = std::vector<double>;

TEST_F(ContainersTest, ArraysGrowByDoublingAndKeepHoles) {
  const ZELInstance array = Keep(arrays.NewPOSArray());
  const ZELInstance value = NewNumber(7);
  arrays.SetAt(array, 5, value);
  EXPECT_EQ(Elements(array), (Values{-1, -1, -1, -1, -1, 7}));
  EXPECT_EQ(host.RefCount(value), 2u);
  arrays.SetAt(array, 0, NewNumber(1));
  arrays.Append(array, value);
  arrays.Remove(array, 1);
  arrays.Remove(array, 6);
  arrays.Remove(array, 0xFFFFFFFFu);
  EXPECT_EQ(Elements(array), (Values{1, -1, -1, -1, 7, 7}));
  arrays.SetAt(array, 4, NewNumber(2));
  EXPECT_EQ(host.RefCount(value), 2u);
  EXPECT_EQ(arrays.GetAt(array, 6), nullptr);
  const ZELInstance clone = Keep(objects.Clone(array));
  EXPECT_EQ(Elements(clone), Elements(array));
  EXPECT_TRUE(objects.IsEqual(array, clone));
  arrays.SetAt(clone, 1, value);
  EXPECT_FALSE(objects.IsEqual(array, clone)) << "an empty slot equals an empty slot only";
  EXPECT_FALSE(objects.IsEqual(clone, array));

  // Blocks are taken for the 1st, 5th, 9th and 17th element, and for the number that is appended.
  const ZELInstance grown = Keep(arrays.NewPOSArray());
  for (std::uint32_t i = 0; i < 20; ++i) {
    host.ResetCalls();
    arrays.Append(grown, value);
    const bool grows = i == 0 || i == 4 || i == 8 || i == 16;
    EXPECT_EQ(host.Calls(zelhost::Service::kAlloc), grows ? 1u : 0u) << i;
  }
}

TEST_F(ContainersTest, DictionariesAreOrderedByTheBytesOfTheirKeys) {
  const ZELInstance dict = Keep(dicts.NewPOSDict());
  const ZELInstance value = NewNumber(1);
  for (const char* key : {"b", "a", "B", "ab", "\xe9", ""}) dicts.Put(dict, Atom(key), value);
  EXPECT_EQ(Rest(Keep(iterators.NewPOSDictIterator(dict))), " B a ab b \xe9 ");
  EXPECT_EQ(host.RefCount(value), 7u);
  dicts.Put(dict, Atom("a"), NewNumber(2));
  EXPECT_EQ(host.RefCount(value), 6u);
  EXPECT_EQ(numbers.Get(dicts.Get(dict, Atom("a"))), 2);
  dicts.Remove(dict, Atom("a"));
  dicts.Remove(dict, Atom("absent"));
  EXPECT_EQ(dicts.Get(dict, Atom("a")), nullptr);
  EXPECT_TRUE(iterators.IsDone(Keep(iterators.NewPOSDictIterator(Keep(dicts.NewPOSDict())))));
}

TEST_F(ContainersTest, IteratorsSurviveWhateverIsDoneToTheirDictionary) {
  const ZELInstance dict = statics.CreateFromText("<a 1 b 2 c 3 d 4>", nullptr);
  containers.AddRef(dict);
  const ZELInstance first = Keep(iterators.NewPOSDictIterator(dict));
  const ZELInstance second = Keep(iterators.NewPOSDictIterator(dict));
  for (const ZELInstance iterator : {first, second}) iterators.Next(iterator);
  for (const char* key : {"b", "a"}) dicts.Remove(dict, Atom(key));
  EXPECT_STREQ(iterators.CurKey(first), "b") << "it stands on the key that was removed";
  dicts.Put(dict, Atom("bb"), NewNumber(5));
  EXPECT_EQ(Rest(first), "b bb c d ");
  for (const char* key : {"bb", "c", "d"}) dicts.Remove(dict, Atom(key));
  containers.Release(dict);  // the iterators keep it
  for (int i = 0; i < 2; ++i) iterators.Next(second);
  EXPECT_EQ(iterators.CurKey(second), nullptr);
  iterators.Begin(first);
  EXPECT_EQ(Rest(first), "");
}

TEST_F(ContainersTest, CloneIsDeepAndSharesScalars) {
  const ZELInstance source = Parse("<list [[shared] 1] name (n)>");
  const ZELInstance clone = Keep(objects.Clone(source));
  const ZELStringAtom path = Atom("list[0][0]");
  EXPECT_EQ(dicts.DeepGet(source, path), dicts.DeepGet(clone, path));
  EXPECT_NE(dicts.DeepGet(source, Atom("list[0]")), dicts.DeepGet(clone, Atom("list[0]")));
  EXPECT_TRUE(objects.IsEqual(source, clone));
  arrays.Append(dicts.DeepGet(clone, Atom("list[0]")), NewNumber(1));
  EXPECT_FALSE(objects.IsEqual(source, clone));
}

TEST_F(ContainersTest, EqualityOfContainers) {
  const char* const texts[] = {"[]",        "<>",        "[1 2]",        "[2 1]",
                               "[1 2 3]",   "<a 1>",     "<b 1>",        "<a 2>",
                               "<a 1 b 2>", "<b 1 c 1>", "<a [<b []>]>", "<a [<b <>>]>"};
  for (const char* left : texts) {
    for (const char* right : texts) {
      EXPECT_EQ(objects.IsEqual(Parse(left), Parse(right)), left == right) << left << right;
    }
  }
  EXPECT_TRUE(objects.IsEqual(Parse("<a 1 b 2>"), Parse("<b 2 a 1>")));
}

TEST_F(ContainersTest, DeepLookup) {
  const ZELInstance dict =
      Parse("<a <b [10 11 <c 12>]> x <(y ) 13> () <() 14 k 15> (q]) 16 s [[17]] n 18>");
  const std::pair<const char*, double> found[] = {
      {"a.b[2].c", 12}, {".a.b[2].c", 12}, {"a.b[0]", 10}, {"a.b[01]", 11}, {"x.y ", 13},
      {"..k", 15},      {"..", 14},        {"q]", 16},     {"s[0][0]", 17}, {"n", 18}};
  for (const auto& [path, number] : found) {
    EXPECT_EQ(numbers.Get(dicts.DeepGet(dict, Atom(path))), number) << path;
  }
  for (const char* path : {"", "."}) {
    // The empty path is the empty key, and so is what comes before a leading subscript.
    EXPECT_EQ(dicts.DeepGet(dict, Atom(path)), dicts.Get(dict, Atom(""))) << path;
  }
  for (const char* path : {".k", "n.x", "n[0]", "a[0]", "a.b[]", "a.b[1", "a.b[1]y", "a.b[-1]",
                           "a.b[ 1]", "a.b[1x]", "a.b[3]", "a.b.c", "absent.b", "a.b[4294967296]",
                           "a.b[99999999999999999999999]", "[0]", "s[0][0]]", "s[0]."}) {
    EXPECT_EQ(dicts.DeepGet(dict, Atom(path)), nullptr) << path;
  }
  // A step looks up its text: it takes no atom that could fail.
  const ZELStringAtom deep = Atom("a.b[0]");
  host.FailAt(zelhost::Service::kNewStringAtom, 1);
  EXPECT_EQ(numbers.Get(dicts.DeepGet(dict, deep)), 10);
  host.StopFailing();
  const ZELStringAtom path = Atom("n");
  host.FailAt(zelhost::Service::kAlloc, 1);
  ExpectFailure("bad allocation", dicts.DeepGet, dict, path);
}

TEST_F(ContainersTest, DestructionHasNoLimitOfDepth) {
  zeltest::RunOnSmallStack([this] {
    const ZELStringAtom key = Atom("k");
    ZELInstance level = arrays.NewPOSArray();
    containers.AddRef(level);
    for (int i = 0; i < 1000000; ++i) {
      const ZELInstance wrapper = i % 2 == 0 ? arrays.NewPOSArray() : dicts.NewPOSDict();
      containers.AddRef(wrapper);
      i % 2 == 0 ? arrays.Append(wrapper, level) : dicts.Put(wrapper, key, level);
      containers.Release(level);
      level = wrapper;
    }
    containers.Release(level);
  });
}

// Stands for a component that answers with an instance which it holds itself.
ZELInstance g_answer = nullptr;
ZELInstance AnswerHeld(ZELInstance) { return g_answer; }

TEST_F(ContainersTest, ACloneThatAMemberGivesIsNotEndedWhenItIsRefused) {
  zeltest::Replace<zelutils::ObjectInterface>(host, "Clone", &AnswerHeld);
  g_answer = Keep(arrays.NewPOSArray());
  const ZELInstance array = Parse("[[]]");
  const ZELInstance dict = Parse("<a []>");
  for (const ZELInstance container : {array, dict}) {
    host.ResetCalls();
    host.FailAt(zelhost::Service::kAddRef, 1);
    ExpectFailure("invalid container", objects.Clone, container);
    EXPECT_EQ(host.Calls(zelhost::Service::kDeleteUnownedContainer), 0u);
    const ZELInstance clone = Keep(objects.Clone(container));
    EXPECT_NE(clone, container);
  }
  EXPECT_EQ(host.RefCount(g_answer), 3u) << "the two clones hold what their members gave";
}

// A member's end calls back into the container that is letting go of it.
ZELInstance g_container = nullptr;
std::uint32_t g_countSeen = 0;

TEST_F(ContainersTest, MembersMayCallBackWhileTheyAreReleased) {
  static decltype(&arrays) arrayProcs = nullptr;
  arrayProcs = &arrays;
  g_container = Keep(arrays.NewPOSArray());
  const auto release = [](void* value) {
    g_countSeen = arrayProcs->Count(g_container);
    arrayProcs->Append(g_container, static_cast<ZELInstance>(value));
  };
  const ZELInstance number = NewNumber(5);
  arrays.Append(g_container, rawPointers.NewPOSRawPointer(number, release));
  arrays.Append(g_container, number);
  arrays.Remove(g_container, 0);
  EXPECT_EQ(g_countSeen, 1u);
  EXPECT_EQ(Elements(g_container), (Values{5, 5}));
  arrays.SetAt(g_container, 0, Keep(rawPointers.NewPOSRawPointer(number, nullptr)));
}

// A host that uses a container in the middle of a service which the container has asked it for: at
// the service after so many others.
struct Meanwhile {
  int left = -1;
  std::function<void()> action;
  void Serve() {
    if (left-- == 0) action();
  }
};
Meanwhile g_meanwhile;
zelutils::MemoryInterface g_memory;
zelutils::AtomInterface g_atoms;
zelutils::ContainerInterface g_containers;

TEST(ContainersMeanwhileTest, TheHostMayUseAContainerWhileItServesIt) {
  zelhost::Host host;
  g_memory = zeltest::Import<zelutils::MemoryInterface>(host);
  g_atoms = zeltest::Import<zelutils::AtomInterface>(host);
  g_containers = zeltest::Import<zelutils::ContainerInterface>(host);
  using Memory = zelutils::MemoryInterface;
  using Atoms = zelutils::AtomInterface;
  using Containers = zelutils::ContainerInterface;
  zeltest::Replace<Memory>(
      host, "Alloc", +[](std::size_t size) { return g_meanwhile.Serve(), g_memory.Alloc(size); });
  zeltest::Replace<Memory>(
      host, "Free", +[](void* block) { g_memory.Free(block), g_meanwhile.Serve(); });
  zeltest::Replace<Atoms>(
      host, "AddRef", +[](ZELStringAtom atom) { g_atoms.AddRef(atom), g_meanwhile.Serve(); });
  zeltest::Replace<Atoms>(
      host, "DeleteStringAtom",
      +[](ZELStringAtom atom) { g_atoms.DeleteStringAtom(atom), g_meanwhile.Serve(); });
  zeltest::Replace<Containers>(
      host, "AddRef", +[](ZELInstance instance) {
        const std::int32_t result = g_containers.AddRef(instance);
        return g_meanwhile.Serve(), result;
      });
  zeltest::Replace<Containers>(
      host, "Release",
      +[](ZELInstance instance) { g_containers.Release(instance), g_meanwhile.Serve(); });
  host.Start(zeltest::LibraryPath());

  std::uint32_t size = 0;
  const auto key = [](std::uint32_t number) { return "k" + std::to_string(1000 + number); };
  struct Use {
    zeltest::Library zel;
    ZELInstance value, array, dict, iterators[2];
    const std::string first, fresh;
    void Put(const std::string& name) { zel.dicts.Put(dict, zel.Atom(name), value); }
    void Remove(const std::string& name) { zel.dicts.Remove(dict, zel.Atom(name)); }
  };
  using Action = std::function<void(Use&)>;
  const auto fill = [&](Use& use) {
    for (std::uint32_t i = 0; i < 60; ++i) {
      use.Put(key(300 + i));
      use.zel.arrays.Append(use.array, use.value);
    }
  };
  const auto empty = [&](Use& use) {
    for (std::uint32_t i = 0; i < size; ++i) {
      use.Remove(key(i));
      use.zel.arrays.Remove(use.array, 0);
    }
  };
  const Action actions[] = {
      [&](Use& use) { use.Put(use.fresh), use.Remove(use.first); },
      [&](Use& use) { use.zel.arrays.Append(use.array, use.value), use.Remove(use.fresh); },
      fill,
      empty,
      [&](Use& use) { empty(use), fill(use); },
      [&](Use& use) { fill(use), empty(use); },
      [&](Use& use) {
        for (ZELInstance& iterator : use.iterators) {
          use.zel.containers.Release(iterator);
          iterator = use.zel.iterators.NewPOSDictIterator(use.dict);
          use.zel.containers.AddRef(iterator);
        }
      },
  };
  const Action operations[] = {
      [&](Use& use) { use.Put(use.fresh); },
      [&](Use& use) { use.Put(use.first); },
      [&](Use& use) { use.Remove(use.first), use.zel.iterators.Next(use.iterators[0]); },
      [&](Use& use) { use.Remove(use.first), use.zel.iterators.Begin(use.iterators[1]); },
      [&](Use& use) { use.zel.Keep(use.zel.objects.Clone(use.dict)); },
      [&](Use& use) { use.zel.Keep(use.zel.objects.Clone(use.array)); },
      [&](Use& use) { use.zel.arrays.Append(use.array, use.value); },
      [&](Use& use) { use.zel.arrays.SetAt(use.array, 2 * size + 1, use.value); },
      empty,
  };
  for (const std::uint32_t entries : {0u, 4u, 12u, 48u, 96u}) {
    size = entries;
    for (const Action& operation : operations) {
      for (const Action& action : actions) {
        for (int service = 0; service < 30; ++service) {
          Use use{zeltest::Library(host), nullptr, nullptr, nullptr, {}, key(0),
                  key(size / 2) + "n"};
          auto& zel = use.zel;
          use.value = zel.NewNumber(1);
          use.array = zel.Keep(zel.arrays.NewPOSArray());
          use.dict = zel.Keep(zel.dicts.NewPOSDict());
          for (std::uint32_t i = 0; i < size; ++i) {
            zel.arrays.Append(use.array, use.value);
            use.Put(key(i));
          }
          for (ZELInstance& iterator : use.iterators) {
            iterator = zel.iterators.NewPOSDictIterator(use.dict);
            zel.containers.AddRef(iterator);
          }
          g_meanwhile = {service, [&] { action(use); }};
          operation(use);
          const bool isServed = std::exchange(g_meanwhile.left, -1) < 0;

          std::vector<std::string> keys;
          const ZELInstance walk = zel.Keep(zel.iterators.NewPOSDictIterator(use.dict));
          for (; !zel.iterators.IsDone(walk); zel.iterators.Next(walk)) {
            keys.emplace_back(zel.iterators.CurKey(walk));
          }
          EXPECT_EQ(std::adjacent_find(keys.begin(), keys.end(), std::greater_equal<>()),
                    keys.end());
          for (const std::string& one : keys) {
            EXPECT_EQ(zel.dicts.Get(use.dict, zel.Atom(one)), use.value) << one;
            use.Remove(one);
          }
          zel.iterators.Begin(walk);
          EXPECT_TRUE(zel.iterators.IsDone(walk));
          for (ZELInstance iterator : use.iterators) zel.containers.Release(iterator);
          if (!isServed) break;
        }
      }
    }
  }
  host.Stop();
  EXPECT_EQ(ToString(host.Live()), "nothing");
}

}  // namespace
