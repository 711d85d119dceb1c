// The library through the reference host: its public procedures by handle, as a client calls them.
// The client takes a reference to each result that comes without one, and gives it back.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <utility>

#include "documents.h"
#include "runner.h"
#include "zelhost/host.h"
#include "zelutils/table.hpp"

namespace zelbench {

// The procedures of an interface as a host's binder gives them.
template <typename Interface>
struct Procedures : zelutils::Table<Interface> {
  static Procedures From(const zelhost::Host& host) {
    Procedures found;
    const zelutils::Method* missing =
        found.Import([&](const auto*... names) { return host.Lookup(names...); });
    Require(missing == nullptr, "an interface lacks a method");
    return found;
  }
};

using Memory = Procedures<zelutils::MemoryInterface>;
using Containers = Procedures<zelutils::ContainerInterface>;
using Atoms = Procedures<zelutils::AtomInterface>;
using StreamFactory = Procedures<zelutils::StreamFactoryInterface>;
using Objects = Procedures<zelutils::ObjectInterface>;
using Statics = Procedures<zelutils::ObjectStaticsInterface>;
using NumberProcs = Procedures<zelutils::NumberInterface>;
using StringProcs = Procedures<zelutils::StringInterface>;
using ArrayProcs = Procedures<zelutils::ArrayInterface>;
using DictProcs = Procedures<zelutils::DictInterface>;
using Iterators = Procedures<zelutils::DictIteratorInterface>;
using Streamers = Procedures<zelutils::StreamerInterface>;
using Validators = Procedures<zelutils::ValidatorInterface>;
using StructValidators = Procedures<zelutils::StructValidatorInterface>;

struct StartedHost : zelhost::Host {
  explicit StartedHost(const std::function<void(zelhost::Host&)>& beforeStart) {
    if (beforeStart) beforeStart(*this);
    // The layer of docs/checking.md, to see what it costs.
    const char* const named = std::getenv("ZEL_BENCH_LIBRARY");
    Start(named != nullptr ? named : ZEL_LIBRARY_PATH);
  }
};

// A host with the library and its procedures; one at a time.
class Zel {
 public:
  static constexpr const char* kName = "zel";
  static constexpr bool kReadsPos = true;
  static constexpr bool kQuickMembers = true;

  using Value = ZELInstance;  // borrowed

  // Owns one reference.
  class Document {
   public:
    Document() = default;
    Document(const Containers& containers, ZELInstance instance) noexcept
        : release_(containers.Release), instance_(instance) {}
    Document(Document&& other) noexcept
        : release_(other.release_), instance_(std::exchange(other.instance_, nullptr)) {}
    Document& operator=(Document other) noexcept {
      std::swap(release_, other.release_);
      std::swap(instance_, other.instance_);
      return *this;
    }
    ~Document() {
      if (instance_ != nullptr) release_(instance_);
    }
    ZELInstance Get() const noexcept { return instance_; }

   private:
    ZELReleaseContainerProc release_ = nullptr;
    ZELInstance instance_ = nullptr;
  };
  using Stored = Document;  // a stream

  // `beforeStart` sees the host before it starts the library.
  explicit Zel(const std::function<void(zelhost::Host&)>& beforeStart = {});
  ~Zel() { current = nullptr; }
  Zel(const Zel&) = delete;
  Zel& operator=(const Zel&) = delete;

  // The one there is, or null.
  static Zel* current;

  Document Parse(const std::string& text) {
    return Keep(statics.CreateFromText(text.c_str(), nullptr));
  }
  Document Build(const Node& node) { return Document(containers, BuildHeld(node)); }
  Document Clone(const Document& document) { return Keep(objects.Clone(document.Get())); }
  bool Equal(const Document& one, const Document& other) {
    return objects.IsEqual(one.Get(), other.Get());
  }
  std::size_t Write(const Document& document);
  Stored Store(const Document& document);
  Document Read(Stored& stored);
  std::string WrittenText(Stored& stored);

  Value Root(const Document& document) { return document.Get(); }
  Value At(Value array, std::size_t index) {
    return arrays.GetAt(array, static_cast<std::uint32_t>(index));
  }
  // From the text: with the atom made and given back.
  Value Get(Value dict, const std::string& key) {
    const ZELStringAtom atom = atoms.NewStringAtom(key.c_str());
    const Value value = dicts.Get(dict, atom);
    atoms.DeleteStringAtom(atom);
    return value;
  }
  bool Follow(Value root, const Path& path) {
    const ZELStringAtom atom = atoms.NewStringAtom(path.pos.c_str());
    const Value value = dicts.DeepGet(root, atom);
    atoms.DeleteStringAtom(atom);
    return value != nullptr;
  }

  // Takes the reference that makes a result the caller's own.
  Document Keep(ZELInstance instance) {
    Require(containers.AddRef(instance) != 0, "a procedure gave no instance");
    return Document(containers, instance);
  }

 private:
  ZELInstance BuildHeld(const Node& node);
  ZELInstance Held(ZELInstance instance) {
    containers.AddRef(instance);
    return instance;
  }

 public:
  StartedHost host;
  Memory memory = Memory::From(host);
  Containers containers = Containers::From(host);
  Atoms atoms = Atoms::From(host);
  StreamFactory streams = StreamFactory::From(host);
  Objects objects = Objects::From(host);
  Statics statics = Statics::From(host);
  NumberProcs numbers = NumberProcs::From(host);
  StringProcs strings = StringProcs::From(host);
  ArrayProcs arrays = ArrayProcs::From(host);
  DictProcs dicts = DictProcs::From(host);
  Streamers streamers = Streamers::From(host);

 private:
  Document streamer_;
  // Of memory streams, which are all of one kind.
  ZELSimpleStreamReadProc readStream_ = nullptr;
  ZELRewindableStreamRewindProc rewindStream_ = nullptr;
  ZELPositionableStreamMarkProc markStream_ = nullptr;
};

// The cases of the library alone: growth.cpp, dictionaries.cpp and calls.cpp.
void AddGrowthCases();
void AddDictionaryCases();
void AddCallCases();

}  // namespace zelbench
