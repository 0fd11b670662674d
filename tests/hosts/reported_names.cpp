// Makes an object in a function whose name the compiler mangles, for a report of what lives.
#include "tests/hosts/check.h"
#include "zentova.h"

#include <memory>

namespace plant {

static ztObject *makeGauge(int) {
  return ztObject_new();
}

}  // namespace plant

int main() {
  // Needs the C++ runtime, which knows what mangled names mean.
  const auto number = std::make_unique<int>(1);
  ztObject *gauge = plant::makeGauge(*number);
  CHECK(ztOOP_report("report.txt") == 1);
  ztObject_of(gauge)->unRef(gauge);
  return failedChecks != 0;
}
