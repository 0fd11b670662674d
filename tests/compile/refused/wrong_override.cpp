// A method whose arguments are not those of its slot.
#include "zentova.hpp"

struct Gauge : zt::Class<Gauge, ztObject> {
  static constexpr auto className = "Gauge";
#ifdef RIGHT
  int32_t write(void *) const {
#else
  int32_t write(const char *) const {
#endif
      return 1;
} static void define(zt::Def<Gauge> &c) {
  c.method<&Gauge::write>(&Methods::write);  // refused
}
}
;

void makeOne();
void makeOne() {
  auto gauge = zt::make<Gauge>();
}
