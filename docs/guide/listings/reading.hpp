#pragma once

#include <zentova.hpp>

// What a gauge showed at an hour of the day.
struct Reading : zt::Class<Reading, ztBaseClass> {
  static constexpr auto className = "Reading";
  int32_t hour = 0;
  double level = 0;

  Reading() = default;
  Reading(int32_t at, double shown) : hour(at), level(shown) {}

  int32_t write(void *file) const {
    return super(&Methods::write, file) && ztFile_of(file)->writeInt(file, hour) &&
           ztFile_of(file)->writeFloat(file, level);
  }
  int32_t read(void *file) {
    return super(&Methods::read, file) && ztFile_of(file)->readInt(file, &hour) &&
           ztFile_of(file)->readFloat(file, &level);
  }
  static void define(zt::Def<Reading> &c) {
    c.method<&Reading::write>(&Methods::write).method<&Reading::read>(&Methods::read);
  }
};
