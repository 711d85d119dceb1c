// A line on standard error for people who wait.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace zelpos {

// While it lives, and once a second has passed, tells what is being done, how far it is and how
// long it will take. Only where standard error is a terminal; the line is gone at the end.
class Progress {
 public:
  explicit Progress(std::string what);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  // The part that is done, from 0 to 1.
  void Set(double fraction) noexcept { fraction_.store(fraction, std::memory_order_relaxed); }
  // For work that cannot tell how far it is.
  void Expect(double seconds) noexcept { seconds_.store(seconds, std::memory_order_relaxed); }
  static bool IsShown();

 private:
  using Clock = std::chrono::steady_clock;
  void Show();

  const std::string what_;
  const Clock::time_point start_ = Clock::now();
  std::atomic<double> fraction_ = 0;
  std::atomic<double> seconds_ = 0;
  std::mutex mutex_;
  std::condition_variable wake_;
  bool done_ = false;
  std::thread thread_;
};

}  // namespace zelpos
