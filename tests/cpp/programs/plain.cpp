// All of the layer without exceptions and without run-time type information.
#include <zentova.hpp>

#include <cstdio>
#include <string>

#if defined __cpp_exceptions || defined __cpp_rtti
#error "this is compiled without both"
#endif

namespace {

struct Node : zt::Class<Node, ztRoot> {
  static constexpr auto className = "PlainNode";
  std::string text = "a text that is too long for a short string";
  int32_t level = 0;
  static void define(zt::Def<Node> &c) {
    c.property<&Node::level>("level");
    c.property<&Node::text>("text");
  }
};

struct Leaf : zt::Class<Leaf, Node> {
  static constexpr auto className = "PlainLeaf";
  void take(int32_t value) {
    level = value;
  }
};

}  // namespace

int main() {
  auto node = zt::make<Node>();
  const zt::Ptr<Leaf> leaf = zt::addChild(node, zt::make<Leaf>());
  const zt::Weak<Leaf> weak(leaf);
  zt::connect<&Leaf::take>(node, "changed", leaf);
  int32_t seen = 0;
  auto connection = zt::connect(node, "changed", [&](int32_t value) { seen = value; });
  node->emit("changed", 5);
  std::printf("%d %d\n", seen, *zt::Property<int32_t>("level").get(leaf));

  const Node copy(*node);
  std::printf("%zu children, %s\n", zt::children(copy).size(),
              zt::Property<std::string>("text").get(node)->c_str());
  zt::Array<int> numbers;
  numbers.push_back(1);
  zt::TextMap<double> lengths;
  lengths.insert("Aare", 288);
  for (auto [river, length] : lengths) std::printf("%s %g\n", river, length);
  node.reset();
  std::printf("%s\n", weak ? "lives" : "gone");
}
