// Common parts of the fuzz targets: a host with a started library, the library's procedures by
// interface and method, and the check that the host has everything back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

#include "folder.h"
#include "procedures.h"

namespace zelfuzz {

using Bytes = std::span<const std::uint8_t>;

// A fault that an input has shown.
class Finding : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

inline void Expect(bool holds, const std::string& what) {
  if (!holds) throw Finding(what);
}

using zeltest::Procedures;

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
  // Number of blocks that may still be taken before the memory is exhausted; returns the number
  // before.
  static std::uint64_t SetBudget(std::uint64_t blocks);

  zelhost::Host host;
  const zeltest::TempFolder folder;
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
  std::uint32_t position = 0;
  std::uint32_t mostPerRead = 512;
  std::string* calls = nullptr;  // if any, takes down each call: "R512 W27 M0 S3 "
  std::function<void()> duringWrite = nullptr;

  ZELInstance Open(const zeltest::CoreProcedures& procs);
  Held NewStream(const Session& session) { return Held(session, Open(session.procs)); }
};

}  // namespace zelfuzz
