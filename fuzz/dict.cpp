#include <array>
#include <cmath>
#include <map>
#include <vector>

#include "targets.h"

namespace zelfuzz {
namespace {

// Keys of several lengths; the values of their bytes are of both signs.
std::string KeyOf(std::uint8_t byte) {
  std::string key(byte % 5u, 'k');
  if (byte % 7u != 0) key += static_cast<char>(255 - byte / 2);
  return byte == 0 ? key : key + std::to_string(byte);
}

class DictRun {
 public:
  explicit DictRun(Session& session)
      : session_(session), procs_(session.procs), dict_(session, procs_.dicts.NewPOSDict()) {}
  ~DictRun() {
    for (const ZELStringAtom atom : atoms_) {
      if (atom != 0) procs_.atoms.DeleteStringAtom(atom);
    }
  }

  void Run(Bytes input) {
    for (std::size_t i = 0; i + 1 < input.size(); i += 2) {
      Step(input[i], input[i + 1]);
      ExpectLittleWork();
    }
    ExpectSameMembers(dict_);
    const Held clone(session_, procs_.objects.Clone(dict_.Get()));
    ExpectSameMembers(clone);
    Expect(procs_.objects.IsEqual(dict_.Get(), clone.Get()), "a clone that is not equal");
    for (const Walker& walker : walkers_) ExpectSamePosition(walker);
  }

 private:
  // An iterator, and the key that it is to stand on, which need not be there any more.
  struct Walker {
    Held iterator;
    bool isDone;
    std::string key;
  };

  void Step(std::uint8_t op, std::uint8_t argument) {
    switch (op % 16) {
      case 0:
      case 1:
      case 2:
      case 3:
      case 4:
      case 5:
        return Put(argument, op);
      case 6:
      case 7:
        return Remove(argument);
      case 8:
        return Get(argument);
      case 9:
        return Walk();
      case 10:
        return Begin(argument);
      case 11:
      case 12:
      case 13:
        return Next(argument);
      case 14:
        session_.host.FailAt(zelhost::Service::kAlloc, 1 + argument % 2u);
        Put(static_cast<std::uint8_t>(argument / 2), op);
        return session_.host.StopFailing();
      default:
        // A run of keys in ascending or descending order.
        for (int i = 0; i < 20; ++i) {
          Put(static_cast<std::uint8_t>(op < 128 ? argument + i : argument - i), op);
        }
    }
  }

  static const std::string& Key(std::uint8_t number) {
    static const std::array<std::string, 256> keys = [] {
      std::array<std::string, 256> made;
      for (std::size_t i = 0; i < made.size(); ++i) made[i] = KeyOf(static_cast<std::uint8_t>(i));
      return made;
    }();
    return keys[number];
  }
  ZELStringAtom Atom(std::uint8_t number) {
    if (atoms_[number] == 0) atoms_[number] = procs_.atoms.NewStringAtom(Key(number).c_str());
    return atoms_[number];
  }

  // Each operation may take so many steps as six binary searches, and leave what it does not take
  // to later ones.
  void Grant() { allowed_ += 6 * std::log2(static_cast<double>(model_.size() + 16)); }
  void ExpectLittleWork() const {
    if (g_dictionaryWork == nullptr) return;
    const auto work = static_cast<double>(g_dictionaryWork() - workBefore_);
    Expect(work <= allowed_, "a dictionary takes more steps than its operations are worth");
  }

  void Put(std::uint8_t key, std::uint8_t value) {
    Grant();
    const Held number(session_, procs_.numbers.NewPOSNumber(value));
    if (!number) return;
    const ZELStringAtom atom = Atom(key);
    session_.host.TakeReports();
    procs_.dicts.Put(dict_.Get(), atom, number.Get());
    if (session_.host.TakeReports().empty()) model_[Key(key)] = value;
  }

  void Remove(std::uint8_t key) {
    Grant();
    procs_.dicts.Remove(dict_.Get(), Atom(key));
    model_.erase(Key(key));
  }

  void Get(std::uint8_t key) {
    Grant();
    const ZELInstance value = procs_.dicts.Get(dict_.Get(), Atom(key));
    const auto entry = model_.find(Key(key));
    Expect((value != nullptr) == (entry != model_.end()), "a key too many or too few");
    Expect(value == nullptr || procs_.numbers.Get(value) == entry->second, "another value");
  }

  void Walk() {
    if (walkers_.size() == 4) walkers_.erase(walkers_.begin());
    walkers_.push_back(
        {Held(session_, procs_.iterators.NewPOSDictIterator(dict_.Get())), true, ""});
    MoveTo(walkers_.back(), model_.begin());
  }

  void Begin(std::uint8_t index) {
    if (walkers_.empty()) return;
    Walker& walker = walkers_[index % walkers_.size()];
    procs_.iterators.Begin(walker.iterator.Get());
    MoveTo(walker, model_.begin());
  }

  void Next(std::uint8_t index) {
    if (walkers_.empty()) return;
    Walker& walker = walkers_[index % walkers_.size()];
    procs_.iterators.Next(walker.iterator.Get());
    MoveTo(walker, walker.isDone ? model_.end() : model_.upper_bound(walker.key));
  }

  using Model = std::map<std::string, std::uint8_t>;

  void MoveTo(Walker& walker, Model::const_iterator entry) {
    Grant();
    walker.isDone = entry == model_.end();
    if (!walker.isDone) walker.key = entry->first;
    ExpectSamePosition(walker);
  }

  void ExpectSamePosition(const Walker& walker) {
    const char* key = procs_.iterators.CurKey(walker.iterator.Get());
    Expect(procs_.iterators.IsDone(walker.iterator.Get()) == walker.isDone, "done or not");
    Expect(walker.isDone ? key == nullptr : key == walker.key, "an iterator on another key");
  }

  void ExpectSameMembers(const Held& dict) {
    const Held iterator(session_, procs_.iterators.NewPOSDictIterator(dict.Get()));
    for (const auto& [key, value] : model_) {
      const char* found = procs_.iterators.CurKey(iterator.Get());
      Expect(found != nullptr && key == found, "another key");
      const ZELStringAtom atom = procs_.atoms.NewStringAtom(found);
      Expect(procs_.numbers.Get(procs_.dicts.Get(dict.Get(), atom)) == value, "another value");
      procs_.atoms.DeleteStringAtom(atom);
      procs_.iterators.Next(iterator.Get());
    }
    Expect(procs_.iterators.IsDone(iterator.Get()), "a key too many");
  }

  Session& session_;
  const Procedures& procs_;
  Held dict_;
  std::array<ZELStringAtom, 256> atoms_{};
  Model model_;
  std::vector<Walker> walkers_;
  const std::uint64_t workBefore_ = g_dictionaryWork == nullptr ? 0 : g_dictionaryWork();
  double allowed_ = 0;
};

}  // namespace

// Pairs of bytes: what to do, and with which key or iterator.
void FuzzDict(Session& session, Bytes input) { DictRun(session).Run(input); }

}  // namespace zelfuzz
