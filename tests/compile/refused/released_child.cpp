// A child that its parent and its former owner would release.
#include "zentova.hpp"

void give(ztRoot &house);
void give(ztRoot &house) {
  auto room = zt::make<ztRoot>();
#ifdef RIGHT
  zt::addChild(house, std::move(room));
#else
  zt::addChild(house, room);  // refused
#endif
}
