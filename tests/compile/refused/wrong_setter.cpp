// A property whose setter takes another type.
#include "zentova.hpp"

#include <string>

struct Gauge : zt::Class<Gauge, ztObject> {
  static constexpr auto className = "Gauge";
  int32_t level = 0;
#ifdef RIGHT
  void setLevel(int32_t) {}
#else
  void setLevel(const std::string &) {}
#endif
  static void define(zt::Def<Gauge> &c) {
    c.property<&Gauge::level, &Gauge::setLevel>("level");  // refused
  }
};

void makeOne();
void makeOne() {
  auto gauge = zt::make<Gauge>();
}
