// How each kind of value is told apart and escaped in the text of a stream.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "frame/base/byte_words.h"

namespace NPOSStreamerImpl::NTypeAImpl {

struct EscapePair {
  char character;
  char letter;  // written after a backslash in place of the character
};

// What a byte of the text means where no backslash precedes it.
enum class RawByte : std::uint8_t {
  kContent,  // stands for itself
  kFolded,   // stands for a space
  kClose,    // ends the value
  kEscape,   // a backslash: the next bytes name a character
};

constexpr bool IsWhitespace(char character) noexcept {
  return character == ' ' || character == '\t' || character == '\n' || character == '\r';
}

// The record of one kind of value. The two tables are what the fields before them mean for each
// byte, so that writing and reading look a byte up once.
struct StreamingParams {
  // In `writing`; any other entry is the escape letter.
  static constexpr char kPlain = 0;
  static constexpr char kOctal = 1;

  // `escapes` is ended by a pair whose character is 0.
  constexpr StreamingParams(char openCharacter, char closeCharacter, const EscapePair* escapePairs,
                            bool fold) noexcept
      : open(openCharacter), close(closeCharacter), escapes(escapePairs), foldWhitespace(fold) {
    for (std::size_t index = 0; index < 256; ++index) {
      const char byte = static_cast<char>(static_cast<unsigned char>(index));
      writing[index] = HowToWrite(byte);
      reading[index] = HowToRead(byte);
    }
  }

  char HowToWriteByte(char byte) const noexcept {
    return writing[static_cast<unsigned char>(byte)];
  }
  RawByte HowToReadByte(char byte) const noexcept {
    return reading[static_cast<unsigned char>(byte)];
  }

  // The masks of those of eight bytes that the tables have to be asked about: the others are plain,
  // or content, in every record.
  std::uint64_t MayBeEscaped(std::uint64_t word) const noexcept {
    return MayBeMeant(word) | ZEL_T_NMT::BytesEqual(word, '\x7F') |
           (word & ZEL_T_NMT::WordOf(0x80));
  }
  std::uint64_t MayBeMeant(std::uint64_t word) const noexcept {
    return ZEL_T_NMT::BytesBelow(word, ' ') | ZEL_T_NMT::BytesEqual(word, '\\') |
           ZEL_T_NMT::BytesEqual(word, close);
  }

  // The pair with this escape letter, or null.
  constexpr const EscapePair* FindLetter(char letter) const noexcept {
    for (const EscapePair* pair = escapes; pair->character != 0; ++pair) {
      if (pair->letter == letter) return pair;
    }
    return nullptr;
  }

  char open;
  char close;
  const EscapePair* escapes;
  bool foldWhitespace;  // TAB, LF and CR are read as a space
  std::array<char, 256> writing{};
  std::array<RawByte, 256> reading{};

 private:
  constexpr char HowToWrite(char byte) const noexcept {
    if (!IsWhitespace(byte) && (byte < 0x20 || byte > 0x7E)) return kOctal;
    for (const EscapePair* pair = escapes; pair->character != 0; ++pair) {
      if (pair->character == byte) return pair->letter;
    }
    return kPlain;
  }
  constexpr RawByte HowToRead(char byte) const noexcept {
    if (byte == '\\') return RawByte::kEscape;
    const char character = foldWhitespace && IsWhitespace(byte) ? ' ' : byte;
    if (character == close) return RawByte::kClose;
    return character == byte ? RawByte::kContent : RawByte::kFolded;
  }
};

// In force outside of all values: no marker, and a NUL byte in place of a closing character.
extern const StreamingParams kTopLevelParams;

extern const StreamingParams kNumberParams;
extern const StreamingParams kStringParams;
extern const StreamingParams kUnicodeStringParams;
extern const StreamingParams kBinDataParams;
extern const StreamingParams kRawPointerParams;
extern const StreamingParams kArrayParams;
extern const StreamingParams kDictParams;

}  // namespace NPOSStreamerImpl::NTypeAImpl
