// Growth of the time per value with a document, and memory that a streamer needs which the
// length of its stream has no part in.
#include <algorithm>
#include <cstring>
#include <numeric>
#include <vector>

#include "cases.h"
#include "random.h"
#include "zel.h"

namespace zelbench {

namespace {

constexpr std::size_t kSizes[] = {1000, 10000, 100000, 1000000};

struct Shape {
  const char* name;
  Node (*make)(std::size_t count);
};
constexpr Shape kShapes[] = {
    {"flat_array", &FlatArray}, {"flat_dict", &FlatDict}, {"nested_arrays", &NestedArrays}};

// Every element of an array by its index.
class ElementCase final : public LibraryCase<Zel> {
 public:
  explicit ElementCase(const Node& node) : LibraryCase(node), document_(library_.Build(node)) {
    items = node.items.size();
  }
  void Run() override {
    for (std::size_t i = 0; i < items; ++i) {
      Require(library_.At(document_.Get(), i) != nullptr, "an element was not found");
    }
  }

 private:
  Document document_;
};

// One value appended over and over, so that nothing but the array grows.
class AppendCase final : public LibraryCase<Zel> {
 public:
  explicit AppendCase(std::size_t count)
      : LibraryCase(Node()), value_(library_.Keep(library_.numbers.NewPOSNumber(1))) {
    items = count;
  }
  void Prepare() override { array_ = library_.Keep(library_.arrays.NewPOSArray()); }
  void Run() override {
    for (std::size_t i = 0; i < items; ++i) library_.arrays.Append(array_.Get(), value_.Get());
  }
  void Finish() override { array_ = Document(); }

 private:
  Document value_;
  Document array_;
};

// The cost of memory itself: a chain of loads, each of which tells where the next one is, in random
// order over records as large as what one member of a dictionary takes.
class ChainCase final : public Case {
 public:
  explicit ChainCase(std::size_t count) : records_(count) {
    std::vector<std::uint32_t> order(count);
    std::iota(order.begin(), order.end(), 0u);
    Random random(1);
    for (std::size_t left = count; left > 1; --left) {
      std::swap(order[left - 1], order[static_cast<std::size_t>(random.Below(left))]);
    }
    for (std::size_t i = 0; i < count; ++i) records_[order[i]].next = order[(i + 1) % count];
    items = count;
  }
  void Run() override {
    for (std::size_t i = 0; i < items; ++i) at_ = records_[at_].next;
    Require(at_ == 0, "the chain is not closed");
  }

 private:
  struct alignas(64) Record {
    std::uint32_t next;
    char rest[128];
  };
  static_assert(sizeof(Record) == 192);

  std::vector<Record> records_;
  std::uint32_t at_ = 0;
};

template <typename AnyCase>
void AddForSize(const char* operation, const Shape& shape, std::size_t count) {
  AddCase(
      std::string("growth/") + operation + "/" + shape.name + "/" + std::to_string(count),
      [shape, count] { return std::make_unique<AnyCase>(shape.make(count)); },
      AnyCase::kIterations == 0 ? 0 : 3);
}

// ---- Memory while streaming ----

// The host's memory procedures with a watch on them, in the library's view.
struct WatchedMemory {
  Memory memory;
  std::size_t live = 0;
  std::size_t peak = 0;

  void Add(void* block) {
    if (block == nullptr) return;
    live += memory.GetBlockSize(block);
    peak = std::max(peak, live);
  }
  void Remove(void* block) {
    if (block != nullptr) live -= memory.GetBlockSize(block);
  }
};

WatchedMemory watched;

void* WatchedAlloc(std::size_t size) {
  void* block = watched.memory.Alloc(size);
  watched.Add(block);
  return block;
}

void* WatchedRealloc(void* block, std::size_t size) {
  const std::size_t before = block == nullptr ? 0 : watched.memory.GetBlockSize(block);
  void* moved = watched.memory.Realloc(block, size);
  if (moved == nullptr) return nullptr;
  watched.Add(moved);  // both blocks are there for a moment
  watched.live -= before;
  return moved;
}

void WatchedFree(void* block) {
  watched.Remove(block);
  watched.memory.Free(block);
}

void WatchMemory(zelhost::Host& host) {
  watched = {Memory::From(host)};
  const auto offer = [&](const char* method, const char* procType, auto procedure) {
    host.Register(ZEL_MEMORY_INTERFACE, method, procType, reinterpret_cast<ZELProc>(procedure));
  };
  offer("Alloc", "ZELMemAllocProc", &WatchedAlloc);
  offer("Realloc", "ZELMemReallocProc", &WatchedRealloc);
  offer("Free", "ZELMemFreeProc", &WatchedFree);
}

// A stream that keeps nothing of what is written and gives out a text that is not the host's.
struct TextStream {
  std::string text;
  std::size_t position = 0;

  static TextStream& From(void* client) { return *static_cast<TextStream*>(client); }
  static ZELErrorObject Read(void* client, std::uint32_t* delivered, void* buffer,
                             std::uint32_t wanted) {
    TextStream& stream = From(client);
    const std::size_t count = std::min<std::size_t>(wanted, stream.text.size() - stream.position);
    std::memcpy(buffer, stream.text.data() + stream.position, count);
    stream.position += count;
    *delivered = static_cast<std::uint32_t>(count);
    return nullptr;
  }
  static ZELErrorObject Write(void*, const void*, std::uint32_t) { return nullptr; }
  static ZELErrorObject Mark(void* client, std::uint32_t* position) {
    *position = static_cast<std::uint32_t>(From(client).position);
    return nullptr;
  }
  static ZELErrorObject Seek(void* client, std::uint32_t position, std::uint32_t) {
    From(client).position = position;
    return nullptr;
  }
};

// The most that writing takes beyond the value, and that reading takes beyond what it results in.
Counters StreamingPeaks(const Shape& shape, std::size_t count) {
  Zel library(WatchMemory);
  const auto document = library.Build(shape.make(count));
  auto stored = library.Store(document);
  TextStream text{library.WrittenText(stored)};
  ZELInstance made = nullptr;
  Require(library.streams.NewClientPositionableStream(
              &made, &text, &TextStream::Read, &TextStream::Write, nullptr, nullptr, nullptr,
              &TextStream::Mark, &TextStream::Seek, nullptr) == nullptr,
          "no client stream");
  const auto stream = library.Keep(made);
  const auto streamer = library.Keep(library.streamers.NewPOSStreamer());

  const std::size_t beforeWriting = watched.peak = watched.live;
  Require(library.streamers.Serialize(streamer.Get(), stream.Get(), document.Get(), nullptr) != 0,
          "could not write");
  const std::size_t writing = watched.peak - beforeWriting;

  watched.peak = watched.live;
  const auto read = library.Keep(library.streamers.Deserialize(streamer.Get(), stream.Get()));
  const std::size_t reading = watched.peak - watched.live;
  return {{"stream_bytes", static_cast<double>(text.text.size())},
          {"writing_bytes", static_cast<double>(writing)},
          {"reading_bytes", static_cast<double>(reading)}};
}

}  // namespace

void AddGrowthCases() {
  for (const std::size_t count : kSizes) {
    for (const Shape& shape : kShapes) {
      AddForSize<ParseCase<Zel>>("parse", shape, count);
      AddForSize<WriteCase<Zel>>("write", shape, count);
      AddForSize<ReadCase<Zel>>("read", shape, count);
      AddForSize<CloneCase<Zel>>("clone", shape, count);
      AddForSize<EqualityCase<Zel>>("equality", shape, count);
      AddForSize<BuildCase<Zel>>("build", shape, count);
      AddForSize<ReleaseCase<Zel>>("release", shape, count);
      AddMeasurement(std::string("peak/") + shape.name + "/" + std::to_string(count),
                     [shape, count] { return StreamingPeaks(shape, count); });
    }
    AddForSize<ElementCase>("lookup", kShapes[0], count);
    AddForSize<LookupCase<Zel>>("lookup", kShapes[1], count);
    AddCase("growth/append/flat_array/" + std::to_string(count),
            [count] { return std::make_unique<AppendCase>(count); });
    AddCase("growth/one_load_in/records_of_192_bytes/" + std::to_string(count),
            [count] { return std::make_unique<ChainCase>(count); });
  }
}

}  // namespace zelbench
