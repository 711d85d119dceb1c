// Dictionaries under every mixture of operations, and with keys of many kinds.
#include "key_families.h"
#include "random.h"
#include "zel.h"

namespace zelbench {

namespace {

std::string RandomLetters(std::mt19937_64& random, std::size_t count) {
  std::string letters;
  while (letters.size() < count) letters += static_cast<char>('a' + random() % 26);
  return letters;
}

// A dictionary of `count` keys that has been walked once, and the atoms of its keys.
class DictCase : public Case {
 public:
  explicit DictCase(std::size_t count)
      : dict_(library_.Keep(library_.dicts.NewPOSDict())),
        value_(library_.Keep(library_.numbers.NewPOSNumber(1))) {
    keys_.reserve(count);
    for (std::size_t i = 0; i < count; ++i) Put(NewKey());
    Walk(dict_);
  }
  ~DictCase() override {
    for (const ZELStringAtom key : keys_) library_.atoms.DeleteStringAtom(key);
  }

 protected:
  // The caller owns it.
  ZELStringAtom NewAtom(const std::string& text) {
    return library_.atoms.NewStringAtom(text.c_str());
  }
  ZELStringAtom NewKey() {
    keys_.push_back(NewAtom(RandomLetters(random_, 12)));
    return keys_.back();
  }
  ZELStringAtom AnyKey() { return keys_[static_cast<std::size_t>(random_() % keys_.size())]; }
  void Put(ZELStringAtom key) { library_.dicts.Put(dict_.Get(), key, value_.Get()); }
  void Remove(ZELStringAtom key) { library_.dicts.Remove(dict_.Get(), key); }
  Zel::Document NewIterator(const Zel::Document& dict) {
    return library_.Keep(iterators_.NewPOSDictIterator(dict.Get()));
  }
  void Next(const Zel::Document& iterator) {
    if (iterators_.IsDone(iterator.Get())) iterators_.Begin(iterator.Get());
    iterators_.Next(iterator.Get());
  }
  void Walk(const Zel::Document& dict) {
    const Zel::Document iterator = NewIterator(dict);
    while (!iterators_.IsDone(iterator.Get())) iterators_.Next(iterator.Get());
  }

  Zel library_;
  Iterators iterators_ = Iterators::From(library_.host);
  std::mt19937_64 random_{1};
  Zel::Document dict_;
  Zel::Document value_;
  std::vector<ZELStringAtom> keys_;
};

struct Mixture {
  const char* name;
  int kinds;  // of what a step does
};

enum : int {
  kPut = 1,
  kRemove = 2,
  kOneKey = 4,  // put and removed, the same each time
  kNext = 8,
  kOpen = 16,        // an iterator after each step
  kOpenSeldom = 32,  // an iterator after 17 steps
};

constexpr Mixture kMixtures[] = {
    {"put_and_remove_one", kOneKey},
    {"put_and_remove_any", kPut | kRemove},
    {"put_and_next", kPut | kNext},
    {"remove_and_next", kRemove | kNext},
    {"put_remove_and_next", kPut | kRemove | kNext},
    {"put_and_open", kPut | kOpen},
    {"put_17_and_open", kPut | kOpenSeldom},
};

// A few steps of a mixture in a large dictionary.
class MixtureCase final : public DictCase {
 public:
  static constexpr std::size_t kSteps = 170;

  MixtureCase(const Mixture& mixture, std::size_t count)
      : DictCase(count), kinds_(mixture.kinds), iterator_(NewIterator(dict_)), one_(NewKey()) {
    items = kSteps;
  }
  void Run() override {
    for (std::size_t step = 0; step < kSteps; ++step) {
      if (kinds_ & kOneKey) Put(one_), Remove(one_);
      if (kinds_ & kPut) Put(NewKey());
      if (kinds_ & kRemove) Remove(AnyKey());
      if (kinds_ & kNext) Next(iterator_);
      if ((kinds_ & kOpen) || ((kinds_ & kOpenSeldom) && step % 17 == 16)) NewIterator(dict_);
    }
  }

 private:
  const int kinds_;
  Zel::Document iterator_;
  ZELStringAtom one_;
};

// The rest of a large dictionary when all but two keys were removed.
class RemnantCase final : public DictCase {
 public:
  explicit RemnantCase(std::size_t count) : DictCase(count) {
    for (std::size_t i = 2; i < keys_.size(); ++i) Remove(keys_[i]);
  }
  void Run() override {
    Walk(dict_);
    const Zel::Document clone = library_.Clone(dict_);
    Require(library_.Equal(dict_, clone), "a clone is not equal");
  }
};

// All keys of a family put into a new dictionary and looked up there.
class KeyFamilyCase final : public Case {
 public:
  static constexpr std::uint32_t kKeys = 100000;

  explicit KeyFamilyCase(const std::function<std::string(std::uint32_t)>& key)
      : value_(library_.Keep(library_.numbers.NewPOSNumber(1))) {
    for (std::uint32_t i = 0; i < kKeys; ++i) {
      keys_.push_back(library_.atoms.NewStringAtom(key(i).c_str()));
    }
    items = kKeys;
  }
  ~KeyFamilyCase() override {
    for (const ZELStringAtom key : keys_) library_.atoms.DeleteStringAtom(key);
  }
  void Prepare() override { dict_ = library_.Keep(library_.dicts.NewPOSDict()); }
  void Run() override {
    for (const ZELStringAtom key : keys_) library_.dicts.Put(dict_.Get(), key, value_.Get());
    for (const ZELStringAtom key : keys_) {
      Require(library_.dicts.Get(dict_.Get(), key) != nullptr, "a key was not found");
    }
  }
  void Finish() override { dict_ = Zel::Document(); }

 private:
  Zel library_;
  Zel::Document value_;
  Zel::Document dict_;
  std::vector<ZELStringAtom> keys_;
};

}  // namespace

void AddDictionaryCases() {
  for (const std::size_t count : {1000u, 10000u, 100000u, 1000000u}) {
    const std::string size = "/" + std::to_string(count);
    for (const Mixture& mixture : kMixtures) {
      AddCase(
          "growth/" + std::string(mixture.name) + "/dict" + size,
          [mixture, count] { return std::make_unique<MixtureCase>(mixture, count); }, 3);
    }
    AddCase("growth/walk_and_clone/dict_emptied_but_for_two" + size,
            [count] { return std::make_unique<RemnantCase>(count); });
  }
  AddCase("keys/put and get/random", [] {
    return std::make_unique<KeyFamilyCase>(
        [random = std::mt19937_64(1)](std::uint32_t) mutable { return RandomLetters(random, 10); });
  });
  for (const zeltest::KeyFamily& family : zeltest::kKeyFamilies) {
    AddCase("keys/put and get/" + std::string(family.name),
            [family] { return std::make_unique<KeyFamilyCase>(family.key); });
  }
}

}  // namespace zelbench
