// The bytes of an input, mapped into memory where that is possible.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zelpos {

// A regular file is mapped, anything else read. Behind the last byte stands a NUL, as readers of C
// strings want it.
class Content {
 public:
  // "-" is standard input. Throws FileError.
  explicit Content(const std::string& file);
  Content(Content&& other) noexcept;
  Content& operator=(Content&& other) noexcept;
  ~Content();

  std::string_view View() const noexcept { return {data_, size_}; }
  const char* CString() const noexcept { return data_; }
  // Gives back the memory that a mapping takes. It is taken again, from the system's cache of the
  // file, where the bytes are looked at again.
  void Relax() const noexcept;

 private:
  bool Map(const std::string& file);

  std::string buffer_;
  const char* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t mapped_ = 0;  // bytes of address space; 0 where the buffer holds the bytes
};

}  // namespace zelpos
