#include "limitgauge.hpp"

#include <cstdio>
#include <thread>

// begin owners
static void hold() {
  zt::Weak<LimitGauge> held;
  {
    zt::Shared<LimitGauge> first(zt::make<LimitGauge>());
    const zt::Shared<LimitGauge> second = first;
    held = zt::Weak<LimitGauge>(first);
    first = {};  // one owner is left
    if (!held) std::puts("never printed");
  }
  std::printf("the gauge is %s\n", held ? "there" : "gone");
}
// end owners

// begin threads
static void measureTwo() {
  const char *const names[] = {"Intake", "Outlet"};
  zt::Own<LimitGauge> gauges[2];
  std::thread threads[2];
  for (int i = 0; i < 2; ++i) {
    threads[i] = std::thread([&gauge = gauges[i], name = names[i]] {
      gauge = zt::make<LimitGauge>();
      zt::methods(gauge)->setName(gauge.get(), name);
      gauge->measure(412.5);
    });
  }
  for (int i = 0; i < 2; ++i) {
    threads[i].join();  // orders memory: from here on the gauge is this thread's
    std::printf("%s: %.1f cm\n", gauges[i]->name, gauges[i]->level);
  }
}
// end threads

// begin errors
static void fail() {
  auto file = zt::make<ztFile>();
  const auto *methods = zt::methods(file);
  std::printf("open: %d\n", methods->open(file.get(), "missing/readings.bin", "rb"));
  std::printf("write without a file: %d\n", methods->writeInt(file.get(), 3));
  methods->open(file.get(), "/dev/full", "wb");                  // a disk without space
  std::printf("write: %d\n", methods->writeInt(file.get(), 3));  // into the buffer only
  std::printf("flush: %s\n", methods->flush(file.get()) == 0 ? "written" : "lost");
  std::printf("no object: %d\n", ztNewFromName("Turbine") != nullptr);  // and a line in the log
}
// end errors

int main() {
  hold();
  measureTwo();
  fail();
}
