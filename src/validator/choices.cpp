#include "validator/choices.h"

#include <algorithm>

namespace NPOSValidatorImpl {

namespace {

constexpr std::uint32_t kComparedOneByOne = 8;

}  // namespace

Choices::Choices(ZEL_T_NMT::CPOSArray array) : array_(std::move(array)), count_(array_.Count()) {
  first_.reserve(std::min(count_, kComparedOneByOne));
}

bool Choices::Have(const char* text) {
  for (const HeldText& choice : first_) {
    if (CompareTexts(choice.text, text) == 0) return true;
  }
  if (others_.contains(text)) return true;
  while (read_ < count_) {
    HeldText choice(array_.View().GetAt(read_));
    const bool isWanted = CompareTexts(choice.text, text) == 0;
    if (first_.size() < kComparedOneByOne) {
      first_.push_back(std::move(choice));
    } else {
      others_.try_emplace(choice.text, std::move(choice));
    }
    ++read_;
    if (isWanted) return true;
  }
  return false;
}

}  // namespace NPOSValidatorImpl
