#include "tests/helpers/trial.hh"

// As a constructor does, but for the result of `create`.
static void *makeComplete(ztCtor constructor) {
  void *object = constructor(nullptr, 0);
  if (object == nullptr || ztBaseClass_of(object)->create(object)) return object;
  releaseIfMade(object);
  return nullptr;
}

void *Trial::make(ztCtor constructor, int line) {
  return need([=] { return makeComplete(constructor); }, line);
}

void *Trial::makeByName(const char *name, int line) {
  return need(
      [=, this] {
        const int before = struck();
        void *object = ztNewFromName(name);
        // It does not tell whether the object is complete.
        if (struck() == before) return object;
        releaseIfMade(object);
        return static_cast<void *>(nullptr);
      },
      line);
}
