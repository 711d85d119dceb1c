// The POS dictionary: an ordered map from keys to references to other POS objects, and the iterators
// over it.
#pragma once

#include <cstring>
#include <map>

#include "frame/string_atom.h"
#include "pos/base_object.h"

namespace NPOSObjectImpl {

// Keys are ordered by their bytes as unsigned values, a prefix before what it begins.
struct KeyOrder {
  using is_transparent = void;
  static const char* TextOf(const ZEL_T_NMT::CZELStringAtom& key) noexcept { return key.Text(); }
  static const char* TextOf(const char* key) noexcept { return key; }

  template <class Left, class Right>
  bool operator()(const Left& left, const Right& right) const noexcept {
    return std::strcmp(TextOf(left), TextOf(right)) < 0;
  }
};

class DictIterator;

class Dict final : public Composite {
 public:
  static constexpr int32_t kType = POSTypeDict;
  static constexpr const char* kMismatch = "instance was not an POSDict";

  Dict() = default;
  Dict(const Dict&) = delete;
  Dict& operator=(const Dict&) = delete;
  ~Dict() override;

  BaseObject* Clone() override;
  bool IsEqual(const ZEL_T_NMT::CPOSObject& other) override;
  int32_t GetType() const override { return kType; }

  // Null for an absent key.
  ZELInstance Get(const char* key) const noexcept;
  void Put(ZEL_T_NMT::CZELStringAtom key, ZEL_T_NMT::CPOSObject value);
  void Remove(const char* key);

 private:
  friend class DictIterator;
  using Entries = std::map<
      ZEL_T_NMT::CZELStringAtom, ZEL_T_NMT::CPOSObject, KeyOrder,
      ZEL_T_NMT::BinderAllocator<
          std::pair<const ZEL_T_NMT::CZELStringAtom, ZEL_T_NMT::CPOSObject>>>;

  void RefreshTables();

  Entries entries_;
  DictIterator* iterators_ = nullptr;  // those that walk this dictionary now
  uint32_t tableEpoch_ = ZEL_T_NMT::g_link.tableEpoch;
};

// Walks a dictionary in key order and stays valid whatever is done to it: the dictionary knows its
// iterators, and one that stands on a removed entry takes the key over.
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
  // The current entry's key and value; only while the entry has not been removed.
  const ZEL_T_NMT::CZELStringAtom& Key() const noexcept { return position_->first; }
  ZEL_T_NMT::CPOSObject& Value() const noexcept { return position_->second; }

 private:
  friend class Dict;
  enum class State { kAtEntry, kEntryRemoved, kDone };

  void GoTo(Dict::Entries::iterator position) noexcept;

  Dict* dict_;
  Dict::Entries::iterator position_{};
  State state_ = State::kDone;
  ZEL_T_NMT::CZELStringAtom removedKey_;
  DictIterator* next_ = nullptr;
  DictIterator* previous_ = nullptr;
  ZEL_T_NMT::ContainerReference keptAlive_;
};

// The library's own traversals: on the stack, over a dictionary that its caller keeps alive.
class ConstDictIterator final : public DictIterator {
 public:
  explicit ConstDictIterator(Dict& dict) noexcept : DictIterator(dict) {}
  using DictIterator::Key;
  using DictIterator::Value;
};

}  // namespace NPOSObjectImpl
