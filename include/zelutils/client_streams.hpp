// Streams and what works on files and values besides: the streamer, validators and directories.
// Programs include zelutils/client.hpp, which says how they are used.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zelutils/client_values.hpp"

namespace zelutils {

// A positionable stream, the host's or one of the library's. Positions and sizes are bytes.
class Stream : public Instance {
 public:
  Stream() noexcept = default;
  // Throws when the instance lacks a method of a positionable stream.
  Stream(const Client& client, ZELInstance handle, Handed handed = Handed::kHeld)
      : Instance(client, handle, handed) {
#define ZELUTILS_GET_METHOD(method, procedureType) \
  methods_.method = reinterpret_cast<procedureType>(GetMethod(#method, #procedureType));
    ZEL_SIMPLE_STREAM_METHODS(ZELUTILS_GET_METHOD)
    ZEL_REWINDABLE_STREAM_METHODS(ZELUTILS_GET_METHOD)
    ZEL_POSITIONABLE_STREAM_METHODS(ZELUTILS_GET_METHOD)
#undef ZELUTILS_GET_METHOD
  }

  // Returns how many bytes came; fewer than asked for do not mean the end, none does.
  std::uint32_t Read(std::span<std::byte> place) {
    std::uint32_t delivered = 0;
    Owner().Check(methods_.Read(Handle(), &delivered, place.data(), Size(place.size())));
    return delivered;
  }
  // Everything from the position to the end.
  std::string ReadAll() {
    std::string all;
    std::array<std::byte, 4096> block;
    while (const std::uint32_t count = Read(block)) {
      all.append(reinterpret_cast<const char*>(block.data()), count);
    }
    return all;
  }
  void Write(std::string_view bytes) {
    Owner().Check(methods_.Write(Handle(), bytes.data(), Size(bytes.size())));
  }
  std::uint32_t Mark() const {
    std::uint32_t position = 0;
    Owner().Check(methods_.Mark(Handle(), &position));
    return position;
  }
  void Seek(std::uint32_t position) { Owner().Check(methods_.Seek(Handle(), position, 0)); }
  void Rewind() { Owner().Check(methods_.Rewind(Handle())); }
  // A stream over the same bytes with a position of its own.
  Stream CreateIndependent() const {
    ZELInstance result = nullptr;
    Owner().Check(methods_.CreateIndependentlyPositionableStream(Handle(), &result));
    return {Owner(), result, Handed::kNew};
  }

 private:
  ZELProc GetMethod(const char* method, const char* procType) const {
    const Atom methodAtom(Owner(), method);
    const Atom typeAtom(Owner(), procType);
    ZELProc found = nullptr;
    Owner().Check(Procedures<ContainerProcedures>().GetMethod(&found, Handle(), methodAtom.Handle(),
                                                              typeAtom.Handle(), 0));
    if (found == nullptr) throw Error(std::string("the stream offers no ") + method);
    return found;
  }

  StreamMethods methods_;
};

// Writes values to streams and reads them back. Keeps no state.
class Streamer : public Instance {
 public:
  explicit Streamer(const Client& client)
      : Instance(client, client.Procedures<StreamerProcedures>().NewPOSStreamer(), Handed::kNew) {}

  // Writes at the stream's position. After an error, part may have been written.
  void Serialize(const Stream& stream, const Value& value, const char* version = nullptr) const {
    const auto& procedures = Procedures<StreamerProcedures>();
    if (procedures.Serialize(Handle(), stream.Handle(), value.Handle(), version) == 0) {
      Owner().Fail("the value was not written");
    }
  }
  // Reads one value; the stream then stands right after it.
  Value Deserialize(const Stream& stream) const {
    return {Owner(), Procedures<StreamerProcedures>().Deserialize(Handle(), stream.Handle()),
            Handed::kNew};
  }
};

// Checks values against a schema, which it holds and which must not change meanwhile.
class Validator : public Instance {
 public:
  Validator(const Client& client, const Value& schema)
      : Instance(
            client,
            client.Procedures<StructValidatorProcedures>().NewPOSStructValidator(schema.Handle()),
            Handed::kNew) {}

  // The messages about a value that does not conform to the type; none when it does. Throws what
  // was reported when the check could not be made.
  std::vector<std::string> Validate(const Value& value, const Text& typeName) const {
    const Atom type(Owner(), typeName);
    return Messages::Of(Owner(), [&](POSValidatorMessageProc report) {
      return Procedures<ValidatorProcedures>().Validate(Handle(), value.Handle(), type.Handle(),
                                                        report);
    });
  }
  // The same for a schema itself.
  static std::vector<std::string> ValidateSchema(const Client& client, const Value& schema) {
    return Messages::Of(client, [&](POSValidatorMessageProc report) {
      return client.Procedures<StructValidatorProcedures>().ValidateSchema(schema.Handle(), report);
    });
  }
  // Attaches a check of the program's own to a type; null takes it away.
  void RegisterCallback(const Text& typeName, POSStructValidatorCallbackProc procedure,
                        void* clientData) const {
    Procedures<StructValidatorProcedures>().RegisterCallbackProc(
        Handle(), Atom(Owner(), typeName).Handle(), procedure, clientData);
    Owner().Check();
  }

 private:
  // Where a running validation puts its messages; a callback may run one of its own inside.
  class Messages {
   public:
    template <typename Validation>
    static std::vector<std::string> Of(const Client& client, Validation validation) {
      Messages messages;
      const bool conforms = validation(Add) != 0;
      if (messages.lost_) throw std::bad_alloc();
      if (!conforms && messages.texts_.empty()) {
        client.Check();
        // A union of nothing is such a type.
        messages.texts_.emplace_back("rejected without a message");
      }
      return std::move(messages.texts_);
    }

   private:
    Messages() : outer_(std::exchange(current_, this)) {}
    ~Messages() { current_ = outer_; }
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;

    static void Add(const char* message) noexcept {
      try {
        current_->texts_.emplace_back(message);
      } catch (...) {
        current_->lost_ = true;
      }
    }

    inline static Messages* current_ = nullptr;
    Messages* outer_;
    std::vector<std::string> texts_;
    bool lost_ = false;
  };
};

// Files by their names in one directory. The ID of an Error is the system's error number.
class Directory : public Instance {
 public:
  using Instance::Instance;
  // Used unchanged; it need not exist.
  Directory(const Client& client, const Text& path)
      : Directory(Deliver(client, [&](auto& procedures, ZELInstance* result) {
          return procedures.NewZELUtilsDir(result, Atom(client, path).Handle());
        })) {}
  static Directory Temporary(const Client& client) {
    return Deliver(client, [](auto& procedures, ZELInstance* result) {
      return procedures.GetTempDir(result);
    });
  }
  static Directory Current(const Client& client) {
    return Deliver(client, [](auto& procedures, ZELInstance* result) {
      return procedures.GetCurrent(result);
    });
  }

  bool FileExists(const Text& name) const {
    bool exists = false;
    Owner().Check(Procedures<DirProcedures>().FileExists(&exists, Handle(), Named(name).Handle()));
    return exists;
  }
  void Delete(const Text& name) const {
    Owner().Check(Procedures<DirProcedures>().Delete(Handle(), Named(name).Handle()));
  }
  // Fails when the new name is taken.
  void Rename(const Text& oldName, const Text& newName) const {
    Owner().Check(Procedures<DirProcedures>().Rename(Handle(), Named(oldName).Handle(),
                                                     Named(newName).Handle()));
  }
  std::string GetFilePathSpec(const Text& name) const {
    ZELStringAtom path = 0;
    Owner().Check(
        Procedures<DirProcedures>().GetFilePathSpec(&path, Handle(), Named(name).Handle()));
    return Atom(Owner(), path).CString();
  }
  // Creates an empty file and returns its name.
  std::string CreateUniqueFilename(const Text& prefix, const Text& extension) const {
    ZELStringAtom name = 0;
    Owner().Check(Procedures<DirProcedures>().CreateUniqueFilename(
        &name, Handle(), Named(prefix).Handle(), Named(extension).Handle()));
    return Atom(Owner(), name).CString();
  }

 private:
  Atom Named(const Text& text) const { return {Owner(), text}; }
  template <typename Make>
  static Directory Deliver(const Client& client, Make make) {
    ZELInstance result = nullptr;
    client.Check(make(client.Procedures<DirProcedures>(), &result));
    return {client, result, Handed::kNew};
  }
};

// ---- What the client makes of them ------------------------------------------------------------

inline Stream Client::NewMemoryStream() const {
  ZELInstance result = nullptr;
  Check(Procedures<StreamFactoryProcedures>().NewPositionableMemoryStream(&result));
  return {*this, result, Handed::kNew};
}

inline Stream Client::OpenFile(const Text& path, const Text& mode) const {
  ZELInstance result = nullptr;
  Check(Procedures<StreamFactoryProcedures>().NewPositionableFileStream(&result, path.CString(),
                                                                        mode.CString()));
  return {*this, result, Handed::kNew};
}

inline Stream Client::NewTempFileStream(const Text& prefix, const Text& extension,
                                        const Text& mode) const {
  ZELInstance result = nullptr;
  Check(Procedures<TempFileProcedures>().NewTempFileStream(&result, prefix.CString(),
                                                           extension.CString(), mode.CString()));
  return {*this, result, Handed::kNew};
}

}  // namespace zelutils
