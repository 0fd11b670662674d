#include <zentova.hpp>

#include <cassert>
#include <stdexcept>
#include <string>
#include <vector>

// begin arguments
struct Station : zt::Class<Station, ztRoot> {
  static constexpr auto className = "Station";
  std::string river;
  std::vector<double> levels;

  explicit Station(std::string at = "") : river(std::move(at)) {}  // without argument for the engine
  static void define(zt::Def<Station> &c) {
    c.property<&Station::river>("river");
  }
};
// end arguments

static void make() {
  // begin make
  auto station = zt::make<Station>("Aare");
  void *byName = ztNewFromName("Station");  // known since the first object
  assert(zt::cast<Station>(byName)->river.empty());
  // end make
  const zt::Own<Station> owner(zt::cast<Station>(byName));
}

static void copy() {
  const auto station = zt::make<Station>("Aare");
  // begin copy
  const Station copy = *station;               // a variable
  const auto other = zt::make<Station>(copy);  // on the heap
  assert(copy.river == "Aare" && other->river == "Aare");
  // end copy
}

static void property() {
  const auto station = zt::make<Station>("Aare");
  // begin property
  const zt::Property<std::string> river("river");
  river.set(station, "Rhine");
  assert(*river.get(station) == "Rhine");
  assert(zt::Property<int>("river").get(station).access == zt::Access::otherKind);
  // end property
}

static void children() {
  // begin children
  auto plant = zt::make<ztRoot>();
  zt::addChild(plant, zt::make<Station>("Aare"));  // the plant owns it now
  for (Station *station : zt::children<Station>(plant)) station->levels.push_back(412.5);
  // end children
  assert(zt::children<Station>(plant).size() == 1);
}

static void throwing() {
  const auto station = zt::make<Station>("Aare");
  // begin throwing
  const auto seen = zt::connect(station, "risen", [](double level) {
    if (level > 500) throw std::runtime_error("flood");
  });
  bool caught = false;
  try {
    zt::emit(station, "risen", 510.0);
  } catch (const std::runtime_error &) {
    caught = true;  // the engine is whole: the next emission works
  }
  // end throwing
  assert(caught && zt::emit(station, "risen", 400.0));
}

static void several() {
  const auto station = zt::make<Station>("Aare");
  std::string keeper;
  // begin several
  const auto opened = zt::connect(station, "opened", [&](int, double, const char *by) { keeper = by; });
  zt::emit(station, "opened", 3, 2.5, "Ann");
  assert(keeper == "Ann");
  // end several
}

static void taking() {
  auto plant = zt::make<ztRoot>(), basin = zt::make<ztRoot>();
  auto station = zt::addChild(plant, zt::make<Station>("Aare"));
  // begin taking
  zt::Own<Station> taken = zt::takeChild(station);
  zt::addChild(basin, std::move(taken));
  // end taking
  assert(zt::children(plant).empty() && zt::children(basin).size() == 1);
}

static void sharing() {
  // begin sharing
  zt::Shared<Station> first(zt::make<Station>("Aare"));
  const zt::Weak<Station> seen(first);
  {
    const zt::Shared<Station> second = first;
    first = {};
    assert(seen);  // the second owner is left
  }
  assert(!seen);
  // end sharing
}

int main() {
  make();
  copy();
  property();
  children();
  throwing();
  several();
  taking();
  sharing();
}
