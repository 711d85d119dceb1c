#include "session.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>

namespace zelfuzz {

namespace fs = std::filesystem;

namespace {

constexpr uint64_t kLargestBlock = uint64_t{16} << 20;

ZELMemAllocProc g_alloc = nullptr;
uint64_t g_budget = UINT64_MAX;

void* LimitedAlloc(size_t size) {
  if (size > kLargestBlock || g_budget == 0) return nullptr;
  --g_budget;
  return g_alloc(size);
}

void LimitMemory(zelhost::Host& host) {
  g_alloc = host.Find<ZELMemAllocProc>(ZEL_MEMORY_INTERFACE, "Alloc", "ZELMemAllocProc");
  host.Register(ZEL_MEMORY_INTERFACE, "Alloc", "ZELMemAllocProc",
                reinterpret_cast<ZELProc>(&LimitedAlloc));
}

void SetTempFolder(const std::string& path) {
#if defined(_WIN32)
  _putenv_s("TMP", path.c_str());
#else
  setenv("TMPDIR", path.c_str(), 1);
#endif
}

std::string MakeTempFolder() {
  const fs::path folder =
      fs::temp_directory_path() / ("zel_fuzz_" + std::to_string(std::random_device()()));
  fs::create_directory(folder);
  SetTempFolder(folder.string());
  return folder.string();
}

void Start(zelhost::Host& host, Session::Start start) {
  LimitMemory(host);
  start(host);
}

MemoryClient& Of(void* client) { return *static_cast<MemoryClient*>(client); }

}  // namespace

Procedures::Procedures(const zelhost::Host& host)
    : containers(host),
      atoms(host),
      errors(host),
      streams(host),
      objects(host),
      statics(host),
      numbers(host),
      strings(host),
      unicodeStrings(host),
      binDatas(host),
      rawPointers(host),
      arrays(host),
      dicts(host),
      iterators(host),
      streamers(host),
      structValidators(host),
      validators(host),
      directories(host),
      tempFiles(host) {}

Session::Session(Start start_)
    : folder(MakeTempFolder()), start(start_), procs((zelfuzz::Start(host, start), host)) {}

Session::~Session() {
  host.Stop();
  SetTempFolder(fs::path(folder).parent_path().string());
  fs::remove_all(folder);
}

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

uint64_t Session::SetBudget(uint64_t blocks) { return std::exchange(g_budget, blocks); }

Held::Held(const Session& session, ZELInstance instance) : session_(&session) {
  if (instance == nullptr) return;
  Expect(session.procs.containers.AddRef(instance) != 0, "an instance that takes no reference");
  instance_ = instance;
}

Held MemoryClient::NewStream(const Session& session) {
  ZELInstance stream = nullptr;
  session.procs.streams.NewClientPositionableStream(
      &stream, this,
      [](void* client, uint32_t* delivered, void* buffer, uint32_t wanted) -> ZELErrorObject {
        MemoryClient& self = Of(client);
        *delivered = static_cast<uint32_t>(self.bytes.copy(
            static_cast<char*>(buffer), std::min(wanted, self.mostPerRead), self.position));
        self.position += *delivered;
        return nullptr;
      },
      [](void* client, const void* data, uint32_t count) -> ZELErrorObject {
        Of(client).bytes.append(static_cast<const char*>(data), count);
        return nullptr;
      },
      nullptr, nullptr, nullptr,
      [](void* client, uint32_t* place) -> ZELErrorObject {
        *place = Of(client).position;
        return nullptr;
      },
      [](void* client, uint32_t place, uint32_t) -> ZELErrorObject {
        Expect(place <= Of(client).bytes.size(), "a seek beyond the end");
        Of(client).position = place;
        return nullptr;
      },
      nullptr);
  return Held(session, stream);
}

}  // namespace zelfuzz
