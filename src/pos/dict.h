// The POS dictionary: an ordered map from keys to references to other POS objects, and the
// iterators over it.
#pragma once

#include "pos/base_object.h"
#include "pos/dict_entries.h"

namespace NPOSObjectImpl {

class DictIterator;

class Dict final : public ZEL_T_NMT::OwnDict {
 public:
  static constexpr POSObjectType kType = POSTypeDict;
  static constexpr const char* kMismatch = "instance was not an POSDict";

  Dict() noexcept = default;
  ~Dict();

  Dict* Clone();
  bool IsEqual(Dict& other);

  // Null for an absent key.
  ZELInstance Get(const char* key) const noexcept { return ValueAt(entries_.Find(key)); }
  ZELInstance Get(SoughtKey key) const noexcept { return ValueAt(entries_.Find(key)); }
  // Takes over the key's reference when it does not have the key yet.
  void Put(ZEL_T_NMT::CZELStringAtom&& key, ZEL_T_NMT::ContainerReference&& value);
  void Remove(const char* key);
  // For a walk while nothing is done to the dictionary.
  DictEntries& Entries() noexcept { return entries_; }

 private:
  friend class DictIterator;

  ZELInstance ValueAt(std::uint32_t number) const noexcept {
    return number == kNone ? nullptr : entries_.At(number).value.Get();
  }
  std::uint32_t CountStandingAt(std::uint32_t number) const noexcept;

  DictEntries entries_;
  DictIterator* iterators_ = nullptr;  // those that walk this dictionary now
};
static_assert(sizeof(Dict) <= 64, "a line of the processor's cache");

// References to the key of an entry that is about to go, for the iterators that stand on it.
class KeptKey {
 public:
  KeptKey() noexcept = default;
  explicit KeptKey(const DictKey& key) noexcept : text_(key.Text()), atom_(key.Atom()) {}
  KeptKey(KeptKey&& other) noexcept
      : text_(other.text_), atom_(other.atom_), count_(std::exchange(other.count_, 0)) {}
  KeptKey& operator=(KeptKey&&) = delete;
  ~KeptKey() {
    for (; count_ != 0; --count_) ZEL_T_NMT::Strings().DeleteStringAtom(atom_);
  }

  const char* Text() const noexcept { return text_; }
  std::uint32_t Count() const noexcept { return count_; }
  void Retain() {
    ZEL_T_NMT::Strings().AddRef(atom_);
    ++count_;
  }
  // One of the references; calls nobody. The other holder must be empty.
  void HandOut(KeptKey& to) noexcept {
    to.text_ = text_;
    to.atom_ = atom_;
    to.count_ = 1;
    --count_;
  }

 private:
  const char* text_ = nullptr;
  ZELStringAtom atom_ = 0;
  std::uint32_t count_ = 0;
};

// Walks a dictionary in key order and stays valid whatever is done to it: the dictionary knows its
// iterators, and one that stands on an entry to be removed takes a reference to the key.
class DictIterator : public ZEL_T_NMT::CZELClientBase {
 public:
  // `keptAlive` holds the dictionary for an iterator that may outlive its other holders.
  explicit DictIterator(Dict& dict, ZEL_T_NMT::ContainerReference keptAlive = {}) noexcept;
  DictIterator(const DictIterator&) = delete;
  DictIterator& operator=(const DictIterator&) = delete;
  virtual ~DictIterator();

  void Begin() noexcept;
  void Next() noexcept;
  bool IsDone() const noexcept { return state_ == State::kDone; }
  // Null when done.
  const char* CurKey() const noexcept;

 protected:
  // The current entry's key and value in one; only right after Begin or Next.
  ZEL_T_NMT::OwnMember CurMember() const noexcept {
    if (state_ != State::kAtEntry) return {};
    const DictEntry& entry = Entry();
    return {entry.key.Text(), entry.value.Get()};
  }
  // Next and CurMember in one.
  ZEL_T_NMT::OwnMember NextMember() noexcept;
  // The current entry's key and value; only while the entry has not been removed.
  const DictKey& Key() const noexcept { return Entry().key; }
  ZELInstance Value() const noexcept { return Entry().value.Get(); }
  // The value of the current key, whatever has been done to the dictionary; null when it has none.
  ZELInstance ValueNow() const noexcept;

 private:
  friend class Dict;
  // kAtKey: the key is the iterator's own, since its entry is gone.
  enum class State { kAtEntry, kAtKey, kDone };

  void GoTo(DictEntries::Place place) noexcept;
  bool StepInRun() noexcept;
  void StepElsewhere() noexcept;
  DictEntry& Entry() const noexcept { return dict_->entries_.At(number_); }
  bool StandsAt(std::uint32_t number) const noexcept {
    return state_ == State::kAtEntry && number_ == number;
  }

  Dict* dict_;
  State state_ = State::kDone;
  std::uint32_t number_ = 0;
  // These three belong to the version of the places.
  DictEntries::Place place_ = DictEntries::kEnd;
  std::uint32_t placesVersion_ = 0;
  DictEntries::Run run_{};
  KeptKey key_;
  DictIterator* next_ = nullptr;
  DictIterator* previous_ = nullptr;
  ZEL_T_NMT::ContainerReference keptAlive_;
};

// The library's own traversals: on the stack, over a dictionary that its caller keeps alive.
class ConstDictIterator final : public DictIterator {
 public:
  explicit ConstDictIterator(Dict& dict) noexcept : DictIterator(dict) {}
  using DictIterator::CurMember;
  using DictIterator::Key;
  using DictIterator::NextMember;
  using DictIterator::ValueNow;
};

}  // namespace NPOSObjectImpl
