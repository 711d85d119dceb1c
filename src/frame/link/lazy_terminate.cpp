#include "frame/link/lazy_terminate.h"

namespace ZEL_T_NMT {

LazyTerminate::LazyTerminate() noexcept { List().InsertAtHead(*this); }

no_construct_double_linked_list<LazyTerminate>& LazyTerminate::List() noexcept {
  static constinit no_construct_double_linked_list<LazyTerminate> list;
  return list;
}

}  // namespace ZEL_T_NMT
