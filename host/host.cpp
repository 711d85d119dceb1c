#include "zelhost/host.h"

#include <cstdio>
#include <utility>

#include "loader.h"
#include "services.h"

namespace zelhost {

namespace {

// In the order in which they need each other.
constexpr const ServiceLife* kServices[] = {&kMisuseLife,   &kCallLife,       &kBinderLife,
                                            &kMemoryLife,   &kAtomLife,       &kErrorLife,
                                            &kInstanceLife, &kContainerLife,  &kSharedBufferLife,
                                            &kStreamLife,   &kUnsupportedLife};

constinit bool hostIsLive = false;

void CloseServices() noexcept {
  for (std::size_t i = std::size(kServices); i-- > 0;) kServices[i]->close();
  hostIsLive = false;
}

void PrintLeaks(const std::vector<Leak>& leaks) {
  for (const Leak& leak : leaks) {
    const char* kind = leak.kind == Leak::Kind::kMisuse ? "misuse" : "still held";
    std::fprintf(stderr, "zelhost: %s: %s\n", kind, leak.what.c_str());
  }
}

template <typename Proc>
Proc RequireSymbol(const LoadedLibrary& library, const std::string& path, const char* name) {
  const ZELProc symbol = library.Symbol(name);
  if (symbol == nullptr) throw HostError(path + " has no function " + name);
  return reinterpret_cast<Proc>(symbol);
}

}  // namespace

bool GuardMemoryByDefault() noexcept {
#if defined(__SANITIZE_ADDRESS__)
  return true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
  return true;
#else
  return false;
#endif
#else
  return false;
#endif
}

std::string ToString(const Counts& counts) {
  std::string text;
  const auto add = [&](std::size_t count, const char* noun, const std::string& more) {
    if (count == 0) return;
    if (!text.empty()) text += ", ";
    text += Plural(count, noun);
    if (!more.empty()) text += " (" + more + ")";
  };
  add(counts.blocks, "block", Plural(counts.bytes, "byte"));
  add(counts.atoms, "atom", Plural(counts.atomReferences, "reference"));
  add(counts.errors, "error", Plural(counts.errorReferences, "reference"));
  add(counts.instances, "instance", Plural(counts.instanceReferences, "reference"));
  add(counts.sharedBuffers, "shared buffer", Plural(counts.sharedBufferReferences, "reference"));
  add(counts.interfaces, "interface", "");
  return text.empty() ? "nothing" : text;
}

struct Host::Library {
  LibraryEntryPoints functions;
  // The one that is started, and earlier ones whose code may still be needed.
  std::vector<std::unique_ptr<LoadedLibrary>> loaded;
  bool started = false;
  std::function<void(const std::vector<Leak>&)> leakSink = PrintLeaks;
};

Host::Host(const HostOptions& options) {
  if (hostIsLive) throw HostError("there is a host in this process already");
  library_ = std::make_unique<Library>();
  hostIsLive = true;
  try {
    for (const ServiceLife* service : kServices) service->open(options);
  } catch (...) {
    CloseServices();
    throw;
  }
}

Host::~Host() {
  try {
    Stop();
  } catch (...) {
    // The sink's failure, or no memory to name leaks in.
  }
  CloseServices();
}

void Host::Start(const std::string& path) {
  if (library_->started) throw HostError("the host has started a library already");
  auto loaded = std::make_unique<LoadedLibrary>(path);
  const LibraryEntryPoints functions = {
      RequireSymbol<ZELUtilsGetVersionProc>(*loaded, path, "ZELUtilsGetVersion"),
      RequireSymbol<ZELUtilsInitializeProc>(*loaded, path, "ZELUtilsInitialize"),
      RequireSymbol<ZELUtilsTerminateProc>(*loaded, path, "ZELUtilsTerminate")};
  library_->loaded.push_back(std::move(loaded));
  Start(functions);
}

void Host::Start() {
  const std::string path = FindLibrary();
  try {
    Start(path);
  } catch (const HostError& error) {
    if (path != kLibraryName || library_->started) throw;
    throw HostError(std::string(error.what()) + " (nor is it beside the program; the variable " +
                    "ZELUTILS_LIBRARY may name the file)");
  }
}

void Host::Start(const LibraryEntryPoints& library) {
  if (library_->started) throw HostError("the host has started a library already");
  if (library.getVersion == nullptr || library.initialize == nullptr ||
      library.terminate == nullptr) {
    throw HostError("one of the library's three functions is missing");
  }
  library_->functions = library;
  library_->started = true;
  if (library.initialize(LookupProc()) != 0) return;
  Stop();
  throw HostError("ZELUtilsInitialize answered 0: the library could not be initialised");
}

void Host::Stop() {
  if (!library_->started) return;
  library_->started = false;
  library_->functions.terminate();
  if (const std::vector<Leak> leaks = Leaks(); !leaks.empty() && library_->leakSink) {
    library_->leakSink(leaks);
  }
  if (Live().instances == 0) library_->loaded.clear();
}

void Host::Unload() {
  library_->started = false;
  library_->loaded.clear();
}

bool Host::Started() const noexcept { return library_->started; }

std::uint32_t Host::LibraryVersion() const {
  return library_->started ? library_->functions.getVersion() : 0;
}

Counts Host::Live() const {
  Counts counts;
  for (const ServiceLife* service : kServices) service->count(counts);
  return counts;
}

std::vector<Leak> Host::Leaks() const {
  std::vector<Leak> leaks;
  for (const ServiceLife* service : kServices) service->listLeaks(leaks);
  return leaks;
}

void Host::SetLeakSink(std::function<void(const std::vector<Leak>&)> sink) {
  library_->leakSink = std::move(sink);
}

std::uint32_t Host::RefCount(ZELInstance instance) const noexcept { return References(instance); }

}  // namespace zelhost
