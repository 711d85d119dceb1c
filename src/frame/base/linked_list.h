// The intrusive doubly linked list of the process-wide lists.
#pragma once

#include <cstdint>

namespace ZEL_T_NMT {

template <typename T>
class no_construct_double_linked_list;

// Base of what a list links; destroying an element that is in a list takes it out.
template <typename T>
class double_linked_list_element {
 public:
  double_linked_list_element() noexcept = default;
  double_linked_list_element(const double_linked_list_element&) = delete;
  double_linked_list_element& operator=(const double_linked_list_element&) = delete;

  T* Next() const noexcept { return next_; }

 protected:
  ~double_linked_list_element() {
    if (list_ != nullptr) list_->Remove(*static_cast<T*>(this));
  }

 private:
  friend class no_construct_double_linked_list<T>;

  T* next_ = nullptr;
  T* previous_ = nullptr;
  no_construct_double_linked_list<T>* list_ = nullptr;
};

// All zero without a constructor, so that elements may enter it while the library is being loaded.
template <typename T>
class no_construct_double_linked_list {
 public:
  T* First() const noexcept { return first_; }
  std::uint32_t Count() const noexcept { return count_; }

  void InsertAtHead(T& element) noexcept {
    Element& links = element;
    links.next_ = first_;
    links.previous_ = nullptr;
    links.list_ = this;
    if (first_ != nullptr) static_cast<Element&>(*first_).previous_ = &element;
    first_ = &element;
    ++count_;
  }

  void Remove(T& element) noexcept {
    Element& links = element;
    if (links.next_ != nullptr) static_cast<Element&>(*links.next_).previous_ = links.previous_;
    if (links.previous_ != nullptr) {
      static_cast<Element&>(*links.previous_).next_ = links.next_;
    } else if (first_ == &element) {
      first_ = links.next_;
    }
    links.next_ = links.previous_ = nullptr;
    links.list_ = nullptr;
    --count_;
  }

  // Forgets the elements without touching them; the count stays.
  void Abandon() noexcept { first_ = nullptr; }

 private:
  using Element = double_linked_list_element<T>;

  T* first_ = nullptr;
  std::uint32_t count_ = 0;
};

}  // namespace ZEL_T_NMT
