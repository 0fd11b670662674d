// The operations on maps and tables that are class templates of C++. A library defines how one pair is put in and
// looked for: put(container, number) and look(container, number).
#ifndef ZT_BENCH_INSTRUCTIONS_MAPS_HH
#define ZT_BENCH_INSTRUCTIONS_MAPS_HH

#include "bench/instructions/operations.hh"

template <typename Access, typename Map, typename Table>
struct Maps {
  template <typename Container>
  static void fill(Container &container) {
    for (const int number : shuffled) Access::put(container, number);
  }

  template <typename Container>
  static void findEach(const Container &container, int rounds) {
    for (int i = 0; i < rounds; ++i) {
      for (const int number : shuffled) use(Access::look(container, number));
    }
  }

  static void mapPushAndFree(int rounds) {
    for (int i = 0; i < rounds; ++i) {
      Map map;
      fill(map);
      use(map);
    }
  }

  static void mapFind(int rounds) {
    Map map;
    fill(map);
    findEach(map, rounds);
  }

  static Table newTable() {
    Table table;
    table.reserve(elementCount);
    return table;
  }

  static void hashInsertAndFree(int rounds) {
    for (int i = 0; i < rounds; ++i) {
      Table table = newTable();
      fill(table);
      use(table);
    }
  }

  static void hashFind(int rounds) {
    Table table = newTable();
    fill(table);
    findEach(table, rounds);
  }
};

// Maps whose interface is that of the standard library.
struct StandardAccess {
  template <typename Container>
  static void put(Container &container, int number) {
    container.emplace(number, number);
  }
  template <typename Container>
  static auto look(const Container &container, int number) {
    return container.find(number);
  }
};

#endif
