// One run of validation: a value is taken apart as its type says, one message is appended per
// finding, and the number of findings is returned. A run changes nothing but its messages, keeps
// nothing beyond its end, and raises when the schema itself cannot be used.
#pragma once

#include <functional>
#include <map>
#include <vector>

#include "frame/client/pos_wrappers.h"
#include "frame/core/client_base.h"
#include "validator/callback_map.h"
#include "validator/definition.h"
#include "validator/messages.h"
#include "validator/verdicts.h"

namespace NPOSValidatorImpl {

enum class BuiltinCheckResult : std::int32_t {
  kNotBuiltin = 0,
  kBuiltinValid = 1,
  kBuiltinInvalid = 2,  // one message has been appended
};

// Schema and callbacks that a validator was given.
struct ValidatorSetup {
  explicit ValidatorSetup(ZEL_T_NMT::CPOSObject givenSchema) : schema(std::move(givenSchema)) {}

  const ZEL_T_NMT::CPOSObject schema;
  const Keywords keywords;
  CallbackMap callbacks;
  // Whether a callback may do anything: a client's, not one of the library's own.
  bool hasForeignCallbacks = false;
};

// Adds to a number of findings, which stops at its largest value.
inline void AddFindings(std::int32_t& total, std::int32_t findings) noexcept {
  total = findings > INT32_MAX - total ? INT32_MAX : total + findings;
}

class Run {
 public:
  Run(const ValidatorSetup& setup, MessageList& messages) noexcept
      : setup_(setup), messages_(messages) {}
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  // The caller holds the value throughout where a callback may take it out of where it was.
  std::int32_t ValidateValue(const TypeName& typeName, ZEL_T_NMT::POSView value);
  // The same for a part of a value, whose messages get the prefix that is made of `first` and the
  // type's name.
  std::int32_t ValidatePart(const TypeName& typeName, ZEL_T_NMT::POSView part,
                            const char* prefixFormat, FormatArgument first) {
    const MessageList::Mark mark = messages_.End();
    const std::int32_t findings = ValidateValue(typeName, part);
    if (findings > 0) [[unlikely]]
      PutPrefix(mark, prefixFormat, first, typeName);
    return findings;
  }

  // A member's key against the type that keys must have.
  std::int32_t ValidateKey(const TypeName& type, const char* key);
  // The finding for a member that its dictionary's definition does not know.
  std::int32_t RejectMember(const char* key);

  MessageList& Messages() noexcept { return messages_; }
  // A reference to a part of a value where one is needed.
  ZEL_T_NMT::ContainerReference Hold(ZELInstance part) const {
    return setup_.hasForeignCallbacks ? ZEL_T_NMT::ContainerReference(part)
                                      : ZEL_T_NMT::ContainerReference();
  }

 private:
  // This and ValidateKey stand apart for the sake of the stack, of which each level of a value
  // takes a part.
  void PutPrefix(MessageList::Mark mark, const char* format, FormatArgument first,
                 const TypeName& typeName);
  friend class RequiredMembers;
  friend class Attempts;

  using Definitions =
      std::map<ZELInstance, Definition, std::less<>,
               ZEL_T_NMT::BinderAllocator<std::pair<const ZELInstance, Definition>>>;

  BuiltinCheckResult CheckBuiltinType(const TypeName& typeName, ZEL_T_NMT::POSView value);
  std::int32_t ValidateDefinedType(const TypeName& typeName, ZEL_T_NMT::POSView value);
  std::int32_t ValidateOnce(Definition& definition, ZEL_T_NMT::POSView value);
  std::int32_t AskCallback(const TypeName& typeName, ZEL_T_NMT::POSView value);
  // Looks a definition up in the schema; null when there is none. It stays for the whole run.
  Definition* FindDefinition(const TypeName& typeName);

  const ValidatorSetup& setup_;
  MessageList& messages_;
  std::uint32_t depth_ = 0;
  std::uint32_t deepest_ = 0;  // depth reached since a check began whose verdict may be noted
  // Number of calls of foreign code. Names are looked up again after each.
  std::uint32_t foreignCalls_ = 0;
  std::uint64_t checksThatLeadOn_ = 0;
  std::uint32_t attempts_ = 0;  // how many values are being checked against one type after another
  std::uint32_t repetitions_ = 0;  // and how many of them went through their parts before
  Definitions definitions_;        // by their dictionaries, which they hold
  Verdicts verdicts_;
  // The required members of the dictionaries that are being walked through.
  std::vector<ZEL_T_NMT::POSView, ZEL_T_NMT::BinderAllocator<ZEL_T_NMT::POSView>> required_;
};

// Checks of one value against several types, one after the other. When one has gone through parts
// of the value, the next ones may come to the same parts, and each of these again: from then on
// verdicts are noted, until no value is left that is checked so.
class Attempts {
 public:
  explicit Attempts(Run& run) noexcept : run_(run), before_(run.checksThatLeadOn_) {
    ++run_.attempts_;
  }
  Attempts(const Attempts&) = delete;
  Attempts& operator=(const Attempts&) = delete;
  ~Attempts() {
    if (repeats_) --run_.repetitions_;
    if (--run_.attempts_ == 0) run_.verdicts_.Clear();
  }

  // To be called before each check.
  void Next() noexcept {
    if (!repeats_ && run_.checksThatLeadOn_ - before_ > 1) {
      repeats_ = true;
      ++run_.repetitions_;
    }
    before_ = run_.checksThatLeadOn_;
  }

 private:
  Run& run_;
  std::uint64_t before_;
  bool repeats_ = false;
};

// The values of a dictionary's required members, for as long as its members are walked through.
class RequiredMembers {
 public:
  explicit RequiredMembers(Run& run) noexcept
      : run_(run), first_(run.required_.size()), foreignCalls_(run.foreignCalls_) {}
  RequiredMembers(const RequiredMembers&) = delete;
  RequiredMembers& operator=(const RequiredMembers&) = delete;
  ~RequiredMembers() { run_.required_.resize(first_); }

  // Returns the number of findings: one for each member that is missing.
  std::int32_t Fetch(const DictRules& rules, ZEL_T_NMT::DictView dict);
  // Whether foreign code has run since, which may have put others in their places.
  bool AreOutdated() const noexcept { return run_.foreignCalls_ != foreignCalls_; }
  // The value for a rule by its place.
  ZEL_T_NMT::POSView At(std::size_t place) const noexcept { return run_.required_[first_ + place]; }

 private:
  Run& run_;
  std::size_t first_;
  std::uint32_t foreignCalls_;
};

}  // namespace NPOSValidatorImpl
