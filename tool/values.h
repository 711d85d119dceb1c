// Borrowed looks at values: for walks over large ones, which need no references of their own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <zelutils/client.hpp>

namespace zelpos {

using Handle = ZELInstance;

// A handle is borrowed from the value that holds it. A null one is an empty slot.
class Values {
 public:
  explicit Values(const zelutils::Client& client) : client_(client) {}

  const zelutils::Client& Client() const { return client_; }

  // 0 for an empty slot.
  int Type(Handle value) const { return value == nullptr ? 0 : objects_.GetType(value); }
  bool IsComposite(Handle value) const {
    return zelutils::IsComposite(static_cast<POSObjectType>(Type(value)));
  }
  bool Equal(Handle left, Handle right) const {
    if (left == nullptr || right == nullptr) return left == right;
    return objects_.IsEqual(left, right);
  }
  double Number(Handle value) const { return numbers_.Get(value); }
  std::string_view String(Handle value) const {
    const char* const text = strings_.Get(value);
    return text == nullptr ? "" : text;
  }
  std::span<const std::uint16_t> Units(Handle value) const {
    const std::uint16_t* const units = unicodeStrings_.Get(value);
    std::size_t count = 0;
    while (units != nullptr && units[count] != 0) ++count;
    return {units, count};
  }
  std::string_view BinaryType(Handle value) const {
    const char* const name = binData_.GetTypeName(value);
    return name == nullptr ? "" : name;
  }
  std::string_view Bytes(Handle value) const {
    const void* const bytes = binData_.GetBinData(value);
    return {static_cast<const char*>(bytes), bytes == nullptr ? 0 : binData_.GetSize(value)};
  }

  std::uint32_t ElementCount(Handle array) const { return arrays_.Count(array); }
  Handle Element(Handle array, std::uint32_t index) const { return arrays_.GetAt(array, index); }

  // Null where the key is absent.
  Handle Member(Handle dict, const char* key) const {
    const ZELStringAtom atom = atoms_.NewStringAtom(key);
    const Handle member = dicts_.Get(dict, atom);
    atoms_.DeleteStringAtom(atom);
    return member;
  }
  // Calls `visit` with each key and value, keys in ascending order of their bytes, until it returns
  // false. Returns whether it never did.
  template <typename Visit>
  bool ForEachMember(Handle dict, Visit visit) const {
    const zelutils::Instance iterator(client_, iterators_.NewPOSDictIterator(dict),
                                      zelutils::Handed::kNew);
    for (; !iterators_.IsDone(iterator.Handle()); iterators_.Next(iterator.Handle())) {
      const char* const key = iterators_.CurKey(iterator.Handle());
      if (!visit(key, Member(dict, key))) return false;
    }
    return true;
  }
  std::size_t MemberCount(Handle dict) const {
    std::size_t count = 0;
    const zelutils::Instance iterator(client_, iterators_.NewPOSDictIterator(dict),
                                      zelutils::Handed::kNew);
    for (; !iterators_.IsDone(iterator.Handle()); iterators_.Next(iterator.Handle())) ++count;
    return count;
  }

 private:
  template <typename Interface>
  const zelutils::Table<Interface>& Get() const {
    return client_.Procedures<Interface>();
  }

  const zelutils::Client& client_;
  const zelutils::Table<zelutils::AtomInterface>& atoms_ = Get<zelutils::AtomInterface>();
  const zelutils::Table<zelutils::ObjectInterface>& objects_ = Get<zelutils::ObjectInterface>();
  const zelutils::Table<zelutils::NumberInterface>& numbers_ = Get<zelutils::NumberInterface>();
  const zelutils::Table<zelutils::StringInterface>& strings_ = Get<zelutils::StringInterface>();
  const zelutils::Table<zelutils::UnicodeStringInterface>& unicodeStrings_ =
      Get<zelutils::UnicodeStringInterface>();
  const zelutils::Table<zelutils::BinDataInterface>& binData_ = Get<zelutils::BinDataInterface>();
  const zelutils::Table<zelutils::ArrayInterface>& arrays_ = Get<zelutils::ArrayInterface>();
  const zelutils::Table<zelutils::DictInterface>& dicts_ = Get<zelutils::DictInterface>();
  const zelutils::Table<zelutils::DictIteratorInterface>& iterators_ =
      Get<zelutils::DictIteratorInterface>();
};

// "number", "array", ...; "empty slot" for 0.
const char* KindName(int type);
// "3 elements", "1 member".
std::string Counted(std::size_t count, const char* noun);

}  // namespace zelpos
