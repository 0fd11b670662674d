#include <zentova.hpp>

#include <algorithm>
#include <cstdio>

// zt::List and zt::Array hold pointers, and values that are copied as bytes.
struct Sample {
  int32_t hour;
  double level;
};

static double middleOf(const zt::List<Sample> &day) {
  zt::Array<double> levels;
  for (const Sample &sample : day) levels.push_back(sample.level);
  std::sort(levels.begin(), levels.end());
  return levels[levels.size() / 2];
}

int main() {
  zt::List<Sample> day;
  for (int32_t hour = 6; hour < 9; ++hour) day.push_back({hour, 420.0 - hour});
  for (const Sample &sample : day) std::printf("%02d:00  %.1f cm\n", sample.hour, sample.level);
  std::printf("the middle is %.1f cm\n", middleOf(day));

  zt::TextMap<double> limits;  // keeps copies of the names
  limits.insert("Intake", 415);
  limits.insert("Basin", 300);
  for (auto [name, limit] : limits) std::printf("%s: %.0f cm\n", name, limit);
}
