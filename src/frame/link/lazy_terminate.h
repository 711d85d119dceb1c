// Process-wide objects that hold resources of the binder, and the list that unlinking and process
// detach walk to make them let go.
#pragma once

#include "frame/base/linked_list.h"

namespace ZEL_T_NMT {

class LazyTerminate : public double_linked_list_element<LazyTerminate> {
 public:
  // Enters the list at its head: it runs from the last constructed to the first.
  LazyTerminate() noexcept;
  virtual ~LazyTerminate() = default;

  // Called at the end of each link; false fails it.
  virtual bool Initialize() { return true; }
  // Gives back every resource of the binder.
  virtual void Terminate() {}
  // Forgets them without calling the binder.
  virtual void Abandon() noexcept {}

  static no_construct_double_linked_list<LazyTerminate>& List() noexcept;
};

}  // namespace ZEL_T_NMT
