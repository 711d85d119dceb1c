#include <algorithm>
#include <vector>

#include "targets.h"
#include "zelutils/streamer.h"

namespace zelfuzz {
namespace {

std::vector<std::string> g_messages;
void Collect(const char* message) { g_messages.emplace_back(message); }

struct Verdict {
  std::int32_t conforms;
  std::vector<std::string> messages;
  std::vector<std::string> reports;
  bool operator==(const Verdict&) const = default;
};

template <typename Check>
Verdict Ask(Session& session, Check check) {
  g_messages.clear();
  session.host.TakeReports();
  const std::int32_t conforms = check();
  Verdict verdict = {conforms, g_messages, session.host.TakeReports()};
  Expect(conforms == 0 || (conforms == 1 && verdict.messages.empty() && verdict.reports.empty()),
         "a value that conforms with messages or reports");
  return verdict;
}

// A text, or after "!" what a stream holds after its header.
Held ReadValue(Session& session, const std::string& text) {
  if (text.empty() || text[0] != '!') {
    return Held(session, session.procs.statics.CreateFromText(text.c_str(), nullptr));
  }
  const Held streamer(session, session.procs.streamers.NewPOSStreamer());
  MemoryClient client{POS_STREAMER_TYPE_A_VERSION_1_0 " " + text.substr(1)};
  return Held(session,
              session.procs.streamers.Deserialize(streamer.Get(), client.NewStream(session).Get()));
}

// Refuses every other value.
std::int32_t Alternate(ZELInstance, ZELStringAtom, ZELSharedBuff, void* clientData) {
  return static_cast<std::int32_t>(++*static_cast<std::uint32_t*>(clientData) % 2);
}

// Reasons not to check a value against a schema that was found to be valid.
bool IsAllowed(const std::string& report) {
  static const char* const kAllowed[] = {"Unknown category in schema",  // "objref"
                                         "nesting too deep", "FormatIntoPOSString overwrote buffer",
                                         "bad allocation"};
  return std::find(std::begin(kAllowed), std::end(kAllowed), report) != std::end(kAllowed);
}

// Checks whose work is bounded call the host no more often than so: checking a schema, for each of
// its bytes; and checking a value that conforms, for each of its bytes with each of the schema's.
// Bytes that are not there stand for what a run does in any case.
constexpr std::uint64_t kCallsPerByte = 1000;
constexpr std::uint64_t kCallsPerPairOfBytes = 10;
constexpr std::uint64_t kBytesOfNothing = 32;

class SchemaRun {
 public:
  SchemaRun(Session& session, const std::string& schemaText, const Held& schema,
            const std::string& valueText, const Held& value)
      : session_(session),
        schema_(schema),
        value_(value),
        schemaWork_(kCallsPerByte * (schemaText.size() + kBytesOfNothing)),
        valueWork_(kCallsPerPairOfBytes * (schemaText.size() + kBytesOfNothing) *
                   (valueText.size() + kBytesOfNothing)),
        mayFailInside_(schemaText.find("union") != std::string::npos),
        validator_(session, session.procs.structValidators.NewPOSStructValidator(schema.Get())) {}

  void Run() {
    const Procedures& procs = session_.procs;
    const auto checkSchema = [&] {
      return procs.structValidators.ValidateSchema(schema_.Get(), &Collect);
    };
    session_.host.ResetCalls();
    const Verdict schemaVerdict = Ask(session_, checkSchema);
    ExpectWorkWithin(schemaWork_, "a schema");
    Expect(schemaVerdict == Ask(session_, checkSchema), "two verdicts on a schema");
    isValid_ = schemaVerdict.conforms == 1;

    for (const char* builtin : {"any", "bool", "int", "zelobjref"}) Validate(builtin);
    if (!procs.dicts.IsPOSDict(schema_.Get())) return;
    const Held iterator(session_, procs.iterators.NewPOSDictIterator(schema_.Get()));
    for (int count = 0; count < 4 && !procs.iterators.IsDone(iterator.Get()); ++count) {
      Validate(procs.iterators.CurKey(iterator.Get()));
      procs.iterators.Next(iterator.Get());
    }
  }

 private:
  void Validate(const char* typeName) {
    const Procedures& procs = session_.procs;
    const ZELStringAtom name = procs.atoms.NewStringAtom(typeName);
    const auto check = [&] {
      return procs.validators.Validate(validator_.Get(), value_.Get(), name, &Collect);
    };
    session_.host.ResetCalls();
    const Verdict verdict = Ask(session_, check);
    // An alternative of a union that fails may take as long as there are ways to what fails.
    if (verdict.conforms == 1 && !mayFailInside_) ExpectWorkWithin(valueWork_, "a value");
    Expect(verdict == Ask(session_, check), "two verdicts on a value");
    for (const std::string& report : verdict.reports) {
      Expect(!isValid_ || IsAllowed(report), "a valid schema that fails: " + report);
    }
    std::uint32_t calls = 0;
    procs.structValidators.RegisterCallbackProc(validator_.Get(), name, &Alternate, &calls);
    Ask(session_, check);
    procs.structValidators.RegisterCallbackProc(validator_.Get(), name, nullptr, nullptr);
    Expect(verdict == Ask(session_, check), "a check that stays when it is taken away");
    procs.atoms.DeleteStringAtom(name);
  }

  void ExpectWorkWithin(std::uint64_t most, const std::string& what) const {
    const std::uint64_t calls = session_.host.TotalCalls();
    Expect(calls <= most, "the check of " + what + " calls the host " + std::to_string(calls) +
                              " times, more than " + std::to_string(most));
  }

  Session& session_;
  const Held& schema_;
  const Held& value_;
  const std::uint64_t schemaWork_;
  const std::uint64_t valueWork_;
  const bool mayFailInside_;
  Held validator_;
  bool isValid_ = false;
};

}  // namespace

// The schema's text, a NUL and the value.
void FuzzSchema(Session& session, Bytes input) {
  const auto end = std::find(input.begin(), input.end(), std::uint8_t{0});
  const std::string schemaText(input.begin(), end);
  const std::string valueText = end == input.end() ? "1" : std::string(end + 1, input.end());
  const Held schema = ReadValue(session, schemaText);
  if (!schema) return;
  const Held value = ReadValue(session, valueText);
  if (!value) return;
  SchemaRun(session, schemaText, schema, valueText, value).Run();
}

}  // namespace zelfuzz
