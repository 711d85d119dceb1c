// The checking layer while memory runs out in it: at each of its allocations in turn it goes on,
// and what the client gets is what it gets without the layer.
#include <dlfcn.h>
#include <execinfo.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "procedures.h"

namespace {

std::size_t g_left = 0;  // allocations of the layer until the one that fails; 0: none fails

// Whether the layer allocates, by itself or through the C++ library.
[[gnu::noinline]] bool IsOfLayer() {
  std::array<void*, 12> frames{};
  const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
  for (int i = 2; i < count; ++i) {  // this function and its caller are left out
    Dl_info info;
    if (dladdr(frames[static_cast<std::size_t>(i)], &info) == 0) return false;
    if (std::strstr(info.dli_fname, "libstdc++") != nullptr) continue;
    return std::strstr(info.dli_fname, "libZELUtilsCheck") != nullptr;
  }
  return false;
}

}  // namespace

[[gnu::noinline]] void* operator new(std::size_t size) {
  if (g_left != 0 && IsOfLayer() && --g_left == 0) throw std::bad_alloc();
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

// A run with a mistake, a leak and a lookup that fails; whether all was as it should be.
static bool Run(const char* words) {
  setenv("ZELUTILS_CHECK", words, 1);
  zelhost::Host host;
  host.SetLeakSink([](const std::vector<zelhost::Leak>&) {});
  try {
    host.Start(ZEL_CHECK_PATH);
  } catch (const zelhost::HostError&) {
    return true;  // refused for lack of memory
  }
  const zeltest::Procedures with(host);
  const ZELInstance value = with.statics.CreateFromText("<a [1 (two)]>", nullptr);
  const ZELStringAtom path = with.atoms.NewStringAtom("a[1]");
  if (with.containers.AddRef(value) == 0) return false;
  const ZELInstance found = with.dicts.DeepGet(value, path);
  const bool isRight = found != nullptr && std::strcmp(with.strings.Get(found), "two") == 0;
  if (with.strings.NewPOSString(nullptr) != nullptr) return false;
  with.memory.Free(with.memory.Alloc(8));
  with.containers.Release(value);
  with.atoms.DeleteStringAtom(path);
  host.Stop();
  // A test of the host that is cut short does not give back what it has taken.
  return isRight && (std::strstr(words, "host") != nullptr || ToString(host.Live()) == "nothing");
}

int main() {
  if (std::freopen("/dev/null", "w", stderr) == nullptr) return 1;
  for (const char* const words :
       {"core,trace,stats,out=/dev/null", "host,trace=/dev/null,out=/dev/null"}) {
    std::size_t failing = 1;
    do {
      g_left = failing;
      if (!Run(words)) {
        std::printf("%s: wrong when allocation %zu fails\n", words, failing);
        return 1;
      }
      failing += 1 + failing / 64;  // each of the first ones, then some
    } while (g_left == 0);
    std::printf("%s: more than %zu allocations\n", words, failing / 2);
    if (failing < 100) return 1;
    g_left = 0;
  }
  return 0;
}
