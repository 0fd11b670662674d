#pragma once

#include <zentova.hpp>

#include <algorithm>

// What a gauge showed at an hour: zt::List and zt::Array hold pointers, and values that are copied as bytes.
struct Sample {
  int32_t hour;
  double level;
};

inline zt::List<Sample> newDay() {
  zt::List<Sample> day;
  for (int32_t hour = 6; hour < 9; ++hour) day.push_back({hour, 420.0 - hour});
  return day;
}

inline double middleOf(const zt::List<Sample> &day) {
  zt::Array<double> levels;
  for (const Sample &sample : day) levels.push_back(sample.level);
  std::sort(levels.begin(), levels.end());
  return levels[levels.size() / 2];
}
