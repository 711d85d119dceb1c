// Bytes as procedure calls. Each call takes its arguments from a pool of live handles, which has
// every kind in it sooner or later, so that most arguments are of another kind than is asked for.
#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <limits>
#include <set>
#include <type_traits>
#include <vector>

#include "targets.h"
#include "zelutils/streamer.h"

namespace zelfuzz {
namespace {

using zelhost::Service;

const char* const kTexts[] = {
    "",
    "a",
    "b",
    "ab",
    "T",
    "a.b[1].a",
    "[0]",
    "b[2]",
    "\xFF\x07",
    "n",
    "name",
    "category",
    "w+b",
    "rb",
    "longer text than fits into what a small string is kept in",
    "<a 1 b [1 2 <a x>] n <b <b []>>>",
    "[[1 2 3][`0041` (b)] <>]",
    "<T <category dict required <a int> optional <b T n U>> U <category union set [T int string]>>",
    "<T <category array membertype U> U <category intersection set [any V]> V <category real>>",
    "[1 2",
    POS_STREAMER_TYPE_A_VERSION_1_0,
};
const char* const kHidden[] = {
    POS_ARRAY_INTERFACE,       POS_OBJECT_INTERFACE,         POS_DICT_INTERFACE,
    ZEL_SHARED_BUFF_INTERFACE, ZEL_STREAM_FACTORY_INTERFACE, ZEL_UTILS_DIR_INTERFACE,
    POS_OBJECT_STATICS};

constexpr std::uint64_t kUnlimited = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t kBlocks = 20000;
constexpr std::size_t kPoolSize = 12;
constexpr std::uint32_t kLargestValue = 1000;  // members, each counted as often as it is reached
constexpr std::uint32_t kDeepestReentry = 3;

class Sequence;
Sequence* g_running = nullptr;
void Reenter(void*);
std::int32_t Decide(ZELInstance, ZELStringAtom, ZELSharedBuff, void*);
void Ignore(const char*) {}

class Sequence {
 public:
  Sequence(Session& session, Bytes input) : session_(session), procs_(session.procs), rest_(input) {
    for (const char* text : kTexts) atoms_.push_back(procs_.atoms.NewStringAtom(text));
    folder_ = procs_.atoms.NewStringAtom(session.folder.path.string().c_str());
    Session::SetBudget(kBlocks);
    g_running = this;
  }

  void Run() {
    while (!rest_.empty()) Step();
  }

  // Gives everything back. Cycles are cut where they were closed.
  void End() {
    ending_ = true;
    Session::SetBudget(kUnlimited);
    host().StopFailing();
    for (const char* name : kHidden) host().Show(name);
    host().ChangeUnregisterCount();
    for (ZELInstance container : pinned_) Empty(container);
    for (ZELInstance container : pinned_) procs_.containers.Release(container);
    for (std::size_t i = 0; i < kPoolSize; ++i) Drop(i);
    for (ZELStringAtom atom : atoms_) procs_.atoms.DeleteStringAtom(atom);
    procs_.atoms.DeleteStringAtom(folder_);
    for (const auto& entry : std::filesystem::directory_iterator(session_.folder.path)) {
      std::filesystem::remove(entry.path());
    }
    g_running = nullptr;
  }

  // One call, as the next byte says.
  void Step() {
    const auto op = Take();
    (this->*kOps[op % std::size(kOps)])();
    host().TakeReports();
  }

  void StepWhileReleasing() {
    if (ending_ || depth_ == kDeepestReentry || rest_.empty()) return;
    ++depth_;
    Step();
    --depth_;
  }

  std::uint8_t Take() {
    if (rest_.empty()) return 0;
    const std::uint8_t byte = rest_[0];
    rest_ = rest_.subspan(1);
    return byte;
  }

 private:
  zelhost::Host& host() { return session_.host; }

  // ---- Arguments ----

  std::size_t Slot() { return Take() % kPoolSize; }
  ZELInstance Any() { return pool_[Slot()]; }
  std::size_t TextIndex() { return Take() % std::size(kTexts); }
  const char* Text() { return kTexts[TextIndex()]; }
  // One in so many is none.
  ZELStringAtom Atom() {
    const std::uint8_t index = Take();
    return index == 0xFF ? 0 : atoms_[index % atoms_.size()];
  }
  std::uint32_t Index() {
    const std::uint8_t byte = Take();
    constexpr std::uint32_t kSpecial[] = {100, 0x7FFFFFFF, 0x10000000, 0xFFFFFFFE, 0xFFFFFFFF};
    return byte < 250 ? byte % 12 : kSpecial[byte - 250u > 4u ? 4u : byte - 250u];
  }

  // ---- Calls ----

  // Calls with the fault that is armed; an error object is given back.
  template <typename Result, typename... Parameters, typename... Arguments>
  Result Call(Result (*procedure)(Parameters...), Arguments... arguments) {
    const std::uint32_t n = std::exchange(failAt_, 0);
    if (n > 0) host().FailAt(service_, n);
    if constexpr (std::is_void_v<Result>) {
      procedure(arguments...);
      host().StopFailing();
    } else {
      Result result = procedure(arguments...);
      host().StopFailing();
      if constexpr (std::is_same_v<Result, ZELErrorObject>) procs_.errors.Release(result);
      return result;
    }
  }

  void Store(ZELInstance instance) {
    const std::size_t slot = Slot();
    if (instance == nullptr) return;
    host().StopFailing();
    Expect(procs_.containers.AddRef(instance) != 0, "an instance that takes no reference");
    Drop(slot);
    // Dropping may have come back here and filled the slot.
    Drop(slot, instance);
  }
  void Drop(std::size_t slot, ZELInstance replacement = nullptr) {
    procs_.containers.Release(std::exchange(pool_[slot], replacement));
  }
  template <typename Procedure, typename... Arguments>
  void Make(Procedure procedure, Arguments... arguments) {
    Store(Call(procedure, arguments...));
  }
  template <typename... Parameters, typename... Arguments>
  void MakeBy(ZELErrorObject (*procedure)(ZELInstance*, Parameters...), Arguments... arguments) {
    ZELInstance instance = nullptr;
    const bool failed = Call(procedure, &instance, arguments...) != nullptr;
    Expect(!failed || instance == nullptr, "a result beside an error");
    Store(instance);
  }
  static void Touch(const char* text) {
    if (text != nullptr) static_cast<void>(std::strlen(text));
  }

  // ---- Values ----

  bool IsContainer(ZELInstance value) {
    return IsPOS(value) && procs_.objects.GetType(value) >= POSTypeArray;
  }
  bool IsPOS(ZELInstance value) {
    if (value == nullptr) return false;
    const char* signature = Primary(value).signature;
    return std::strcmp(signature, POS_OBJECT_INTERFACE) == 0;
  }
  const ZELPrimaryInstance& Primary(ZELInstance instance) {
    return *reinterpret_cast<const ZELPrimaryInstance*>(
        reinterpret_cast<const char*>(instance) + procs_.containers.GetOffsetToPrimaryInstance());
  }

  // The library's own memory is not short while its values are looked at.
  template <typename Visit>
  void ForEachMember(ZELInstance container, Visit visit) {
    const std::uint32_t count =
        procs_.arrays.IsPOSArray(container) ? procs_.arrays.Count(container) : 0;
    for (std::uint32_t i = 0; i < count; ++i) visit(procs_.arrays.GetAt(container, i));
    if (!procs_.dicts.IsPOSDict(container)) return;
    const Held iterator(session_, procs_.iterators.NewPOSDictIterator(container));
    Expect(static_cast<bool>(iterator), "a dictionary without an iterator");
    for (; !procs_.iterators.IsDone(iterator.Get()); procs_.iterators.Next(iterator.Get())) {
      const ZELStringAtom key = procs_.atoms.NewStringAtom(procs_.iterators.CurKey(iterator.Get()));
      visit(procs_.dicts.Get(container, key));
      procs_.atoms.DeleteStringAtom(key);
    }
  }

  // Number of members that a walk of the value meets, up to the limit; and whether `sought` is
  // among them.
  struct Walk {
    ZELInstance sought = nullptr;
    bool isFound = false;
    std::uint32_t met = 0;
    std::set<ZELInstance> path{};
  };
  void WalkThrough(Walk& walk, ZELInstance value) {
    if (++walk.met > kLargestValue) return;
    walk.isFound = walk.isFound || value == walk.sought;
    if (!IsContainer(value) || !walk.path.insert(value).second) return;
    ForEachMember(value, [&](ZELInstance member) { WalkThrough(walk, member); });
    walk.path.erase(value);
  }

  // A value that can be walked through in reasonable time: the library's own operations on shared
  // members take as long as the walk.
  ZELInstance Small() {
    const ZELInstance value = Any();
    return IsSmall(value) ? value : nullptr;
  }
  bool IsSmall(ZELInstance value) {
    Undisturbed quiet(*this);
    Walk walk;
    WalkThrough(walk, value);
    return walk.met <= kLargestValue;
  }

  // Before `value` goes into `container`: a cycle that this closes has to be cut in the end.
  void PinCycle(ZELInstance container, ZELInstance value) {
    Undisturbed quiet(*this);
    if (!IsContainer(container) || !IsContainer(value)) return;
    Walk walk{container};
    WalkThrough(walk, value);
    if (!walk.isFound && walk.met <= kLargestValue) return;
    procs_.containers.AddRef(container);
    pinned_.push_back(container);
  }

  // Keeps armed faults, hidden interfaces and the memory's limit away from the target's own calls.
  class Undisturbed {
   public:
    explicit Undisturbed(Sequence& sequence)
        : sequence_(sequence), budget_(Session::SetBudget(kUnlimited)) {
      if (sequence_.hidden_ == nullptr) return;
      sequence_.host().Show(sequence_.hidden_);
      sequence_.host().ChangeUnregisterCount();
    }
    ~Undisturbed() {
      Session::SetBudget(budget_);
      if (sequence_.hidden_ != nullptr) sequence_.host().Hide(sequence_.hidden_);
    }

   private:
    Sequence& sequence_;
    std::uint64_t budget_;
  };

  void Empty(ZELInstance container) {
    for (std::uint32_t i = procs_.arrays.IsPOSArray(container) ? procs_.arrays.Count(container) : 0;
         i > 0; --i) {
      procs_.arrays.Remove(container, i - 1);
    }
    if (!procs_.dicts.IsPOSDict(container)) return;
    const Held iterator(session_, procs_.iterators.NewPOSDictIterator(container));
    for (; !procs_.iterators.IsDone(iterator.Get()); procs_.iterators.Next(iterator.Get())) {
      const ZELStringAtom key = procs_.atoms.NewStringAtom(procs_.iterators.CurKey(iterator.Get()));
      procs_.dicts.Remove(container, key);
      procs_.atoms.DeleteStringAtom(key);
    }
  }

  // ---- The calls, one for each value of the byte ----

  void NewNumber() { Make(procs_.numbers.NewPOSNumber, static_cast<double>(Take()) - 4); }
  void NewString() { Make(procs_.strings.NewPOSString, Text()); }
  void NewUnicodeString() {
    const std::uint16_t units[] = {Take(), Take(), 0};
    Make(procs_.unicodeStrings.NewPOSUnicodeString, units);
  }
  void NewBinData() {
    const std::array<std::uint8_t, 255> bytes{};
    const std::uint32_t size = Take() % 255u;
    Make(procs_.binData.NewPOSBinData, Text(), bytes.data(), size);
  }
  void NewRawPointer() {
    Make(procs_.rawPointers.NewPOSRawPointer, this, Take() % 4 == 0 ? nullptr : &Reenter);
  }
  void NewArray() { Make(procs_.arrays.NewPOSArray); }
  void NewDict() { Make(procs_.dicts.NewPOSDict); }
  void NewFromText() {
    const char* position = nullptr;
    Make(procs_.statics.CreateFromText, Text(), &position);
  }
  void NewIterator() { Make(procs_.iterators.NewPOSDictIterator, Any()); }
  void NewStreamer() { Make(procs_.streamers.NewPOSStreamer); }
  void NewValidator() { Make(procs_.structValidators.NewPOSStructValidator, Any()); }
  void NewMemoryStream() { MakeBy(procs_.streams.NewPositionableMemoryStream); }
  void NewTempFileStream() { MakeBy(procs_.tempFiles.NewTempFileStream, "p", "e", "w+b"); }
  void NewDirectory() { MakeBy(procs_.directories.NewZELUtilsDir, folder_); }
  void NewTempDirectory() { MakeBy(procs_.directories.GetTempDir); }

  void Clone() { Make(procs_.objects.Clone, Small()); }
  void IsEqual() {
    const ZELInstance left = Small();
    Call(procs_.objects.IsEqual, left, Any());
  }
  void AskKind() {
    const ZELInstance value = Any();
    Call(procs_.objects.GetType, value);
    Call(procs_.numbers.IsPOSNumber, value);
    Call(procs_.strings.IsPOSString, value);
    Call(procs_.unicodeStrings.IsPOSUnicodeString, value);
    Call(procs_.binData.IsPOSBinData, value);
    Call(procs_.rawPointers.IsPOSRawPointer, value);
    Call(procs_.arrays.IsPOSArray, value);
    Call(procs_.dicts.IsPOSDict, value);
    Call(procs_.statics.DebugDump, value);
  }
  void GetScalar() {
    const ZELInstance value = Any();
    Call(procs_.numbers.Get, value);
    Touch(Call(procs_.strings.Get, value));
    Touch(Call(procs_.binData.GetTypeName, value));
    const std::uint16_t* units = Call(procs_.unicodeStrings.Get, value);
    while (units != nullptr && *units != 0) ++units;
    const auto* bytes = static_cast<const char*>(Call(procs_.binData.GetBinData, value));
    const std::uint32_t size = Call(procs_.binData.GetSize, value);
    if (bytes != nullptr) Touch(std::string(bytes, size).c_str());
    Call(procs_.rawPointers.GetRawPointer, value);
    Call(procs_.rawPointers.GetReleaseProc, value);
  }

  void ArrayGetAt() {
    const ZELInstance array = Any();
    Make(procs_.arrays.GetAt, array, Index());
  }
  void ArraySetAt() {
    const ZELInstance array = Any(), value = Any();
    PinCycle(array, value);
    Call(procs_.arrays.SetAt, array, Index(), value);
  }
  void ArrayAppend() {
    const ZELInstance array = Any(), value = Any();
    PinCycle(array, value);
    Call(procs_.arrays.Append, array, value);
  }
  void ArrayRemove() {
    const ZELInstance array = Any();
    Call(procs_.arrays.Remove, array, Index());
  }
  void DictGet() {
    const ZELInstance dict = Any();
    Make(procs_.dicts.Get, dict, Atom());
  }
  void DictDeepGet() {
    const ZELInstance dict = Any();
    Make(procs_.dicts.DeepGet, dict, Atom());
  }
  void DictPut() {
    const ZELInstance dict = Any(), value = Any();
    PinCycle(dict, value);
    Call(procs_.dicts.Put, dict, Atom(), value);
  }
  void DictRemove() {
    const ZELInstance dict = Any();
    Call(procs_.dicts.Remove, dict, Atom());
  }
  void Begin() { Call(procs_.iterators.Begin, Any()); }
  void Next() {
    const ZELInstance iterator = Any();
    Call(procs_.iterators.Next, iterator);
    Touch(Call(procs_.iterators.CurKey, iterator));
    Call(procs_.iterators.IsDone, iterator);
  }

  void Serialize() {
    const ZELInstance streamer = Any(), stream = Any(), value = Small();
    Call(procs_.streamers.Serialize, streamer, stream, value, Take() < 240 ? nullptr : Text());
  }
  void Deserialize() {
    const ZELInstance streamer = Any();
    Make(procs_.streamers.Deserialize, streamer, Any());
  }
  // A method of a stream, found by its name; another instance does not have it, and the host may
  // not be asked about none.
  template <typename Procedure, typename... Arguments>
  void CallMethod(const char* method, const char* procType, ZELInstance instance,
                  Arguments... arguments) {
    if (instance == nullptr) return;
    Undisturbed quiet(*this);
    const ZELStringAtom name = procs_.atoms.NewStringAtom(method);
    const ZELStringAtom type = procs_.atoms.NewStringAtom(procType);
    ZELProc proc = nullptr;
    procs_.errors.Release(procs_.containers.GetMethod(&proc, instance, name, type, 1));
    procs_.atoms.DeleteStringAtom(name);
    procs_.atoms.DeleteStringAtom(type);
    if (proc != nullptr) Call(reinterpret_cast<Procedure>(proc), instance, arguments...);
  }
  void Rewind() {
    CallMethod<ZELRewindableStreamRewindProc>("Rewind", "ZELRewindableStreamRewindProc", Any());
  }
  void Seek() {
    const ZELInstance stream = Any();
    CallMethod<ZELPositionableStreamSeekProc>("Seek", "ZELPositionableStreamSeekProc", stream,
                                              Index(), 0u);
  }
  void WriteBytes() {
    const ZELInstance stream = Any();
    const char* text = Text();
    CallMethod<ZELSimpleStreamWriteProc>("Write", "ZELSimpleStreamWriteProc", stream,
                                         static_cast<const void*>(text),
                                         static_cast<std::uint32_t>(std::strlen(text)));
  }
  void ReadBytes() {
    char bytes[16];
    std::uint32_t delivered = 0;
    CallMethod<ZELSimpleStreamReadProc>("Read", "ZELSimpleStreamReadProc", Any(), &delivered,
                                        static_cast<void*>(bytes), 16u);
    Expect(delivered <= sizeof bytes, "a stream that delivers more than is wanted");
  }
  void NewReader() {
    ZELInstance reader = nullptr;
    CallMethod<ZELPositionableStreamCreateIndependentlyPositionableStreamProc>(
        "CreateIndependentlyPositionableStream",
        "ZELPositionableStreamCreateIndependentlyPositionableStreamProc", Any(), &reader);
    Store(reader);
  }

  void RegisterCallback() {
    const ZELInstance validator = Any();
    Call(procs_.structValidators.RegisterCallbackProc, validator, Atom(),
         Take() % 4 == 0 ? nullptr : &Decide, this);
  }
  void Validate() {
    const ZELInstance validator = Any(), value = Small();
    Call(procs_.validators.Validate, validator, value, Atom(), Take() % 2 == 0 ? nullptr : &Ignore);
  }
  void ValidateSchema() { Call(procs_.structValidators.ValidateSchema, Small(), &Ignore); }

  void FileExists() {
    const ZELInstance directory = Any();
    bool exists = false;
    Call(procs_.directories.FileExists, &exists, directory, Atom());
  }
  template <typename... Parameters, typename... Arguments>
  void NewAtomBy(ZELErrorObject (*procedure)(ZELStringAtom*, Parameters...),
                 Arguments... arguments) {
    ZELStringAtom atom = 0;
    const bool failed = Call(procedure, &atom, arguments...) != nullptr;
    Expect(failed == (atom == 0), "an atom beside an error");
    if (atom != 0) atoms_.push_back(atom);
  }
  void GetPath() {
    const ZELInstance directory = Any();
    NewAtomBy(procs_.directories.GetFilePathSpec, directory, Atom());
  }
  void CreateFile() {
    const ZELInstance directory = Any();
    NewAtomBy(procs_.directories.CreateUniqueFilename, directory, atoms_[1], Atom());
  }
  void DeleteFile() {
    const ZELInstance directory = Any();
    Call(procs_.directories.Delete, directory, Atom());
  }
  void RenameFile() {
    const ZELInstance directory = Any();
    const ZELStringAtom from = Atom();
    Call(procs_.directories.Rename, directory, from, Atom());
  }

  void ReleaseSlot() { Drop(Slot()); }
  void CopySlot() { Store(Any()); }
  void ChangeCounter() { host().ChangeUnregisterCount(); }
  void HideOrShow() {
    if (hidden_ != nullptr) {
      host().Show(std::exchange(hidden_, nullptr));
    } else {
      hidden_ = kHidden[Take() % std::size(kHidden)];
      host().Hide(hidden_);
    }
  }
  void ArmFault() {
    const auto services = zelhost::FallibleServices();
    service_ = services[Take() % services.size()];
    failAt_ = Take() % 16 + 1u;
  }
  void Restart() {
    if (depth_ > 0) return;
    Undisturbed quiet(*this);
    host().Stop();
    session_.StartAgain();
  }

  using Op = void (Sequence::*)();
  static constexpr Op kOps[] = {
      &Sequence::NewNumber,
      &Sequence::NewString,
      &Sequence::NewUnicodeString,
      &Sequence::NewBinData,
      &Sequence::NewRawPointer,
      &Sequence::NewArray,
      &Sequence::NewDict,
      &Sequence::NewFromText,
      &Sequence::NewIterator,
      &Sequence::NewStreamer,
      &Sequence::NewValidator,
      &Sequence::NewMemoryStream,
      &Sequence::NewDirectory,
      &Sequence::NewTempFileStream,
      &Sequence::NewTempDirectory,
      &Sequence::Clone,
      &Sequence::IsEqual,
      &Sequence::AskKind,
      &Sequence::GetScalar,
      &Sequence::ArrayGetAt,
      &Sequence::ArraySetAt,
      &Sequence::ArrayAppend,
      &Sequence::ArrayRemove,
      &Sequence::DictGet,
      &Sequence::DictDeepGet,
      &Sequence::DictPut,
      &Sequence::DictRemove,
      &Sequence::Begin,
      &Sequence::Next,
      &Sequence::Serialize,
      &Sequence::Deserialize,
      &Sequence::Rewind,
      &Sequence::Seek,
      &Sequence::WriteBytes,
      &Sequence::ReadBytes,
      &Sequence::NewReader,
      &Sequence::RegisterCallback,
      &Sequence::Validate,
      &Sequence::ValidateSchema,
      &Sequence::FileExists,
      &Sequence::GetPath,
      &Sequence::CreateFile,
      &Sequence::DeleteFile,
      &Sequence::RenameFile,
      &Sequence::ReleaseSlot,
      &Sequence::CopySlot,
      &Sequence::ChangeCounter,
      &Sequence::HideOrShow,
      &Sequence::ArmFault,
      &Sequence::Restart,
  };

  Session& session_;
  Procedures& procs_;
  Bytes rest_;
  std::vector<ZELStringAtom> atoms_;
  ZELStringAtom folder_ = 0;
  std::array<ZELInstance, kPoolSize> pool_{};
  std::vector<ZELInstance> pinned_;
  const char* hidden_ = nullptr;
  Service service_ = Service::kAlloc;
  std::uint32_t failAt_ = 0;
  std::uint32_t depth_ = 0;
  bool ending_ = false;
};

// The end of a raw pointer object calls back into the library.
void Reenter(void*) { g_running->StepWhileReleasing(); }

std::int32_t Decide(ZELInstance, ZELStringAtom, ZELSharedBuff, void*) {
  return g_running->Take() % 2;
}

}  // namespace

void FuzzSequence(Session& session, Bytes input) {
  session.host.SetLeakSink([](const std::vector<zelhost::Leak>&) {});
  Sequence sequence(session, input);
  sequence.Run();
  sequence.End();
  session.Restart();
}

}  // namespace zelfuzz
