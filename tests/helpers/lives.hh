// The life of an object of each class that the library registers: it is made, filled, copied, assigned,
// stored, loaded and released.
#ifndef ZT_TESTS_LIVES_HH
#define ZT_TESTS_LIVES_HH

#include "tests/helpers/trial.hh"

#include <ostream>
#include <span>
#include <string>

// How objects of one class are filled and told apart.
struct Life {
  const char *name;
  std::string (*describe)(const void *object) = [](const void *object) {
    return std::string(ztOOP_classNameOf(object));
  };
  void (*fill)(Trial &trial, void *object) = [](Trial &, void *) {};
  // Gives a new object what `read` expects of it.
  void (*prepare)(Trial &trial, void *object) = [](Trial &, void *) {};
  bool clones = true;
  bool stores = true;
  bool loads = true;
};

std::ostream &operator<<(std::ostream &out, const Life &life);

// One for each class.
std::span<const Life> lives();

// NULL when there is none for the class.
const Life *lifeOf(const char *className);

// Describes what came of it.
std::string liveOnce(Trial &trial, const Life &life);

// Makes the property types known that lives use.
void registerPropertyTypes();

#endif
