// The interface binder: the registry of procedures and the binder's own five.
#include <algorithm>
#include <initializer_list>
#include <utility>

#include "services.h"
#include "storage/registry.h"

namespace zelhost {

namespace {

struct State {
  Registry registry;
  std::vector<std::string> reports;
  std::function<void(std::string_view)> reportSink;
  bool recording = false;
  std::vector<BindingEvent> events;
};

constinit State* state = nullptr;
// Goes on from host to host, so that what a library imported from an earlier one looks out of date.
constinit std::uint32_t unregisterCount = 1;

void Record(BindingEvent::Kind kind, const char* interfaceName, const char* method,
            const char* procType, bool succeeded) {
  if (!state->recording) return;
  const auto text = [](const char* name) { return name == nullptr ? "" : name; };
  state->events.push_back({kind, text(interfaceName), text(method), text(procType), succeeded});
}

void AdvanceUnregisterCount() noexcept {
  if (++unregisterCount == 0) unregisterCount = 1;
}

bool Remove(const char* interfaceName) {
  const bool removed = state->registry.Remove(interfaceName);
  if (removed) AdvanceUnregisterCount();
  return removed;
}

// Whether there is a host and the thread is its own, which each of the binder's procedures asks
// first. A null among the arguments is noted as misuse.
bool MayServe(const char* procedure, std::initializer_list<const void*> arguments) noexcept {
  if (state == nullptr || OnForeignThread(procedure)) return false;
  if (std::find(arguments.begin(), arguments.end(), nullptr) != arguments.end()) {
    NoteMisuse(procedure, "of null");
  }
  return true;
}

ZELProc LookUp(const char* interfaceName, const char* method, const char* procType) noexcept {
  if (!MayServe("Lookup", {interfaceName, method, procType})) return nullptr;
  const bool fails = Fails(Service::kLookup);
  try {
    const ZELProc found =
        fails ? nullptr : state->registry.FindByNames(interfaceName, method, procType);
    Record(BindingEvent::Kind::kLookup, interfaceName, method, procType, found != nullptr);
    return found;
  } catch (...) {
    return nullptr;
  }
}

std::int32_t RegisterProcAddress(const char* interfaceName, const char* method,
                                 const char* procType, ZELProc procedure) noexcept {
  if (!MayServe("ZELRegisterProcAddress",
                {interfaceName, method, procType, reinterpret_cast<const void*>(procedure)})) {
    return 0;
  }
  const bool fails = Fails(Service::kRegisterProcAddress);
  try {
    const bool accepted =
        !fails && state->registry.Add(interfaceName, method, procType, procedure, true);
    Record(BindingEvent::Kind::kRegister, interfaceName, method, procType, accepted);
    return accepted ? 1 : 0;
  } catch (...) {
    return 0;
  }
}

std::int32_t ReportError(const char* message) noexcept {
  if (!MayServe("ZELReportError", {message}) || Refuses(Service::kReportError)) return 0;
  try {
    const std::string& kept = state->reports.emplace_back(message == nullptr ? "" : message);
    if (state->reportSink) state->reportSink(std::string(kept));
    return 1;
  } catch (...) {
    return 0;
  }
}

std::int32_t UnregisterInterface(const char* interfaceName) noexcept {
  if (!MayServe("ZELUnregisterInterface", {interfaceName}) ||
      Refuses(Service::kUnregisterInterface)) {
    return 0;
  }
  try {
    const bool withdrawn = Remove(interfaceName);
    Record(BindingEvent::Kind::kUnregister, interfaceName, nullptr, nullptr, withdrawn);
    return withdrawn ? 1 : 0;
  } catch (...) {
    return 0;
  }
}

std::uint32_t* GetUnregisterCountAddr() noexcept { return &unregisterCount; }

std::int32_t IsMultiThreaded() noexcept { return 0; }

void Open(const HostOptions& options) {
  state = new State;
  if (options.firstUnregisterCount != 0) {
    unregisterCount = options.firstUnregisterCount;
  } else {
    AdvanceUnregisterCount();
  }
  // The types have the names of the methods.
  const Procedure procedures[] = {
      {"ZELRegisterProcAddress", "ZELRegisterProcAddress",
       Erased<ZELRegisterProcAddress>(RegisterProcAddress)},
      {"ZELReportError", "ZELReportError", Erased<ZELReportError>(ReportError)},
      {"ZELUnregisterInterface", "ZELUnregisterInterface",
       Erased<ZELUnregisterInterface>(UnregisterInterface)},
      {"ZELGetUnregisterCountAddr", "ZELGetUnregisterCountAddr",
       Erased<ZELGetUnregisterCountAddr>(GetUnregisterCountAddr)},
      {"ZELIsMultiThreaded", "ZELIsMultiThreaded", Erased<ZELIsMultiThreaded>(IsMultiThreaded)},
  };
  OfferProcedures(ZEL_BINDER_INTERFACE, procedures);
}

void Close() noexcept {
  delete state;
  state = nullptr;
}

void Count(Counts& counts) {
  state->registry.ForEachOfOthers([&](const auto&, const auto&) { ++counts.interfaces; });
}

void ListLeaks(std::vector<Leak>& leaks) {
  state->registry.ForEachOfOthers([&](const std::string& name, const auto& registered) {
    leaks.push_back({Leak::Kind::kInterface, "interface " + Quoted(name) + " with " +
                                                 Plural(registered.methods.size(), "method")});
  });
}

}  // namespace

constinit const ServiceLife kBinderLife = {Open, Close, Count, ListLeaks};

void OfferProcedures(const char* interfaceName, std::span<const Procedure> procedures) {
  for (const Procedure& procedure : procedures) {
    state->registry.Add(interfaceName, procedure.method, procedure.procType, procedure.address,
                        false);
  }
}

ZELProc FindProcedure(std::string_view interfaceName, std::string_view method,
                      std::string_view procType) {
  return state->registry.Find(interfaceName, method, procType);
}

// ---- The binder's part of Host ----

ZELLookupProc Host::LookupProc() noexcept { return LookUp; }

ZELProc Host::Lookup(const char* interfaceName, const char* methodName,
                     const char* procTypeName) const {
  return state->registry.FindByNames(interfaceName, methodName, procTypeName);
}

ZELProc Host::Require(const char* interfaceName, const char* methodName,
                      const char* procTypeName) const {
  const ZELProc found = Lookup(interfaceName, methodName, procTypeName);
  if (found != nullptr) return found;
  const auto text = [](const char* name) { return Quoted(name == nullptr ? "" : name); };
  throw HostError("no procedure is registered under (" + text(interfaceName) + ", " +
                  text(methodName) + ", " + text(procTypeName) + ")");
}

void Host::Register(const char* interfaceName, const char* methodName, const char* procTypeName,
                    ZELProc procedure) {
  if (!state->registry.Add(interfaceName, methodName, procTypeName, procedure, false)) {
    throw HostError("a name or the address of the procedure to register is missing");
  }
}

bool Host::Withdraw(const char* interfaceName) { return Remove(interfaceName); }

void Host::Hide(const char* interfaceName, const char* methodName) {
  state->registry.Hide(interfaceName, methodName);
  ChangeUnregisterCount();
}

void Host::Show(const char* interfaceName, const char* methodName) {
  state->registry.Show(interfaceName, methodName);
}

void Host::ChangeUnregisterCount() { AdvanceUnregisterCount(); }

std::uint32_t Host::UnregisterCount() const noexcept { return unregisterCount; }

void Host::RecordBindings(bool on) { state->recording = on; }

std::vector<BindingEvent> Host::TakeBindings() { return std::exchange(state->events, {}); }

const std::vector<std::string>& Host::Reports() const noexcept { return state->reports; }

std::vector<std::string> Host::TakeReports() { return std::exchange(state->reports, {}); }

void Host::SetReportSink(std::function<void(std::string_view)> sink) {
  state->reportSink = std::move(sink);
}

}  // namespace zelhost
