#include "gauge.hpp"

#include <cstdio>

int main() {
  auto gauge = zt::make<Gauge>();
  zt::methods(gauge)->setName(gauge.get(), "Intake");  // inherited from ztRoot
  gauge->measure(412.5);
  std::printf("%s: %.1f cm\n", gauge->name, gauge->level);

  auto second = zt::make<Gauge>();
  second->measure(gauge->level + 1);
  std::printf("%.1f and %.1f cm\n", gauge->level, second->level);
}
