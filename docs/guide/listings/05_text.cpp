#include "day.hpp"

#include <cstdio>
#include <string>

// The strings of C++ serve within a program. A ztString is for what C shares, and for files.
static zt::Own<ztString> newString(const std::string &text) {
  auto string = zt::make<ztString>();
  zt::methods(string)->set(string.get(), text.c_str());
  return string;
}

static std::string reportOf(const std::string &title, const zt::List<Sample> &day) {
  std::string report = title;
  for (const auto &[hour, level] : day) report += ztCu_fmtMsg("\n%02d:00  %.1f cm", hour, level);
  return report;
}

static bool storeAndLoad(const zt::Own<ztString> &name, const zt::Own<ztString> &report, double middle) {
  auto file = zt::make<ztTextFile>();
  auto loaded = zt::make<ztString>();
  const auto *methods = zt::methods(file);
  bool done = methods->open(file.get(), "report.txt", "w+") && ztString_store(name.get(), file.get()) &&
              ztString_store(report.get(), file.get()) && methods->writeFloat(file.get(), middle) > 0;
  methods->goToBegin(file.get());
  done = done && ztString_load(loaded.get(), file.get()) && ztString_load(loaded.get(), file.get());
  std::printf("restored: %d\n", zt::methods(loaded)->isEqual(loaded.get(), report.get()));
  return done;
}

int main() {
  const auto day = newDay();
  const auto name = newString("Waterworks");
  const auto report = newString(reportOf("Waterworks, Monday", day));
  const auto *methods = zt::methods(name);
  std::printf("%s: %u characters\n", methods->get(name.get()), methods->length(name.get()));
  std::printf("equal: %d, less: %d\n", methods->isEqual(name.get(), report.get()),
              methods->isLess(name.get(), report.get()));
  return storeAndLoad(name, report, middleOf(day)) ? 0 : 1;
}
