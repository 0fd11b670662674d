#include <zentova.hpp>

// A class that no program knows: there is no header.
struct Thermometer : zt::Class<Thermometer, ztRoot> {
  static constexpr auto className = "Thermometer";
  double celsius = 0;
  void setCelsius(double value) {
    celsius = value;
    emit("measured", value);
  }
  static void define(zt::Def<Thermometer> &c) {
    c.signal("measured(double celsius)");
    c.property<&Thermometer::celsius, &Thermometer::setCelsius>("celsius");
  }
};

// Runs when the plugin is loaded. When it is unloaded, the class leaves by itself.
__attribute__((constructor)) static void load() {
  zt::registerClass<Thermometer>();
}
