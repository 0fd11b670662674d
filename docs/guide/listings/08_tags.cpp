#include <zentova.hpp>

#include <cstdio>
#include <numeric>

int main() {
  // Tags have no classes of their own in zentova.hpp: owner and ranges come from there, the rest is the C interface.
  auto day = zt::make<ztTag>();
  const auto *methods = zt::methods(day);
  methods->setName(day.get(), "Monday");
  ztTagHandle flow, starts;
  const double none = 0;
  methods->insertNew(day.get(), "flow", zt::make<ztFloatTag>().release(), &flow, 0, 24, &none);
  methods->insertNew(day.get(), "starts", zt::make<ztIntTag>().release(), &starts, 0, 24, nullptr);

  for (int32_t hour = 6; hour < 18; ++hour) {
    const double litres = 30 + hour;
    const int32_t once = 1;
    methods->setValue(day.get(), &flow, hour, &litres);
    methods->setValue(day.get(), &starts, hour, &once);
  }

  double noon = 0, total = 0;
  methods->getValue(day.get(), &flow, 12, &noon);
  methods->getTotalValue(day.get(), &flow, &total);
  std::printf("%s: %.0f at noon, %.0f in all\n", day->name, noon, total);

  // The values themselves are a range.
  const auto runs = zt::elements<int32_t>(methods->getValues(day.get(), &starts));
  std::printf("%d starts\n", std::accumulate(runs.begin(), runs.end(), 0));
  const auto *found = static_cast<ztTagAttribute *>(methods->getByName(day.get(), "flow", nullptr));
  std::printf("%s has %d values\n", found->name, methods->getNumValues(day.get(), &flow));
}
