#pragma once

#include <zentova.hpp>

// A gauge: a node of the plant with a level, in centimetres.
struct Gauge : zt::Class<Gauge, ztRoot> {
  static constexpr auto className = "Gauge";
  struct Methods : zt::Class<Gauge, ztRoot>::Methods {
    void (*measure)(void *gauge, double level);
  };
  double level = 0;

  // Calls the version of the object's own class.
  void measure(double value) {
    zt::methods(this)->measure(this, value);
  }
  void take(double value) {
    level = value;
  }
  static void define(zt::Def<Gauge> &c) {
    c.method<&Gauge::take>(&Methods::measure);
  }
};
