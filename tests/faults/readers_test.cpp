// Records of an earlier version are read while calls fail.
#include "tests/faults/injection.hh"
#include "tests/helpers/captured_log.hh"
#include "tests/helpers/faults.hh"
#include "tests/helpers/replaced.hh"
#include "zentova.h"

namespace {

ztClass *const nodeClass = ztRootClass_Instance();

int32_t readEarlier(void *node, void *file, uint32_t) {
  return ztRoot_table()->read(node, file);
}

// A node and its child, of version 0.
void storeEarlierTree(const MemoryFile &stored) {
  const Held root(ztRoot_ctor(nullptr, 1));
  ztRoot_of(root)->setUid(root, 1);
  ztRoot_of(root)->addChild(root, ztRoot_ctor(nullptr, 1));
  const Held file(ztFile_ctor(nullptr, 1));
  EXPECT_EQ(ztFile_of(file)->open(file, stored.path(), "wb"), 1);
  const Replaced earlier(nodeClass->version, 0);
  EXPECT_EQ(ztRoot_storeTree(root, file), 2);
}

template <typename Use>
bool useFile(const MemoryFile &stored, Use use) {
  const Held file(ztFile_ctor(nullptr, 1));
  return file != nullptr && ztFile_of(file)->open(file, stored.path(), "rb") && use(file);
}

// Releases the readers that a scenario names.
class NamedReaders {
 public:
  NamedReaders() = default;
  ~NamedReaders() {
    ztOOP_setReader(nodeClass, 0, nullptr);
  }
  NamedReaders(const NamedReaders &) = delete;
  NamedReaders &operator=(const NamedReaders &) = delete;
};

}  // namespace

TEST(EarlierRecords, AreReadWholeOrNotAtAllWhateverFails) {
  const MemoryFile stored;
  storeEarlierTree(stored);
  const Scenario scenario = [&](Trial &trial) {
    const NamedReaders readers;
    trial.need([] { return ztOOP_setReader(nodeClass, 0, readEarlier); });
    int32_t uid = 0;
    trial.need([&] {
      return useFile(stored, [&](void *file) {
        const Held node(ztOOP_readObject(file));
        if (node != nullptr) uid = ztRoot_of(node)->getUid(node);
        return node != nullptr;
      });
    });
    const Held roots(trial.make(ztPtrArray_ctor));
    trial.need([&] {
      const bool isLoaded =
          useFile(stored, [&](void *file) { return ztRoot_loadTree(file, -1, roots, nullptr) != 0; });
      EXPECT_EQ(ztPtrArray_of(roots)->getSize(roots), isLoaded ? 1 : 0);
      return isLoaded;
    });
    void *root = ztPtrArray_of(roots)->getFront(roots);
    const int32_t children = ztRoot_of(root)->getChildCount(root);
    releaseIfMade(root);
    return std::to_string(uid) + "(" + std::to_string(children) + ")";
  };
  int strikes = 0;
  for (const Kind &kind : allKinds()) strikes += strikeEach(kind, scenario);
  EXPECT_GT(strikes, 10);
}

TEST(Readers, AreNamedOrNotWithALineWhereMemoryIsRefused) {
  constexpr int32_t count = 40;  // more than one block of them
  static ztClass klass;
  klass.name = "Named";
  klass.version = count;
  exhaustMemoryIn([] {
    for (uint32_t version = 0; version < count; ++version) {
      CapturedLog log;
      const int32_t isNamed = ztOOP_setReader(&klass, version, readEarlier);
      EXPECT_EQ(ztOOP_readerOf(&klass, version), isNamed ? readEarlier : nullptr);
      EXPECT_EQ(log.output(),
                isNamed ? "" : "ztOOP::ztOOP_setReader - Error, no memory for a reader of class 'Named'\n");
    }
    for (uint32_t version = 0; version < count; ++version) {
      EXPECT_EQ(ztOOP_setReader(&klass, version, nullptr), 1);
    }
  });
}

TEST(Readers, ReadNothingAndSaySoWithoutMemory) {
  const MemoryFile stored;
  storeEarlierTree(stored);
  const NamedReaders readers;
  ASSERT_EQ(ztOOP_setReader(nodeClass, 0, readEarlier), 1);
  const bool isRead = useFile(stored, [](void *file) {
    CapturedLog log;
    void *node = nullptr;
    {
      const Fault fault(0, true);
      node = ztOOP_readObject(file);
    }
    EXPECT_EQ(log.output(), "ztOOP::ztOOP_readObject - Error, no memory for an object of class 'ztRoot'\n");
    return node != nullptr;
  });
  EXPECT_FALSE(isRead);
}
