// The ground of the typed client: errors, arguments, tables of procedures, the client itself, and
// the holders of references. Programs include zelutils/client.hpp, which says how all of it is
// used.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <limits>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "zelutils/zelutils.h"

namespace zelutils {

// ---- Errors ---------------------------------------------------------------------------------

class Error : public std::runtime_error {
 public:
  explicit Error(const std::string& message, std::vector<std::string> reports = {},
                 std::string component = {}, std::int32_t id = 0)
      : std::runtime_error(message),
        reports_(std::move(reports)),
        component_(std::move(component)),
        id_(id) {}

  // What was reported through the binder, oldest first; empty for an error object or a finding of
  // the client's own.
  const std::vector<std::string>& Reports() const noexcept { return reports_; }
  // The component and number of an error object; empty and 0 otherwise.
  const std::string& Component() const noexcept { return component_; }
  std::int32_t Id() const noexcept { return id_; }

 private:
  std::vector<std::string> reports_;
  std::string component_;
  std::int32_t id_;
};

class ParseError : public Error {
 public:
  explicit ParseError(std::size_t position)
      : Error("parse error at byte " + std::to_string(position)), position_(position) {}
  // Where in the text parsing stopped, in bytes from its start; the text's length at its end.
  std::size_t Position() const noexcept { return position_; }

 private:
  std::size_t position_;
};

// ---- What is given to a call ----------------------------------------------------------------

class Value;

// NOLINTBEGIN(google-explicit-constructor): arguments convert without being asked

// A text ended by NUL for the time of a call; a view is copied to get one.
class Text {
 public:
  Text(const char* text) : borrowed_(text) {}
  Text(const std::string& text) : borrowed_(text.c_str()) { Refuse(text); }
  Text(std::string_view text) : owned_(text) { Refuse(text); }
  Text(std::nullptr_t) = delete;

  const char* CString() const noexcept { return borrowed_ ? borrowed_ : owned_.c_str(); }

 private:
  static void Refuse(std::string_view text) {
    if (text.find('\0') != text.npos) throw Error("a text must not hold a NUL");
  }

  const char* borrowed_ = nullptr;
  std::string owned_;
};

template <typename T>
concept Numeric = std::is_arithmetic_v<T> && !std::is_same_v<T, bool> && !std::is_same_v<T, char>;
template <typename T, typename Target>
concept ConvertibleTo = std::is_convertible_v<const T&, Target>;

// Anything that a value can be made from: a number, a text, a UTF-16 text, or a value.
class Input {
 public:
  template <Numeric T>
  Input(T number) : content_(static_cast<double>(number)) {}
  template <ConvertibleTo<Text> T>
  Input(const T& text) : content_(std::in_place_type<Text>, text) {}
  template <ConvertibleTo<std::u16string_view> T>
  Input(const T& units) : content_(std::u16string_view(units)) {}
  Input(const Value& value) : content_(&value) {}

 private:
  friend class Client;
  std::variant<double, Text, std::u16string_view, const Value*> content_;
};

// NOLINTEND(google-explicit-constructor)

// A size as the procedures take it.
inline std::uint32_t Size(std::size_t size) {
  if (size > std::numeric_limits<std::uint32_t>::max()) throw Error("more than 32 bits of size");
  return static_cast<std::uint32_t>(size);
}

// ---- Tables of procedures -------------------------------------------------------------------

inline ZELProc FindProcedure(ZELLookupProc lookup, const char* interfaceName, const char* method,
                             const char* procType) {
  if (const ZELProc found = lookup(interfaceName, method, procType)) return found;
  throw Error(std::string("missing procedure \"") + method + "\" of \"" + interfaceName + '"');
}

#define ZELUTILS_SLOT(method, procedureType) procedureType method = nullptr;
#define ZELUTILS_FIND(method, procedureType)      \
  found.method = reinterpret_cast<procedureType>( \
      FindProcedure(lookup, interfaceName, #method, #procedureType));
// A table has a slot for each procedure of its interface, under the method's name.
#define ZELUTILS_TABLE(Table, INTERFACE, METHODS)                   \
  struct Table {                                                    \
    METHODS(ZELUTILS_SLOT)                                          \
    std::uint32_t generation = 0; /* the unregister counter then */ \
    void Import(ZELLookupProc lookup, std::uint32_t now) {          \
      const char* const interfaceName = INTERFACE;                  \
      Table found;                                                  \
      METHODS(ZELUTILS_FIND)                                        \
      found.generation = now;                                       \
      *this = found;                                                \
    }                                                               \
  };

ZELUTILS_TABLE(ContainerProcedures, ZEL_CONTAINER_INTERFACE, ZEL_CONTAINER_METHODS)
ZELUTILS_TABLE(AtomProcedures, ZEL_STRING_INTERFACE, ZEL_STRING_METHODS)
ZELUTILS_TABLE(ErrorProcedures, ZEL_ERROR_INTERFACE, ZEL_ERROR_METHODS)
ZELUTILS_TABLE(StreamFactoryProcedures, ZEL_STREAM_FACTORY_INTERFACE, ZEL_STREAM_FACTORY_METHODS)
ZELUTILS_TABLE(ObjectProcedures, POS_OBJECT_INTERFACE, POS_OBJECT_METHODS)
ZELUTILS_TABLE(StaticsProcedures, POS_OBJECT_STATICS, POS_OBJECT_STATICS_METHODS)
ZELUTILS_TABLE(NumberProcedures, POS_NUMBER_INTERFACE, POS_NUMBER_METHODS)
ZELUTILS_TABLE(StringProcedures, POS_STRING_INTERFACE, POS_STRING_METHODS)
ZELUTILS_TABLE(UnicodeStringProcedures, POS_UNICODE_STRING_INTERFACE, POS_UNICODE_STRING_METHODS)
ZELUTILS_TABLE(BinDataProcedures, POS_BIN_DATA_INTERFACE, POS_BIN_DATA_METHODS)
ZELUTILS_TABLE(RawPointerProcedures, POS_RAW_POINTER_INTERFACE, POS_RAW_POINTER_METHODS)
ZELUTILS_TABLE(ArrayProcedures, POS_ARRAY_INTERFACE, POS_ARRAY_METHODS)
ZELUTILS_TABLE(DictProcedures, POS_DICT_INTERFACE, POS_DICT_METHODS)
ZELUTILS_TABLE(DictIteratorProcedures, POS_DICT_ITERATOR_INTERFACE, POS_DICT_ITERATOR_METHODS)
ZELUTILS_TABLE(StreamerProcedures, POS_STREAMER_INTERFACE, POS_STREAMER_METHODS)
ZELUTILS_TABLE(StructValidatorProcedures, POS_STRUCT_VALIDATOR_INTERFACE,
               POS_STRUCT_VALIDATOR_METHODS)
ZELUTILS_TABLE(ValidatorProcedures, POS_VALIDATOR_INTERFACE, POS_VALIDATOR_METHODS)
ZELUTILS_TABLE(DirProcedures, ZEL_UTILS_DIR_INTERFACE, ZEL_UTILS_DIR_METHODS)
ZELUTILS_TABLE(TempFileProcedures, ZEL_UTILS_TEMP_FILE_STREAM_FACTORY,
               ZEL_UTILS_TEMP_FILE_STREAM_FACTORY_METHODS)

struct StreamMethods {
  ZEL_SIMPLE_STREAM_METHODS(ZELUTILS_SLOT)
  ZEL_REWINDABLE_STREAM_METHODS(ZELUTILS_SLOT)
  ZEL_POSITIONABLE_STREAM_METHODS(ZELUTILS_SLOT)
};

// ---- The client -----------------------------------------------------------------------------

class Number;
class String;
class UnicodeString;
class BinData;
class RawPointer;
class Array;
class Dict;
class Stream;

class Client {
 public:
  // Gives the texts that were reported since it was last asked, oldest first.
  using ReportSource = std::function<std::vector<std::string>()>;

  explicit Client(ZELLookupProc lookup, ReportSource reports = {})
      : lookup_(lookup), reports_(std::move(reports)) {
    const ZELProc counter = FindProcedure(lookup, ZEL_BINDER_INTERFACE, "ZELGetUnregisterCountAddr",
                                          "ZELGetUnregisterCountAddr");
    unregisterCount_ = reinterpret_cast<ZELGetUnregisterCountAddr>(counter)();
    // What gives something back must be there, whatever fails later.
    Procedures<ContainerProcedures>();
    Procedures<AtomProcedures>();
    Procedures<ErrorProcedures>();
  }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  // New values. Bytes and texts are copied; NewRawPointer takes what its procedure takes.
  Value New(const Input& input) const;
  Number NewNumber(double value) const;
  String NewString(const Text& text) const;
  UnicodeString NewUnicodeString(std::u16string_view units) const;
  BinData NewBinData(const Text& typeName, std::span<const std::byte> bytes) const;
  RawPointer NewRawPointer(void* pointer, POSRawPointerReleaseProc release) const;
  Array NewArray(std::initializer_list<Input> elements = {}) const;
  Dict NewDict(std::initializer_list<std::pair<Text, Input>> members = {}) const;
  // Makes the value that a text describes. Throws ParseError.
  Value Parse(const Text& text) const;

  // New positionable streams.
  Stream NewMemoryStream() const;
  Stream OpenFile(const Text& path, const Text& mode) const;
  Stream NewTempFileStream(const Text& prefix, const Text& extension, const Text& mode) const;

  // The rest serves the classes below and calls that they do not have.

  // The table of an interface, imported when first asked for and whenever an interface has been
  // withdrawn since. Throws when a procedure is missing.
  template <typename Table>
  const Table& Procedures() const {
    Table& table = std::get<Table>(tables_);
    if (table.generation != *unregisterCount_) [[unlikely]] {
      table.Import(lookup_, *unregisterCount_);
    }
    return table;
  }
  // The same, but never throws and takes what was imported last; for giving back.
  template <typename Table>
  const Table& KeptProcedures() const noexcept {
    return std::get<Table>(tables_);
  }

  // Throws what an error object says, and releases it; null is success.
  void Check(ZELErrorObject error) const {
    if (error != nullptr) Throw(error);
  }
  // Throws what was reported; for procedures whose result does not tell.
  void Check() const {
    if (!reports_) return;
    std::vector<std::string> reports = reports_();
    if (!reports.empty()) Throw(std::move(reports));
  }
  // Passes a result on; a neutral one is looked into.
  template <typename Result>
  Result Checked(Result result, Result neutral = Result()) const {
    if (result == neutral) Check();
    return result;
  }
  // Throws what was reported, or else the message.
  [[noreturn]] void Fail(const char* message) const {
    Check();
    throw Error(message);
  }

 private:
  [[noreturn]] static void Throw(std::vector<std::string> reports) {
    std::string message = reports.front();
    for (std::size_t i = 1; i < reports.size(); ++i) message += "; " + reports[i];
    throw Error(message, std::move(reports));
  }
  [[noreturn]] void Throw(ZELErrorObject error) const {
    const auto release = [this](ZELErrorObject held) {
      KeptProcedures<ErrorProcedures>().Release(held);
    };
    const std::unique_ptr<ZELErrorRecord, decltype(release)> held(error, release);
    const auto& errors = Procedures<ErrorProcedures>();
    const auto text = [this](ZELStringAtom atom) -> std::string {
      return atom == 0 ? "" : Procedures<AtomProcedures>().GetCString(atom);
    };
    throw Error(text(errors.GetErrorMessage(error)), {}, text(errors.GetComponent(error)),
                errors.GetID(error));
  }

  ZELLookupProc lookup_;
  ReportSource reports_;
  const std::uint32_t* unregisterCount_ = nullptr;
  mutable std::tuple<ContainerProcedures, AtomProcedures, ErrorProcedures, StreamFactoryProcedures,
                     ObjectProcedures, StaticsProcedures, NumberProcedures, StringProcedures,
                     UnicodeStringProcedures, BinDataProcedures, RawPointerProcedures,
                     ArrayProcedures, DictProcedures, DictIteratorProcedures, StreamerProcedures,
                     StructValidatorProcedures, ValidatorProcedures, DirProcedures,
                     TempFileProcedures>
      tables_;
};

// ---- Holders --------------------------------------------------------------------------------

// One reference to a string atom. Keys that are used often are worth keeping as atoms.
class Atom {
 public:
  Atom(const Client& client, const Text& text)
      : Atom(client, client.Procedures<AtomProcedures>().NewStringAtom(text.CString())) {
    if (atom_ == 0) client.Fail("bad allocation");
  }
  // Takes over the reference that came with an atom.
  Atom(const Client& client, ZELStringAtom atom) noexcept : client_(&client), atom_(atom) {}
  Atom(Atom&& other) noexcept : client_(other.client_), atom_(std::exchange(other.atom_, 0)) {}
  Atom& operator=(Atom other) noexcept {
    std::swap(client_, other.client_);
    std::swap(atom_, other.atom_);
    return *this;
  }
  ~Atom() {
    if (atom_ != 0) client_->KeptProcedures<AtomProcedures>().DeleteStringAtom(atom_);
  }

  ZELStringAtom Handle() const noexcept { return atom_; }
  const char* CString() const { return client_->Procedures<AtomProcedures>().GetCString(atom_); }

 private:
  const Client* client_;
  ZELStringAtom atom_;
};

// How a handle comes: others hold the instance as well, or it was just made and nobody does.
enum class Handed { kHeld, kNew };

// One reference to an instance, or empty.
class Instance {
 public:
  Instance() noexcept = default;
  // Takes a reference. Null makes an empty holder when handed as held; when handed as new, it is
  // the failure of whoever should have made it.
  Instance(const Client& client, ZELInstance handle, Handed handed = Handed::kHeld)
      : client_(&client) {
    if (handle == nullptr) {
      if (handed == Handed::kNew) client.Fail("no instance was made");
      return;
    }
    const auto giveUp = [&] {
      if (handed == Handed::kHeld) return;
      client.KeptProcedures<ContainerProcedures>().DeleteUnownedContainer(handle);
    };
    try {
      if (client.Procedures<ContainerProcedures>().AddRef(handle) != 0) {
        handle_ = handle;
        return;
      }
    } catch (...) {
      giveUp();
      throw;
    }
    giveUp();
    client.Fail("the host refused a reference to an instance");
  }
  Instance(const Instance& other) {
    if (other.client_ != nullptr) *this = Instance(*other.client_, other.handle_);
  }
  Instance(Instance&& other) noexcept
      : client_(other.client_), handle_(std::exchange(other.handle_, nullptr)) {}
  Instance& operator=(const Instance& other) { return *this = Instance(other); }
  Instance& operator=(Instance&& other) noexcept {
    std::swap(client_, other.client_);
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~Instance() {
    if (handle_ != nullptr) client_->KeptProcedures<ContainerProcedures>().Release(handle_);
  }

  explicit operator bool() const noexcept { return handle_ != nullptr; }
  ZELInstance Handle() const noexcept { return handle_; }

 protected:
  const Client& Owner() const {
    if (client_ == nullptr) throw Error("an empty value was used");
    return *client_;
  }
  template <typename Table>
  const Table& Procedures() const {
    return Owner().template Procedures<Table>();
  }

 private:
  const Client* client_ = nullptr;
  ZELInstance handle_ = nullptr;
};

#undef ZELUTILS_TABLE
#undef ZELUTILS_FIND
#undef ZELUTILS_SLOT

}  // namespace zelutils
