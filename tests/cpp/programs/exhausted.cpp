// Without exceptions, what cannot be made for lack of memory is an empty owner, and nothing is left. The program's own
// functions for memory, in front of the library's, refuse one allocation after the other.
#include <stdint.h>
#include <stdlib.h>
#include <zentova.hpp>

#include <cstdio>

namespace {

int living = 0;
int allowed = -1;

struct Node : zt::Class<Node, ztRoot> {
  static constexpr auto className = "ExhaustedNode";
  int32_t *member = static_cast<int32_t *>(ztm_alloc(sizeof(int32_t)));
  Node() = default;
  Node(const Node &other) : zt::Class<Node, ztRoot>(other) {}
  Node &operator=(const Node &) = delete;
  ~Node() {
    ztm_free(member);
  }
};

bool refuses() {
  return allowed >= 0 && allowed-- == 0;
}

}  // namespace

void *ztm_alloc(int32_t size) {
  if (refuses()) return nullptr;
  ++living;
  return malloc(static_cast<size_t>(size));
}

void *ztm_realloc(void *block, int32_t size) {
  if (refuses()) return nullptr;
  if (block == nullptr) ++living;
  return realloc(block, static_cast<size_t>(size));
}

void ztm_free(void *block) {
  if (block != nullptr) --living;
  free(block);
}

int main() {
  static_cast<void>(zt::make<Node>());
  const int before = living;
  int empty = 0;
  int unmade = 0;
  for (int i = 0;; ++i) {
    allowed = i;
    const auto node = zt::make<Node>();
    const Node variable;
    const bool refused = allowed < 0;
    allowed = -1;
    if (!node) ++empty;
    if (variable.refCount < 0) ++unmade;
    if (!refused) break;
  }
  const auto node = zt::make<Node>();
  int copies = 0;
  for (int i = 0; i < 3; ++i) {
    allowed = i;
    if (zt::make<Node>(*node)) ++copies;
    allowed = -1;
  }
  std::printf("%s, %s, %s\n", empty > 1 ? "empty owners" : "no empty owner",
              unmade > 1 ? "unmade variables" : "none", copies < 3 ? "no copies" : "copies");
  const_cast<zt::Own<Node> &>(node).reset();
  std::printf("%d left\n", living - before);
}
