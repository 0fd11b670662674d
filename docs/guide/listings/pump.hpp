#pragma once

#include <zentova.hpp>

// A pump, with a link to the gauge that it follows. Its owner cannot be copied, so a pump cannot either.
struct Pump : zt::Class<Pump, ztRoot> {
  static constexpr auto className = "Pump";
  zt::Own<ztLink> gauge = zt::make<ztLink>();

  int32_t write(void *file) const {
    return super(&Methods::write, file) && zt::methods(gauge)->write(gauge.get(), file);
  }
  int32_t read(void *file) {
    return super(&Methods::read, file) && zt::methods(gauge)->read(gauge.get(), file);
  }
  static void define(zt::Def<Pump> &c) {
    c.method<&Pump::write>(&Methods::write).method<&Pump::read>(&Methods::read);
  }
};
