// A property of a type that no kind of property has.
#include "zentova.hpp"

#ifdef RIGHT
using Level = int32_t;
#else
using Level = int64_t;
#endif

struct Gauge : zt::Class<Gauge, ztObject> {
  static constexpr auto className = "Gauge";
  Level level = 0;
  static void define(zt::Def<Gauge> &c) {
    c.property<&Gauge::level>("level");  // refused
  }
};

void makeOne();
void makeOne() {
  auto gauge = zt::make<Gauge>();
}
