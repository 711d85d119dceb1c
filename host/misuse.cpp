// Noted misuse, and the texts that name what is held.
#include <atomic>
#include <utility>

#include "services.h"

namespace zelhost {

namespace {

// More of them than this say no more about the fault behind them.
constexpr std::size_t kMostMisuses = 1000;

// The only state of the host that a foreign thread may touch.
constinit std::vector<std::string>* misuses = nullptr;
constinit std::atomic_flag misusesAreBusy;

template <typename Body>
void WithMisuses(Body body) {
  struct Turn {
    Turn() noexcept {
      while (misusesAreBusy.test_and_set(std::memory_order_acquire)) continue;
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() { misusesAreBusy.clear(std::memory_order_release); }
  };
  const Turn turn;
  if (misuses != nullptr) body(*misuses);
}

void Open(const HostOptions&) { misuses = new std::vector<std::string>; }

void Close() noexcept {
  std::vector<std::string>* closed = nullptr;
  WithMisuses([&](std::vector<std::string>&) { closed = std::exchange(misuses, nullptr); });
  delete closed;
}

void Count(Counts&) {}

void ListLeaks(std::vector<Leak>& leaks) {
  WithMisuses([&](const std::vector<std::string>& noted) {
    for (const std::string& misuse : noted) leaks.push_back({Leak::Kind::kMisuse, misuse});
  });
}

}  // namespace

constinit const ServiceLife kMisuseLife = {Open, Close, Count, ListLeaks};

void NoteMisuse(std::string_view procedure, std::string_view what) noexcept {
  try {
    std::string text(procedure);
    text += ' ';
    text += what;
    WithMisuses([&](std::vector<std::string>& noted) {
      if (noted.size() < kMostMisuses) noted.push_back(std::move(text));
    });
  } catch (...) {
    return;  // without memory there is nothing to note it in
  }
}

void Unsupported() noexcept {
  if (OnForeignThread("a call")) return;
  NoteMisuse("a call", "of a procedure that this host does not support");
}

std::string Plural(std::uint64_t count, std::string_view noun) {
  std::string text = std::to_string(count) + " " + std::string(noun);
  if (count != 1) text += 's';
  return text;
}

std::string Quoted(std::string_view text) {
  constexpr std::size_t kLongest = 60;
  std::string quoted = "\"";
  for (const char c : text.substr(0, kLongest)) {
    quoted += static_cast<unsigned char>(c) < ' ' ? '.' : c;
  }
  return quoted + (text.size() > kLongest ? "...\"" : "\"");
}

}  // namespace zelhost
