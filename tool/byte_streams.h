// Streams of the host over bytes in memory and over a procedure that takes bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <string>
#include <string_view>
#include <zelutils/client.hpp>

namespace zelpos {

// Bytes that a stream of the host can address.
inline constexpr std::uint64_t kLongestStream = 0xFFFFFFFF;

// A positionable stream that reads bytes where they are. It and the bytes outlive the stream.
class ByteSource {
 public:
  // `tell` is told from time to time how much has been read, from 0 to 1.
  ByteSource(std::string_view bytes, std::function<void(double)> tell)
      : bytes_(bytes), tell_(std::move(tell)) {}
  ByteSource(const ByteSource&) = delete;
  ByteSource& operator=(const ByteSource&) = delete;

  zelutils::Stream Open(const zelutils::Client& client);
  std::size_t Position() const noexcept { return position_; }

 private:
  std::string_view bytes_;
  std::function<void(double)> tell_;
  std::size_t position_ = 0;
  std::size_t told_ = 0;
};

// A stream that hands what is written to it to a procedure, in large blocks.
class ByteSink {
 public:
  using Take = std::function<void(std::string_view bytes)>;
  explicit ByteSink(Take take) : take_(std::move(take)) {}
  ByteSink(const ByteSink&) = delete;
  ByteSink& operator=(const ByteSink&) = delete;

  zelutils::Stream Open(const zelutils::Client& client);
  // To be called after the last write. Throws what the procedure threw.
  void Flush();
  // Throws again what the procedure threw while the stream was written to, if anything.
  void Rethrow() const;

 private:
  static ZELErrorObject Write(void* self, const void* bytes, std::uint32_t count);

  Take take_;
  const zelutils::Client* client_ = nullptr;
  std::string waiting_;
  std::uint64_t written_ = 0;
  std::exception_ptr failure_;
};

}  // namespace zelpos
