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
    const std::uint32_t hash = it.Key().hash;
    CZELStringAtom key = it.Key();
    // Null when whoever counts the key's references has taken it out.
    const ZELInstance value = it.ValueNow();
    if (value == nullptr) continue;
    copy->entries_.Insert(std::move(key), hash, CloneMember(value));
  }
  return copy.release();
}

namespace {

// Whether the current value is equal to another one; false when either has been taken out.
bool AreEqualNow(const ConstDictIterator& it, ZELInstance other) {
  const ZELInstance value = it.ValueNow();
  return value != nullptr && other != nullptr && MembersAreEqual(value, other);
}

}  // namespace

bool Dict::IsEqual(Dict& other) {
  const NestingLevel level(g_equalDepth);
  ConstDictIterator it(*this);
  ConstDictIterator beside(other);
  // Equal dictionaries have the same keys at each step.
  for (; !it.IsDone() && ZEL_T_NMT::IsSameText(it.CurKey(), beside.CurKey()); it.Next()) {
    if (!AreEqualNow(it, beside.ValueNow())) return false;
    beside.Next();
  }
  if (it.IsDone() && beside.IsDone()) return true;

  for (; !it.IsDone(); it.Next()) {
    if (!AreEqualNow(it, other.Get(it.CurKey()))) return false;
  }
  for (beside.Begin(); !beside.IsDone(); beside.Next()) {
    if (Get(beside.CurKey()) == nullptr) return false;
  }
  return true;
}

void Dict::Put(CZELStringAtom&& key, ContainerReference&& value) {
  const DictEntries::Sought place = entries_.FindToPut(key.Text());
  if (place.number == kNone) [[likely]]
    return entries_.Insert(std::move(key), place, std::move(value));
  // The old value is released when the dictionary has the new one.
  const ContainerReference old = std::exchange(entries_.At(place.number).value, std::move(value));
}

std::uint32_t Dict::CountStandingAt(std::uint32_t number) const noexcept {
  std::uint32_t count = 0;
  for (const DictIterator* iterator = iterators_; iterator != nullptr; iterator = iterator->next_) {
    if (iterator->StandsAt(number)) ++count;
  }
  return count;
}

void Dict::Remove(const char* key) {
  std::uint32_t number = entries_.Find(key);
  if (number == kNone) return;
  // A reference for each iterator that stands on the entry. The host that counts them may use the
  // dictionary: until there are enough, everything is looked at again.
  KeptKey kept(entries_.At(number).key);
  for (std::uint32_t need = CountStandingAt(number); kept.Count() < need;
       need = CountStandingAt(number)) {
    do kept.Retain();
    while (kept.Count() < need);
    number = entries_.Find(key);
    if (number == kNone) return;
  }
  for (DictIterator* iterator = iterators_; iterator != nullptr; iterator = iterator->next_) {
    if (!iterator->StandsAt(number)) continue;
    kept.HandOut(iterator->key_);
    iterator->state_ = DictIterator::State::kAtKey;
  }
  // The entry leaves the dictionary before its value is released.
  const DictEntry released = entries_.Remove(number);
  const DictEntries old = entries_.ShrinkIfSparse();
  if (!old.HasBlock()) return;
  for (DictIterator* iterator = iterators_; iterator != nullptr; iterator = iterator->next_) {
    if (iterator->state_ == DictIterator::State::kAtEntry) {
      iterator->number_ = old.NewNumber(iterator->number_);
    }
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
  if (dict_ == nullptr) return;
  const KeptKey left(std::move(key_));  // given back when the iterator has moved
  GoTo(dict_->entries_.First());
}

void DictIterator::Next() noexcept {
  if (!StepInRun()) StepElsewhere();
}

ZEL_NEVER_INLINE void DictIterator::StepElsewhere() noexcept {
  if (state_ == State::kDone) return;
  DictEntries& entries = dict_->entries_;
  const KeptKey left(std::move(key_));  // given back when the iterator has moved
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

}  // namespace NPOSObjectImpl
