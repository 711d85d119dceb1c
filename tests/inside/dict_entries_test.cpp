// A dictionary's entries beside a map of the standard library, in every mixture of operations: the
// same keys in the same order, with an amount of work that does not depend on what was there
// before.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "key_families.h"
#include "pos/dict_entries.h"
#include "pos/key_hash.h"
#include "pos/work_count.h"
#include "zelhost/host.h"

namespace {

using namespace NPOSObjectImpl;  // NOLINT(google-build-using-namespace): what is tested

// Entries, a model of them and one walker, which stands on a key that need not be there any more.
class Beside {
 public:
  explicit Beside(std::size_t size) : size_(size) {}

  std::string AnyKey() { return std::to_string(random_() % (4 * size_)); }
  std::string NewKey() { return "n" + std::to_string(random_()); }
  // A key that is there, near a random one.
  std::string KeyThere() {
    auto there = model_.lower_bound(AnyKey());
    if (there == model_.end()) there = model_.begin();
    return there == model_.end() ? "" : there->first;
  }

  void Put(const std::string& key) {
    ++operations_;
    const auto place = entries_.FindToPut(key.c_str());
    ASSERT_EQ(place.number == kNone, model_.count(key) == 0) << key;
    if (place.number != kNone) return;
    entries_.Insert(ZEL_T_NMT::CZELStringAtom(key.c_str()), place, {});
    model_[key] = 0;
  }
  void Remove(const std::string& key) {
    ++operations_;
    const std::uint32_t number = entries_.Find(key.c_str());
    ASSERT_EQ(number == kNone, model_.erase(key) == 0) << key;
    if (number == kNone) return;
    entries_.Remove(number);
    entries_.ShrinkIfSparse();
  }
  void Begin() { GoTo(entries_.First(), model_.begin()); }
  void Next() {
    if (atEnd_) return Begin();
    const bool same = entries_.PlacesAreOf(version_);
    GoTo(same ? entries_.After(place_) : entries_.AfterKey(key_.c_str()), model_.upper_bound(key_));
  }
  // From the first key to the last one.
  void Walk() {
    for (Begin(); !atEnd_;) Next();
  }
  void Fill() {
    while (model_.size() < size_) Put(AnyKey());
  }

  void StartCounting() {
    operations_ = 0;
    work_ = g_probes;
  }
  // The work of an operation, in units of a binary search.
  double WorkPerOperation() const {
    return static_cast<double>(g_probes - work_) / static_cast<double>(operations_) /
           std::log2(static_cast<double>(size_ + 16));
  }
  std::size_t Size() const { return size_; }
  std::size_t Live() const { return model_.size(); }

 private:
  void GoTo(DictEntries::Place place, std::map<std::string, int>::const_iterator expected) {
    ++operations_;
    atEnd_ = place == DictEntries::kEnd;
    ASSERT_EQ(atEnd_, expected == model_.end());
    if (atEnd_) return;
    place_ = place;
    version_ = entries_.PlacesVersion();
    key_ = entries_.At(entries_.NumberAt(place)).key.Text();
    ASSERT_EQ(key_, expected->first);
  }

  const std::size_t size_;
  DictEntries entries_;
  std::map<std::string, int> model_;
  std::mt19937_64 random_{1};
  bool atEnd_ = true;
  DictEntries::Place place_ = 0;
  std::uint32_t version_ = 0;
  std::string key_;
  std::size_t operations_ = 0;
  std::uint64_t work_ = 0;
};

struct Mixture {
  const char* name;
  std::function<void(Beside&, std::size_t step)> step;
};

const Mixture kMixtures[] = {
    {"one key put and removed", [](Beside& both, std::size_t) { both.Put("x"), both.Remove("x"); }},
    {"any key put, any removed",
     [](Beside& both, std::size_t) { both.Put(both.AnyKey()), both.Remove(both.KeyThere()); }},
    {"a new key, then a step",
     [](Beside& both, std::size_t) { both.Put(both.NewKey()), both.Next(); }},
    {"a new key, then a walk is begun",
     [](Beside& both, std::size_t) { both.Put(both.NewKey()), both.Begin(); }},
    {"17 new keys, then a walk is begun",
     [](Beside& both, std::size_t step) {
       both.Put(both.NewKey());
       if (step % 17 == 0) both.Begin();
     }},
    {"keys before all others, with steps",
     [](Beside& both, std::size_t step) {
       both.Put("!" + std::to_string(1000000 - step));
       both.Next();
     }},
    {"the first key removed, a walk is begun",
     [](Beside& both, std::size_t) {
       both.Begin();
       both.Remove(both.KeyThere());
       both.Fill();
     }},
    {"all but two removed, then walked again and again",
     [](Beside& both, std::size_t) {
       if (both.Live() > 2) {
         both.Remove(both.KeyThere());
         both.Next();
       } else {
         both.Walk();
       }
     }},
    {"everything at random",
     [](Beside& both, std::size_t step) {
       if (step % 5 < 2) return both.Put(both.AnyKey());
       step % 5 == 2 ? both.Remove(both.AnyKey()) : both.Next();
     }},
};

TEST(DictEntriesTest, AnyMixtureIsInOrderAndTakesLogarithmicWork) {
  zelhost::Host host;
  host.Start({&ZELUtilsGetVersion, &ZELUtilsInitialize, &ZELUtilsTerminate});
  for (const std::size_t size : {std::size_t{3}, std::size_t{100}, std::size_t{5000}}) {
    for (const Mixture& mixture : kMixtures) {
      SCOPED_TRACE(mixture.name);
      Beside both(size);
      both.Fill();
      both.Walk();
      both.StartCounting();
      for (std::size_t step = 0; step < 2 * size + 50; ++step) mixture.step(both, step);
      EXPECT_LT(both.WorkPerOperation(), 6) << size;
      both.Walk();
      if (::testing::Test::HasFatalFailure()) return;
    }
  }
}

TEST(DictEntriesTest, MemoryFollowsTheEntriesThatAreThere) {
  zelhost::Host host;
  host.Start({&ZELUtilsGetVersion, &ZELUtilsInitialize, &ZELUtilsTerminate});
  Beside large(30000);
  large.Fill();
  large.Walk();
  const std::size_t taken = host.Live().bytes;
  while (large.Live() > 300) large.Remove(large.KeyThere());
  const std::size_t left = host.Live().bytes;
  EXPECT_LT(left * 25, taken);
}

// As many different hashes, and as even a spread over the slots of an index, as random numbers
// give.
TEST(KeyHashTest, NoFamilyOfKeysClusters) {
  constexpr std::uint32_t kKeys = 100000;
  constexpr std::uint32_t kSlots = 1 << 17;
  DrawHashSecret();
  for (const zeltest::KeyFamily& family : zeltest::kKeyFamilies) {
    std::vector<std::uint32_t> hashes;
    std::vector<bool> low(kSlots);
    std::vector<bool> high(kSlots);
    for (std::uint32_t number = 0; number < kKeys; ++number) {
      const std::uint32_t hash = HashKey(family.key(number).c_str(), family.key(number).size());
      hashes.push_back(hash);
      low[hash % kSlots] = true;
      high[hash >> 15] = true;
    }
    std::sort(hashes.begin(), hashes.end());
    EXPECT_GT(std::unique(hashes.begin(), hashes.end()) - hashes.begin(), kKeys - 20)
        << family.name;
    // kSlots * (1 - exp(-kKeys / kSlots)) is 69,958, the deviation about 120.
    for (const std::vector<bool>* slots : {&low, &high}) {
      const auto taken = static_cast<double>(std::count(slots->begin(), slots->end(), true));
      EXPECT_NEAR(taken, 69958, 1000) << family.name;
    }
  }
}

}  // namespace
