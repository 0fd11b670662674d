// A class in C++ with properties of all seven kinds, a signal with two arguments, and a slot.
#include <zentova.hpp>

#include <stdio.h>
#include <string>

struct Station : zt::Class<Station, ztObject> {
  static constexpr auto className = "Station";
  int32_t readings = 0;
  bool isOpen = true;
  char grade = 'a';
  double level = 0;
  std::string name = "Aare";
  zt::Own<ztString> note;
  void *user = nullptr;
  static void define(zt::Def<Station> &c) {
    c.property<&Station::readings>("readings").property<&Station::isOpen>("isOpen");
    c.property<&Station::grade>("grade").property<&Station::level>("level").property<&Station::user>("user");
    c.property<&Station::name>("name").property<&Station::note>("note");
    c.signal("risen(const char *station, double level)");
  }
};

int main() {
  auto station = zt::make<Station>();
  auto seen = zt::connect(station, "risen", [](const char *at, double m) { printf("%s: %g m\n", at, m); });
  zt::Property<double>("level").set(station, 412.5);
  station->emit("risen", station->name.c_str(), station->level);
}
