// Tests of a host's memory and of its shared buffers.
#include <cstring>
#include <limits>
#include <vector>

#include "conformance/probe.h"

namespace zelcheck {
namespace {

constexpr const char* kCorrupts = "the library writes over other things";
constexpr const char* kCrashes = "the library stops with a wrong access";

bool IsAligned(const void* block) {
  return reinterpret_cast<std::uintptr_t>(block) % (alignof(double) > 8 ? alignof(double) : 8) == 0;
}

// Whether a block of `size` has all bytes `value`.
bool IsFilled(const void* block, std::size_t size, unsigned char value) {
  const auto* const bytes = static_cast<const unsigned char*>(block);
  if (bytes == nullptr) return false;
  for (std::size_t i = 0; i < size; ++i) {
    if (bytes[i] != value) return false;
  }
  return true;
}

// Fills blocks of many sizes, each with a value of its own, and looks whether any has suffered.
Verdict KeepsBlocksApart(const Probe& host) {
  std::vector<void*> blocks;
  for (std::size_t i = 0; i < 200; ++i) {
    blocks.push_back(host.memory.Alloc(i * 3 + 1));
    if (blocks.back() != nullptr) std::memset(blocks.back(), static_cast<int>(i), i * 3 + 1);
  }
  bool holds = true;
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    holds = holds && blocks[i] != nullptr &&
            IsFilled(blocks[i], i * 3 + 1, static_cast<unsigned char>(i));
  }
  for (void* const block : blocks) {
    if (block != nullptr) host.memory.Free(block);
  }
  return Expect(holds, "a block lies over another one, or is missing");
}

// Moves a block from one size to another and looks whether its first bytes are those that it had.
bool KeepsBytes(const Probe& host, std::size_t from, std::size_t to) {
  void* block = host.memory.Alloc(from);
  if (block == nullptr) return false;
  std::memset(block, 0x5a, from);
  void* const moved = host.memory.Realloc(block, to);
  const bool kept = moved != nullptr && IsFilled(moved, from < to ? from : to, 0x5a);
  host.memory.Free(moved == nullptr ? block : moved);
  return kept;
}

// clang-format off
constexpr HostTest kMemoryTests[] = {
    {"memory-gives", "every call of the library fails with \"bad allocation\"", [](const Probe& host) {
       void* const block = host.memory.Alloc(1);
       if (block != nullptr) host.memory.Free(block);
       return Expect(block != nullptr, "there is no block of one byte"); }},
    {"memory-is-aligned", kCrashes, [](const Probe& host) {
       bool aligned = true;
       for (std::size_t size = 8; size < 400; size += 8) {
         void* const block = host.memory.Alloc(size);
         aligned = aligned && IsAligned(block);
         if (block != nullptr) host.memory.Free(block);
       }
       return Expect(aligned, "a block is not aligned"); }},
    {"memory-keeps-apart", kCorrupts, &KeepsBlocksApart},
    {"memory-large-block", "the library cannot hold large values", [](const Probe& host) {
       constexpr std::size_t kSize = 1 << 22;
       void* const block = host.memory.Alloc(kSize);
       if (block == nullptr) return Undecided("there is no block of 4 MiB");
       std::memset(block, 1, kSize);
       host.memory.Free(block);
       return Verdict(); }},
    {"memory-refuses", kCorrupts, [](const Probe& host) {
       void* const block = host.memory.Alloc(std::numeric_limits<std::size_t>::max() - 4096);
       if (block != nullptr) host.memory.Free(block);
       return Expect(block == nullptr, "nearly all of the address space is given, which cannot be"); }},
    {"memory-grows", "the library's texts and arrays lose what is in them", [](const Probe& host) {
       return Expect(KeepsBytes(host, 10, 5000) && KeepsBytes(host, 3000, 60000), "\"Realloc\" to a larger block loses bytes"); }},
    {"memory-shrinks", "the library's texts and arrays lose what is in them", [](const Probe& host) {
       return Expect(KeepsBytes(host, 5000, 10), "\"Realloc\" to a smaller block loses bytes"); }},
    {"memory-refuses-to-grow", "the library loses a value when memory is short", [](const Probe& host) {
       void* block = host.memory.Alloc(100);
       if (block == nullptr) return Failed("there is no block of 100 bytes");
       std::memset(block, 0x33, 100);
       void* const moved = host.memory.Realloc(block, std::numeric_limits<std::size_t>::max() - 4096);
       const bool kept = moved == nullptr && IsFilled(block, 100, 0x33);
       host.memory.Free(moved == nullptr ? block : moved);
       return Expect(kept, "\"Realloc\" that fails does not leave the old block as it was"); }},
    {"memory-comes-back", "the library's memory runs out", [](const Probe& host) {
       for (int i = 0; i < 20000; ++i) {
         void* const block = host.memory.Alloc(1 << 16);
         if (block == nullptr) return Failed("blocks that were freed do not come back");
         host.memory.Free(block);
       }
       return Verdict(); }},
};

class HeldBuffer {
 public:
  HeldBuffer(const Probe& host, std::uint32_t size) : host_(host), buffer_(host.buffers.NewBuffer(size, 0, 0, 0, 0)) {}
  HeldBuffer(const HeldBuffer&) = delete;
  HeldBuffer& operator=(const HeldBuffer&) = delete;
  ~HeldBuffer() {
    if (buffer_ != nullptr) host_.buffers.Release(buffer_);
  }
  ZELSharedBuff Get() const { return buffer_; }
  void* Bytes() const { return buffer_ == nullptr ? nullptr : host_.buffers.GetBuffer(buffer_); }

 private:
  const Probe& host_;
  ZELSharedBuff buffer_;
};

constexpr HostTest kBufferTests[] = {
    {"buffer-is-made", "binary data, streams and messages fail", [](const Probe& host) {
       return Expect(HeldBuffer(host, 512).Bytes() != nullptr, "there is no buffer of 512 bytes"); }},
    {"buffer-size", "binary data has another size than was given", [](const Probe& host) {
       for (const std::uint32_t size : {1U, 512U, 1024U, 70001U}) {
         const HeldBuffer buffer(host, size);
         if (buffer.Get() == nullptr || host.buffers.GetSize(buffer.Get()) != size) return Failed("\"GetSize\" does not give the size that the buffer was made with");
       }
       return Verdict(); }},
    {"buffer-stays", kCrashes, [](const Probe& host) {
       const HeldBuffer buffer(host, 512);
       const HeldBuffer other(host, 512);
       const void* const before = buffer.Bytes();
       const HeldBuffer third(host, 100000);
       return Expect(before != nullptr && before == buffer.Bytes() && before != other.Bytes(), "the bytes of a buffer move, or are those of another one"); }},
    {"buffer-keeps-bytes", kCorrupts, [](const Probe& host) {
       const HeldBuffer one(host, 1000);
       const HeldBuffer other(host, 1000);
       if (one.Bytes() == nullptr || other.Bytes() == nullptr) return Failed("there is no buffer of 1000 bytes");
       std::memset(one.Bytes(), 1, 1000);
       std::memset(other.Bytes(), 2, 1000);
       return Expect(IsFilled(one.Bytes(), 1000, 1) && IsFilled(other.Bytes(), 1000, 2), "a buffer does not keep its bytes"); }},
    {"buffer-counts", kCrashes, [](const Probe& host) {
       const HeldBuffer buffer(host, 1000);
       if (buffer.Bytes() == nullptr) return Failed("there is no buffer of 1000 bytes");
       std::memset(buffer.Bytes(), 7, 1000);
       host.buffers.AddRef(buffer.Get());
       host.buffers.Release(buffer.Get());
       const HeldBuffer next(host, 1000);
       if (next.Bytes() != nullptr) std::memset(next.Bytes(), 8, 1000);
       return Expect(IsFilled(buffer.Bytes(), 1000, 7), "a buffer ends while a reference is held"); }},
    {"buffer-is-aligned", kCrashes, [](const Probe& host) {
       const HeldBuffer buffer(host, 64);
       return Expect(reinterpret_cast<std::uintptr_t>(buffer.Bytes()) % 4 == 0, "the bytes of a buffer are not aligned for integers"); }},
};
// clang-format on

}  // namespace

std::span<const HostTest> MemoryTests() { return kMemoryTests; }
std::span<const HostTest> BufferTests() { return kBufferTests; }

}  // namespace zelcheck
