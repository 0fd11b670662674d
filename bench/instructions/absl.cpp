// What the containers of Abseil take for the same.
#include "bench/instructions/maps.hh"

#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_map.h>

namespace {

using Peer = Maps<StandardAccess, absl::btree_map<int, int>, absl::flat_hash_map<int, int>>;

const Operation operations[] = {
    withEach("map of 1,000: push, free/absl::btree_map", Peer::mapPushAndFree),
    withEach("map of 1,000: find/absl::btree_map", Peer::mapFind),
    withEach("hash table of 1,000: insert, free/absl::flat_hash_map", Peer::hashInsertAndFree),
    withEach("hash table of 1,000: find/absl::flat_hash_map", Peer::hashFind),
};

}  // namespace

int main(int argc, char **argv) {
  return runOperations(operations, argc, argv);
}
