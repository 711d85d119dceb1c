#include "pos/dict.h"

#include "frame/core/nesting.h"
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
  // A member that is released may call back into this dictionary: it holds nothing while that
  // happens.
  while (!entries_.IsEmpty()) const DictEntries released(std::move(entries_));
}

Dict* Dict::Clone() {
  const NestingLevel level(g_cloneDepth);
  auto copy = std::make_unique<Dict>();
  copy->entries_.Reserve(entries_.Count());
  for (ConstDictIterator it(*this); !it.IsDone(); it.Next()) {
    CZELStringAtom key = it.Key();
    const std::uint32_t hash = it.Key().hash;
    copy->entries_.Insert(std::move(key), hash, CloneMember(it.Value()));
  }
  return copy.release();
}

bool Dict::IsEqual(Dict& other) {
  const NestingLevel level(g_equalDepth);
  ConstDictIterator it(*this);
  ConstDictIterator beside(other);
  // Equal dictionaries have the same keys at each step.
  for (; !it.IsDone() && ZEL_T_NMT::IsSameText(it.CurKey(), beside.CurKey()); it.Next()) {
    if (!MembersAreEqual(it.Value(), beside.Value())) return false;
    beside.Next();
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

template <typename MakeKey>
void Dict::PutUnder(const char* text, ContainerReference&& value, MakeKey makeKey) {
  const DictEntries::Sought place = entries_.FindToPut(text);
  if (place.number == kNone) [[likely]]
    return entries_.Insert(makeKey(), place, std::move(value));
  // The old value is released when the dictionary has the new one.
  const ContainerReference old = std::exchange(entries_.At(place.number).value, std::move(value));
}

void Dict::Put(ZELStringAtom key, const char* text, ContainerReference&& value) {
  PutUnder(text, std::move(value), [key, text] { return CZELStringAtom(key, text); });
}

void Dict::Put(CZELStringAtom&& key, ContainerReference&& value) {
  PutUnder(key.Text(), std::move(value), [&key]() -> CZELStringAtom&& { return std::move(key); });
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

ZEL_ALWAYS_INLINE void DictIterator::GoTo(DictEntries::Place place) noexcept {
  if (state_ == State::kAtKey) key_ = CZELStringAtom();
  place_ = place;
  if (place == DictEntries::kEnd) {
    state_ = State::kDone;
    return;
  }
  const DictEntries& entries = dict_->entries_;
  state_ = State::kAtEntry;
  placesVersion_ = entries.PlacesVersion();
  run_ = entries.RunFrom(place);
  number_ = *run_.numbers;
  if (entries.IsLarge()) entries.PrefetchAfter(place, run_);
}

// Goes to the next entry if it lies beside this one, as most do; false, and nothing has happened,
// otherwise.
ZEL_ALWAYS_INLINE bool DictIterator::StepInRun() noexcept {
  if (state_ != State::kAtEntry) return false;
  const DictEntries& entries = dict_->entries_;
  if (!entries.PlacesAreOf(placesVersion_) || !run_.Step()) return false;
  ++place_;
  number_ = *run_.numbers;
  if (entries.IsLarge()) entries.PrefetchAfter(place_, run_);
  return true;
}

void DictIterator::Begin() noexcept {
  if (dict_ != nullptr) GoTo(dict_->entries_.First());
}

void DictIterator::Next() noexcept {
  if (!StepInRun()) StepElsewhere();
}

ZEL_NEVER_INLINE void DictIterator::StepElsewhere() noexcept {
  if (state_ == State::kDone) return;
  DictEntries& entries = dict_->entries_;
  GoTo(entries.PlacesAreOf(placesVersion_) ? entries.After(place_) : entries.AfterKey(CurKey()));
}

ZEL_T_NMT::OwnMember DictIterator::NextMember() noexcept {
  if (!StepInRun()) [[unlikely]]
    StepElsewhere();
  return CurMember();
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

void DictIterator::HoldKey() {
  if (state_ != State::kAtEntry) return;
  key_ = Entry().key;
  state_ = State::kAtKey;
}

}  // namespace NPOSObjectImpl
