// The checking layer before mistakes that clients make: each is told of by its rule, and nothing
// else is.
#include <array>
#include <atomic>
#include <cstring>
#include <mutex>
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
ZELInstance g_validator;

void Client::Validating(POSStructValidatorCallbackProc check) const {
  g_client = this;
  g_schema = Hold(statics.CreateFromText("<T <category real>>", nullptr));
  g_value = Array();
  g_validator = Hold(structValidators.NewPOSStructValidator(g_schema));
  const ZELInstance number = Hold(numbers.NewPOSNumber(1));
  const ZELStringAtom name = Atom("T");
  structValidators.RegisterCallbackProc(g_validator, name, check, nullptr);
  validators.Validate(g_validator, number, name, nullptr);
  atoms.DeleteStringAtom(name);
  for (const ZELInstance held : {g_validator, number, g_value, g_schema}) Release(held);
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
       on.Validating([](ZELInstance, ZELStringAtom name, ZELSharedBuff, void*) {
         g_client->structValidators.RegisterCallbackProc(g_validator, name, nullptr, nullptr);
         return 1;
       });
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

// ---- Calls around the life of the library ----

zelutils::BinderInterface g_binder;
decltype(zelutils::NumberInterface::IsPOSNumber) g_isNumber;

TEST(CheckTest, CallsDuringAndAfterTheLibrarysLifeAreToldOf) {
  using zelutils::BinderInterface;
  CheckedHost checked;
  g_binder = zeltest::Import<BinderInterface>(checked.host);
  // A host that calls what is registered at once, and before it is withdrawn.
  zeltest::Replace<BinderInterface>(
      checked.host, "ZELRegisterProcAddress",
      +[](const char* name, const char* method, const char* type, ZELProc procedure) {
        if (std::strcmp(method, "IsPOSNumber") == 0) {
          g_isNumber = reinterpret_cast<decltype(g_isNumber)>(procedure);
          g_isNumber(nullptr);
        }
        return g_binder.ZELRegisterProcAddress(name, method, type, procedure);
      });
  zeltest::Replace<BinderInterface>(
      checked.host, "ZELUnregisterInterface", +[](const char* name) {
        g_isNumber(nullptr);
        return g_binder.ZELUnregisterInterface(name);
      });
  checked.Start("core");
  g_isNumber(nullptr);
  checked.host.Stop();
  g_isNumber(nullptr);
  EXPECT_EQ(g_findings.rules,
            (std::vector<std::string>{"call-during-start", "call-during-stop", "call-after-stop"}))
      << checked.Log();
}

// ---- Threads ----

constexpr std::size_t kThreads = 4;
const zelhost::HostOptions kAnyThread{.anyThread = true};

template <typename Action>
void OnThreads(Action action) {
  std::array<std::thread, kThreads> threads;
  for (std::size_t i = 0; i < kThreads; ++i) threads[i] = std::thread([&action, i] { action(i); });
  for (std::thread& thread : threads) thread.join();
}

TEST(CheckTest, ThreadsThatTakeTurnsAreSeenAsOne) {
  CheckedHost checked(kAnyThread);
  checked.Start("core,without=second-thread");
  const Client client(checked.host);
  std::mutex turn;
  std::size_t right = 0;
  OnThreads([&](std::size_t thread) {
    for (int i = 0; i < 100; ++i) {
      const std::lock_guard<std::mutex> lock(turn);
      const ZELInstance dict = client.Dict();
      const ZELStringAtom key = client.Atom(("key" + std::to_string(i)).c_str());
      const ZELInstance number =
          client.Hold(client.numbers.NewPOSNumber(static_cast<double>(thread)));
      client.dicts.Put(dict, key, number);
      client.Release(number);
      right +=
          client.numbers.Get(client.dicts.Get(dict, key)) == static_cast<double>(thread) ? 1U : 0U;
      client.atoms.DeleteStringAtom(key);
      if (thread != 3 || i != 99) client.Release(dict);
    }
  });
  checked.host.Stop();
  EXPECT_EQ(right, kThreads * 100);
  EXPECT_EQ(g_findings.rules, std::vector<std::string>{"instance-leaked"}) << checked.Log();
}

std::atomic<bool> g_isTold;

TEST(CheckTest, CallsAtTheSameTimeAreToldOfOnceAndAreTheLastThatIsSeen) {
  const char* const rules[] = {"concurrent-call", "atom-reference-lost"};
  for (const char* const rule : rules) {
    CheckedHost checked(kAnyThread);
    checked.Start("core,without=second-thread");
    const Client client(checked.host);
    g_isTold = false;
    zeltest::g_whenTold = [] { g_isTold = true; };
    // Calls that change nothing: the library is not made for more. The second run is of one thread.
    const ZELInstance array = client.Array();
    client.Atom("lost");
    std::atomic<int> wrong = 0;
    const auto use = [&](std::size_t) {
      for (int i = 0; i < 2000 || (rule == rules[0] && !g_isTold && i < 50000000); ++i) {
        if (client.arrays.Count(array) != 0 || client.arrays.IsPOSArray(array) == 0) ++wrong;
      }
    };
    rule == rules[0] ? OnThreads(use) : use(0);
    zeltest::g_whenTold = nullptr;
    EXPECT_EQ(wrong, 0);
    client.Release(array);
    checked.host.Stop();  // the atom is told of in the second run alone
    EXPECT_EQ(g_findings.rules, std::vector<std::string>{rule}) << checked.Log();
  }
}

}  // namespace
