// What the containers of Abseil take for the same.
#include "bench/instructions/operations.hh"

#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_map.h>

namespace {

using Map = absl::btree_map<int, int>;
using Table = absl::flat_hash_map<int, int>;

template <typename Container>
void fill(Container &container) {
  for (const int number : shuffled) container.emplace(number, number);
}

template <typename Container>
void findEach(const Container &container, int rounds) {
  for (int i = 0; i < rounds; ++i) {
    for (const int number : shuffled) use(container.find(number));
  }
}

void mapPushAndFree(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    Map map;
    fill(map);
    use(map);
  }
}

void mapFind(int rounds) {
  Map map;
  fill(map);
  findEach(map, rounds);
}

Table newTable() {
  Table table;
  table.reserve(elementCount);
  return table;
}

void hashInsertAndFree(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    Table table = newTable();
    fill(table);
    use(table);
  }
}

void hashFind(int rounds) {
  Table table = newTable();
  fill(table);
  findEach(table, rounds);
}

const Operation operations[] = {
    withEach("map of 1,000: push, free/absl::btree_map", mapPushAndFree),
    withEach("map of 1,000: find/absl::btree_map", mapFind),
    withEach("hash table of 1,000: insert, free/absl::flat_hash_map", hashInsertAndFree),
    withEach("hash table of 1,000: find/absl::flat_hash_map", hashFind),
};

}  // namespace

int main(int argc, char **argv) {
  return runOperations(operations, argc, argv);
}
