#include "zel.h"

#include "cases.h"

namespace zelbench {

namespace {

void RequireNoError(ZELErrorObject error, const char* what) { Require(error == nullptr, what); }

// Validation of the catalogue with a validator made once.
class ValidationCase final : public LibraryCase<Zel> {
 public:
  explicit ValidationCase(const Node& catalog)
      : LibraryCase(catalog),
        document_(library_.Build(node_)),
        schema_(library_.Parse(kCatalogPosSchema)),
        validator_(library_.Keep(structValidators_.NewPOSStructValidator(schema_.Get()))),
        type_(library_.atoms.NewStringAtom(kCatalogType)) {
    Require(structValidators_.ValidateSchema(schema_.Get(), nullptr) != 0, "the schema is wrong");
  }
  ~ValidationCase() override { library_.atoms.DeleteStringAtom(type_); }

  void Run() override {
    Require(validators_.Validate(validator_.Get(), document_.Get(), type_, nullptr) != 0,
            "the catalogue does not conform");
  }

 private:
  Validators validators_ = Validators::From(library_.host);
  StructValidators structValidators_ = StructValidators::From(library_.host);
  Document document_;
  Document schema_;
  Document validator_;
  ZELStringAtom type_;
};

// Lookup by atoms that the client holds, beside the lookup from texts.
class AtomLookupCase final : public LibraryCase<Zel> {
 public:
  explicit AtomLookupCase(const Node& node) : LibraryCase(node), document_(library_.Build(node)) {
    Collect(node_, document_.Get());
    items = members_.size();
  }
  ~AtomLookupCase() override {
    for (const auto& [dict, key] : members_) library_.atoms.DeleteStringAtom(key);
  }

  void Run() override {
    std::size_t found = 0;
    for (const auto& [dict, key] : members_) {
      if (library_.dicts.Get(dict, key) != nullptr) ++found;
    }
    Require(found == items, "a key was not found");
  }

 private:
  void Collect(const Node& node, ZELInstance value) {
    const bool isDict = node.kind == Node::Kind::kDict;
    if (isDict) {
      for (const std::size_t i : ShuffledIndices(node.items.size())) {
        members_.emplace_back(value, library_.atoms.NewStringAtom(node.keys[i].c_str()));
      }
    }
    for (std::size_t i = 0; i < node.items.size(); ++i) {
      if (node.items[i].items.empty()) continue;
      Collect(node.items[i], isDict ? library_.Get(value, node.keys[i]) : library_.At(value, i));
    }
  }

  Document document_;
  std::vector<std::pair<ZELInstance, ZELStringAtom>> members_;
};

// Number of calls of each of the host's procedures in one run of a case, per item.
Counters CallsPerItem(const std::string& name) {
  Case& work = PrepareCase(name);
  work.Prepare();
  zelhost::Host& host = Zel::current->host;
  host.ResetCalls();
  work.Run();
  Counters counters;
  for (std::size_t i = 0; i < zelhost::kServiceCount; ++i) {
    const auto service = static_cast<zelhost::Service>(i);
    counters[std::string(ServiceName(service))] =
        static_cast<double>(host.Calls(service)) / static_cast<double>(work.items);
  }
  work.Finish();
  return counters;
}

}  // namespace

Zel* Zel::current = nullptr;

Zel::Zel(const std::function<void(zelhost::Host&)>& beforeStart)
    : host(beforeStart), streamer_(Keep(streamers.NewPOSStreamer())) {
  current = this;
  ZELInstance made = nullptr;
  RequireNoError(streams.NewPositionableMemoryStream(&made), "no memory stream");
  const Document stream = Keep(made);
  const auto find = [&](const char* method, const char* procType) {
    const ZELStringAtom methodAtom = atoms.NewStringAtom(method);
    const ZELStringAtom procTypeAtom = atoms.NewStringAtom(procType);
    ZELProc found = nullptr;
    RequireNoError(containers.GetMethod(&found, made, methodAtom, procTypeAtom, 0), method);
    atoms.DeleteStringAtom(methodAtom);
    atoms.DeleteStringAtom(procTypeAtom);
    Require(found != nullptr, method);
    return found;
  };
  readStream_ = reinterpret_cast<ZELSimpleStreamReadProc>(find("Read", "ZELSimpleStreamReadProc"));
  rewindStream_ = reinterpret_cast<ZELRewindableStreamRewindProc>(
      find("Rewind", "ZELRewindableStreamRewindProc"));
  markStream_ = reinterpret_cast<ZELPositionableStreamMarkProc>(
      find("Mark", "ZELPositionableStreamMarkProc"));
}

ZELInstance Zel::BuildHeld(const Node& node) {
  switch (node.kind) {
    case Node::Kind::kWhole:
    case Node::Kind::kReal:
      return Held(numbers.NewPOSNumber(node.number));
    case Node::Kind::kText:
    case Node::Kind::kWord:
      return Held(strings.NewPOSString(node.text.c_str()));
    case Node::Kind::kArray: {
      const ZELInstance array = Held(arrays.NewPOSArray());
      for (const Node& item : node.items) {
        const ZELInstance value = BuildHeld(item);
        arrays.Append(array, value);
        containers.Release(value);
      }
      return array;
    }
    case Node::Kind::kDict:
      break;
  }
  const ZELInstance dict = Held(dicts.NewPOSDict());
  for (std::size_t i = 0; i < node.items.size(); ++i) {
    const ZELInstance value = BuildHeld(node.items[i]);
    const ZELStringAtom key = atoms.NewStringAtom(node.keys[i].c_str());
    dicts.Put(dict, key, value);
    atoms.DeleteStringAtom(key);
    containers.Release(value);
  }
  return dict;
}

Zel::Stored Zel::Store(const Document& document) {
  ZELInstance made = nullptr;
  RequireNoError(streams.NewPositionableMemoryStream(&made), "no memory stream");
  Stored stream = Keep(made);
  Require(streamers.Serialize(streamer_.Get(), made, document.Get(), nullptr) != 0,
          "could not write");
  return stream;
}

std::size_t Zel::Write(const Document& document) {
  const Stored stream = Store(document);
  std::uint32_t position = 0;
  RequireNoError(markStream_(stream.Get(), &position), "no position");
  return position;
}

Zel::Document Zel::Read(Stored& stored) {
  RequireNoError(rewindStream_(stored.Get()), "could not rewind");
  return Keep(streamers.Deserialize(streamer_.Get(), stored.Get()));
}

std::string Zel::WrittenText(Stored& stored) {
  RequireNoError(rewindStream_(stored.Get()), "could not rewind");
  std::string text;
  for (;;) {
    char block[4096];
    std::uint32_t delivered = 0;
    RequireNoError(readStream_(stored.Get(), &delivered, block, sizeof block), "could not read");
    if (delivered == 0) return text;
    text.append(block, delivered);
  }
}

}  // namespace zelbench

int main(int argc, char** argv) {
  using namespace zelbench;
  AddComparedCases<Zel>();
  AddCase("validate/catalog/zel", [] { return std::make_unique<ValidationCase>(Catalog()); });
  for (const std::string document : {"catalog", "words"}) {
    AddCase("lookup_by_atom/" + document + "/zel",
            [document] { return std::make_unique<AtomLookupCase>(DocumentNamed(document)); });
  }
  for (const char* operation : {"parse", "write", "read", "clone", "equality", "lookup", "path",
                                "build", "release", "validate"}) {
    const std::string name = std::string(operation) + "/catalog/zel";
    AddMeasurement("services/" + std::string(operation) + "/catalog",
                   [name] { return CallsPerItem(name); });
  }
  AddGrowthCases();
  AddDictionaryCases();
  AddCallCases();
  return Main(argc, argv);
}
