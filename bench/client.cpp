// The cost of the typed C++ client beside that of the procedures that it calls. Each operation is
// done in three ways, with the same references to what is kept: by the client; as a careful program
// in C does it, which compares the binder's counter before each call, since addresses hold no
// longer than that, and looks for a report where a result may be a failure; and by the bare calls.
#include <string>
#include <string_view>
#include <utility>
#include <vector>
#include <zelutils/session.hpp>

#include "zel.h"

namespace zelbench {

namespace {

constexpr std::size_t kCalls = 1000;
constexpr const char* kText =
    "<list [1 2 3 4 5 6 7 8] name (A book) pages [<size <width 595>> <size <width 612>>] width "
    "595>";

// The compiler must not see that a result is not used.
template <typename T>
void Use(const T& result) {
  asm volatile("" : : "g"(&result) : "memory");
}

// The session with what the calls are made on, as handles and as objects of the client.
struct World {
  zelutils::Session session{{ZEL_LIBRARY_PATH, nullptr}};
  Containers containers = Containers::From(session.Host());
  Atoms atoms = Atoms::From(session.Host());
  Objects objects = Objects::From(session.Host());
  Statics statics = Statics::From(session.Host());
  NumberProcs numbers = NumberProcs::From(session.Host());
  StringProcs strings = StringProcs::From(session.Host());
  ArrayProcs arrays = ArrayProcs::From(session.Host());
  DictProcs dicts = DictProcs::From(session.Host());
  Iterators iterators = Iterators::From(session.Host());
  const std::vector<std::string>& reports = session.Host().Reports();
  const std::uint32_t* counter = session.Host().Find<ZELGetUnregisterCountAddr>(
      ZEL_BINDER_INTERFACE, "ZELGetUnregisterCountAddr", "ZELGetUnregisterCountAddr")();
  std::uint32_t seen = *counter;

  zelutils::Dict dict = session.Parse(kText).As<zelutils::Dict>();
  zelutils::Dict same = dict;
  zelutils::Array list = dict["list"].As<zelutils::Array>();
  zelutils::Value number = dict["width"];
  zelutils::Value text = dict["name"];
  zelutils::Dict filled = session.NewDict();
  zelutils::Array growing = session.NewArray();
  zelutils::Atom key{session, "width"};
  ZELInstance dictHandle = dict.Handle(), listHandle = list.Handle();
};

template <bool kIsCareful>
struct InC {
  World& w;

  template <typename Procedures>
  const Procedures& Current(const Procedures& procedures) const {
    if (kIsCareful && *w.counter != w.seen) Fail();
    return procedures;
  }
  const Containers& containers() const { return Current(w.containers); }
  const Atoms& atoms() const { return Current(w.atoms); }
  const Objects& objects() const { return Current(w.objects); }
  const Statics& statics() const { return Current(w.statics); }
  const NumberProcs& numbers() const { return Current(w.numbers); }
  const StringProcs& strings() const { return Current(w.strings); }
  const ArrayProcs& arrays() const { return Current(w.arrays); }
  const DictProcs& dicts() const { return Current(w.dicts); }
  const Iterators& iterators() const { return Current(w.iterators); }

  // Only the reports tell the meaning of a neutral result.
  void Look() const {
    if (kIsCareful && !w.reports.empty()) Fail();
  }
  template <typename Result>
  Result Seen(Result result) const {
    if (kIsCareful && result == Result()) Look();
    return result;
  }
  ZELInstance Held(ZELInstance instance) const {
    if (kIsCareful && instance == nullptr) Fail();
    if (containers().AddRef(instance) == 0 && kIsCareful) Fail();
    return instance;
  }
  void Release(ZELInstance instance) const { w.containers.Release(instance); }
  ZELStringAtom NewAtom(const char* text) const { return Seen(atoms().NewStringAtom(text)); }
  void Delete(ZELStringAtom atom) const { w.atoms.DeleteStringAtom(atom); }

  [[noreturn, gnu::cold, gnu::noinline]] static void Fail() {
    throw std::runtime_error("a call failed");
  }
};

template <typename Action>
class CallCase final : public Case {
 public:
  explicit CallCase(Action action) : action_(std::move(action)) { items = kCalls; }
  void Run() override {
    for (std::size_t i = 0; i < kCalls; ++i) action_(world_);
  }
  void Finish() override {
    world_.growing = world_.session.NewArray();
    world_.filled = world_.session.NewDict();
  }

 private:
  World world_;
  Action action_;
};

// `c` takes either InC.
template <typename C, typename Client>
void Add(const std::string& name, C c, Client client) {
  const auto add = [&name](const char* way, auto action) {
    AddCase("client/" + name + "/" + way,
            [action] { return std::make_unique<CallCase<decltype(action)>>(action); });
  };
  add("bare", [c](World& w) { c(InC<false>{w}); });
  add("careful", [c](World& w) { c(InC<true>{w}); });
  add("client", client);
}

void AddScalars() {
  Add(
      "type of a value", [](auto c) { Use(c.Seen(c.objects().GetType(c.w.number.Handle()))); },
      [](World& w) { Use(w.number.Type()); });
  Add(
      "number", [](auto c) { Use(c.Seen(c.numbers().Get(c.w.number.Handle()))); },
      [](World& w) { Use(w.number.As<double>()); });
  Add(
      "string", [](auto c) { Use(std::string_view(c.Seen(c.strings().Get(c.w.text.Handle())))); },
      [](World& w) { Use(w.text.As<std::string_view>()); });
  Add(
      "new number", [](auto c) { c.Release(c.Held(c.numbers().NewPOSNumber(1.5))); },
      [](World& w) { Use(w.session.NewNumber(1.5)); });
  Add(
      "new string", [](auto c) { c.Release(c.Held(c.strings().NewPOSString("A book"))); },
      [](World& w) { Use(w.session.NewString("A book")); });
  Add(
      "parse", [](auto c) { c.Release(c.Held(c.statics().CreateFromText(kText, nullptr))); },
      [](World& w) { Use(w.session.Parse(kText)); });
  Add(
      "clone", [](auto c) { c.Release(c.Held(c.objects().Clone(c.w.dictHandle))); },
      [](World& w) { Use(w.dict.Clone()); });
  Add(
      "equality", [](auto c) { Use(c.Seen(c.objects().IsEqual(c.w.dictHandle, c.w.dictHandle))); },
      [](World& w) { Use(w.dict == w.same); });
}

void AddLookups() {
  Add(
      "element", [](auto c) { c.Release(c.Held(c.arrays().GetAt(c.w.listHandle, 3))); },
      [](World& w) { Use(w.list.GetAt(3)); });
  Add(
      "member by atom",
      [](auto c) { c.Release(c.Held(c.dicts().Get(c.w.dictHandle, c.w.key.Handle()))); },
      [](World& w) { Use(w.dict.Find(w.key)); });
  Add(
      "number by index, `list[3]`",
      [](auto c) { Use(c.Seen(c.numbers().Get(c.Seen(c.arrays().GetAt(c.w.listHandle, 3))))); },
      [](World& w) { Use(w.list[3].As<double>()); });
  Add(
      "number by key, `dict[k]`",
      [](auto c) {
        const ZELStringAtom key = c.NewAtom("width");
        Use(c.Seen(c.numbers().Get(c.Seen(c.dicts().Get(c.w.dictHandle, key)))));
        c.Delete(key);
      },
      [](World& w) { Use(w.dict["width"].As<double>()); });
  Add(
      "number by path",
      [](auto c) {
        const ZELStringAtom path = c.NewAtom("pages[1].size.width");
        Use(c.Seen(c.numbers().Get(c.Seen(c.dicts().DeepGet(c.w.dictHandle, path)))));
        c.Delete(path);
      },
      [](World& w) { Use(w.dict.DeepGet("pages[1].size.width").As<double>()); });
}

void AddChanges() {
  Add(
      "append a number",
      [](auto c) {
        const ZELInstance number = c.Held(c.numbers().NewPOSNumber(1.5));
        c.arrays().Append(c.w.growing.Handle(), number);
        c.Look();
        c.Release(number);
      },
      [](World& w) { w.growing.Append(1.5); });
  const auto put = [](auto c) {
    const ZELStringAtom key = c.NewAtom("width");
    const ZELInstance number = c.Held(c.numbers().NewPOSNumber(1.5));
    c.dicts().Put(c.w.filled.Handle(), key, number);
    c.Look();
    c.Release(number);
    c.Delete(key);
  };
  Add("put a number", put, [](World& w) { w.filled.Put("width", 1.5); });
  Add("assign a number, `dict[k] =`", put, [](World& w) { w.filled["width"] = 1.5; });
}

void AddWalks() {
  Add(
      "walk over 8 numbers",
      [](auto c) {
        for (std::uint32_t i = 0; i < c.Seen(c.arrays().Count(c.w.listHandle)); ++i) {
          const ZELInstance number = c.Held(c.arrays().GetAt(c.w.listHandle, i));
          Use(c.Seen(c.numbers().Get(number)));
          c.Release(number);
        }
      },
      [](World& w) {
        for (const zelutils::Value& number : w.list) Use(number.As<double>());
      });
  Add(
      "vector of 8 numbers",
      [](auto c) {
        std::vector<double> numbers;
        const std::uint32_t count = c.Seen(c.arrays().Count(c.w.listHandle));
        numbers.reserve(count);
        for (std::uint32_t i = 0; i < count; ++i) {
          numbers.push_back(c.Seen(c.numbers().Get(c.Seen(c.arrays().GetAt(c.w.listHandle, i)))));
        }
        Use(numbers);
      },
      [](World& w) { Use(w.list.As<std::vector<double>>()); });
  Add(
      "walk over 4 members",
      [](auto c) {
        const ZELInstance iterator = c.Held(c.iterators().NewPOSDictIterator(c.w.dictHandle));
        for (; !c.Seen(c.iterators().IsDone(iterator)); c.iterators().Next(iterator)) {
          const std::string key = c.Seen(c.iterators().CurKey(iterator));
          const ZELStringAtom atom = c.NewAtom(key.c_str());
          const ZELInstance value = c.Held(c.dicts().Get(c.w.dictHandle, atom));
          c.Delete(atom);
          Use(c.Seen(c.objects().GetType(value)));
          c.Release(value);
        }
        c.Release(iterator);
      },
      [](World& w) {
        for (const auto& [key, value] : w.dict) Use(value.Type());
      });
}

}  // namespace

}  // namespace zelbench

int main(int argc, char** argv) {
  using namespace zelbench;
  AddScalars();
  AddLookups();
  AddChanges();
  AddWalks();
  return Main(argc, argv);
}
