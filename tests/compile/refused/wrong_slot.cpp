// A slot with an argument that no signal passes.
#include "zentova.hpp"

#include <string>

#ifdef RIGHT
using Text = const char *;
#else
using Text = std::string;
#endif

void connectTo(ztObject &gauge);
void connectTo(ztObject &gauge) {
  auto seen = zt::connect(gauge, "renamed", [](Text) {});  // refused
}
