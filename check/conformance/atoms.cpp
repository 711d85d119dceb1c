// Tests of a host's string atoms and of its error objects.
#include <set>
#include <vector>

#include "conformance/holders.h"

namespace zelcheck {
namespace {

constexpr const char* kWrongKeys = "values are put and found under other keys than those given";
constexpr const char* kWrongWords = "the library does not know its own instances and words";
constexpr const char* kWrongTexts = "reports and error objects have other texts";
constexpr const char* kCrashes = "the library reads texts that are gone";

// Makes atoms of many texts and looks whether each is its own and has its text.
Verdict KeepsManyApart(const Probe& host) {
  constexpr int kCount = 300;
  std::vector<ZELStringAtom> atoms;
  std::set<ZELStringAtom> different;
  bool holds = true;
  for (int i = 0; i < kCount; ++i) {
    const std::string text = "ZELUtilsCheck " + std::to_string(i);
    atoms.push_back(host.atoms.NewStringAtom(text.c_str()));
    different.insert(atoms.back());
    holds = holds && atoms.back() != 0;
  }
  for (int i = 0; holds && i < kCount; ++i) {
    const char* const text = host.atoms.GetCString(atoms[static_cast<std::size_t>(i)]);
    holds = text != nullptr && text == "ZELUtilsCheck " + std::to_string(i);
  }
  for (const ZELStringAtom atom : atoms) {
    if (atom != 0) host.atoms.DeleteStringAtom(atom);
  }
  return Expect(holds && different.size() == kCount,
                "among 300 atoms two are the same, or one has another text");
}

bool HasText(const Probe& host, const std::string& text) {
  return HeldAtom(host, text.c_str()).Text() == text;
}

// clang-format off
constexpr HostTest kAtomTests[] = {
    {"atom-is-made", "every call of the library fails with \"bad allocation\"", [](const Probe& host) {
       return Expect(HeldAtom(host, "ZELUtilsCheck").Get() != 0, "there is no atom of a text"); }},
    {"atom-has-its-text", kWrongTexts, [](const Probe& host) {
       return Expect(HasText(host, "ZELUtilsCheck text"), "\"GetCString\" gives another text"); }},
    {"atom-empty", kWrongTexts, [](const Probe& host) {
       return Expect(HeldAtom(host, "").Get() != 0 && HasText(host, ""), "there is no atom of the empty text"); }},
    {"atom-all-bytes", kWrongTexts, [](const Probe& host) {
       std::string bytes;
       for (int byte = 1; byte < 256; ++byte) bytes += static_cast<char>(byte);
       return Expect(HasText(host, bytes), "a text loses bytes"); }},
    {"atom-long", kWrongTexts, [](const Probe& host) {
       return Expect(HasText(host, std::string(100000, 'x') + "y"), "a text of 100001 bytes is cut"); }},
    {"atom-same-text-same-atom", kWrongWords, [](const Probe& host) {
       const HeldAtom one(host, "ZELUtilsCheck same"), other(host, "ZELUtilsCheck same");
       return Expect(one.Get() != 0 && one.Get() == other.Get(), "the same text gives two atoms"); }},
    {"atom-same-text-same-address", kWrongWords, [](const Probe& host) {
       const HeldAtom one(host, "ZELUtilsCheck same"), other(host, "ZELUtilsCheck same");
       return Expect(host.atoms.GetCString(one.Get()) == host.atoms.GetCString(other.Get()), "the same text has two addresses"); }},
    {"atom-compares-all", kWrongKeys, [](const Probe& host) {
       const HeldAtom one(host, std::string(300, 'k').c_str()), other(host, (std::string(299, 'k') + "l").c_str()), shorter(host, std::string(299, 'k').c_str()), upper(host, std::string(300, 'K').c_str());
       return Expect(one.Get() != other.Get() && one.Get() != shorter.Get() && one.Get() != upper.Get(), "different texts give the same atom"); }},
    {"atom-copies-text", kWrongKeys, [](const Probe& host) {
       char text[] = "ZELUtilsCheck copied";
       const HeldAtom atom(host, text);
       text[0] = 'Q';
       return Expect(atom.Text() == "ZELUtilsCheck copied", "the text is not copied"); }},
    {"atom-text-stays", kCrashes, [](const Probe& host) {
       const HeldAtom atom(host, "ZELUtilsCheck stays");
       const char* const before = host.atoms.GetCString(atom.Get());
       const Verdict others = KeepsManyApart(host);
       return Expect(before == host.atoms.GetCString(atom.Get()) && atom.Text() == "ZELUtilsCheck stays", "a text moves while others come and go"); }},
    {"atom-counts", kCrashes, [](const Probe& host) {
       const HeldAtom atom(host, "ZELUtilsCheck counted");
       host.atoms.AddRef(atom.Get());
       host.atoms.DeleteStringAtom(atom.Get());
       const HeldAtom other(host, "ZELUtilsCheck another");
       return Expect(atom.Text() == "ZELUtilsCheck counted", "an atom ends while a reference is held"); }},
    {"atom-counts-by-text", kCrashes, [](const Probe& host) {
       const HeldAtom atom(host, "ZELUtilsCheck counted");
       { const HeldAtom again(host, "ZELUtilsCheck counted"); }
       const HeldAtom other(host, "ZELUtilsCheck another");
       return Expect(atom.Text() == "ZELUtilsCheck counted", "the second atom of a text has no reference of its own"); }},
    {"atom-comes-again", kWrongKeys, [](const Probe& host) {
       { const HeldAtom atom(host, "ZELUtilsCheck again"); }
       const HeldAtom other(host, "ZELUtilsCheck other"), again(host, "ZELUtilsCheck again");
       return Expect(again.Text() == "ZELUtilsCheck again" && other.Text() == "ZELUtilsCheck other", "a text that has ended does not come again"); }},
    {"atom-many", kWrongKeys, &KeepsManyApart},
};

constexpr HostTest kErrorTests[] = {
    {"error-is-made", "failures of file utilities come back as success", [](const Probe& host) {
       return Expect(HeldError(host, host.errors.NewError("message", "Part", 1, 0, 0)).Get() != nullptr, "\"NewError\" gives null"); }},
    {"error-message", kWrongTexts, [](const Probe& host) {
       return Expect(HeldError(host, host.errors.NewError("a message", "Part", 1, 0, 0)).Message() == "a message", "the message is another one"); }},
    {"error-component", "an error for memory that is short is not known as one", [](const Probe& host) {
       return Expect(HeldError(host, host.errors.NewError("message", "DUX", 1, 0, 0)).Component() == "DUX", "the component is another one"); }},
    {"error-empty-texts", kWrongTexts, [](const Probe& host) {
       const HeldError error(host, host.errors.NewError("", "", 0, 0, 0));
       return Expect(error.Get() != nullptr && error.Message().empty() && error.Component().empty(), "empty texts do not come back"); }},
    {"error-id", "clients get other numbers than the system's", [](const Probe& host) {
       for (const std::int32_t id : {0, 1, 17, -5, 2147483647}) {
         const HeldError error(host, host.errors.NewError("message", "Part", id, 0, 0));
         if (error.Get() == nullptr || host.errors.GetID(error.Get()) != id) return Failed("the number " + std::to_string(id) + " does not come back");
       }
       return Verdict(); }},
    {"error-copies-texts", kWrongTexts, [](const Probe& host) {
       char message[] = "a message";
       char component[] = "Part";
       const HeldError error(host, host.errors.NewError(message, component, 1, 0, 0));
       message[0] = component[0] = 'Q';
       return Expect(error.Message() == "a message" && error.Component() == "Part", "the texts are not copied"); }},
    {"error-message-is-atom", kWrongTexts, [](const Probe& host) {
       const HeldError error(host, host.errors.NewError("ZELUtilsCheck message", "Part", 1, 0, 0));
       const HeldAtom atom(host, "ZELUtilsCheck message");
       return Expect(host.errors.GetErrorMessage(error.Get()) == atom.Get(), "the message is not the atom of its text"); }},
    {"error-message-outlives", kCrashes, [](const Probe& host) {
       ZELStringAtom message = 0;
       {
         const HeldError error(host, host.errors.NewError("ZELUtilsCheck outlives", "Part", 1, 0, 0));
         message = host.errors.GetErrorMessage(error.Get());
         host.atoms.AddRef(message);
       }
       const char* const text = host.atoms.GetCString(message);
       const bool holds = text != nullptr && std::string(text) == "ZELUtilsCheck outlives";
       host.atoms.DeleteStringAtom(message);
       return Expect(holds, "a message that somebody holds ends with its error object"); }},
    {"error-add-ref-gives-same", "failures come back as success, or as others", [](const Probe& host) {
       const HeldError error(host, host.errors.NewError("message", "Part", 1, 0, 0));
       const HeldError again(host, host.errors.AddRef(error.Get()));
       return Expect(again.Get() == error.Get(), "\"AddRef\" gives another error object"); }},
    {"error-counts", kCrashes, [](const Probe& host) {
       const HeldError error(host, host.errors.NewError("counted", "Part", 7, 0, 0));
       { const HeldError again(host, host.errors.AddRef(error.Get())); }
       const HeldError other(host, host.errors.NewError("another", "Part", 8, 0, 0));
       return Expect(error.Message() == "counted" && host.errors.GetID(error.Get()) == 7, "an error object ends while a reference is held"); }},
    {"error-keeps-apart", kWrongTexts, [](const Probe& host) {
       const HeldError one(host, host.errors.NewError("one", "Part", 1, 0, 0)), two(host, host.errors.NewError("two", "Other", 2, 0, 0));
       return Expect(one.Message() == "one" && two.Message() == "two" && two.Component() == "Other", "two error objects are mixed up"); }},
    {"error-release-null", "the library stops with a wrong access", [](const Probe& host) {
       host.errors.Release(nullptr);
       return Verdict(); }},
    {"error-core-0", "the library does not start", [](const Probe& host) {
       return Expect(HeldError(host, host.errors.GetCoreError(0)).Get() != nullptr, "there is no core error 0"); }},
    {"error-core-0-counts", kCrashes, [](const Probe& host) {
       { const HeldError once(host, host.errors.GetCoreError(0)); }
       const HeldError again(host, host.errors.GetCoreError(0));
       return Expect(again.Get() != nullptr && again.Message() != "(null)", "core error 0 has ended with its first use"); }},
    {"error-core-1", "memory that is short is reported as success", [](const Probe& host) {
       const HeldError error(host, host.errors.GetCoreError(1));
       return error.Get() != nullptr ? Verdict() : Undecided("there is no core error 1, which is allowed"); }},
    {"error-core-1-is-memory", "memory that is short is reported with another text", [](const Probe& host) {
       const HeldError error(host, host.errors.GetCoreError(1));
       if (error.Get() == nullptr) return Undecided("there is no core error 1");
       return Expect(error.Component() == "DUX" && host.errors.GetID(error.Get()) == 1, "core error 1 is not number 1 of \"DUX\", by which the library knows it"); }},
};
// clang-format on

}  // namespace

std::span<const HostTest> AtomTests() { return kAtomTests; }
std::span<const HostTest> ErrorTests() { return kErrorTests; }

}  // namespace zelcheck
