// State that is made at its first use and lasts until the layer is unloaded, beyond the destructors
// of static objects, in which a host may still work.
#pragma once

namespace zelcheck {

class LastingBase {
 public:
  // Destroys all that is there; when the layer is unloaded.
  static void DropAll() noexcept {
    for (; first_ != nullptr; first_ = first_->next_) first_->drop_(*first_);
  }

 protected:
  void Enlist(void (*drop)(LastingBase& self)) noexcept {
    drop_ = drop;
    next_ = first_;
    first_ = this;
  }

 private:
  static inline constinit LastingBase* first_ = nullptr;
  LastingBase* next_ = nullptr;
  void (*drop_)(LastingBase& self) = nullptr;
};

template <typename T>
class Lasting : private LastingBase {
 public:
  T& operator()() {
    if (value_ == nullptr) {
      value_ = new T;
      Enlist([](LastingBase& self) {
        auto& lasting = static_cast<Lasting&>(self);
        delete lasting.value_;
        lasting.value_ = nullptr;
      });
    }
    return *value_;
  }

 private:
  T* value_ = nullptr;
};

}  // namespace zelcheck
