// clang-format off
#include <zentova.hpp>
#include <cstdio>
struct Gauge : zt::Class<Gauge, ztObject> {
  static constexpr auto className = "Gauge";
  int32_t level = 0;
  void setLevel(int32_t v) { level = v; emit("levelChanged", v); }
  int32_t write(void *file) const { return super(&Methods::write, file) && ztFile_of(file)->writeInt(file, level); }
  static void define(zt::Def<Gauge> &c) {
    c.method<&Gauge::write>(&Methods::write);
    c.property<&Gauge::level, &Gauge::setLevel>("level");
  }
};
int main() {
  auto gauge = zt::make<Gauge>();
  auto seen = zt::connect(gauge, "levelChanged", [](int32_t v) { std::printf("the level is %d\n", v); });
  zt::Property<int32_t>("level").set(gauge, 42);
}
