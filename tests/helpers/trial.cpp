#include "tests/helpers/trial.hh"

// As a constructor does, but for the result of `create`.
static void *makeComplete(ztCtor constructor) {
  void *object = constructor(nullptr, 0);
  if (object == nullptr || ztBaseClass_of(object)->create(object)) return object;
  releaseIfMade(object);
  return nullptr;
}

void *Trial::make(ztCtor constructor, std::source_location where) {
  return need([=] { return makeComplete(constructor); }, where);
}

void *Trial::makeByName(const char *name, std::source_location where) {
  return need(
      [=, this] {
        const int before = struck();
        void *object = ztNewFromName(name);
        // It does not tell whether the object is complete.
        if (struck() == before) return object;
        releaseIfMade(object);
        return static_cast<void *>(nullptr);
      },
      where);
}
