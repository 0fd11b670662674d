#pragma once

#include "gauge.hpp"

// A gauge that emits "alarm" with its level, a double, when that is above a limit.
struct LimitGauge : zt::Class<LimitGauge, Gauge> {
  static constexpr auto className = "LimitGauge";
  double limit = 500;

  // begin measure
  // As any gauge; and an alarm.
  void take(double value) {
    super(&Methods::measure, value);
    if (value > limit) emit("alarm", value);
  }
  // end measure
  // begin store
  int32_t write(void *file) const {
    return super(&Methods::write, file) && ztFile_of(file)->writeFloat(file, level) &&
           ztFile_of(file)->writeFloat(file, limit);
  }
  int32_t read(void *file) {
    return super(&Methods::read, file) && ztFile_of(file)->readFloat(file, &level) &&
           ztFile_of(file)->readFloat(file, &limit);
  }
  // end store
  // begin define
  static void define(zt::Def<LimitGauge> &c) {
    c.method<&LimitGauge::take>(&Methods::measure);
    c.method<&LimitGauge::write>(&Methods::write).method<&LimitGauge::read>(&Methods::read);
    c.signal("alarm(double level)");
    c.readOnly<&LimitGauge::level>("level").property<&LimitGauge::limit>("limit");
  }
  // end define
};
