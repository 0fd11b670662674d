// An argument that no slot could take.
#include "zentova.hpp"

struct Gauge : zt::Class<Gauge, ztObject> {
  static constexpr auto className = "Gauge";
  struct Level {
    int32_t value;
  };
  void setLevel(Level level) {
#ifdef RIGHT
    emit("levelChanged", level.value);
#else
    emit("levelChanged", level);  // refused
#endif
  }
};

void set(Gauge &gauge);
void set(Gauge &gauge) {
  gauge.setLevel({42});
}
