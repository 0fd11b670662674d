// An object with two owners of which each would release it.
#include "zentova.hpp"

void own();
void own() {
  auto gauge = zt::make<ztObject>();
#ifdef RIGHT
  const zt::Own<ztObject> other = std::move(gauge);
#else
  const zt::Own<ztObject> other = gauge;  // refused
#endif
}
