#include <zentova.h>

#include <assert.h>
#include <stdio.h>
#include <string.h>

static void sort(void) {
  ztIntArray *levels = ztIntArray_new();
  for (int32_t level = 3; level > 0; --level) ztIntArray_of(levels)->pushBack(levels, &level);
  // begin sort
  ztIntArray_of(levels)->sort(levels, ztIntArray_compare_func);
  const int32_t key = 2;
  const int32_t *found = ztIntArray_of(levels)->search(levels, &key, ztIntArray_compare_func);
  assert(found != NULL && *found == 2); /* NULL when there is none */
  // end sort
  ztIntArray_of(levels)->unRef(levels);
}

// begin sort_down
static int32_t compareDown(const void *first, const void *second) {
  return ztIntArray_compare_func(second, first);
}
// end sort_down

static void sortDown(void) {
  ztIntArray *levels = ztIntArray_new();
  for (int32_t level = 1; level <= 3; ++level) ztIntArray_of(levels)->pushBack(levels, &level);
  // begin sorted_down
  ztIntArray_of(levels)->sort(levels, compareDown);
  assert(*(const int32_t *)ztIntArray_of(levels)->getFront(levels) == 3);
  // end sorted_down
  ztIntArray_of(levels)->unRef(levels);
}

static void objects(void) {
  // begin objects
  ztList *notes = ztList_new();
  ztList_of(notes)->setElementConstructor(notes, ztString_ctor); /* it keeps copies of ztString */
  ztList_of(notes)->pushBack(notes, ztString_functions()->newString(NULL, "cleaned"));
  ztList_of(notes)->pushBack(notes, ztString_functions()->newString(NULL, "measured"));
  // end objects
  // begin walk
  for (ztListItem *item = ztList_of(notes)->getItemAt(notes, 0); item != NULL; item = item->next)
    puts(ztString_of(item->data)->get(item->data));
  // end walk
  assert(ztList_of(notes)->getSize(notes) == 2);
  ztList_of(notes)->unRef(notes);
}

static void removeSome(void) {
  ztPtrList *list = ztPtrList_new();
  const char *const words[] = {"a", "", "b", ""};
  for (int i = 0; i < 4; ++i) ztPtrList_of(list)->pushBack(list, words[i]);
  // begin remove
  for (ztListItem *item = ztPtrList_of(list)->getItemAt(list, 0), *next; item != NULL; item = next) {
    next = item->next; /* before the item goes */
    if (*(const char *)item->data == '\0') ztPtrList_of(list)->removeItem(list, item);
  }
  assert(ztPtrList_of(list)->getSize(list) == 2);
  // end remove
  ztPtrList_of(list)->unRef(list);
}

// begin texts
static int32_t compareTexts(const void *first, const void *second) {
  return strcmp(first, second);
}

static ztMap *newLimits(void) {
  ztMap *limits = ztMap_new();
  ztMap_of(limits)->setCompareFunction(limits, compareTexts);
  ztMap_of(limits)->setKeySize(limits, sizeof(char *), 1);   /* the pointers: the texts must stay */
  ztMap_of(limits)->setValueSize(limits, sizeof(double), 0); /* copies */
  return limits;
}
// end texts

static void find(void) {
  ztMap *limits = newLimits();
  // begin find
  const double intake = 415;
  ztMap_of(limits)->pushBack(limits, "Intake", &intake);
  const double *limit = ztMap_of(limits)->findValue(limits, "Intake");
  assert(limit != NULL && *limit == 415); /* NULL when there is no such key */
  // end find
  // begin walk_map
  ztMapIterator walk;
  ztMapIterator_ctor(&walk, 1);
  const ztMapItem *item = ztMapIterator_of(&walk)->first(&walk, limits);
  for (; item != NULL; item = ztMapIterator_of(&walk)->next(&walk))
    printf("%s: %.0f\n", (const char *)item->data, *(const double *)item->value);
  ztMapIterator_of(&walk)->destroy(&walk);
  // end walk_map
  ztMap_of(limits)->unRef(limits);
}

static void queue(void) {
  // begin queue
  ztPtrQueue *orders = ztPtrQueue_new();
  ztPtrQueue_of(orders)->push(orders, "open");
  ztPtrQueue_of(orders)->push(orders, "close");
  while (!ztPtrQueue_of(orders)->isEmpty(orders)) {
    const char *order = ztPtrQueue_of(orders)->getFront(orders);
    ztPtrQueue_of(orders)->pop(orders); /* gives the next item, not the order */
    puts(order);
  }
  // end queue
  ztPtrQueue_of(orders)->unRef(orders);
}

static void format(void) {
  // begin format
  ztString *report = ztString_new();
  for (int i = 1; i <= 2; ++i) {
    const char *line = ztCu_fmtMsg("gauge %d; ", i); /* up to 511 bytes, until the next call */
    ztString_of(report)->cat(report, ztString_functions()->newString(NULL, line));
  }
  assert(strcmp(ztString_of(report)->get(report), "gauge 1; gauge 2; ") == 0);
  // end format
  ztString_of(report)->unRef(report);
}

int main(void) {
  sort();
  sortDown();
  objects();
  removeSome();
  find();
  queue();
  format();
  return 0;
}
