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
  // Under a key whose text is at hand. The dictionary takes a reference to the key, or takes over
  // that of its holder, when it does not have the key yet.
  void Put(ZELStringAtom key, const char* text, ZEL_T_NMT::ContainerReference&& value);
  void Put(ZEL_T_NMT::CZELStringAtom&& key, ZEL_T_NMT::ContainerReference&& value);
  void Remove(const char* key);
  // For a walk while nothing is done to the dictionary.
  DictEntries& Entries() noexcept { return entries_; }

 private:
  friend class DictIterator;

  ZELInstance ValueAt(std::uint32_t number) const noexcept {
    return number == kNone ? nullptr : entries_.At(number).value.Get();
  }
  template <typename MakeKey>
  void PutUnder(const char* text, ZEL_T_NMT::ContainerReference&& value, MakeKey makeKey);

  DictEntries entries_;
  DictIterator* iterators_ = nullptr;  // those that walk this dictionary now
};
static_assert(sizeof(Dict) <= 64, "a line of the processor's cache");

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
  // kAtKey: the key is the iterator's own, since its entry is gone or about to be numbered anew.
  enum class State { kAtEntry, kAtKey, kDone };

  void GoTo(DictEntries::Place place) noexcept;
  bool StepInRun() noexcept;
  void StepElsewhere() noexcept;
  DictEntry& Entry() const noexcept { return dict_->entries_.At(number_); }
  void HoldKey();

  Dict* dict_;
  State state_ = State::kDone;
  std::uint32_t number_ = 0;
  // These three belong to the version of the places.
  DictEntries::Place place_ = DictEntries::kEnd;
  std::uint32_t placesVersion_ = 0;
  DictEntries::Run run_{};
  ZEL_T_NMT::CZELStringAtom key_;
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
  using DictIterator::Value;
  using DictIterator::ValueNow;
};

}  // namespace NPOSObjectImpl
