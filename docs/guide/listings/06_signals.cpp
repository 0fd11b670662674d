#include "limitgauge.hpp"

#include <cstdio>

int main() {
  auto gauge = zt::make<LimitGauge>();
  auto alarm = zt::connect(gauge, "alarm", [](double level) { std::printf("alarm: %.1f cm\n", level); });
  auto shown = zt::onChange(gauge, "limit", [](double to) { std::printf("the limit is %.0f cm now\n", to); });

  const zt::Property<double> limit("limit"), level("level");
  limit.set(gauge, 400);
  gauge->measure(390);    // below the limit
  gauge->measure(412.5);  // above it

  std::printf("the property says %.1f cm\n", *level.get(gauge));
  if (level.set(gauge, 1) != zt::Access::readOnly) return 1;                               // refused
  if (zt::Property<double>("limits").set(gauge, 450) != zt::Access::noProperty) return 1;  // a slip

  alarm.disconnect();
  gauge->measure(430);
}
