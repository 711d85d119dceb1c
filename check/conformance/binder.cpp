// Tests of a host's binder.
#include <cstring>
#include <iterator>

#include "conformance/probe.h"

namespace zelcheck {
namespace {

constexpr const char* kProbe = "ZELUtilsCheckProbe";

void First() {}
void Second() {}

// Procedures that are registered for one test.
class Registered {
 public:
  Registered(const Probe& host, const char* interfaceName, const char* method = "Method",
             ZELProc procedure = &First)
      : host_(host), name_(interfaceName) {
    accepted_ = Add(method, procedure);
  }
  Registered(const Registered&) = delete;
  Registered& operator=(const Registered&) = delete;
  ~Registered() {
    if (!isWithdrawn_) Withdraw();
  }
  bool Add(const char* method, ZELProc procedure) const {
    return host_.binder.ZELRegisterProcAddress(name_, method, "ZELUtilsCheckProc", procedure) != 0;
  }
  void Withdraw() {
    isWithdrawn_ = true;
    host_.binder.ZELUnregisterInterface(name_);
  }
  bool IsAccepted() const { return accepted_; }

 private:
  const Probe& host_;
  const char* name_;
  bool accepted_ = false;
  bool isWithdrawn_ = false;
};

ZELProc Look(const Probe& host, const char* interfaceName, const char* method = "Method",
             const char* procType = "ZELUtilsCheckProc") {
  return host.lookup(interfaceName, method, procType);
}

std::uint32_t CounterOf(const Probe& host) { return *host.binder.ZELGetUnregisterCountAddr(); }

constexpr const char* kNoStart = "the library does not start";
constexpr const char* kWrongCalls =
    "the library calls procedures that are gone, or not those meant";
constexpr const char* kStale = "the library goes on with procedures that have been withdrawn";

// clang-format off
constexpr HostTest kTests[] = {
    {"binder-accepts", kNoStart, [](const Probe& host) {
       return Expect(Registered(host, kProbe).IsAccepted(), "a registration is refused"); }},
    {"binder-finds", kNoStart, [](const Probe& host) {
       const Registered registered(host, kProbe);
       return Expect(Look(host, kProbe) == &First, "what was registered is not found"); }},
    {"binder-unknown-is-null", kWrongCalls, [](const Probe& host) {
       return Expect(Look(host, "ZELUtilsCheckNobody") == nullptr, "a procedure is found that nobody has registered"); }},
    {"binder-compares-interfaces", kWrongCalls, [](const Probe& host) {
       const Registered registered(host, kProbe);
       return Expect(Look(host, "ZELUtilsCheckProb") == nullptr && Look(host, "ZELUtilsCheckProbes") == nullptr && Look(host, "zelutilscheckprobe") == nullptr, "a procedure is found under another interface"); }},
    {"binder-compares-methods", kWrongCalls, [](const Probe& host) {
       const Registered registered(host, kProbe);
       return Expect(Look(host, kProbe, "Metho") == nullptr && Look(host, kProbe, "method") == nullptr, "a procedure is found under another method"); }},
    {"binder-compares-types", "an older version of a procedure is taken for the one that is meant", [](const Probe& host) {
       const Registered registered(host, kProbe);
       return Expect(Look(host, kProbe, "Method", "ZELUtilsCheckProcV2") == nullptr, "a procedure is found under another procedure type"); }},
    {"binder-copies-names", kWrongCalls, [](const Probe& host) {
       char name[] = "ZELUtilsCheckProbe";
       const Registered registered(host, kProbe, "Other");
       host.binder.ZELRegisterProcAddress(name, "Method", "ZELUtilsCheckProc", &First);
       name[0] = 'Q';
       return Expect(Look(host, kProbe) == &First && Look(host, name) == nullptr, "the names are not copied"); }},
    {"binder-replaces", kWrongCalls, [](const Probe& host) {
       const Registered registered(host, kProbe);
       return Expect(registered.Add("Method", &Second) && Look(host, kProbe) == &Second, "a second registration does not replace the first"); }},
    {"binder-keeps-others", kWrongCalls, [](const Probe& host) {
       const Registered registered(host, kProbe);
       return Expect(registered.Add("Other", &Second) && Look(host, kProbe) == &First && Look(host, kProbe, "Other") == &Second, "two methods of an interface are mixed up"); }},
    {"binder-withdraws", kStale, [](const Probe& host) {
       Registered registered(host, kProbe);
       registered.Add("Other", &Second);
       registered.Withdraw();
       return Expect(Look(host, kProbe) == nullptr && Look(host, kProbe, "Other") == nullptr, "a withdrawn procedure is still found"); }},
    {"binder-withdraws-no-more", kWrongCalls, [](const Probe& host) {
       Registered registered(host, kProbe);
       const Registered other(host, "ZELUtilsCheckProbeOther");
       registered.Withdraw();
       return Expect(Look(host, "ZELUtilsCheckProbeOther") == &First, "another interface is withdrawn as well"); }},
    {"binder-registers-again", "the library does not start a second time", [](const Probe& host) {
       { const Registered registered(host, kProbe); }
       const Registered again(host, kProbe, "Method", &Second);
       return Expect(Look(host, kProbe) == &Second, "an interface cannot be registered again after its withdrawal"); }},
    {"binder-counter-address", kStale, [](const Probe& host) {
       const auto* const address = host.binder.ZELGetUnregisterCountAddr();
       return Expect(address != nullptr && address == host.binder.ZELGetUnregisterCountAddr(), "the address of the counter is null or changes"); }},
    {"binder-counter-not-zero", "the library takes tables for current that it has never imported", [](const Probe& host) {
       return Expect(CounterOf(host) != 0, "the counter reads 0"); }},
    {"binder-counter-counts", kStale, [](const Probe& host) {
       Registered registered(host, kProbe);
       const std::uint32_t before = CounterOf(host);
       registered.Withdraw();
       return Expect(CounterOf(host) != before && CounterOf(host) != 0, "a withdrawal does not change the counter, or makes it 0"); }},
};
// clang-format on

}  // namespace

std::span<const HostTest> BinderTests() { return kTests; }

}  // namespace zelcheck
