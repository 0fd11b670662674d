// Owners and connections that end after the library's clean-up.
#include <zentova.hpp>

#include <cstdio>
#include <string>

namespace {

struct Gauge : zt::Class<Gauge, ztObject> {
  static constexpr auto className = "Gauge";
  std::string text = "a text that is too long for a short string";
  ~Gauge() {
    std::puts("the gauge ends");
  }
};

struct End {
  ~End() {
    ztOOP_CleanUp();
  }
};

zt::Own<Gauge> gauge;
zt::Shared<Gauge> shared;
zt::Weak<Gauge> weak;
zt::Connection seen;
const End end;

}  // namespace

int main() {
  gauge = zt::make<Gauge>();
  shared = zt::make<Gauge>();
  weak = zt::Weak<Gauge>(gauge);
  seen = zt::connect(shared, "changed", [text = gauge->text] { std::puts(text.c_str()); });
  shared->emit("changed");
}
