// A value that is not of the property's type.
#include "zentova.hpp"

#ifdef RIGHT
constexpr int32_t level = 42;
#else
constexpr auto level = "42";
#endif

void set(ztObject &gauge);
void set(ztObject &gauge) {
  zt::Property<int32_t>("level").set(gauge, level);  // refused
}
