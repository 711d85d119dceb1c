#include "pos/dict.h"

#include "frame/nesting.h"

namespace NPOSObjectImpl {

using ZEL_T_NMT::CPOSObject;
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
  while (!entries_.empty()) const Entries released = std::move(entries_);
}

BaseObject* Dict::Clone() {
  const NestingLevel level(g_cloneDepth);
  RefreshTables();
  auto copy = std::make_unique<Dict>();
  for (ConstDictIterator it(*this); !it.IsDone(); it.Next()) {
    CZELStringAtom key = it.Key();
    copy->Put(std::move(key), CloneMember(it.Value()));
  }
  return copy.release();
}

bool Dict::IsEqual(const CPOSObject& other) {
  Dict* dict = QuietCheck<Dict>(other.Handle());
  if (dict == nullptr) return false;
  const NestingLevel level(g_equalDepth);
  RefreshTables();
  for (ConstDictIterator it(*this); !it.IsDone(); it.Next()) {
    const ZELInstance value = dict->Get(it.CurKey());
    if (value == nullptr || !it.Value().IsEqual(value)) return false;
  }
  for (ConstDictIterator it(*dict); !it.IsDone(); it.Next()) {
    if (Get(it.CurKey()) == nullptr) return false;
  }
  return true;
}

ZELInstance Dict::Get(const char* key) const noexcept {
  const auto entry = entries_.find(key);
  return entry == entries_.end() ? nullptr : entry->second.Handle();
}

void Dict::Put(CZELStringAtom key, CPOSObject value) {
  const auto entry = entries_.lower_bound(key.Text());
  if (entry != entries_.end() && std::strcmp(entry->first.Text(), key.Text()) == 0) {
    std::swap(entry->second, value);
    return;
  }
  entries_.emplace_hint(entry, std::move(key), std::move(value));
}

void Dict::Remove(const char* key) {
  const auto entry = entries_.find(key);
  if (entry == entries_.end()) return;
  for (DictIterator* iterator = iterators_; iterator != nullptr; iterator = iterator->next_) {
    if (iterator->state_ == DictIterator::State::kAtEntry && iterator->position_ == entry) {
      iterator->removedKey_ = entry->first;
      iterator->state_ = DictIterator::State::kEntryRemoved;
    }
  }
  // The entry leaves the dictionary before its value is released.
  const auto released = entries_.extract(entry);
}

void Dict::RefreshTables() {
  if (tableEpoch_ == ZEL_T_NMT::g_link.tableEpoch) [[likely]] return;
  for (auto& entry : entries_) entry.second.Rebind();
  tableEpoch_ = ZEL_T_NMT::g_link.tableEpoch;
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
  if (dict_ != nullptr) GoTo(dict_->entries_.begin());
}

void DictIterator::Next() noexcept {
  if (state_ == State::kAtEntry) {
    GoTo(std::next(position_));
  } else if (state_ == State::kEntryRemoved) {
    GoTo(dict_->entries_.upper_bound(removedKey_.Text()));
  }
}

const char* DictIterator::CurKey() const noexcept {
  switch (state_) {
    case State::kAtEntry:
      return position_->first.Text();
    case State::kEntryRemoved:
      return removedKey_.Text();
    case State::kDone:
      break;
  }
  return nullptr;
}

void DictIterator::GoTo(Dict::Entries::iterator position) noexcept {
  position_ = position;
  state_ = position == dict_->entries_.end() ? State::kDone : State::kAtEntry;
  removedKey_ = CZELStringAtom();
}

}  // namespace NPOSObjectImpl
