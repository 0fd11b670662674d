// A host of the installed library, in what only C++ has: a class with a property, a lambda as a slot.
#include <zentova.hpp>

#include <cstdio>

struct Gauge : zt::Class<Gauge, ztObject> {
  static constexpr auto className = "Gauge";
  int32_t level = 0;
  void setLevel(int32_t value) {
    level = value;
    emit("levelChanged", value);
  }
  static void define(zt::Def<Gauge> &c) {
    c.property<&Gauge::level, &Gauge::setLevel>("level");
  }
};

int main() {
  auto gauge = zt::make<Gauge>();
  auto seen =
      zt::connect(gauge, "levelChanged", [](int32_t value) { std::printf("the level is %d\n", value); });
  zt::Property<int32_t>("level").set(gauge, 42);
}
