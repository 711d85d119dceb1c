// The record of one kind of value: how the text of a stream marks, escapes and ends it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "streamer/byte_set.h"

namespace NPOSStreamerImpl::NTypeAImpl {

struct EscapePair {
  char character;
  char letter;  // written after a backslash in place of the character
};

// The meaning of a byte of the text that no backslash precedes.
enum class RawByte : std::uint8_t {
  kContent,  // stands for itself
  kFolded,   // stands for a space
  kClose,    // ends the value
  kEscape,   // a backslash: the next bytes name a character
};

constexpr bool IsWhitespace(char character) noexcept {
  return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

// The bytes that stand in the text for one byte of a value.
struct WrittenByte {
  std::array<char, 4> text;
  std::uint8_t length;
};

using EscapedBytes = ByteSet<true>;
using MeantBytes = ByteSet<false>;

// Everything behind the first four fields follows from them, at compile time.
struct StreamingParams {
  // `escapePairs` is ended by a pair whose character is 0, and outlives this.
  consteval StreamingParams(char openCharacter, char closeCharacter, const EscapePair* escapePairs,
                            bool fold)
      : open(openCharacter), close(closeCharacter), escapes(escapePairs), foldWhitespace(fold) {
    std::array<bool, 256> isEscaped{};
    std::array<bool, 256> isMeant{};
    for (std::size_t index = 0; index < 256; ++index) {
      const char byte = static_cast<char>(static_cast<unsigned char>(index));
      writing[index] = HowToWrite(byte);
      reading[index] = HowToRead(byte);
      isEscaped[index] = writing[index].length != 1;
      isMeant[index] = reading[index] != RawByte::kContent;
    }
    escaped = EscapedBytes(isEscaped);
    meant = MeantBytes(isMeant);
  }

  const WrittenByte& HowToWriteByte(char byte) const noexcept {
    return writing[static_cast<unsigned char>(byte)];
  }
  RawByte HowToReadByte(char byte) const noexcept {
    return reading[static_cast<unsigned char>(byte)];
  }
  // The pair with this escape letter, or null.
  constexpr const EscapePair* FindLetter(char letter) const noexcept {
    for (const EscapePair* pair = escapes; pair->character != 0; ++pair) {
      if (pair->letter == letter) return pair;
    }
    return nullptr;
  }
  // Whether each of the characters is written as it is.
  constexpr bool KeepsAll(std::string_view characters) const {
    for (const char character : characters) {
      if (writing[static_cast<unsigned char>(character)].length != 1) return false;
    }
    return true;
  }

  char open;
  char close;
  const EscapePair* escapes;
  bool foldWhitespace;  // TAB, LF and CR are read as a space

  std::array<WrittenByte, 256> writing{};
  std::array<RawByte, 256> reading{};
  EscapedBytes escaped;  // those that writing does not keep as they are
  MeantBytes meant;      // those that do not stand for themselves

 private:
  consteval WrittenByte HowToWrite(char byte) const {
    const auto value = static_cast<unsigned char>(byte);
    if (!IsWhitespace(byte) && (value < 0x20 || value > 0x7E)) {
      return {{'\\', static_cast<char>('0' + (value >> 6)),
               static_cast<char>('0' + ((value >> 3) & 7)), static_cast<char>('0' + (value & 7))},
              4};
    }
    for (const EscapePair* pair = escapes; pair->character != 0; ++pair) {
      if (pair->character == byte && pair->letter != 0) return {{'\\', pair->letter}, 2};
    }
    return {{byte}, 1};
  }
  consteval RawByte HowToRead(char byte) const {
    if (byte == '\\') return RawByte::kEscape;
    const char character = foldWhitespace && IsWhitespace(byte) ? ' ' : byte;
    if (character == close) return RawByte::kClose;
    return character == byte ? RawByte::kContent : RawByte::kFolded;
  }
};

}  // namespace NPOSStreamerImpl::NTypeAImpl
