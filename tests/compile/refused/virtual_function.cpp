// A virtual function, which moves the header of the object.
#include "zentova.hpp"

struct Gauge : zt::Class<Gauge, ztObject> {
  static constexpr auto className = "Gauge";
#ifndef RIGHT
  virtual
#endif
      int32_t
      level() const {
    return 1;
  }
};

void makeOne();
void makeOne() {
  auto gauge = zt::make<Gauge>();  // refused
}
