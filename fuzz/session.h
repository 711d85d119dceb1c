// What the fuzz targets share: a host with a started library, the library's procedures by interface
// and method, and the check that the host has everything back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

#include "zelhost/host.h"

namespace zelfuzz {

using Bytes = std::span<const uint8_t>;

// What an input has shown to be wrong.
class Finding : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

inline void Expect(bool holds, const std::string& what) {
  if (!holds) throw Finding(what);
}

// One struct of typed procedures for each interface, from the method lists of the public headers.
#define ZELFUZZ_FIELD(method, procType) procType method = nullptr;
#define ZELFUZZ_FIND(method, procType) method = host.Find<procType>(name, #method, #procType);
#define ZELFUZZ_INTERFACE(Name, interfaceName, METHODS) \
  struct Name {                                         \
    METHODS(ZELFUZZ_FIELD)                              \
    explicit Name(const zelhost::Host& host) {          \
      const char* const name = interfaceName;           \
      METHODS(ZELFUZZ_FIND)                             \
    }                                                   \
  }

ZELFUZZ_INTERFACE(Containers, ZEL_CONTAINER_INTERFACE, ZEL_CONTAINER_METHODS);
ZELFUZZ_INTERFACE(Atoms, ZEL_STRING_INTERFACE, ZEL_STRING_METHODS);
ZELFUZZ_INTERFACE(Errors, ZEL_ERROR_INTERFACE, ZEL_ERROR_METHODS);
ZELFUZZ_INTERFACE(StreamFactory, ZEL_STREAM_FACTORY_INTERFACE, ZEL_STREAM_FACTORY_METHODS);
ZELFUZZ_INTERFACE(Objects, POS_OBJECT_INTERFACE, POS_OBJECT_METHODS);
ZELFUZZ_INTERFACE(Statics, POS_OBJECT_STATICS, POS_OBJECT_STATICS_METHODS);
ZELFUZZ_INTERFACE(Numbers, POS_NUMBER_INTERFACE, POS_NUMBER_METHODS);
ZELFUZZ_INTERFACE(Strings, POS_STRING_INTERFACE, POS_STRING_METHODS);
ZELFUZZ_INTERFACE(UnicodeStrings, POS_UNICODE_STRING_INTERFACE, POS_UNICODE_STRING_METHODS);
ZELFUZZ_INTERFACE(BinDatas, POS_BIN_DATA_INTERFACE, POS_BIN_DATA_METHODS);
ZELFUZZ_INTERFACE(RawPointers, POS_RAW_POINTER_INTERFACE, POS_RAW_POINTER_METHODS);
ZELFUZZ_INTERFACE(Arrays, POS_ARRAY_INTERFACE, POS_ARRAY_METHODS);
ZELFUZZ_INTERFACE(Dicts, POS_DICT_INTERFACE, POS_DICT_METHODS);
ZELFUZZ_INTERFACE(DictIterators, POS_DICT_ITERATOR_INTERFACE, POS_DICT_ITERATOR_METHODS);
ZELFUZZ_INTERFACE(Streamers, POS_STREAMER_INTERFACE, POS_STREAMER_METHODS);
ZELFUZZ_INTERFACE(StructValidators, POS_STRUCT_VALIDATOR_INTERFACE, POS_STRUCT_VALIDATOR_METHODS);
ZELFUZZ_INTERFACE(Validators, POS_VALIDATOR_INTERFACE, POS_VALIDATOR_METHODS);
ZELFUZZ_INTERFACE(Directories, ZEL_UTILS_DIR_INTERFACE, ZEL_UTILS_DIR_METHODS);
ZELFUZZ_INTERFACE(TempFiles, ZEL_UTILS_TEMP_FILE_STREAM_FACTORY,
                  ZEL_UTILS_TEMP_FILE_STREAM_FACTORY_METHODS);

struct Procedures {
  explicit Procedures(const zelhost::Host& host);

  Containers containers;
  Atoms atoms;
  Errors errors;
  StreamFactory streams;
  Objects objects;
  Statics statics;
  Numbers numbers;
  Strings strings;
  UnicodeStrings unicodeStrings;
  BinDatas binDatas;
  RawPointers rawPointers;
  Arrays arrays;
  Dicts dicts;
  DictIterators iterators;
  Streamers streamers;
  StructValidators structValidators;
  Validators validators;
  Directories directories;
  TempFiles tempFiles;
};

// A host whose library is started by `start`, with a folder of its own as temporary directory. Its
// memory is limited, so that no input takes the whole machine's.
class Session {
 public:
  using Start = void (*)(zelhost::Host& host);
  explicit Session(Start start);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
  ~Session();

  // Stops the library, which must leave nothing behind, and starts it again.
  void Restart();
  // After host.Stop().
  void StartAgain();
  // How many blocks may still be taken before the memory is exhausted; returns how many before.
  static uint64_t SetBudget(uint64_t blocks);

  zelhost::Host host;
  const std::string folder;
  Start start;
  Procedures procs;
};

// One reference to an instance, given back when destroyed; may be empty.
class Held {
 public:
  Held() = default;
  Held(const Session& session, ZELInstance instance);
  Held(Held&& other) noexcept
      : session_(other.session_), instance_(std::exchange(other.instance_, nullptr)) {}
  Held& operator=(Held other) noexcept {
    std::swap(session_, other.session_);
    std::swap(instance_, other.instance_);
    return *this;
  }
  ~Held() {
    if (instance_ != nullptr) session_->procs.containers.Release(instance_);
  }
  ZELInstance Get() const { return instance_; }
  explicit operator bool() const { return instance_ != nullptr; }

 private:
  const Session* session_ = nullptr;
  ZELInstance instance_ = nullptr;
};

// A stream over bytes in memory that delivers at most so many at a time.
struct MemoryClient {
  std::string bytes;
  uint32_t position = 0;
  uint32_t mostPerRead = 512;

  Held NewStream(const Session& session);
};

}  // namespace zelfuzz
