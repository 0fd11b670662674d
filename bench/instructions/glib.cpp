// What GLib and GObject take for the same. Their containers keep pointers, so they are given copies of the elements,
// which they free: ours own copies too.
#include "bench/instructions/operations.hh"

#include <glib-object.h>

#include <cstdint>

namespace {

// Objects -----------------------------------------------------------------------------------------

struct Sender {
  GObject parent;
};

struct SenderClass {
  GObjectClass parent;
};

guint changedSignal;

void initClass(void *given, void *) {
  changedSignal = g_signal_new("changed", G_TYPE_FROM_CLASS(given), G_SIGNAL_RUN_LAST, 0, nullptr, nullptr,
                               nullptr, G_TYPE_NONE, 1, G_TYPE_INT);
}

void *newSender() {
  static const GType type =
      g_type_register_static_simple(G_TYPE_OBJECT, "CountedSender", sizeof(SenderClass), initClass,
                                    sizeof(Sender), nullptr, static_cast<GTypeFlags>(0));
  return g_object_new(type, nullptr);
}

void *newReceiver() {
  return g_object_new(G_TYPE_OBJECT, nullptr);
}

void object(int rounds) {
  for (int i = 0; i < rounds; ++i) g_object_unref(newReceiver());
}

void take(void *, int value, void *receiver) {
  use(receiver);
  use(value);
}

gulong connect(void *sender, void *receiver) {
  return g_signal_connect_object(sender, "changed", G_CALLBACK(take), receiver,
                                 static_cast<GConnectFlags>(0));
}

void connectAndReleaseReceiver(int rounds) {
  void *sender = newSender();
  for (int i = 0; i < rounds; ++i) {
    void *receiver = newReceiver();
    connect(sender, receiver);
    g_object_unref(receiver);
  }
  g_object_unref(sender);
}

void connectAndDisconnect(int rounds) {
  void *sender = newSender();
  void *receiver = newReceiver();
  for (int i = 0; i < rounds; ++i) g_signal_handler_disconnect(sender, connect(sender, receiver));
  g_object_unref(receiver);
  g_object_unref(sender);
}

template <int slots>
void emitTo(int rounds) {
  void *sender = newSender();
  void *receivers[slots];
  for (void *&receiver : receivers) {
    receiver = newReceiver();
    connect(sender, receiver);
  }
  for (int i = 0; i < rounds; ++i) g_signal_emit(sender, changedSignal, 0, i);
  for (void *receiver : receivers) g_object_unref(receiver);
  g_object_unref(sender);
}

// Trees and hash tables ---------------------------------------------------------------------------

void *copyOf(const int &number) {
  return g_memdup2(&number, sizeof number);
}

int compare(const void *first, const void *second, void *) {
  const int one = *static_cast<const int *>(first);
  const int other = *static_cast<const int *>(second);
  return (one > other) - (one < other);
}

void fillTree(GTree *tree) {
  for (const int number : shuffled) g_tree_insert(tree, copyOf(number), nullptr);
}

void fillMap(GTree *map) {
  for (const int number : shuffled) g_tree_insert(map, copyOf(number), copyOf(number));
}

GTree *newTree() {
  return g_tree_new_full(compare, nullptr, g_free, nullptr);
}

GTree *newMap() {
  return g_tree_new_full(compare, nullptr, g_free, g_free);
}

void treePushAndFree(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    GTree *tree = newTree();
    fillTree(tree);
    g_tree_destroy(tree);
  }
}

void findEach(GTree *tree, int rounds) {
  for (int i = 0; i < rounds; ++i) {
    for (const int number : shuffled) use(g_tree_lookup_node(tree, &number));
  }
}

void treeFind(int rounds) {
  GTree *tree = newTree();
  fillTree(tree);
  findEach(tree, rounds);
  g_tree_destroy(tree);
}

void treePushAndPop(int rounds) {
  GTree *tree = newTree();
  for (int i = 0; i < rounds; ++i) {
    fillTree(tree);
    for (const int number : shuffled) g_tree_remove(tree, &number);
  }
  g_tree_destroy(tree);
}

void treeWalk(int rounds) {
  GTree *tree = newTree();
  fillTree(tree);
  for (int i = 0; i < rounds; ++i) {
    for (GTreeNode *node = g_tree_node_first(tree); node != nullptr; node = g_tree_node_next(node)) use(node);
  }
  g_tree_destroy(tree);
}

void mapPushAndFree(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    GTree *map = newMap();
    fillMap(map);
    g_tree_destroy(map);
  }
}

void mapFind(int rounds) {
  GTree *map = newMap();
  fillMap(map);
  findEach(map, rounds);
  g_tree_destroy(map);
}

void *asPointer(const int &number) {
  return GINT_TO_POINTER(number);
}

// A table that keeps each value as the pointer `valueOf` makes, and releases it with `freeValue`.
template <auto valueOf, GDestroyNotify freeValue>
GHashTable *filledTable() {
  GHashTable *table = g_hash_table_new_full(g_int_hash, g_int_equal, g_free, freeValue);
  for (const int number : shuffled) g_hash_table_insert(table, copyOf(number), valueOf(number));
  return table;
}

template <auto valueOf, GDestroyNotify freeValue>
void hashInsertAndFree(int rounds) {
  for (int i = 0; i < rounds; ++i) g_hash_table_destroy(filledTable<valueOf, freeValue>());
}

void hashFind(int rounds) {
  GHashTable *table = filledTable<copyOf, g_free>();
  for (int i = 0; i < rounds; ++i) {
    for (const int number : shuffled) use(g_hash_table_lookup(table, &number));
  }
  g_hash_table_destroy(table);
}

// Lists and arrays --------------------------------------------------------------------------------

void list(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    GQueue *list = g_queue_new();
    for (const int number : shuffled) g_queue_push_tail(list, copyOf(number));
    for (const GList *item = list->head; item != nullptr; item = item->next) use(item);
    g_queue_free_full(list, g_free);
  }
}

void queue(int rounds) {
  GQueue *queue = g_queue_new();
  for (int i = 0; i < rounds; ++i) {
    g_queue_push_tail(queue, queue);
    use(g_queue_pop_head(queue));
  }
  g_queue_free(queue);
}

void stack(int rounds) {
  GQueue *stack = g_queue_new();
  for (int i = 0; i < rounds; ++i) {
    g_queue_push_tail(stack, stack);
    use(g_queue_pop_tail(stack));
  }
  g_queue_free(stack);
}

void arrayPush(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    GArray *array = g_array_new(0, 0, sizeof(int));
    for (const int number : shuffled) g_array_append_val(array, number);
    g_array_free(array, 1);
  }
}

void arraySetAndGet(int rounds) {
  GArray *array = g_array_new(0, 1, sizeof(int));
  g_array_set_size(array, elementCount);
  for (int i = 0; i < rounds; ++i) {
    for (const int number : shuffled) {
      g_array_index(array, int, number) = number;
      use(array);
      use(g_array_index(array, int, number));
    }
  }
  g_array_free(array, 1);
}

// Strings -----------------------------------------------------------------------------------------

void stringSet(int rounds) {
  GString *text = g_string_new(nullptr);
  for (int i = 0; i < rounds; ++i) g_string_assign(text, piece);
  g_string_free(text, 1);
}

void stringCat(int rounds) {
  GString *text = g_string_new(nullptr);
  GString *more = g_string_new(piece);
  for (int i = 0; i < rounds; ++i) {
    g_string_assign(text, piece);
    for (int j = 0; j < 3; ++j) g_string_append_len(text, more->str, static_cast<gssize>(more->len));
  }
  g_string_free(more, 1);
  g_string_free(text, 1);
}

void string(int rounds) {
  for (int i = 0; i < rounds; ++i) {
    GString *text = g_string_new(nullptr);
    g_string_assign(text, piece);
    g_string_free(text, 1);
  }
}

const Operation operations[] = {
    {"object: new, release/GObject", object},
    {"connect, receiver released/GObject", connectAndReleaseReceiver},
    {"connect, disconnect/GObject", connectAndDisconnect},
    {"emit to 1 slot/GObject", emitTo<1>},
    {"emit to 10 slots/GObject", emitTo<10>},
    withEach("tree of 1,000: push, free/GTree", treePushAndFree),
    withEach("tree of 1,000: find/GTree", treeFind),
    withEach("tree of 1,000: push, pop/GTree", treePushAndPop),
    withEach("tree of 1,000: walk/GTree", treeWalk),
    withEach("map of 1,000: push, free/GTree", mapPushAndFree),
    withEach("map of 1,000: find/GTree", mapFind),
    withEach("hash table of 1,000: insert, free/GHashTable of copies", hashInsertAndFree<copyOf, g_free>),
    withEach("hash table of 1,000: insert, free/GHashTable of copied keys",
             hashInsertAndFree<asPointer, nullptr>),
    withEach("hash table of 1,000: find/GHashTable", hashFind),
    withEach("list: push, walk, free/GQueue", list),
    {"queue: push, pop/GQueue", queue},
    {"stack: push, pop/GQueue", stack},
    withEach("array: push/GArray", arrayPush),
    withEach("array: set, get/GArray", arraySetAndGet),
    {"string: set/GString", stringSet},
    {"string: set, 3 cat/GString", stringCat},
    {"string: new, set, free/GString", string},
};

}  // namespace

int main(int argc, char **argv) {
  return runOperations(operations, argc, argv);
}
