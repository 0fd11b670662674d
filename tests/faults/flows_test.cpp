// What several objects do together while calls fail: trees, links, signals, properties, tags, containers of
// objects, folders.
#include "tests/faults/injection.hh"

#include "tests/helpers/temp_folder.hh"
#include "zentova.h"

#include <gtest/gtest.h>

#include <string.h>

#include <algorithm>

namespace {

std::string describe(const void *node) {
  if (node == nullptr) return "nothing";
  const ztRootMethods *methods = ztRoot_of(node);
  std::string all = std::to_string(methods->getUid(node));
  for (int32_t i = 0; i < methods->getChildCount(node); ++i) {
    all += (i == 0 ? "(" : " ") + describe(methods->getChildAt(node, i));
  }
  return methods->getChildCount(node) == 0 ? all : all + ")";
}

void *newNode(Trial &trial, int32_t uid, ztCtor constructor = ztRoot_ctor) {
  void *node = trial.make(constructor);
  if (node != nullptr) ztRoot_of(node)->setUid(node, uid);
  return node;
}

// Each change of the parent gives a node one reference more; those beyond the tree's go back.
void attach(Trial &trial, void *child, void *parent) {
  trial.need([=] {
    ztRoot_of(child)->setParent(child, parent);
    return ztRoot_of(child)->getParent(child) == parent;
  });
  while (ztRoot_of(child)->getRefCount(child) > 2) ztRoot_of(child)->unRef(child);
}

void *newChild(Trial &trial, int32_t uid, void *parent, ztCtor constructor = ztRoot_ctor) {
  void *child = newNode(trial, uid, constructor);
  attach(trial, child, parent);
  return child;
}

// 1 above 2 and 30 more on one way down; 2 above 3 and 4, with so many children that its list is long.
void *newTree(Trial &trial) {
  void *root = newNode(trial, 1);
  void *second = newChild(trial, 2, root);
  newChild(trial, 3, second);
  newChild(trial, 4, second);
  void *lowest = root;
  for (int32_t uid = 100; uid < 130; ++uid) lowest = newChild(trial, uid, lowest);
  return root;
}

void *copyOf(Trial &trial, const void *object) {
  return trial.need([=] { return newClone(object); });
}

// Whether a file could be opened, used and relied on.
template <typename Use>
bool useFile(const MemoryFile &memory, const char *mode, Use use) {
  Held file(ztFile_ctor(nullptr, 1));
  return file != nullptr && ztFile_of(file)->open(file, memory.path(), mode) && use(file);
}

bool isFlushed(void *file) {
  return ztFile_of(file)->flush(file) == 0;
}

bool write(const MemoryFile &memory, const void *object) {
  return useFile(memory, "wb",
                 [=](void *file) { return ztBaseClass_of(object)->write(object, file) && isFlushed(file); });
}

bool read(const MemoryFile &memory, void *object) {
  return useFile(memory, "rb",
                 [=](void *file) { return ztBaseClass_of(object)->read(object, file) && isFlushed(file); });
}

void releaseRoots(const void *roots) {
  const ztPtrArrayMethods *methods = ztPtrArray_of(roots);
  for (int32_t i = 0; i < methods->getSize(roots); ++i) releaseIfMade(methods->getAt(roots, i));
}

int32_t calls;

void count(void *, intptr_t) {
  ++calls;
}

ztSlotFunction slotOf(void (*function)(void *, intptr_t)) {
  ztSlotFunction slot;
  slot.call1 = function;
  return slot;
}

bool connect(void *sender, const char *signal, void *receiver, ztSlotFunction slot) {
  const ztObjectMethods *methods = ztObject_of(sender);
  return methods->connect(ztOOP_classOf(sender), sender, signal, receiver, "slot", slot, 1) ||
         methods->connectionExist(ztOOP_classOf(sender), sender, signal, receiver, slot);
}

bool setInt(void *object, const char *name, int32_t value) {
  const void *initial = &value;
  return ztObject_of(object)->setProperty(object, name, "ztInt", reinterpret_cast<ztWord>(initial)) != 0;
}

int32_t intOf(void *object, const char *name) {
  int32_t value = -1;
  ztObject_of(object)->getProperty(object, name, "ztInt", &value);
  return value;
}

// Each scenario under faults of each kind that it names.
void strikeAll(const std::vector<Kind> &kinds, const Scenario &scenario) {
  int strikes = 0;
  for (const Kind &kind : kinds) strikes += strikeEach(kind, scenario);
  EXPECT_GT(strikes, 0);
}

}  // namespace

// Trees ---------------------------------------------------------------------------------------------

TEST(FaultsInATree, AreReportedWhenItIsBuiltAndRearranged) {
  strikeAll({memory}, [](Trial &trial) {
    Held root(newTree(trial));
    void *second = ztRoot_of(root)->getChildAt(root, 0);
    void *other = ztRoot_of(root)->getChildAt(root, 1);
    attach(trial, second, other);
    attach(trial, second, root);
    ztRoot_of(root)->deleteChild(root, other);
    EXPECT_EQ(ztRoot_of(root)->getChildCount(root), 1);
    const std::string kept = describe(root);
    attach(trial, other, root);
    return kept + describe(root);
  });
}

TEST(FaultsInATree, AreReportedWhenItIsCopied) {
  strikeAll({memory}, [](Trial &trial) {
    Held root(newTree(trial));
    Held copy(copyOf(trial, root));
    // A copied child takes the place that it has already.
    void *child = ztRoot_of(copy)->getChildAt(copy, 0);
    trial.need([&] {
      ztRoot_of(copy)->addChild(copy, child);
      return ztRoot_of(child)->getParent(child) == copy;
    });
    return describe(copy);
  });
}

TEST(FaultsInATree, AreReportedWhenItIsStoredAndLoaded) {
  strikeAll(allKinds(), [](Trial &trial) {
    Held root(newTree(trial));
    const MemoryFile stored;
    trial.need([&] {
      return useFile(stored, "wb",
                     [&](void *file) { return ztRoot_storeTree(root, file) && isFlushed(file); });
    });
    Held roots(trial.make(ztPtrArray_ctor));
    std::string result;
    for (const int32_t count : {34, -1}) {
      trial.need([&] {
        return useFile(stored, "rb",
                       [&](void *file) { return ztRoot_loadTree(file, count, roots, nullptr); });
      });
      EXPECT_EQ(ztPtrArray_of(roots)->getSize(roots), 1);
      result += describe(ztPtrArray_of(roots)->getFront(roots));
      releaseRoots(roots);
      ztPtrArray_of(roots)->empty(roots);
    }
    return result;
  });
}

TEST(FaultsInATree, LeaveTheChildDeletedThatIsAnnounced) {
  strikeAll({memory}, [](Trial &trial) {
    Held listener(trial.make(ztObject_ctor));
    Held root(newNode(trial, 1));
    Held child(newChild(trial, 2, root));
    Held last(newChild(trial, 3, root));
    trial.need([&] { return connect(root, "childDeleted", listener, slotOf(count)); });
    calls = 0;
    ztRoot_of(root)->deleteChild(root, child);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(ztRoot_of(root)->deleteAllChild(root), 0);
    return describe(root);
  });
}

// Links ---------------------------------------------------------------------------------------------

TEST(FaultsOfLinks, AreReportedWhenTheyAreStoredLoadedAndResolved) {
  strikeAll(allKinds(), [](Trial &trial) {
    Held root(newTree(trial));
    Held links(trial.make(ztLinkArray_ctor));
    Owned<ztLink> link(trial.make(ztLink_ctor));
    for (const int32_t uid : {4, 129, 1}) {
      link.fields().targetId = uid;
      trial.need([&] { return ztLinkArray_of(links)->pushBack(links, link) != nullptr; });
    }
    const MemoryFile stored;
    trial.need([&] { return write(stored, links); });
    Held loaded(trial.make(ztLinkArray_ctor));
    trial.need([&] { return read(stored, loaded); });
    trial.need([&] { return ztLinkArray_resolve(loaded, root) == 3; });
    trial.need([&] { return ztLink_resolve(link, root) == 1; });
    std::string targets;
    for (int32_t i = 0; i < 3; ++i) {
      const auto *resolved = static_cast<const ztLink *>(ztLinkArray_of(loaded)->getAt(loaded, i));
      targets += describe(resolved->target) + " ";
    }
    return targets;
  });
}

// Signals -------------------------------------------------------------------------------------------

TEST(FaultsOfSignals, AreReportedByConnectionsAndEmissions) {
  strikeAll({memory}, [](Trial &trial) {
    Held sender(trial.make(ztObject_ctor));
    std::vector<void *> receivers;
    receivers.reserve(20);
    for (int i = 0; i < 20; ++i) {
      receivers.push_back(trial.make(ztObject_ctor));
      trial.need([&] { return connect(sender, "changed", receivers.back(), slotOf(count)); });
    }
    trial.need([&] {
      calls = 0;
      return ztObject_emit(sender, "changed", 1);
    });
    EXPECT_EQ(calls, 20);
    EXPECT_EQ(ztObject_disconnect(sender, "changed", receivers[7], slotOf(count)), 1);
    for (void *receiver : receivers) releaseIfMade(receiver);
    return std::to_string(ztObject_emit(sender, "changed", 1));
  });
}

namespace {

void *later;

void connectLater(void *receiver, intptr_t) {
  calls += connect(receiver, "later", later, slotOf(count));
}

}  // namespace

TEST(FaultsOfSignals, StrikeSlotsThatConnect) {
  strikeAll({memory}, [](Trial &trial) {
    Held sender(trial.make(ztObject_ctor));
    Held receiver(trial.make(ztObject_ctor));
    Held latecomer(trial.make(ztObject_ctor));
    later = latecomer;
    trial.need([&] { return connect(sender, "changed", receiver, slotOf(connectLater)); });
    trial.need([&] {
      calls = 0;
      return ztObject_emit(sender, "changed", 1) && calls == 1;
    });
    trial.need([&] { return ztObject_emit(receiver, "later", 1); });
    return std::to_string(calls);
  });
}

// What a connection could not be made for leaves no half of it behind.
TEST(FaultsOfSignals, LeaveNoConnectionToWhatIsGone) {
  strikeAll({memory}, [](Trial &trial) {
    Held first(trial.make(ztObject_ctor));
    Held second(trial.make(ztObject_ctor));
    const bool connected = connect(first, "changed", second, slotOf(count));
    EXPECT_EQ(ztObject_of(first)->connectionExist(nullptr, first, "changed", second, slotOf(count)),
              connected);
    releaseIfMade(second.release());
    calls = 0;
    EXPECT_EQ(ztObject_emit(first, "changed", 1), 0);
    return std::to_string(calls);
  });
}

TEST(FaultsOfSignals, AreReportedBetweenModelAndView) {
  strikeAll({memory}, [](Trial &trial) {
    Held model(trial.make(ztBaseModel_ctor));
    Held view(trial.make(ztBaseView_ctor));
    trial.need([&] { return setInt(model, "level", 3); });
    trial.need([&] { return connect(model, "prop->signalname", view, slotOf(count)); });
    calls = 0;
    EXPECT_EQ(ztObject_of(model)->setProperty(model, "level", "ztInt", 4), 1);
    return std::to_string(calls) + std::to_string(intOf(model, "level"));
  });
}

// The dump reports nothing, and the next one is whole.
TEST(FaultsOfSignals, SpoilNoMoreThanTheOneDumpOfConnections) {
  strikeAll(allKinds(), [](Trial &trial) {
    Held sender(trial.make(ztObject_ctor));
    Held receiver(trial.make(ztObject_ctor));
    trial.need([&] { return connect(sender, "changed", receiver, slotOf(count)); });
    const MemoryFile dump;
    const auto print = ztObject_of(sender)->printConnections;
    print(ztObjectClass_Instance(), sender, dump.path());
    trial.endFault();
    print(ztObjectClass_Instance(), sender, dump.path());
    const std::string whole = dump.bytes();
    return std::to_string(std::count(whole.begin(), whole.end(), '\n'));
  });
}

// Properties ----------------------------------------------------------------------------------------

TEST(FaultsOfProperties, AreReportedWhenTheyAreMadeCopiedAndListed) {
  strikeAll({memory}, [](Trial &trial) {
    Held object(trial.make(ztRoot_ctor));
    for (const char *name : {"one", "two", "three"}) trial.need([&] { return setInt(object, name, 7); });
    Held copy(copyOf(trial, object));
    Held listed(trial.make(ztPropertyPtrArray_ctor));
    trial.need([&] {
      const bool whole = ztObject_of(copy)->getProperties(copy, listed);
      EXPECT_EQ(ztPropertyPtrArray_of(listed)->getSize(listed) > 0, whole);
      return whole;
    });
    std::string names;
    for (int32_t i = 0; i < ztPropertyPtrArray_of(listed)->getSize(listed); ++i) {
      names += nameAndIndexOf(ztPropertyPtrArray_of(listed)->getAt(listed, i));
    }
    return names + std::to_string(intOf(copy, "three"));
  });
}

// Tags ----------------------------------------------------------------------------------------------

namespace {

int32_t intAt(const void *attribute, int32_t index) {
  int32_t value = 0;
  ztTagAttribute_of(attribute)->getValue(attribute, index, &value);
  return value;
}

}  // namespace

TEST(FaultsOfTags, AreReportedByTagsInATree) {
  strikeAll({memory}, [](Trial &trial) {
    Held root(newNode(trial, 1));
    void *tag = newChild(trial, 2, root, ztTag_ctor);
    ztTagHandle handles[2];
    const int32_t initial = 5;
    for (ztTagHandle &handle : handles) {
      trial.need([&] {
        void *attribute = trial.make(ztIntTag_ctor);
        return ztTag_of(tag)->insertNew(tag, "values", attribute, &handle, 1, 10, &initial);
      });
    }
    const int32_t value = 6;
    EXPECT_EQ(ztTag_of(tag)->setValue(tag, &handles[0], 9, &value), 1);
    EXPECT_EQ(ztTag_of(tag)->swapTags(tag, &handles[0], &handles[1]), 1);
    Held copy(copyOf(trial, root));
    const void *copied = ztRoot_of(copy)->getChildAt(copy, 0);
    const void *attribute = ztTag_of(copied)->getByHandle(copied, &handles[1]);
    const int32_t out = attribute == nullptr ? 0 : intAt(attribute, 9);
    return std::to_string(ztTag_of(copied)->getNumValues(copied, &handles[0])) + std::to_string(out);
  });
}

TEST(FaultsOfTags, LeaveNoHalfInsertedAttribute) {
  for (const int32_t count : {0, 3}) {
    strikeAll({memory}, [count](Trial &trial) {
      Held tag(trial.make(ztTag_ctor));
      void *attribute = trial.make(ztFloatTag_ctor);
      const double initial = 0.5;
      ztTagHandle handle = {-1, 0};
      const auto *methods = ztTag_of(tag);
      const int32_t inserted = methods->insertNew(tag, "values", attribute, &handle, 1, count, &initial);
      const void *found = methods->getByName(tag, "values", nullptr);
      EXPECT_EQ(found != nullptr, inserted == 1);
      if (!inserted) return std::string();
      EXPECT_EQ(methods->getNumValues(tag, &handle), count);
      double out = initial;
      if (count > 0) ztTagAttribute_of(found)->getValue(found, count - 1, &out);
      EXPECT_EQ(out, initial);
      return std::string();
    });
  }
}

// A copy of an attribute names the tag of its source.
TEST(FaultsOfTags, AreReportedByCopiesOfAttributes) {
  strikeAll({memory}, [](Trial &trial) {
    Held tag(trial.make(ztTag_ctor));
    trial.need([&] {
      void *attribute = trial.make(ztIntTag_ctor);
      return ztTag_of(tag)->insertNew(tag, "values", attribute, nullptr, 1, 3, nullptr);
    });
    const void *attribute = ztTag_of(tag)->getByName(tag, "values", nullptr);
    Held copy(copyOf(trial, attribute));
    releaseIfMade(tag.release());
    const int32_t value = 8;
    EXPECT_EQ(ztTagAttribute_of(copy)->setValue(copy, 0, &value), 1);
    return std::to_string(intAt(copy, 0));
  });
}

// Containers of objects -----------------------------------------------------------------------------

TEST(FaultsInContainers, OfObjectsAreReported) {
  strikeAll({memory}, [](Trial &trial) {
    Held object(trial.make(ztObject_ctor));
    trial.need([&] { return setInt(object, "level", 3); });
    Held list(trial.make(ztList_ctor));
    ztList_of(list)->setElementConstructor(list, ztObject_ctor);
    for (int i = 0; i < 2; ++i) trial.need([&] { return ztList_of(list)->pushBack(list, object); });
    Held array(trial.make(ztArray_ctor));
    ztArray_of(array)->setElementConstructor(array, ztObject_ctor);
    ztArray_of(array)->setElementSize(array, sizeof(ztObject), 0);
    for (int i = 0; i < 2; ++i) {
      trial.need([&] { return ztArray_of(array)->pushBack(array, object) != nullptr; });
    }
    trial.need([&] { return ztArray_of(array)->setAt(array, object, 0) != nullptr; });
    trial.need([&] { return ztArray_of(array)->resize(array, 1); });
    Held copies(copyOf(trial, list));
    return std::to_string(intOf(ztList_of(copies)->getBack(copies), "level")) +
           std::to_string(intOf(ztArray_of(array)->getFront(array), "level"));
  });
}

// The count is looked at with the file's size, for which the file is sent to its end and back.
TEST(FaultsInContainers, OfManyElementsAreReportedWhenTheyAreLoaded) {
  std::vector<Kind> kinds = fileKinds();
  std::erase_if(kinds, [](const Kind &kind) { return kind.bufferSize != 0; });
  strikeAll(kinds, [](Trial &trial) {
    Held array(trial.make(ztCharArray_ctor));
    trial.need([&] { return ztCharArray_of(array)->setSize(array, 70000); });
    memset(ztCharArray_of(array)->getData(array), 'x', 70000);
    const MemoryFile stored;
    trial.need([&] { return write(stored, array); });
    Held loaded(trial.make(ztCharArray_ctor));
    trial.need([&] { return read(stored, loaded); });
    const char *bytes = static_cast<const char *>(ztCharArray_of(loaded)->getData(loaded));
    return std::string(bytes, static_cast<size_t>(ztCharArray_of(loaded)->getSize(loaded)));
  });
}

// A set of new objects is made with constructors, which do not tell what they lacked.
TEST(FaultsInContainers, OfNewObjectsLeaveSuchAsCanBeReleased) {
  strikeAll({memory}, [](Trial &trial) {
    Held array(trial.make(ztStringArray_ctor));
    trial.need([&] { return ztStringArray_of(array)->setSize(array, 4); });
    for (int32_t i = 0; i < 4; ++i) {
      void *string = ztStringArray_of(array)->getAt(array, i);
      EXPECT_EQ(ztString_of(string)->isEmpty(string), 1);
    }
    return std::to_string(ztStringArray_of(array)->getSize(array));
  });
}

// Folders and names ---------------------------------------------------------------------------------

namespace {

int32_t collect(const char *, const char *name, void *found) {
  static_cast<std::vector<std::string> *>(found)->push_back(name);
  return 1;
}

std::vector<std::string> filesIn(const std::string &folder) {
  std::vector<std::string> found;
  EXPECT_EQ(ztDm_enumFiles(folder.c_str(), "txt", 1, collect, &found), 1);
  std::sort(found.begin(), found.end());
  return found;
}

}  // namespace

// What cannot be looked at has no files; the rest is found all the same.
TEST(FaultsInFolders, LeaveOutFilesAndKeepNothingOpen) {
  const TempFolder folder;
  std::filesystem::create_directories(folder.path("a/b"));
  for (const char *name : {"one.txt", "a/two.txt", "a/b/three.txt"}) writeContents(folder.path(name), "text");
  const std::vector<std::string> all = filesIn(folder.path());
  EXPECT_EQ(all.size(), 3U);
  for (const Kind &kind : fileKinds()) {
    strikeEach(kind, [&](Trial &trial) {
      const std::vector<std::string> found = filesIn(folder.path());
      EXPECT_TRUE(std::includes(all.begin(), all.end(), found.begin(), found.end()));
      trial.need([&] { return filesIn(folder.path()) == all; });
      return std::string();
    });
  }
}

TEST(FaultsInFolders, OfRandomnessGiveNoName) {
  const Kind kind = {"Random", &randoms, ENOSYS, 0};
  EXPECT_GT(strikeEach(kind,
                       [](Trial &trial) {
                         char name[L_tmpnam] = "";
                         trial.need([&] { return ztFile_functions()->tmpFile(nullptr, name); });
                         return std::to_string(strlen(name));
                       }),
            0);
}

TEST(FaultsInFolders, AreReportedByLooksAtAFile) {
  const TempFolder folder;
  writeContents(folder.path("there"), "text");
  for (const Kind &kind : fileKinds()) {
    strikeEach(kind, [&](Trial &trial) {
      trial.need([&] { return ztFile_functions()->fileExist(nullptr, folder.path("there").c_str()); });
      return std::string();
    });
  }
}

TEST(Paths, NeedNoMemory) {
  EXPECT_FALSE(allocates([] {
    char out[512];
    ztCu_expandEnvString(out, "$(HOME)/x");
    ztCu_makePath("a", "b", out);
    ztCu_extractPath("a/b", out);
    ztCu_fmtMsg("%d %s", 1, "text");
    ztCu_sToUpper("text");
    ztDm_getCurrentDir(out);
    ztDm_getDirName("a/b", out);
  }));
}
