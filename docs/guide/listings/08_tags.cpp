#include "flow.hpp"
#include "plant.hpp"

#include <numeric>

static void fill(zt::Ptr<Flow> flow) {
  for (int32_t hour = 6; hour < 18; ++hour) {
    const double litres = 30 + hour;
    const int32_t once = 1;
    zt::methods(flow)->setValue(flow.get(), &flow->litres, hour, &litres);
    zt::methods(flow)->setValue(flow.get(), &flow->starts, hour, &once);
  }
}

static void print(zt::Ptr<Flow> flow) {
  double noon = 0, total = 0;
  zt::methods(flow)->getValue(flow.get(), &flow->litres, 12, &noon);
  zt::methods(flow)->getTotalValue(flow.get(), &flow->litres, &total);
  std::printf("%s: %.0f at noon, %.0f in all\n", flow->name, noon, total);

  // The values themselves are a range.
  const auto starts = zt::elements<int32_t>(zt::methods(flow)->getValues(flow.get(), &flow->starts));
  const auto *found =
      static_cast<ztTagAttribute *>(zt::methods(flow)->getByName(flow.get(), "starts", nullptr));
  std::printf("%d %s, %zu values\n", std::accumulate(starts.begin(), starts.end(), 0), found->name,
              starts.size());
}

int main() {
  auto plant = newPlant();
  fill(zt::addChild(pumpOf(plant), newNode<Flow>("Monday", 5)));  // a node below the pump
  if (ztRoot_saveTree(plant.get(), "plant.bin", 0) != 5) return 1;

  plant = openPlant("plant.bin");
  if (!plant) return 1;
  const auto pump = pumpOf(plant);
  print(zt::cast<Flow>(zt::methods(pump)->getChildAt(pump.get(), 0)));
}
