#include "pos/dict.h"

#include "frame/core/nesting.h"
#include "pos/key_hash.h"
#include "pos/members.h"

namespace NPOSObjectImpl {

using ZEL_T_NMT::ContainerReference;
using ZEL_T_NMT::CZELStringAtom;
using ZEL_T_NMT::NestingLevel;

Dict::~Dict() {
  while (iterators_ != nullptr) {
    DictIterator* iterator = iterators_;
    iterators_ = iterator->next_;
    iterator->dict_ = nullptr;
    iterator->state_ = DictIterator::State::kDone;
  }
  // What is released may call back into this dictionary: it holds nothing while that happens.
  while (!entries_.IsEmpty()) const DictEntries released(std::move(entries_));
}

Dict* Dict::Clone() {
  const NestingLevel level(g_cloneDepth);
  auto copy = std::make_unique<Dict>();
  copy->entries_.Reserve(entries_.Count());
  for (ConstDictIterator it(*this); !it.IsDone(); it.Next()) {
    DictKey key = it.Key();
    copy->entries_.Insert(std::move(key), CloneMember(it.Value()));
  }
  return copy.release();
}

bool Dict::IsEqual(Dict& other) {
  const NestingLevel level(g_equalDepth);
  ConstDictIterator it(*this);
  ConstDictIterator beside(other);
  // Equal dictionaries have the same keys at each step.
  for (; !it.IsDone() && ZEL_T_NMT::IsSameText(it.CurKey(), beside.CurKey());
       it.Next(), beside.Next()) {
    if (!MembersAreEqual(it.Value(), beside.Value())) return false;
  }
  if (it.IsDone() && beside.IsDone()) return true;

  for (; !it.IsDone(); it.Next()) {
    const ZELInstance value = other.Get(it.CurKey());
    if (value == nullptr || !MembersAreEqual(it.Value(), value)) return false;
  }
  for (beside.Begin(); !beside.IsDone(); beside.Next()) {
    if (Get(beside.CurKey()) == nullptr) return false;
  }
  return true;
}

ZELInstance Dict::Get(const char* key) const noexcept {
  const std::uint32_t number = entries_.Find(key);
  return number == kNone ? nullptr : entries_.At(number).value.Get();
}

void Dict::Put(CZELStringAtom&& key, ContainerReference&& value) {
  const std::uint32_t hash = HashKey(key.Text());
  const std::uint32_t number = entries_.Find(key.Text(), hash);
  if (number != kNone) {
    // The old value is released when the dictionary has the new one.
    const ContainerReference old = std::exchange(entries_.At(number).value, std::move(value));
    return;
  }
  entries_.Insert(DictKey(std::move(key), hash), std::move(value));
}

void Dict::Remove(const char* key) {
  const std::uint32_t number = entries_.Find(key);
  if (number == kNone) return;
  for (DictIterator* iterator = iterators_; iterator != nullptr; iterator = iterator->next_) {
    if (iterator->number_ == number) iterator->HoldKey();
  }
  // The entry leaves the dictionary before its value is released.
  const DictEntry released = entries_.Remove(number);
  if (entries_.IsSparse()) {
    for (DictIterator* iterator = iterators_; iterator != nullptr; iterator = iterator->next_) {
      iterator->HoldKey();
    }
    entries_.ShrinkIfSparse();
  }
}

DictIterator::DictIterator(Dict& dict, ZEL_T_NMT::ContainerReference keptAlive) noexcept
    : dict_(&dict), next_(dict.iterators_), keptAlive_(std::move(keptAlive)) {
  if (next_ != nullptr) next_->previous_ = this;
  dict.iterators_ = this;
  Begin();
}

DictIterator::~DictIterator() {
  if (dict_ == nullptr) return;
  if (next_ != nullptr) next_->previous_ = previous_;
  (previous_ != nullptr ? previous_->next_ : dict_->iterators_) = next_;
}

void DictIterator::Begin() noexcept {
  if (dict_ != nullptr) GoTo(dict_->entries_.First());
}

void DictIterator::Next() noexcept {
  if (state_ == State::kDone) return;
  DictEntries& entries = dict_->entries_;
  GoTo(entries.PlacesAreOf(placesVersion_) ? entries.After(place_) : entries.AfterKey(CurKey()));
}

const char* DictIterator::CurKey() const noexcept {
  switch (state_) {
    case State::kAtEntry:
      return Entry().key.Text();
    case State::kAtKey:
      return key_.Text();
    case State::kDone:
      break;
  }
  return nullptr;
}

ZELInstance DictIterator::ValueNow() const noexcept {
  if (state_ == State::kAtEntry) return Value();
  return state_ == State::kAtKey ? dict_->Get(key_.Text()) : nullptr;
}

void DictIterator::GoTo(DictEntries::Place place) noexcept {
  if (state_ == State::kAtKey) key_ = CZELStringAtom();
  place_ = place;
  if (place == DictEntries::kEnd) {
    state_ = State::kDone;
    return;
  }
  const DictEntries& entries = dict_->entries_;
  state_ = State::kAtEntry;
  number_ = entries.NumberAt(place);
  placesVersion_ = entries.PlacesVersion();
  entries.PrefetchAfter(place);
}

void DictIterator::HoldKey() {
  if (state_ != State::kAtEntry) return;
  key_ = Entry().key;
  state_ = State::kAtKey;
}

}  // namespace NPOSObjectImpl
