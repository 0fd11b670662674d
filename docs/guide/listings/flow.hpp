#pragma once

#include <zentova.hpp>

// The flow and the starts of a pump, hour by hour: a node with two series of numbers. Tags have no layer of their own:
// what follows `ztTag_of` is the C interface.
struct Flow : zt::Class<Flow, ztTag> {
  static constexpr auto className = "Flow";
  ztTagHandle litres, starts;

  Flow() {
    const double none = 0;
    ztTag_of(this)->insertNew(this, "litres", zt::make<ztFloatTag>().release(), &litres, 0, 24, &none);
    ztTag_of(this)->insertNew(this, "starts", zt::make<ztIntTag>().release(), &starts, 0, 24, nullptr);
  }
};
