// The ground of the typed client: texts and indices as the procedures take them, the client itself,
// and the holders of references. Programs include
// zelutils/client.hpp, which says how all of it is used.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "zelutils/client_error.hpp"
#include "zelutils/table.hpp"

namespace zelutils {

namespace detail {

// False, but only once T is known.
template <typename T>
inline constexpr bool never = false;

// Calls are inlined into the programs, their failures are not.
#define ZELUTILS_COLD [[gnu::cold, gnu::noinline]]

template <typename T = Error>
[[noreturn]] ZELUTILS_COLD void Throw(const char* message) {
  throw T(message);
}

}  // namespace detail

// ---- Arguments of a call ----------------------------------------------------------------------

// A text ended by NUL. It borrows what outlives it and owns everything else, and can be neither
// copied nor moved out of the call that it is made for. Throws for null and for a NUL inside.
class Text {
 public:
  // NOLINTBEGIN(google-explicit-constructor): arguments convert without being asked
  Text(const char* text) : text_(text) {
    if (text == nullptr) detail::Throw("a text must not be null");
  }
  Text(const std::string& text) : text_(text.c_str()) { Refuse(text); }
  Text(std::string&& text) : owned_(std::move(text)), text_(owned_.c_str()) { Refuse(owned_); }
  Text(std::string_view text) : owned_(text), text_(owned_.c_str()) { Refuse(text); }
  template <std::same_as<std::nullptr_t> T>
  Text(T /*null*/) {
    static_assert(detail::never<T>, "nullptr is no text");
  }
  // NOLINTEND(google-explicit-constructor)
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;

  const char* CString() const noexcept { return text_; }

 private:
  static void Refuse(std::string_view text) {
    if (text.find('\0') != text.npos) detail::Throw("a text must not hold a NUL");
  }

  std::string owned_;
  const char* text_;
};

// UTF-16 units for the time of a call, in the same way. Borrows; throws for null and for a 0
// inside.
class Units {
 public:
  // NOLINTBEGIN(google-explicit-constructor): arguments convert without being asked
  Units(const char16_t* units) {
    if (units == nullptr) detail::Throw("a text must not be null");
    units_ = units;
  }
  Units(std::u16string_view units) : units_(units) {
    if (units.find(u'\0') != units.npos) detail::Throw("a text must not hold a NUL");
  }
  Units(const std::u16string& units) : Units(std::u16string_view(units)) {}
  template <std::same_as<std::nullptr_t> T>
  Units(T /*null*/) {
    static_assert(detail::never<T>, "nullptr is no text");
  }
  // NOLINTEND(google-explicit-constructor)
  Units(const Units&) = delete;
  Units& operator=(const Units&) = delete;

  std::u16string_view View() const noexcept { return units_; }

 private:
  std::u16string_view units_;
};

// Characters are arithmetic types too, and mean neither numbers nor texts by themselves.
template <typename T>
concept Character = std::same_as<T, char> || std::same_as<T, wchar_t> || std::same_as<T, char8_t> ||
    std::same_as<T, char16_t> || std::same_as<T, char32_t>;
template <typename T>
concept Numeric = std::is_arithmetic_v<T> && !std::same_as<T, bool> && !Character<T>;
template <typename T>
concept IndexType = Numeric<T> && std::is_integral_v<T>;

// A size as the procedures take it.
inline std::uint32_t Size(std::size_t size) {
  if (size > std::numeric_limits<std::uint32_t>::max()) detail::Throw("more than 32 bits of size");
  return static_cast<std::uint32_t>(size);
}

template <IndexType T>
[[noreturn]] ZELUTILS_COLD void ThrowIndex(T index) {
  if (std::cmp_less(index, 0)) throw RangeError("an index of " + std::to_string(index));
  throw RangeError("the index " + std::to_string(index) + " has more than 32 bits");
}

// An index as the procedures take it, or none where no array reaches that far.
template <IndexType T>
std::optional<std::uint32_t> FindableIndex(T index) {
  if (std::in_range<std::uint32_t>(index)) return static_cast<std::uint32_t>(index);
  if (std::cmp_less(index, 0)) ThrowIndex(index);
  return {};
}
// The same for a place that is to be filled.
template <IndexType T>
std::uint32_t StorableIndex(T index) {
  if (!std::in_range<std::uint32_t>(index)) ThrowIndex(index);
  return static_cast<std::uint32_t>(index);
}

// ---- The client -----------------------------------------------------------------------------

class Value;
class Number;
class String;
class UnicodeString;
class BinData;
class RawPointer;
class Array;
class Dict;
class Stream;
class Input;
struct Member;

// A host that lets its reports be seen and taken, such as zelhost::Host.
template <typename T>
concept ReportingHost = requires(T& host) {
  { host.LookupProc() } -> std::convertible_to<ZELLookupProc>;
  { host.TakeReports() } -> std::convertible_to<std::vector<std::string>>;
  { host.Reports() } -> std::same_as<const std::vector<std::string>&>;
};

class Client {
 public:
  // Gives the texts that were reported since it was last asked, oldest first.
  using ReportSource = std::function<std::vector<std::string>()>;

  // A client cannot tell failures without the reports. `waiting` is where they wait to be taken, if
  // there is such a place: then the client need not ask the source only to hear that there is
  // nothing, and can tell what is reported while something is given back.
  Client(ZELLookupProc lookup, ReportSource reports,
         const std::vector<std::string>* waiting = nullptr)
      : lookup_(lookup),
        source_(std::move(reports)),
        waiting_(waiting == nullptr ? &kMaybe : waiting) {
    if (!source_) detail::Throw("a client needs a source of reports");
    const char* const counter = "ZELGetUnregisterCountAddr";
    unregisterCount_ = reinterpret_cast<ZELGetUnregisterCountAddr>(
        Found(lookup(ZEL_BINDER_INTERFACE, counter, counter), ZEL_BINDER_INTERFACE, counter))();
    // Procedures that give something back must be there, whatever fails later.
    Procedures<ContainerInterface>();
    Procedures<AtomInterface>();
    Procedures<ErrorInterface>();
    lasting_ = new Client(*this, AsLasting());
  }
  template <ReportingHost Host>
  explicit Client(Host& host)
      : Client(
            host.LookupProc(), [&host] { return host.TakeReports(); }, &host.Reports()) {}
  template <std::convertible_to<ZELLookupProc> T>
  explicit Client(T /*lookup*/) {
    static_assert(detail::never<T>,
                  "a client needs a source of reports: without it, failures go unnoticed");
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;
  // Objects that came from the client and are still there can only be destroyed from now on, and
  // give nothing back; any other use of it throws.
  ~Client() {
    if (lasting_ != this) lasting_->End();
  }

  // New values. New takes everything that client_input.hpp lists; bytes and texts are copied.
  template <typename T>
  Value New(const T& object) const;
  Value New(std::initializer_list<Input> list) const;
  Number NewNumber(double value) const;
  String NewString(const Text& text) const;
  UnicodeString NewUnicodeString(const Units& units) const;
  // From UTF-8; throws RangeError where it is not.
  UnicodeString NewUnicodeString(const Text& utf8) const;
  BinData NewBinData(const Text& typeName, std::span<const std::byte> bytes) const;
  RawPointer NewRawPointer(void* pointer, POSRawPointerReleaseProc release) const;
  Array NewArray() const;
  Array NewArray(std::initializer_list<Input> elements) const;
  Dict NewDict() const;
  Dict NewDict(std::initializer_list<Member> members) const;
  // Makes the value that a text describes. Throws ParseError; `name` is then that of the text.
  Value Parse(const Text& text, const std::string& name = {}) const;

  // Files. Each Error names the file. ParseFile reads the text syntax, LoadFile the stream format;
  // StoreFile writes the latter, to a neighbour of the file that takes its place when it is on the
  // disk: whatever happens, one of the two files is there, whole (zelutils/replacement.hpp).
  Value ParseFile(const std::filesystem::path& file) const;
  Value LoadFile(const std::filesystem::path& file) const;
  void StoreFile(const std::filesystem::path& file, const Value& value) const;

  // New positionable streams.
  Stream NewMemoryStream() const;
  Stream OpenFile(const Text& path, const Text& mode) const;
  Stream NewTempFileStream(const Text& prefix, const Text& extension, const Text& mode) const;

  // Reports that came while something was given back, such as a temporary file that cannot be
  // deleted: failures of no operation, and blamed on none. Only with a place of waiting reports.
  std::vector<std::string> TakeLateReports() const noexcept {
    return std::exchange(lasting_->late_, {});
  }

  // The rest serves the classes of the client and calls that they do not have.

  // The procedures of an interface, looked up when first asked for and whenever an interface has
  // been withdrawn since. Throws when one is missing.
  template <typename Interface>
  const Table<Interface>& Procedures() const {
    auto& table = std::get<Table<Interface>>(tables_);
    if (!table.IsOf(*unregisterCount_)) LookUp(table);
    return table;
  }
  // The same, but never throws and takes what was looked up last; for giving back.
  template <typename Interface>
  const Table<Interface>& KeptProcedures() const noexcept {
    return std::get<Table<Interface>>(tables_);
  }
  ZELLookupProc Lookup() const noexcept { return lookup_; }
  // Changes when addresses of procedures have to be looked up again.
  std::uint32_t Generation() const noexcept { return *unregisterCount_; }

  // Throws what an error object says, and releases it; null is success.
  void Check(ZELErrorObject error) const {
    if (error != nullptr) Throw(error);
  }
  // Whether it shows at a glance that nothing is waiting to be taken.
  bool NothingReported() const noexcept { return waiting_->empty(); }
  // Throws what was reported; for procedures whose result does not tell.
  void Check() const {
    if (!NothingReported()) CheckReports();
  }
  // Passes a result on; a neutral one is looked into.
  template <typename Result>
  Result Checked(Result result, Result neutral = Result()) const {
    if (result == neutral) Check();
    return result;
  }
  // Throws what was reported, or else the message.
  [[noreturn]] ZELUTILS_COLD void Fail(const char* message) const {
    Check();
    throw Error(message);
  }
  std::vector<std::string> TakeReports() const { return source_(); }

  // Gives a reference back, and keeps what is reported meanwhile apart.
  void Release(ZELInstance instance) const noexcept {
    const bool silent = NothingReported();
    KeptProcedures<ContainerInterface>().Release(instance);
    if (silent != NothingReported()) KeepLateReports();
  }

 private:
  friend class ClientUse;

  // Stands where nobody sees whether something is waiting: the source has to be asked.
  inline static const std::vector<std::string> kMaybe = {""};
  inline static const std::vector<std::string> kNone;
  inline static const std::uint32_t kEnded = 1;  // of no table

  // The client as its values see it, which lasts as long as they do.
  struct AsLasting {};
  Client(const Client& from, AsLasting /*only*/)
      : lookup_(from.lookup_),
        source_(from.source_),
        waiting_(from.waiting_),
        unregisterCount_(from.unregisterCount_),
        tables_(from.tables_) {}
  void Leave() {
    if (--users_ == 0 && hasEnded_) Delete();
  }
  ZELUTILS_COLD void Delete() { delete this; }
  void End() {
    hasEnded_ = true;
    ++users_;
    lookup_ = [](const char*, const char*, const char*) -> ZELProc { return nullptr; };
    source_ = [] { return std::vector<std::string>(); };
    waiting_ = &kNone;
    unregisterCount_ = &kEnded;
    tables_ = {};
    std::get<Table<ContainerInterface>>(tables_).Release = [](ZELInstance) {};
    std::get<Table<AtomInterface>>(tables_).DeleteStringAtom = [](ZELStringAtom) {};
    Leave();
  }

  // The containers' first: whatever a procedure makes can be held and given back.
  void RequireLasting() const {
    if (hasEnded_) detail::Throw("the client that this came from has ended");
  }
  template <typename Interface>
  ZELUTILS_COLD void LookUp(Table<Interface>& table) const {
    RequireLasting();
    if (lasting_ != this) {
      table = lasting_->Procedures<Interface>();
      return;
    }
    if constexpr (!std::same_as<Interface, ContainerInterface>) Procedures<ContainerInterface>();
    const Method* const missing = table.Refresh(*unregisterCount_, lookup_);
    if (missing != nullptr) Found(nullptr, Interface::kName, missing->name);
  }
  ZELUTILS_COLD void CheckReports() const {
    if (std::vector<std::string> reports = source_(); !reports.empty()) Throw(std::move(reports));
  }
  ZELUTILS_COLD void KeepLateReports() const noexcept {
    try {
      for (std::string& report : source_()) lasting_->late_.push_back(std::move(report));
    } catch (...) {
      return;  // there is no memory to tell it with
    }
  }
  static ZELProc Found(ZELProc procedure, const char* interfaceName, const char* method) {
    if (procedure != nullptr) return procedure;
    throw Error(std::string("missing procedure \"") + method + "\" of \"" + interfaceName + '"');
  }
  [[noreturn]] static void Throw(std::vector<std::string> reports) {
    const std::string message = JoinReports(reports);
    throw Error(message, std::move(reports));
  }
  [[noreturn]] ZELUTILS_COLD void Throw(ZELErrorObject error) const {
    const auto release = [this](ZELErrorObject held) {
      KeptProcedures<ErrorInterface>().Release(held);
    };
    const std::unique_ptr<ZELErrorRecord, decltype(release)> held(error, release);
    const auto& errors = Procedures<ErrorInterface>();
    const auto text = [this](ZELStringAtom atom) -> std::string {
      return atom == 0 ? "" : Procedures<AtomInterface>().GetCString(atom);
    };
    throw Error(text(errors.GetErrorMessage(error)), {}, text(errors.GetComponent(error)),
                errors.GetID(error));
  }

  ZELLookupProc lookup_;
  ReportSource source_;
  const std::vector<std::string>* waiting_;
  const std::uint32_t* unregisterCount_ = nullptr;
  Client* lasting_ = this;
  std::size_t users_ = 0;  // of the lasting one
  bool hasEnded_ = false;
  std::vector<std::string> late_;
#define ZELUTILS_CLIENT_TABLE(Name, interfaceName, METHODS) Table<Name##Interface>,
  mutable std::tuple<ZEL_LIBRARY_INTERFACES(ZELUTILS_CLIENT_TABLE) Table<ContainerInterface>,
                     Table<AtomInterface>, Table<ErrorInterface>, Table<SharedBuffInterface>,
                     Table<StreamFactoryInterface>>
      tables_;
#undef ZELUTILS_CLIENT_TABLE
};

// ---- Holders --------------------------------------------------------------------------------

// A holder's link to the client that it came from, or none.
class ClientUse {
 public:
  ClientUse() noexcept = default;
  explicit ClientUse(const Client& client) noexcept : client_(client.lasting_) {
    ++client_->users_;
  }
  ClientUse(const ClientUse& other) noexcept : client_(other.client_) {
    if (client_ != nullptr) ++client_->users_;
  }
  ClientUse(ClientUse&& other) noexcept : client_(std::exchange(other.client_, nullptr)) {}
  ClientUse& operator=(ClientUse other) noexcept {
    std::swap(client_, other.client_);
    return *this;
  }
  ~ClientUse() {
    if (client_ != nullptr) client_->Leave();
  }

  const Client* operator->() const noexcept { return client_; }
  // Throws when there is none.
  const Client& operator*() const {
    if (client_ == nullptr) detail::Throw("an empty value was used");
    return *client_;
  }
  // A handle that came from the client, to be given to a procedure. Throws when the client has
  // ended: the handle may be that of something else by now.
  template <typename Handle>
  Handle Lasting(Handle handle) const {
    if (client_ != nullptr) client_->RequireLasting();
    return handle;
  }

 private:
  Client* client_ = nullptr;
};

// One reference to a string atom. Keys that are used often are worth keeping as atoms.
class Atom {
 public:
  Atom(const Client& client, const Text& text)
      : Atom(client, client.Procedures<AtomInterface>().NewStringAtom(text.CString())) {
    if (atom_ == 0) client.Fail("bad allocation");
  }
  // None.
  Atom() noexcept = default;
  // Takes over the reference that came with an atom.
  Atom(const Client& client, ZELStringAtom atom) noexcept : client_(client), atom_(atom) {}
  Atom(const Atom& other) : client_(other.client_) {
    if (other.atom_ == 0) return;
    client_->Procedures<AtomInterface>().AddRef(other.atom_);
    atom_ = other.atom_;
  }
  Atom(Atom&& other) noexcept
      : client_(std::move(other.client_)), atom_(std::exchange(other.atom_, 0)) {}
  Atom& operator=(Atom other) noexcept {
    std::swap(client_, other.client_);
    std::swap(atom_, other.atom_);
    return *this;
  }
  ~Atom() {
    if (atom_ != 0) client_->KeptProcedures<AtomInterface>().DeleteStringAtom(atom_);
  }

  ZELStringAtom Handle() const noexcept { return atom_; }
  // The handle as an argument of a procedure; throws when the client has ended.
  ZELStringAtom Argument() const { return client_.Lasting(atom_); }
  // Valid while the atom is held; a temporary gives a text of its own.
  const char* CString() const& { return (*client_).Procedures<AtomInterface>().GetCString(atom_); }
  std::string CString() const&& { return CString(); }

 private:
  ClientUse client_;
  ZELStringAtom atom_ = 0;
};

// The state of a handle that comes: others hold the instance as well (null is none), it was just
// made and nobody holds it, or one was asked for and may or may not be new.
enum class Handed { kHeld, kNew, kAsked };

// One reference to an instance, or empty.
class Instance {
 public:
  Instance() noexcept = default;
  // Takes a reference. Null makes an empty holder when handed as held; else it is the failure of
  // whoever should have given one. Only what was just made is ended when its reference is refused.
  Instance(const Client& client, ZELInstance handle, Handed handed = Handed::kHeld)
      : client_(client), handle_(handle) {
    if (handle == nullptr) {
      if (handed != Handed::kHeld) client.Fail("no instance was made");
      return;
    }
    Hold(handed == Handed::kHeld ? client.Procedures<ContainerInterface>()
                                 : client.KeptProcedures<ContainerInterface>(),
         handed);
  }
  Instance(const Instance& other) : client_(other.client_), handle_(other.handle_) {
    if (handle_ != nullptr) Hold(client_->Procedures<ContainerInterface>(), Handed::kHeld);
  }
  Instance(Instance&& other) noexcept
      : client_(std::move(other.client_)), handle_(std::exchange(other.handle_, nullptr)) {}
  Instance& operator=(const Instance& other) { return *this = Instance(other); }
  Instance& operator=(Instance&& other) noexcept {
    std::swap(client_, other.client_);
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~Instance() {
    if (handle_ == nullptr) return;
    client_->Release(handle_);
  }

  explicit operator bool() const noexcept { return handle_ != nullptr; }
  ZELInstance Handle() const noexcept { return handle_; }
  // The handle as an argument of a procedure; throws when the client has ended.
  ZELInstance Argument() const { return client_.Lasting(handle_); }
  // The client that the instance came from. Throws when there is none.
  const Client& Owner() const { return *client_; }

 protected:
  template <typename Interface>
  const Table<Interface>& Procedures() const {
    return Owner().template Procedures<Interface>();
  }

 private:
  void Hold(const Table<ContainerInterface>& containers, Handed handed) const {
    if (containers.AddRef(handle_) == 0) FailRefused(handed);
  }
  [[noreturn]] ZELUTILS_COLD void FailRefused(Handed handed) const {
    const auto& containers = client_->KeptProcedures<ContainerInterface>();
    if (handed == Handed::kNew) {
      containers.DeleteUnownedContainer(handle_);
    } else if (handed == Handed::kAsked && containers.AddRef(handle_) != 0) {
      containers.Release(handle_);  // ends it if it is new, and changes nothing if it is not
    }
    client_->Fail("the host refused a reference to an instance");
  }

  ClientUse client_;
  ZELInstance handle_ = nullptr;
};

}  // namespace zelutils
