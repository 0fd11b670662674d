// What the language and its standard library take for the same.
#include "bench/core/countedpeer.hh"
#include "bench/instructions/maps.hh"

#include <list>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

// Objects -----------------------------------------------------------------------------------------

void object(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    auto *peer = new CountedPeer;
    use(peer);
    peer->create();
    peer->unRef();
  }
}

void virtualCall(int rounds) {
  auto *peer = new CountedPeer;
  use(peer);
  for (int i = 0; i < rounds; ++i) use(peer->getRefCount());
  peer->unRef();
}

// Maps --------------------------------------------------------------------------------------------

using Peer = Maps<StandardAccess, std::map<int, int>, std::unordered_map<int, int>>;

// Lists and arrays --------------------------------------------------------------------------------

void list(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    std::list<int> list;
    for (const int number : shuffled) list.push_back(number);
    for (const int &number : list) use(number);
  }
}

void queue(int rounds) {
  std::list<void *> queue;
  for (int i = 0; i < rounds; ++i) {
    queue.push_back(&queue);
    queue.pop_front();
  }
}

void stack(int rounds) {
  std::vector<void *> stack;
  for (int i = 0; i < rounds; ++i) {
    stack.push_back(&stack);
    use(stack);
    stack.pop_back();
  }
}

void arrayPush(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    std::vector<int> array;
    for (const int number : shuffled) array.push_back(number);
    use(array);
  }
}

void arraySetAndGet(int rounds) {
  std::vector<int> array(elementCount);
  for (int i = 0; i < rounds; ++i) {
    for (const int number : shuffled) {
      array[static_cast<size_t>(number)] = number;
      use(array);
      use(array[static_cast<size_t>(number)]);
    }
  }
}

void arrayOfStrings(int rounds) {
  std::vector<std::string> array;
  const std::string text = "text";
  for (int i = 0; i < rounds; ++i) {
    array.push_back(text);
    array.erase(array.begin());
  }
}

// Strings -----------------------------------------------------------------------------------------

void stringSet(int rounds) {
  std::string text;
  for (int i = 0; i < rounds; ++i) {
    text = piece;
    use(text);
  }
}

void stringCat(int rounds) {
  std::string text;
  const std::string more = piece;
  for (int i = 0; i < rounds; ++i) {
    text = piece;
    for (int j = 0; j < 3; ++j) text += more;
    use(text);
  }
}

void string(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    std::string text;
    text = piece;
    use(text);
  }
}

const Operation operations[] = {
    {"base object: new, release/C++ object", object},
    {"virtual call/C++ object", virtualCall},
    withEach("map of 1,000: push, free/std::map", Peer::mapPushAndFree),
    withEach("map of 1,000: find/std::map", Peer::mapFind),
    withEach("hash table of 1,000: insert, free/std::unordered_map", Peer::hashInsertAndFree),
    withEach("hash table of 1,000: find/std::unordered_map", Peer::hashFind),
    withEach("list: push, walk, free/std::list", list),
    {"queue: push, pop/std::list", queue},
    {"stack: push, pop/std::vector", stack},
    withEach("array: push/std::vector", arrayPush),
    withEach("array: set, get/std::vector", arraySetAndGet),
    {"array of strings: push, remove/std::vector", arrayOfStrings},
    {"string: set/std::string", stringSet},
    {"string: set, 3 cat/std::string", stringCat},
    {"string: new, set, free/std::string", string},
};

}  // namespace

int main(int argc, char **argv) {
  return runOperations(operations, argc, argv);
}
