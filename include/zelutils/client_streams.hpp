// Streams, the streamer, and directories.
// Programs include zelutils/client.hpp, which says how they are used.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
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
    Methods();
  }

  // Returns how many bytes came; fewer than asked for do not mean the end, none does.
  std::uint32_t Read(std::span<std::byte> place) {
    std::uint32_t delivered = 0;
    Owner().Check(Methods().Read(Handle(), &delivered, place.data(), Size(place.size())));
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
    Owner().Check(Methods().Write(Handle(), bytes.data(), Size(bytes.size())));
  }
  std::uint32_t Mark() const {
    std::uint32_t position = 0;
    Owner().Check(Methods().Mark(Handle(), &position));
    return position;
  }
  void Seek(std::uint32_t position) { Owner().Check(Methods().Seek(Handle(), position, 0)); }
  void Rewind() { Owner().Check(Methods().Rewind(Handle())); }
  // A stream over the same bytes with a position of its own.
  Stream CreateIndependent() const {
    ZELInstance result = nullptr;
    Owner().Check(Methods().CreateIndependentlyPositionableStream(Handle(), &result));
    return {Owner(), result, Handed::kNew};
  }

 private:
  // The methods of the instance, looked up again when an interface has been withdrawn since.
  const Table<StreamInterface>& Methods() const {
    const std::uint32_t now = Owner().Generation();
    if (!methods_.IsOf(now)) [[unlikely]] {
      const Method* const missing =
          methods_.Refresh(now, [this](auto... names) { return GetMethod(names...); });
      if (missing != nullptr) throw Error(std::string("the stream offers no ") + missing->name);
    }
    return methods_;
  }
  ZELProc GetMethod(const char* /*no interface*/, const char* method, const char* procType) const {
    const Atom methodAtom(Owner(), method);
    const Atom typeAtom(Owner(), procType);
    ZELProc found = nullptr;
    Owner().Check(Procedures<ContainerInterface>().GetMethod(&found, Handle(), methodAtom.Handle(),
                                                             typeAtom.Handle(), 0));
    return found;
  }

  mutable Table<StreamInterface> methods_;
};

// Writes values to streams and reads them back. Keeps no state.
class Streamer : public Instance {
 public:
  explicit Streamer(const Client& client)
      : Instance(client, client.Procedures<StreamerInterface>().NewPOSStreamer(), Handed::kNew) {}

  // Writes at the stream's position. After an error, part may have been written.
  void Serialize(const Stream& stream, const Value& value, const char* version = nullptr) const {
    const auto& procedures = Procedures<StreamerInterface>();
    if (procedures.Serialize(Handle(), stream.Argument(), value.Argument(), version) == 0) {
      Owner().Fail("the value was not written");
    }
  }
  // Reads one value; the stream then stands right after it.
  Value Deserialize(const Stream& stream) const {
    return {Owner(), Procedures<StreamerInterface>().Deserialize(Handle(), stream.Argument()),
            Handed::kNew};
  }
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
    Owner().Check(
        Procedures<UtilsDirInterface>().FileExists(&exists, Handle(), Named(name).Handle()));
    return exists;
  }
  void Delete(const Text& name) const {
    Owner().Check(Procedures<UtilsDirInterface>().Delete(Handle(), Named(name).Handle()));
  }
  // Fails when the new name is taken.
  void Rename(const Text& oldName, const Text& newName) const {
    Owner().Check(Procedures<UtilsDirInterface>().Rename(Handle(), Named(oldName).Handle(),
                                                         Named(newName).Handle()));
  }
  std::string GetFilePathSpec(const Text& name) const {
    ZELStringAtom path = 0;
    Owner().Check(
        Procedures<UtilsDirInterface>().GetFilePathSpec(&path, Handle(), Named(name).Handle()));
    return Atom(Owner(), path).CString();
  }
  // Creates an empty file and returns its name.
  std::string CreateUniqueFilename(const Text& prefix, const Text& extension) const {
    ZELStringAtom name = 0;
    Owner().Check(Procedures<UtilsDirInterface>().CreateUniqueFilename(
        &name, Handle(), Named(prefix).Handle(), Named(extension).Handle()));
    return Atom(Owner(), name).CString();
  }

 private:
  Atom Named(const Text& text) const { return {Owner(), text}; }
  template <typename Make>
  static Directory Deliver(const Client& client, Make make) {
    ZELInstance result = nullptr;
    client.Check(make(client.Procedures<UtilsDirInterface>(), &result));
    return {client, result, Handed::kNew};
  }
};

// ---- What the client makes of them ------------------------------------------------------------

inline Stream Client::NewMemoryStream() const {
  ZELInstance result = nullptr;
  Check(Procedures<StreamFactoryInterface>().NewPositionableMemoryStream(&result));
  return {*this, result, Handed::kNew};
}

inline Stream Client::OpenFile(const Text& path, const Text& mode) const {
  ZELInstance result = nullptr;
  Check(Procedures<StreamFactoryInterface>().NewPositionableFileStream(&result, path.CString(),
                                                                       mode.CString()));
  return {*this, result, Handed::kNew};
}

inline Stream Client::NewTempFileStream(const Text& prefix, const Text& extension,
                                        const Text& mode) const {
  ZELInstance result = nullptr;
  Check(Procedures<TempFileStreamFactoryInterface>().NewTempFileStream(
      &result, prefix.CString(), extension.CString(), mode.CString()));
  return {*this, result, Handed::kNew};
}

}  // namespace zelutils
