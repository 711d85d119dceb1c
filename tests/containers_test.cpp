// Arrays, dictionaries, iterators, deep lookup and what they do to the references of their members.
#include "support.h"

namespace {

class ContainersTest : public zeltest::LibraryTest {
 protected:
  ZELInstance Number(double value) { return Keep(numbers.NewPOSNumber(value)); }

  // The numbers in an array, with -1 for an empty slot.
  std::vector<double> Contents(ZELInstance array) {
    std::vector<double> contents;
    for (uint32_t i = 0; i < arrays.Count(array); ++i) {
      const ZELInstance element = arrays.GetAt(array, i);
      contents.push_back(element == nullptr ? -1 : numbers.Get(element));
    }
    return contents;
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
  const ZELInstance value = Number(7);
  arrays.SetAt(array, 5, value);
  EXPECT_EQ(Contents(array), (Values{-1, -1, -1, -1, -1, 7}));
  EXPECT_EQ(host.RefCount(value), 2u);
  arrays.SetAt(array, 0, Number(1));
  arrays.Append(array, value);
  arrays.Remove(array, 1);
  arrays.Remove(array, 6);
  arrays.Remove(array, 0xFFFFFFFFu);
  EXPECT_EQ(Contents(array), (Values{1, -1, -1, -1, 7, 7}));
  arrays.SetAt(array, 4, Number(2));
  EXPECT_EQ(host.RefCount(value), 2u);
  EXPECT_EQ(arrays.GetAt(array, 6), nullptr);
  const ZELInstance clone = Keep(objects.Clone(array));
  EXPECT_EQ(Contents(clone), Contents(array));
  EXPECT_TRUE(objects.IsEqual(array, clone));
  arrays.SetAt(clone, 1, value);
  EXPECT_FALSE(objects.IsEqual(array, clone)) << "an empty slot equals an empty slot only";
  EXPECT_FALSE(objects.IsEqual(clone, array));

  // Blocks are taken for the 1st, 5th, 9th and 17th element, and for the number that is appended.
  const ZELInstance grown = Keep(arrays.NewPOSArray());
  for (uint32_t i = 0; i < 20; ++i) {
    host.ResetCalls();
    arrays.Append(grown, value);
    const bool grows = i == 0 || i == 4 || i == 8 || i == 16;
    EXPECT_EQ(host.Calls(zelhost::Service::kAlloc), grows ? 1u : 0u) << i;
  }
}

TEST_F(ContainersTest, AnIndexBeyondAnyStorageIsAnAllocationFailure) {
  const ZELInstance array = Keep(arrays.NewPOSArray());
  for (const uint32_t index : {0xFFFFFFFFu, 0xFFFFFFFEu, 0x7FFFFFFFu, 0x40000000u}) {
    arrays.SetAt(array, index, Number(1));
    ExpectReports({"bad allocation"});
  }
  EXPECT_EQ(arrays.Count(array), 0u);
  const ZELInstance value = Number(1);
  host.FailAt(zelhost::Service::kAlloc, 1);
  arrays.Append(array, value);
  ExpectReports({"bad allocation"});
  EXPECT_EQ(arrays.Count(array), 0u);
  EXPECT_EQ(host.RefCount(value), 1u);
}

TEST_F(ContainersTest, DictionariesAreOrderedByTheBytesOfTheirKeys) {
  const ZELInstance dict = Keep(dicts.NewPOSDict());
  const ZELInstance value = Number(1);
  for (const char* key : {"b", "a", "B", "ab", "\xe9", ""}) dicts.Put(dict, Atom(key), value);
  EXPECT_EQ(Rest(Keep(iterators.NewPOSDictIterator(dict))), " B a ab b \xe9 ");
  EXPECT_EQ(host.RefCount(value), 7u);
  dicts.Put(dict, Atom("a"), Number(2));
  EXPECT_EQ(host.RefCount(value), 6u);
  EXPECT_EQ(numbers.Get(dicts.Get(dict, Atom("a"))), 2);
  dicts.Remove(dict, Atom("a"));
  dicts.Remove(dict, Atom("absent"));
  EXPECT_EQ(dicts.Get(dict, Atom("a")), nullptr);
  EXPECT_TRUE(iterators.IsDone(Keep(iterators.NewPOSDictIterator(Keep(dicts.NewPOSDict())))));
}

TEST_F(ContainersTest, IteratorsSurviveWhateverIsDoneToTheirDictionary) {
  ZELInstance dict = Parse("<a 1 b 2 c 3 d 4>");
  const ZELInstance first = Keep(iterators.NewPOSDictIterator(dict));
  const ZELInstance second = Keep(iterators.NewPOSDictIterator(dict));
  iterators.Next(first);
  iterators.Next(second);
  dicts.Remove(dict, Atom("b"));
  EXPECT_STREQ(iterators.CurKey(first), "b") << "it stands on the key that was removed";
  EXPECT_FALSE(iterators.IsDone(first));
  dicts.Put(dict, Atom("bb"), Number(5));
  EXPECT_EQ(Rest(first), "b bb c d ");
  dicts.Remove(dict, Atom("bb"));
  dicts.Remove(dict, Atom("c"));
  dicts.Remove(dict, Atom("d"));
  iterators.Next(second);
  EXPECT_TRUE(iterators.IsDone(second));
  EXPECT_EQ(iterators.CurKey(second), nullptr);
  iterators.Next(second);
  iterators.Begin(second);
  EXPECT_EQ(Rest(second), "a ");

  // The iterator alone keeps the dictionary alive.
  const ZELInstance orphaned = statics.CreateFromText("<x 1>", nullptr);
  containers.AddRef(orphaned);
  const ZELInstance holder = Keep(iterators.NewPOSDictIterator(orphaned));
  containers.Release(orphaned);
  EXPECT_EQ(Rest(holder), "x ");
}

TEST_F(ContainersTest, CloneIsDeepAndSharesScalars) {
  const ZELInstance source = Parse("<list [[shared] 1] name (n)>");
  const ZELInstance clone = Keep(objects.Clone(source));
  const ZELStringAtom path = Atom("list[0][0]");
  EXPECT_EQ(dicts.DeepGet(source, path), dicts.DeepGet(clone, path));
  EXPECT_NE(dicts.DeepGet(source, Atom("list[0]")), dicts.DeepGet(clone, Atom("list[0]")));
  EXPECT_TRUE(objects.IsEqual(source, clone));
  arrays.Append(dicts.DeepGet(clone, Atom("list[0]")), Number(1));
  EXPECT_FALSE(objects.IsEqual(source, clone));
}

TEST_F(ContainersTest, EqualityOfContainers) {
  struct {
    const char *left, *right;
    bool equal;
  } const rows[] = {
      {"[]", "[]", true},
      {"<>", "<>", true},
      {"[]", "<>", false},
      {"[1 2]", "[1 2]", true},
      {"[1 2]", "[2 1]", false},
      {"[1 2]", "[1 2 3]", false},
      {"<a 1 b 2>", "<b 2 a 1>", true},
      {"<a 1>", "<a 1 b 2>", false},
      {"<a 1>", "<b 1>", false},
      {"<a 1>", "<a 2>", false},
      {"<a [<b []>]>", "<a [<b []>]>", true},
      {"<a [<b []>]>", "<a [<b <>>]>", false},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(objects.IsEqual(Parse(row.left), Parse(row.right)), row.equal) << row.left;
    EXPECT_EQ(objects.IsEqual(Parse(row.right), Parse(row.left)), row.equal) << row.left;
  }
}

TEST_F(ContainersTest, DeepLookup) {
  const ZELInstance dict =
      Parse("<a <b [10 11 <c 12>]> x <(y ) 13> () <() 14 k 15> (q]) 16 s [[17]] n 18>");
  struct {
    const char* path;
    double reached;  // 0: nothing
  } const rows[] = {
      {"a.b[2].c", 12},
      {".a.b[2].c", 12},
      {"a.b[0]", 10},
      {"a.b[01]", 11},
      {"x.y ", 13},
      {".k", 0},
      {"..k", 15},
      {".", 0},
      {"..", 14},
      {"q]", 16},
      {"s[0][0]", 17},
      {"n", 18},
      {"n.x", 0},
      {"n[0]", 0},
      {"a[0]", 0},
      {"a.b[]", 0},
      {"a.b[1", 0},
      {"a.b[1]y", 0},
      {"a.b[-1]", 0},
      {"a.b[ 1]", 0},
      {"a.b[1x]", 0},
      {"a.b[3]", 0},
      {"a.b.c", 0},
      {"absent.b", 0},
      {"a.b[4294967296]", 0},
      {"a.b[99999999999999999999999]", 0},
      {"[0]", 0},
      {"s[0][0]]", 0},
      {"s[0].", 0},
  };
  for (const auto& row : rows) {
    const ZELInstance reached = dicts.DeepGet(dict, Atom(row.path));
    if (row.reached == 0) {
      EXPECT_TRUE(reached == nullptr || !numbers.IsPOSNumber(reached)) << row.path;
    } else {
      EXPECT_EQ(numbers.Get(reached), row.reached) << row.path;
    }
  }
  // The empty path is the empty key, and so is what comes before a leading subscript.
  EXPECT_TRUE(dicts.IsPOSDict(dicts.DeepGet(dict, Atom(""))));
  // An error on the way is no report; only the path's own buffer is.
  host.FailAt(zelhost::Service::kNewStringAtom, 2);
  EXPECT_EQ(dicts.DeepGet(dict, Atom("a.b[0]")), nullptr);
  ExpectReports({});
  const ZELStringAtom path = Atom("n");
  host.FailAt(zelhost::Service::kAlloc, 1);
  EXPECT_EQ(dicts.DeepGet(dict, path), nullptr);
  ExpectReports({"bad allocation"});
}

TEST_F(ContainersTest, NestingHasALimitAndDestructionHasNone) {
  zeltest::RunOnSmallStack([this] {
    const std::string open(POS_NESTING_LIMIT, '[');
    const std::string close(POS_NESTING_LIMIT, ']');
    const ZELInstance deepest = Parse(open + "1" + close);
    const ZELInstance clone = Keep(objects.Clone(deepest));
    EXPECT_TRUE(objects.IsEqual(deepest, clone));
    ExpectReports({});

    const ZELInstance outer = Keep(arrays.NewPOSArray());
    arrays.Append(outer, deepest);
    const ZELInstance other = Keep(arrays.NewPOSArray());
    arrays.Append(other, clone);
    EXPECT_FALSE(objects.IsEqual(outer, other));
    ExpectReports({"nesting too deep"});
    EXPECT_EQ(objects.Clone(outer), nullptr);
    EXPECT_EQ(host.Reports().front(), "nesting too deep");
    EXPECT_EQ(host.TakeReports().size(), POS_NESTING_LIMIT + 1);

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

TEST_F(ContainersTest, AValueThatHoldsItselfFailsInOrder) {
  const ZELInstance first = Keep(arrays.NewPOSArray());
  const ZELInstance second = Keep(arrays.NewPOSArray());
  arrays.Append(first, second);
  arrays.Append(second, first);
  EXPECT_FALSE(objects.IsEqual(first, second));
  ExpectReports({"nesting too deep"});
  EXPECT_EQ(objects.Clone(first), nullptr);
  EXPECT_EQ(host.TakeReports().size(), POS_NESTING_LIMIT + 1);
  arrays.Remove(second, 0);
}

// A member's end calls back into the container that is letting go of it.
ZELInstance g_container = nullptr;
uint32_t g_countSeen = 0;

TEST_F(ContainersTest, MembersMayCallBackWhileTheyAreReleased) {
  static const zeltest::Arrays* arrayProcs = nullptr;
  arrayProcs = &arrays;
  g_container = Keep(arrays.NewPOSArray());
  const auto release = [](void* value) {
    g_countSeen = arrayProcs->Count(g_container);
    arrayProcs->Append(g_container, static_cast<ZELInstance>(value));
  };
  const ZELInstance number = Number(5);
  arrays.Append(g_container, rawPointers.NewPOSRawPointer(number, release));
  arrays.Append(g_container, number);
  arrays.Remove(g_container, 0);
  EXPECT_EQ(g_countSeen, 1u);
  EXPECT_EQ(Contents(g_container), (Values{5, 5}));
  arrays.SetAt(g_container, 0, Keep(rawPointers.NewPOSRawPointer(number, nullptr)));
}

}  // namespace
