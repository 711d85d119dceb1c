#include "progress.h"

#include <array>
#include <cstdio>
#include <utility>

#include "platform.h"

namespace zelpos {

bool Progress::IsShown() {
  static const bool isShown = IsTerminal(stderr);
  return isShown;
}

Progress::Progress(std::string what) : what_(std::move(what)) {
  if (!IsShown()) return;
  thread_ = std::thread([this] {
    std::unique_lock lock(mutex_);
    auto wait = std::chrono::milliseconds(1000);
    bool shown = false;
    while (!wake_.wait_for(lock, wait, [this] { return done_; })) {
      Show();
      shown = true;
      wait = std::chrono::milliseconds(200);
    }
    if (shown) std::fputs("\r\x1B[K", stderr);
  });
}

Progress::~Progress() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    done_ = true;
  }
  wake_.notify_one();
  thread_.join();
}

void Progress::Show() {
  const std::chrono::duration<double> passed = Clock::now() - start_;
  const double expected = seconds_.load(std::memory_order_relaxed);
  double fraction = fraction_.load(std::memory_order_relaxed);
  // An estimate that was too low is no longer told.
  if (fraction == 0 && passed.count() < expected) fraction = passed.count() / expected;
  std::array<char, 64> rest{};
  if (fraction > 0) {
    std::snprintf(rest.data(), rest.size(), "%3.0f %%, about %.0f s left", 100 * fraction,
                  passed.count() * (1 - fraction) / fraction);
  } else {
    std::snprintf(rest.data(), rest.size(), "%.0f s", passed.count());
  }
  std::fprintf(stderr, "\r%s: %s\x1B[K", what_.c_str(), rest.data());
  std::fflush(stderr);
}

}  // namespace zelpos
