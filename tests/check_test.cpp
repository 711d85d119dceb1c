// The checking layer before mistakes that clients make: each is told of by its rule, and nothing
// else is.
#include <thread>

#include "check_fixture.h"

namespace {

using zeltest::CheckedHost;
using zeltest::g_findings;

// A client, which runs after the start.
struct Client : zeltest::Procedures {
  explicit Client(const zelhost::Host& host) : Procedures(host) {}

  ZELInstance Hold(ZELInstance instance) const {
    containers.AddRef(instance);
    return instance;
  }
  void Release(ZELInstance instance) const { containers.Release(instance); }
  ZELInstance Array() const { return Hold(arrays.NewPOSArray()); }
  ZELInstance Dict() const { return Hold(dicts.NewPOSDict()); }
  ZELInstance Stream() const {
    ZELInstance stream = nullptr;
    streams.NewPositionableMemoryStream(&stream);
    return Hold(stream);
  }
  ZELStringAtom Atom(const char* text) const { return atoms.NewStringAtom(text); }
  // Looks of a dead thing: an array that was released, an atom that was given back.
  ZELInstance Gone() const {
    const ZELInstance array = Array();
    Release(array);
    return array;
  }
  ZELStringAtom GoneAtom() const {
    const ZELStringAtom atom = Atom("gone");
    atoms.DeleteStringAtom(atom);
    return atom;
  }
  ZELErrorObject GoneError() const {
    const ZELErrorObject error = errors.NewError("gone", "Client", 1, 0, 0);
    errors.Release(error);
    return error;
  }
  ZELSharedBuff GoneBuffer() const {
    const ZELSharedBuff buffer = buffers.NewBuffer(8, 0, 0, 0, 0);
    buffers.Release(buffer);
    return buffer;
  }
  // Validates a number in a dictionary, and calls `check` for it while that runs.
  void Validating(POSStructValidatorCallbackProc check) const;
};

// The state that the callbacks of the library work on.
const Client* g_client;
ZELInstance g_value;
ZELInstance g_schema;

void Client::Validating(POSStructValidatorCallbackProc check) const {
  g_client = this;
  g_schema = Hold(statics.CreateFromText("<T <category real>>", nullptr));
  g_value = Array();
  const ZELInstance validator = Hold(structValidators.NewPOSStructValidator(g_schema));
  const ZELInstance number = Hold(numbers.NewPOSNumber(1));
  const ZELStringAtom name = Atom("T");
  structValidators.RegisterCallbackProc(validator, name, check, nullptr);
  validators.Validate(validator, number, name, nullptr);
  atoms.DeleteStringAtom(name);
  for (const ZELInstance held : {validator, number, g_value, g_schema}) Release(held);
}

struct Mistake {
  const char* rule;
  const char* method;  // that the paragraph names
  void (*make)(const Client& on);
};

// clang-format off
const Mistake kMistakes[] = {
    {"instance-null", "Count", [](const Client& on) { on.arrays.Count(nullptr); }},
    {"instance-null", "Append", [](const Client& on) { const auto a = on.Array(); on.arrays.Append(a, nullptr); on.Release(a); }},
    {"instance-null", "DecrementWithoutDelete", [](const Client& on) { on.containers.DecrementWithoutDelete(nullptr); }},
    {"instance-null", "Serialize", [](const Client& on) { const auto s = on.Hold(on.streamers.NewPOSStreamer()); const auto a = on.Array(); on.streamers.Serialize(s, nullptr, a, nullptr); on.Release(a); on.Release(s); }},
    {"instance-dead", "Count", [](const Client& on) { on.arrays.Count(on.Gone()); }},
    {"instance-dead", "GetType", [](const Client& on) { on.objects.GetType(on.Gone()); }},
    {"instance-dead", "IsPOSArray", [](const Client& on) { on.arrays.IsPOSArray(on.Gone()); }},
    {"instance-dead", "AddRef", [](const Client& on) { on.containers.AddRef(on.Gone()); }},
    {"instance-dead", "Append", [](const Client& on) { const auto gone = on.Gone(); const auto s = on.Stream(); const auto a = on.Array(); on.arrays.Append(s == gone ? a : gone, a); on.Release(a); on.Release(s); }},
    {"instance-dead", "Next", [](const Client& on) { const auto d = on.Dict(); const auto i = on.Hold(on.iterators.NewPOSDictIterator(d)); on.Release(i); on.iterators.Next(i); on.Release(d); }},
    {"instance-dead", "Deserialize", [](const Client& on) { const auto r = on.Hold(on.streamers.NewPOSStreamer()); const auto s = on.Stream(); on.Release(s); on.streamers.Deserialize(r, s); on.Release(r); }},
    {"instance-dead", "GetMethod", [](const Client& on) { ZELProc found = nullptr; const auto a = on.Atom("Count"); on.errors.Release(on.containers.GetMethod(&found, on.Gone(), a, a, 1)); on.atoms.DeleteStringAtom(a); }},
    {"instance-unheld", "Get", [](const Client& on) { const auto a = on.Array(); on.arrays.Append(a, on.numbers.NewPOSNumber(1)); const auto n = on.arrays.GetAt(a, 0); on.arrays.Remove(a, 0); on.numbers.Get(n); on.Release(a); }},
    {"instance-unheld", "GetType", [](const Client& on) { const auto a = on.Array(); on.arrays.Append(a, on.numbers.NewPOSNumber(1)); const auto n = on.arrays.GetAt(a, 0); on.Release(a); on.objects.GetType(n); }},
    {"instance-unheld", "Count", [](const Client& on) { const auto a = on.arrays.NewPOSArray(); on.containers.DeleteUnownedContainer(a); on.arrays.Count(a); }},
    {"instance-released-twice", "Release", [](const Client& on) { const auto a = on.Array(); const auto b = on.Array(); on.arrays.Append(b, a); on.Release(a); on.Release(a); on.arrays.Remove(b, 0); on.Release(b); }},
    {"instance-released-twice", "DecrementWithoutDelete", [](const Client& on) { const auto a = on.Array(); const auto b = on.Array(); on.arrays.Append(b, a); on.Release(a); on.containers.DecrementWithoutDelete(a); on.containers.AddRef(a); on.Release(b); }},
    {"instance-deleted-while-held", "DeleteUnownedContainer", [](const Client& on) { const auto a = on.Array(); on.containers.DeleteUnownedContainer(a); on.Release(a); }},
    {"instance-leaked", "NewPOSArray", [](const Client& on) { on.Array(); }},
    {"instance-leaked", "CreateFromText", [](const Client& on) { on.Hold(on.statics.CreateFromText("[1 2]", nullptr)); }},
    {"instance-leaked", "NewPOSStreamer", [](const Client& on) { on.Hold(on.streamers.NewPOSStreamer()); }},
    {"instance-leaked", "GetAt", [](const Client& on) { const auto a = on.Array(); on.arrays.Append(a, on.numbers.NewPOSNumber(1)); on.Hold(on.arrays.GetAt(a, 0)); on.Release(a); }},
    {"instance-never-held", "NewPOSNumber", [](const Client& on) { on.numbers.NewPOSNumber(1); }},
    {"instance-never-held", "Clone", [](const Client& on) { const auto a = on.Array(); on.objects.Clone(a); on.Release(a); }},
    {"atom-null", "Put", [](const Client& on) { const auto d = on.Dict(); const auto n = on.Hold(on.numbers.NewPOSNumber(1)); on.dicts.Put(d, 0, n); on.Release(n); on.Release(d); }},
    {"atom-null", "DeleteStringAtom", [](const Client& on) { on.atoms.DeleteStringAtom(0); }},
    {"atom-dead", "Get", [](const Client& on) { const auto d = on.Dict(); on.dicts.Get(d, on.GoneAtom()); on.Release(d); }},
    {"atom-dead", "GetCString", [](const Client& on) { on.atoms.GetCString(on.GoneAtom()); }},
    {"atom-released-twice", "DeleteStringAtom", [](const Client& on) { on.atoms.DeleteStringAtom(on.GoneAtom()); }},
    {"atom-released-twice", "DeleteStringAtom", [](const Client& on) { const auto a = on.Atom("k"); on.atoms.AddRef(a); for (int i = 0; i < 3; ++i) on.atoms.DeleteStringAtom(a); }},
    {"atom-reference-lost", "NewStringAtom", [](const Client& on) { on.Atom("lost"); }},
    {"atom-reference-lost", "AddRef", [](const Client& on) { const auto a = on.Atom("lost"); on.atoms.AddRef(a); on.atoms.DeleteStringAtom(a); }},
    {"atom-reference-lost", "GetFilePathSpec", [](const Client& on) { ZELInstance dir = nullptr; on.directories.GetTempDir(&dir); on.Hold(dir); const auto name = on.Atom("file"); ZELStringAtom path = 0; on.directories.GetFilePathSpec(&path, dir, name); on.atoms.DeleteStringAtom(name); on.Release(dir); }},
    {"error-null", "GetID", [](const Client& on) { on.errors.GetID(nullptr); }},
    {"error-dead", "GetErrorMessage", [](const Client& on) { on.errors.GetErrorMessage(on.GoneError()); }},
    {"error-released-twice", "Release", [](const Client& on) { on.errors.Release(on.GoneError()); }},
    {"error-leaked", "NewError", [](const Client& on) { on.errors.NewError("lost", "Client", 1, 0, 0); }},
    {"error-leaked", "Delete", [](const Client& on) { ZELInstance dir = nullptr; on.directories.GetTempDir(&dir); on.Hold(dir); const auto name = on.Atom("no such file"); on.directories.Delete(dir, name); on.atoms.DeleteStringAtom(name); on.Release(dir); }},
    {"buffer-null", "GetSize", [](const Client& on) { on.buffers.GetSize(nullptr); }},
    {"buffer-dead", "GetBuffer", [](const Client& on) { on.buffers.GetBuffer(on.GoneBuffer()); }},
    {"buffer-released-twice", "Release", [](const Client& on) { on.buffers.Release(on.GoneBuffer()); }},
    {"buffer-leaked", "NewBuffer", [](const Client& on) { on.buffers.NewBuffer(8, 0, 0, 0, 0); }},
    {"block-dead", "Free", [](const Client& on) { void* const block = on.memory.Alloc(8); on.memory.Free(block); on.memory.Free(block); }},
    {"block-unknown", "Free", [](const Client& on) { const auto s = on.Hold(on.strings.NewPOSString("text")); on.memory.Free(const_cast<char*>(on.strings.Get(s))); on.Release(s); }},
    {"block-leaked", "Alloc", [](const Client& on) { on.memory.Alloc(8); }},
    {"text-null", "NewPOSString", [](const Client& on) { on.strings.NewPOSString(nullptr); }},
    {"text-null", "NewPOSUnicodeString", [](const Client& on) { on.unicodeStrings.NewPOSUnicodeString(nullptr); }},
    {"text-null", "NewStringAtom", [](const Client& on) { on.atoms.NewStringAtom(nullptr); }},
    {"text-unbounded", "NewPOSString", [](const Client& on) { on.Release(on.Hold(on.strings.NewPOSString(std::string(5000, 'a').c_str()))); }},
    {"place-null", "GetMethod", [](const Client& on) { const auto a = on.Array(); const auto k = on.Atom("k"); on.errors.Release(on.containers.GetMethod(nullptr, a, k, k, 1)); on.atoms.DeleteStringAtom(k); on.Release(a); }},
    {"size-misfit", "NewPOSBinData", [](const Client& on) { on.binData.NewPOSBinData("T", nullptr, 5); }},
    {"size-misfit", "GetAt", [](const Client& on) { const auto a = on.Array(); on.arrays.GetAt(a, static_cast<std::uint32_t>(-1)); on.Release(a); }},
    {"second-thread", "NewPOSNumber", [](const Client& on) { std::thread([&on] { on.numbers.NewPOSNumber(1); }).join(); }},
    {"concurrent-call", "IsPOSNumber", [](const Client& on) {
       on.Validating([](ZELInstance value, ZELStringAtom, ZELSharedBuff, void*) {
         std::thread([value] { g_client->numbers.IsPOSNumber(value); }).join();
         return 1;
       });
     }},
    {"changed-in-use", "RegisterCallbackProc", [](const Client& on) {
       static ZELInstance validator;
       static ZELStringAtom name;
       const auto schema = on.Hold(on.statics.CreateFromText("<T <category real>>", nullptr));
       g_client = &on;
       name = on.Atom("T");
       validator = on.Hold(on.structValidators.NewPOSStructValidator(schema));
       on.structValidators.RegisterCallbackProc(validator, name, [](ZELInstance, ZELStringAtom, ZELSharedBuff, void*) {
         g_client->structValidators.RegisterCallbackProc(validator, name, nullptr, nullptr);
         return 1;
       }, nullptr);
       const auto number = on.Hold(on.numbers.NewPOSNumber(1));
       on.validators.Validate(validator, number, name, nullptr);
       on.atoms.DeleteStringAtom(name);
       for (const auto held : {number, validator, schema}) on.Release(held);
     }},
    {"schema-changed", "Put", [](const Client& on) {
       on.Validating([](ZELInstance value, ZELStringAtom name, ZELSharedBuff, void*) {
         g_client->dicts.Put(g_schema, name, value);
         return 1;
       });
     }},
    {"failure-ignored", "Append", [](const Client& on) {
       const auto array = on.Array();
       on.arrays.Append(array, on.objects.Clone(on.Hold(on.Stream())));
       on.Release(array);
     }},
};
// clang-format on

TEST(CheckTest, EachMistakeOfAClientIsToldOfByItsRule) {
  std::set<std::string> seen;
  for (const Mistake& mistake : kMistakes) {
    SCOPED_TRACE(testing::Message() << "row " << &mistake - kMistakes << ": " << mistake.rule);
    CheckedHost checked;
    checked.Start("core,limit=4096");
    mistake.make(Client(checked.host));
    checked.host.Stop();
    EXPECT_EQ(g_findings.rules, std::vector<std::string>{mistake.rule}) << checked.Log();
    if (g_findings.paragraphs.empty()) continue;
    EXPECT_NE(g_findings.paragraphs[0].find(mistake.method), std::string::npos)
        << g_findings.paragraphs[0];
    EXPECT_NE(checked.Log().find(g_findings.paragraphs[0]), std::string::npos);
    seen.insert(mistake.rule);
  }
}

}  // namespace
