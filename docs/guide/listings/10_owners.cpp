#include "plant.hpp"

#include <thread>

// begin owners
static void hold(zt::Own<ztRoot> plant) {
  const zt::Weak<LimitGauge> held(zt::cast<LimitGauge>(pumpOf(plant)->gauge->target));  // the basin's
  plant.reset();
  std::printf("the gauge is %s\n", held ? "there" : "gone");
}

static void share() {
  zt::Shared<LimitGauge> first(zt::make<LimitGauge>());
  const zt::Weak<LimitGauge> held(first);
  zt::Shared<LimitGauge> second = first;
  first = {};
  const bool lives = static_cast<bool>(held);  // the second owner is left
  second = {};
  std::printf("the other gauge is %s\n", lives && !held ? "gone" : "there");
}
// end owners

// begin threads
// Opens the plant in a thread of its own, and hands it over with its owner.
static zt::Own<ztRoot> loadBeside(const char *path) {
  zt::Own<ztRoot> plant;
  std::thread thread([&plant, path] { plant = openPlant(path); });
  // Meanwhile, this thread uses other objects.
  thread.join();  // orders memory
  return plant;
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

// begin main
int main() {
  auto plant = newPlant();
  const int saved = ztRoot_saveTree(plant.get(), "plant.bin", 0);
  hold(std::move(plant));
  share();

  plant = saved != 0 ? loadBeside("plant.bin") : zt::Own<ztRoot>();
  if (!plant) return 1;
  printTree(plant.get());
  fail();
}
// end main
