#include "session.h"

#include <algorithm>

namespace zelfuzz {

namespace {

constexpr std::uint64_t kLargestBlock = std::uint64_t{16} << 20;

ZELMemAllocProc g_alloc = nullptr;
std::uint64_t g_budget = UINT64_MAX;

void* LimitedAlloc(std::size_t size) {
  if (size > kLargestBlock || g_budget == 0) return nullptr;
  --g_budget;
  return g_alloc(size);
}

void LimitMemory(zelhost::Host& host) {
  g_alloc = host.Find<ZELMemAllocProc>(ZEL_MEMORY_INTERFACE, "Alloc", "ZELMemAllocProc");
  host.Register(ZEL_MEMORY_INTERFACE, "Alloc", "ZELMemAllocProc",
                reinterpret_cast<ZELProc>(&LimitedAlloc));
}

void Start(zelhost::Host& host, Session::Start start) {
  LimitMemory(host);
  start(host);
}

MemoryClient& Called(void* client, char call, std::uint32_t value) {
  MemoryClient& self = *static_cast<MemoryClient*>(client);
  if (self.calls != nullptr) *self.calls += call + std::to_string(value) + ' ';
  return self;
}

}  // namespace

Session::Session(Start start_) : start(start_), procs((zelfuzz::Start(host, start), host)) {}

Session::~Session() { host.Stop(); }

void Session::Restart() {
  host.Stop();
  Expect(host.Live().AllZero(), "held after the stop: " + ToString(host.Live()));
  for (const zelhost::Leak& leak : host.Leaks()) throw Finding(leak.what);
  host.TakeReports();
  StartAgain();
}

void Session::StartAgain() {
  start(host);
  procs = Procedures(host);  // it may lie elsewhere now
}

std::uint64_t Session::SetBudget(std::uint64_t blocks) { return std::exchange(g_budget, blocks); }

Held::Held(const Session& session, ZELInstance instance) : session_(&session) {
  if (instance == nullptr) return;
  Expect(session.procs.containers.AddRef(instance) != 0, "an instance that takes no reference");
  instance_ = instance;
}

ZELInstance MemoryClient::Open(const zeltest::CoreProcedures& procs) {
  ZELInstance stream = nullptr;
  procs.streams.NewClientPositionableStream(
      &stream, this,
      [](void* client, std::uint32_t* delivered, void* buffer,
         std::uint32_t wanted) -> ZELErrorObject {
        MemoryClient& self = Called(client, 'R', wanted);
        *delivered = static_cast<std::uint32_t>(self.bytes.copy(
            static_cast<char*>(buffer), std::min(wanted, self.mostPerRead), self.position));
        self.position += *delivered;
        return nullptr;
      },
      [](void* client, const void* data, std::uint32_t count) -> ZELErrorObject {
        MemoryClient& self = Called(client, 'W', count);
        self.bytes.append(static_cast<const char*>(data), count);
        if (self.duringWrite) self.duringWrite();
        return nullptr;
      },
      nullptr, nullptr, nullptr,
      [](void* client, std::uint32_t* place) -> ZELErrorObject {
        *place = static_cast<MemoryClient*>(client)->position;
        Called(client, 'M', *place);
        return nullptr;
      },
      [](void* client, std::uint32_t place, std::uint32_t second) -> ZELErrorObject {
        MemoryClient& self = Called(client, 'S', place);
        Expect(place <= self.bytes.size() && second == 0, "a seek beyond the end");
        self.position = place;
        return nullptr;
      },
      nullptr);
  return stream;
}

}  // namespace zelfuzz
