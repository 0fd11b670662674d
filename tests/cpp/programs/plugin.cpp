// A library with a class whose objects others make by its name.
#include <zentova.hpp>

#include <cstdio>
#include <string>

namespace {

struct Turbine : zt::Class<Turbine, ztObject> {
  static constexpr auto className = "Turbine";
  std::string text = "a text that is too long for a short string";
  int32_t speed = 1;
  ~Turbine() {
    std::puts("a turbine ends");
  }
  static void define(zt::Def<Turbine> &c) {
    c.property<&Turbine::speed>("speed");
  }
};

// Ends while the library is unloaded, before its class leaves.
zt::Own<Turbine> last;

__attribute__((constructor)) void load() {
  zt::registerClass<Turbine>();
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void keepOne();
void keepOne() {
  last = zt::make<Turbine>();
}
