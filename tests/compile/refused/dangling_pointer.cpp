// A pointer to an object whose owner ends at once.
#include "zentova.hpp"

void point();
void point() {
#ifdef RIGHT
  auto gauge = zt::make<ztObject>();
  [[maybe_unused]] const zt::Ptr<ztObject> pointer = gauge;
#else
  [[maybe_unused]] const zt::Ptr<ztObject> pointer = zt::make<ztObject>();  // refused
#endif
}
