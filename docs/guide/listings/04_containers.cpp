#include "day.hpp"

#include <cstdio>

int main() {
  const auto day = newDay();
  for (const Sample &sample : day) std::printf("%02d:00  %.1f cm\n", sample.hour, sample.level);
  std::printf("the middle is %.1f cm\n", middleOf(day));

  zt::TextMap<double> limits;  // keeps copies of the names
  limits.insert("Intake", 415);
  limits.insert("Basin", 300);
  for (auto [name, limit] : limits) std::printf("%s: %.0f cm\n", name, limit);
}
