// Validation of values against schemas. Programs include zelutils/client.hpp, which says how it is
// used.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "zelutils/client_convert.hpp"

namespace zelutils {

// Checks values against a schema, which it holds and which must not change meanwhile.
class Validator : public Instance {
 public:
  Validator(const Client& client, const Value& schema)
      : Instance(
            client,
            client.Procedures<StructValidatorInterface>().NewPOSStructValidator(schema.Argument()),
            Handed::kNew) {}

  // The messages about a value that does not conform to the type; none when it does. Throws a
  // ValidationError when something was reported, which holds the messages until then, and what a
  // check of the program's own has thrown.
  std::vector<std::string> Validate(const Value& value, const Text& typeName) const {
    const Atom type(Owner(), typeName);
    const Running running(checks_);
    return Messages::Of(Owner(), [&](POSValidatorMessageProc report) {
      return Procedures<ValidatorInterface>().Validate(Handle(), value.Argument(), type.Handle(),
                                                       report);
    });
  }
  // The same for a schema itself.
  static std::vector<std::string> ValidateSchema(const Client& client, const Value& schema) {
    return Messages::Of(client, [&](POSValidatorMessageProc report) {
      return client.Procedures<StructValidatorInterface>().ValidateSchema(schema.Argument(),
                                                                          report);
    });
  }

  // A check of the program's own: what is wrong with a value, or nothing.
  using Check = std::function<std::optional<std::string>(const Value& value)>;
  // Attaches a check to a type of the schema, in place of an earlier one. It is called when the
  // schema itself has no fault to find with the value, maybe several times, and also for
  // alternatives that are dropped later. Another one may take its place at any time; the first of a
  // type may not come while the validator validates, and an Error is thrown then.
  void SetCheck(const Text& typeName, Check check) {
    const Client& client = Owner();
    auto held = std::make_shared<const Check>(std::move(check));
    std::map<std::string, Attached>& attached = checks_->attached;
    const auto [at, isNew] = attached.try_emplace(typeName.CString());
    at->second.check.swap(held);
    if (!isNew) return;
    at->second.client = &client;
    try {
      Register(typeName, &Run, &at->second);
    } catch (...) {
      attached.erase(at);
      throw;
    }
  }
  // The same with a procedure; null takes the check away.
  void RegisterCallback(const Text& typeName, POSStructValidatorCallbackProc procedure,
                        void* clientData) const {
    Register(typeName, procedure, clientData);
    checks_->attached.erase(typeName.CString());
  }

 private:
  struct Attached {
    const Client* client = nullptr;
    std::shared_ptr<const Check> check;
  };
  // Shared by the copies of the validator, as the instance is.
  struct Checks {
    std::map<std::string, Attached> attached;  // by the type's name
    std::size_t running = 0;                   // validations
  };
  class Running {
   public:
    explicit Running(std::shared_ptr<Checks> checks) : checks_(std::move(checks)) {
      ++checks_->running;
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() { --checks_->running; }

   private:
    std::shared_ptr<Checks> checks_;  // also when a check ends the validator
  };

  void Register(const Text& typeName, POSStructValidatorCallbackProc procedure,
                void* clientData) const {
    const Atom type(Owner(), typeName);
    if (checks_->running != 0) {
      detail::Throw("a check of another type cannot be set during a validation");
    }
    Procedures<StructValidatorInterface>().RegisterCallbackProc(Handle(), type.Handle(), procedure,
                                                                clientData);
    Owner().Check();
  }

  // Receives the messages of a running validation; a check may run one of its own inside.
  class Messages {
   public:
    template <typename Validation>
    static std::vector<std::string> Of(const Client& client, Validation validation) {
      Messages messages;
      const bool conforms = validation(Add) != 0;
      if (messages.thrown_) {
        client.TakeReports();
        std::rethrow_exception(messages.thrown_);
      }
      if (!client.NothingReported()) {
        const std::vector<std::string> reports = client.TakeReports();
        if (!reports.empty()) throw ValidationError(std::move(messages.texts_), reports);
      }
      if (!conforms && messages.texts_.empty()) {
        // A union of nothing is such a type.
        messages.texts_.emplace_back("rejected without a message");
      }
      return std::move(messages.texts_);
    }
    // Keeps what a message or a check throws until the validation is over.
    static void Keep(std::exception_ptr thrown) noexcept {
      if (current_ != nullptr && !current_->thrown_) current_->thrown_ = std::move(thrown);
    }

   private:
    Messages() : outer_(std::exchange(current_, this)) {}
    ~Messages() { current_ = outer_; }
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;

    static void Add(const char* message) noexcept {
      try {
        current_->texts_.emplace_back(message);
      } catch (...) {
        Keep(std::current_exception());
      }
    }

    inline static Messages* current_ = nullptr;
    Messages* outer_;
    std::vector<std::string> texts_;
    std::exception_ptr thrown_;
  };

  static std::int32_t Run(ZELInstance value, ZELStringAtom, ZELSharedBuff buffer,
                          void* data) noexcept {
    try {
      const auto [client, check] = *static_cast<const Attached*>(data);
      const std::optional<std::string> fault = (*check)(Value(*client, value));
      if (!fault) return 1;
      const auto& buffers = client->Procedures<SharedBuffInterface>();
      auto* const place = static_cast<char*>(buffers.GetBuffer(buffer));
      const std::size_t size = buffers.GetSize(buffer);
      if (size > 0) place[fault->copy(place, size - 1)] = '\0';
    } catch (...) {
      Messages::Keep(std::current_exception());
    }
    return 0;
  }

  std::shared_ptr<Checks> checks_ = std::make_shared<Checks>();
};

}  // namespace zelutils
