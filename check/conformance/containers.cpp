// Tests of a host's containers: births and deaths of instances, their records and methods.
#include <cstring>

#include "conformance/holders.h"

namespace zelcheck {
namespace {

constexpr const char* kLeaks = "the library's objects are never destroyed";
constexpr const char* kCrashes = "the library uses objects that are gone";
constexpr const char* kUnknown = "the library does not know its own instances";
constexpr const char* kWrongMethods = "the library calls other procedures than those meant";

void First() {}
void Second() {}

// Registers a method of the interface that the instances of the tests offer.
class Method {
 public:
  explicit Method(const Probe& host) : host_(host) { Set(&First); }
  Method(const Method&) = delete;
  Method& operator=(const Method&) = delete;
  ~Method() { Withdraw(); }
  void Set(ZELProc procedure) const {
    host_.binder.ZELRegisterProcAddress("ZELUtilsCheckProbe", "Method", "ZELUtilsCheckProc",
                                        procedure);
  }
  void Withdraw() const { host_.binder.ZELUnregisterInterface("ZELUtilsCheckProbe"); }

 private:
  const Probe& host_;
};

// The result of "GetMethod"; null also with an error object.
ZELProc MethodOf(const Probe& host, ZELInstance instance, const char* method,
                 const char* procType = "ZELUtilsCheckProc") {
  const HeldAtom name(host, method);
  const HeldAtom type(host, procType);
  ZELProc found = nullptr;
  const bool failed =
      host.Failed(host.containers.GetMethod(&found, instance, name.Get(), type.Get(), 1));
  return failed ? nullptr : found;
}

// Whether "NGetInstance" gives an object, and which.
bool Resolves(const Probe& host, ZELInstance instance, const char* implementation, void** object) {
  const HeldAtom name(host, implementation);
  *object = nullptr;
  return !host.Failed(host.containers.NGetInstance(object, instance, name.Get()));
}

// The verdict of what is done with a new instance of an object.
template <typename Test>
Verdict WithInstance(const Probe& host, Test test) {
  Object& object = Staying<Object>();
  HeldInstance instance(host, object);
  if (!instance.IsMade()) return Failed("no instance is made");
  return test(instance, object);
}

// clang-format off
constexpr HostTest kTests[] = {
    {"instance-is-made", "nothing that makes a value works", [](const Probe& host) {
       return WithInstance(host, [](HeldInstance&, Object& object) { return Expect(object.destroyed == 0, "a new instance is destroyed at once"); }); }},
    {"instance-offset-stays", kUnknown, [](const Probe& host) {
       const std::int32_t first = host.containers.GetOffsetToPrimaryInstance(), second = host.containers.GetOffsetToPrimaryInstance();
       return Expect(first == second, "the offset changes"); }},
    {"instance-record-object", kUnknown, [](const Probe& host) {
       return WithInstance(host, [](HeldInstance& instance, Object& object) { return Expect(instance.Record().object == &object, "the primary record does not hold the object"); }); }},
    {"instance-record-implementation", kUnknown, [](const Probe& host) {
       return WithInstance(host, [](HeldInstance& instance, Object&) {
         const char* const name = instance.Record().implementationName;
         return Expect(name != nullptr && std::strcmp(name, "ZELUtilsCheckImpl") == 0, "the primary record does not name the implementation"); }); }},
    {"instance-record-signature", "calls of values fail with \"couldn't get signature\"", [](const Probe& host) {
       return WithInstance(host, [](HeldInstance& instance, Object&) { return Expect(instance.Record().signature != nullptr, "the primary record has no signature"); }); }},
    {"instance-signature-shared", "the library looks up the methods of every value anew", [](const Probe& host) {
       return WithInstance(host, [&host](HeldInstance& instance, Object&) {
         Object& second = Staying<Object>();
         const HeldInstance other(host, second);
         return Expect(other.IsMade() && instance.Record().signature == other.Record().signature, "two instances of one kind have different signatures"); }); }},
    {"instance-signature-differs", kWrongMethods, [](const Probe& host) {
       return WithInstance(host, [&host](HeldInstance& instance, Object&) {
         Object& second = Staying<Object>();
         const HeldInstance other(host, second, "ZELUtilsCheckOtherImpl", "ZELUtilsCheckOther");
         return Expect(other.IsMade() && instance.Record().signature != other.Record().signature, "instances of different interfaces have the same signature"); }); }},
    {"instance-record-stays", kCrashes, [](const Probe& host) {
       return WithInstance(host, [&host](HeldInstance& instance, Object& object) {
         const char* const signature = instance.Record().signature;
         instance.AddRef();
         for (int i = 0; i < 100; ++i) { Object& other = Staying<Object>(); const HeldInstance made(host, other); }
         return Expect(instance.Record().object == &object && instance.Record().signature == signature && std::strcmp(instance.Record().implementationName, "ZELUtilsCheckImpl") == 0, "the primary record changes while the instance lives"); }); }},
    {"instance-keeps-names", kUnknown, [](const Probe& host) {
       // The holder has given its atoms back; others take their places.
       return WithInstance(host, [&host](HeldInstance& instance, Object&) {
         const HeldAtom one(host, "ZELUtilsCheck one"), two(host, "ZELUtilsCheck two");
         return Expect(std::strcmp(instance.Record().implementationName, "ZELUtilsCheckImpl") == 0, "the instance has no references of its own to its names"); }); }},
    {"instance-handles-differ", kCrashes, [](const Probe& host) {
       return WithInstance(host, [&host](HeldInstance& instance, Object&) {
         Object& second = Staying<Object>();
         const HeldInstance other(host, second);
         return Expect(other.IsMade() && other.Get() != instance.Get(), "two instances have the same handle"); }); }},
    {"instance-born-unheld", kLeaks, [](const Probe& host) {
       return WithInstance(host, [](HeldInstance& instance, Object& object) {
         instance.AddRef();
         instance.Release();
         return Expect(object.destroyed > 0, "a new instance has a reference: the first \"Release\" does not end it"); }); }},
    {"instance-destroyed-once", kCrashes, [](const Probe& host) {
       return WithInstance(host, [](HeldInstance& instance, Object& object) {
         instance.AddRef();
         instance.Release();
         return Expect(object.destroyed < 2, "the destroy procedure is called twice"); }); }},
    {"instance-counts", kCrashes, [](const Probe& host) {
       return WithInstance(host, [](HeldInstance& instance, Object& object) {
         instance.AddRef();
         instance.AddRef();
         instance.Release();
         return Expect(object.destroyed == 0, "an instance ends while a reference is held"); }); }},
    {"instance-counts-many", kCrashes, [](const Probe& host) {
       return WithInstance(host, [](HeldInstance& instance, Object& object) {
         for (int i = 0; i < 70000; ++i) instance.AddRef();
         for (int i = 0; i < 69999; ++i) instance.Release();
         const bool lives = object.destroyed == 0;
         instance.Release();
         return Expect(lives && object.destroyed == 1, "70000 references are not counted"); }); }},
    {"instance-add-ref-answers", "values cannot be put into containers", [](const Probe& host) {
       return WithInstance(host, [](HeldInstance& instance, Object&) { return Expect(instance.AddRef(), "\"AddRef\" of a live instance answers 0"); }); }},
    {"instance-add-ref-null", kCrashes, [](const Probe& host) {
       return Expect(host.containers.AddRef(nullptr) == 0, "\"AddRef\" of null does not answer 0"); }},
    {"instance-release-null", "the library stops with a wrong access", [](const Probe& host) {
       host.containers.Release(nullptr);
       return Verdict(); }},
    {"instance-decrement-keeps", "values end before a client gets them", [](const Probe& host) {
       return WithInstance(host, [](HeldInstance& instance, Object& object) {
         instance.AddRef();
         instance.Decrement();
         return Expect(object.destroyed == 0, "\"DecrementWithoutDelete\" destroys the instance"); }); }},
    {"instance-decrement-counts", kLeaks, [](const Probe& host) {
       return WithInstance(host, [](HeldInstance& instance, Object& object) {
         instance.AddRef();
         instance.AddRef();
         instance.Decrement();
         instance.Release();
         return Expect(object.destroyed == 1, "\"DecrementWithoutDelete\" does not take a reference away"); }); }},
    {"instance-held-again", kCrashes, [](const Probe& host) {
       return WithInstance(host, [](HeldInstance& instance, Object& object) {
         instance.AddRef();
         instance.Decrement();
         const bool taken = instance.AddRef();
         instance.Release();
         return Expect(taken && object.destroyed == 1, "an instance without reference cannot be held again"); }); }},
    {"instance-delete-destroys", kLeaks, [](const Probe& host) {
       return WithInstance(host, [](HeldInstance& instance, Object& object) {
         instance.Delete();
         return Expect(object.destroyed == 1, "\"DeleteUnownedContainer\" does not call the destroy procedure, or calls it twice"); }); }},
    {"method-found", kWrongMethods, [](const Probe& host) {
       const Method method(host);
       return WithInstance(host, [&host](HeldInstance& instance, Object&) { return Expect(MethodOf(host, instance.Get(), "Method") == &First, "\"GetMethod\" does not give what is registered under the instance's interface"); }); }},
    {"method-unknown-is-null", kWrongMethods, [](const Probe& host) {
       const Method method(host);
       return WithInstance(host, [&host](HeldInstance& instance, Object&) { return Expect(MethodOf(host, instance.Get(), "Another") == nullptr && MethodOf(host, instance.Get(), "Method", "ZELUtilsCheckProcV2") == nullptr, "\"GetMethod\" gives a method that nobody has registered"); }); }},
    {"method-of-interface", kWrongMethods, [](const Probe& host) {
       const Method method(host);
       Object& object = Staying<Object>();
       const HeldInstance other(host, object, "ZELUtilsCheckOtherImpl", "ZELUtilsCheckOther");
       return Expect(other.IsMade() && MethodOf(host, other.Get(), "Method") == nullptr, "an instance offers the methods of another interface"); }},
    {"method-replaced", kWrongMethods, [](const Probe& host) {
       const Method method(host);
       return WithInstance(host, [&](HeldInstance& instance, Object&) {
         MethodOf(host, instance.Get(), "Method");
         method.Set(&Second);
         return Expect(MethodOf(host, instance.Get(), "Method") == &Second, "\"GetMethod\" gives a method that has been replaced"); }); }},
    {"method-withdrawn", kWrongMethods, [](const Probe& host) {
       const Method method(host);
       return WithInstance(host, [&](HeldInstance& instance, Object&) {
         method.Withdraw();
         return Expect(MethodOf(host, instance.Get(), "Method") == nullptr, "\"GetMethod\" gives a method that has been withdrawn"); }); }},
    {"object-found", kUnknown, [](const Probe& host) {
       return WithInstance(host, [&host](HeldInstance& instance, Object& object) {
         void* found = nullptr;
         return Expect(Resolves(host, instance.Get(), "ZELUtilsCheckImpl", &found) && found == &object, "\"NGetInstance\" does not give the object"); }); }},
    {"object-of-null", "a null handle is taken for a value", [](const Probe& host) {
       void* found = nullptr;
       return Expect(!Resolves(host, nullptr, "ZELUtilsCheckImpl", &found), "\"NGetInstance\" of null gives no error object"); }},
    {"object-of-another", "values of others are taken for the library's own", [](const Probe& host) {
       return WithInstance(host, [&host](HeldInstance& instance, Object&) {
         void* found = nullptr;
         return Expect(!Resolves(host, instance.Get(), "ZELUtilsCheckOtherImpl", &found), "\"NGetInstance\" gives an object of an implementation that the instance does not have"); }); }},
};
// clang-format on

}  // namespace

std::span<const HostTest> ContainerTests() { return kTests; }

}  // namespace zelcheck
