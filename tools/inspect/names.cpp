#include "tools/inspect/names.hh"

#include "core/ztdescribe.h"
#include "zentova.h"

#include <string.h>

#include <algorithm>
#include <string_view>

namespace ztinspect {

// The class that a declaration names; NULL for anything else than an object or a pointer to one.
static ztClass *classIn(std::string_view type, bool *isPointer) {
  for (const std::string_view word : {"const ", "struct "}) {
    if (type.substr(0, word.size()) == word) type.remove_prefix(word.size());
  }
  *isPointer = type.size() > 2 && type.substr(type.size() - 2) == " *";
  if (*isPointer) type.remove_suffix(2);
  return ztOOP_findClass(std::string(type).c_str());
}

// What these classes add leads to the life of an object, not to what it stores.
static bool isOfTheEngine(const ztClass *klass) {
  return klass == nullptr || strcmp(klass->name, "ztBaseClass") == 0 ||
         strcmp(klass->name, "ztObject") == 0 || strcmp(klass->name, "ztRoot") == 0;
}

static bool isTargetOfLink(const ztFieldInfo &field) {
  const ztClass *klass = field.introducedBy;
  return klass != nullptr && strcmp(klass->name, "ztLink") == 0 && strcmp(field.name, "targetId") == 0;
}

const std::vector<Field> &Namer::fieldsOf(ztClass *klass) {
  std::unique_ptr<std::vector<Field>> &fields = known[klass];
  if (fields != nullptr) return *fields;
  fields = std::make_unique<std::vector<Field>>();
  const std::unique_ptr<ztClassInfo, decltype(&ztOOP_freeClassInfo)> info(ztOOP_classInfo(klass),
                                                                          ztOOP_freeClassInfo);
  for (int32_t i = 0; info != nullptr && i < info->fieldCount; ++i) {
    const ztFieldInfo &field = info->fields[i];
    if (field.offset < 0) continue;
    bool isPointer = false;
    ztClass *leads = isOfTheEngine(field.introducedBy) ? nullptr : classIn(field.type, &isPointer);
    fields->push_back(
        {field.name, static_cast<size_t>(field.offset), leads, isPointer, isTargetOfLink(field)});
  }
  return *fields;
}

constexpr int deepest = 4;

// The last field of a text that is stored is the one that others ask for.
static std::string within(const std::string &prefix, const std::string &name) {
  return prefix.empty() ? name : prefix + "." + name;
}

void Namer::addObject(void *object, const std::string &prefix, int depth) {
  ztClass *klass = ztOOP_classOf(object);
  const std::vector<Field> &fields = fieldsOf(klass);
  parts.push_back({static_cast<const char *>(object), static_cast<size_t>(klass->instanceSize), prefix,
                   &fields, 0, Kind::bytes});
  if (depth == deepest) return;
  if (ztOOP_isClassOfClass(klass, "ztArray")) addElements(object, prefix, depth);
  for (const Field &field : fields) addField(static_cast<char *>(object), field, prefix, depth);
  if (depth == 0 && ztOOP_isClassOfClass(klass, "ztTag")) addAttributes(object);
}

void Namer::addField(char *object, const Field &field, const std::string &prefix, int depth) {
  if (field.klass == nullptr) return;
  void *inner = object + field.offset;
  if (field.isPointer) memcpy(&inner, object + field.offset, sizeof inner);
  if (inner == nullptr) return;
  ztClass *klass = ztOOP_classOf(inner);
  // A string has its text in an array of its own, which bears the name of the string.
  const bool isOfString = strcmp(field.name.c_str(), "buffer") == 0 && !prefix.empty();
  if (klass == nullptr || !ztOOP_isClassOfClass(klass, field.klass->name)) return;
  addObject(inner, isOfString ? prefix : within(prefix, field.name), depth + 1);
}

static Kind kindOfElements(const ztClass *klass) {
  if (ztOOP_isClassOfClass(klass, "ztIntArray")) return Kind::whole;
  return ztOOP_isClassOfClass(klass, "ztFloatArray") ? Kind::real : Kind::bytes;
}

void Namer::addElements(void *object, const std::string &prefix, int depth) {
  const auto *array = static_cast<const ztArray *>(object);
  if (array->data == nullptr || array->count <= 0 || array->elementSize <= 0 || array->byPointer != 0) return;
  const auto size = static_cast<size_t>(array->elementSize);
  const auto count = static_cast<size_t>(array->count);
  auto *data = static_cast<char *>(array->data);
  if (array->elementConstructor == nullptr) {
    parts.push_back({data, size * count, prefix, nullptr, size, kindOfElements(ztOOP_classOf(object))});
    return;
  }
  constexpr size_t mostNamed = 1000;
  for (size_t i = 0; i < std::min(count, mostNamed); ++i) {
    addObject(data + i * size, prefix + "[" + std::to_string(i) + "]", depth + 1);
  }
}

void Namer::addAttributes(void *tag) {
  ztPtrArray *attributes = static_cast<const ztTag *>(tag)->attributes;
  if (attributes == nullptr) return;
  const int32_t count = ztPtrArray_of(attributes)->getSize(attributes);
  for (int32_t i = 0; i < count; ++i) {
    void *attribute = ztPtrArray_of(attributes)->getAt(attributes, i);
    if (attribute == nullptr) continue;
    addObject(attribute, "attributes[" + std::to_string(i) + "]", 1);
  }
}

bool Namer::nameIn(const Part &part, const Step &step, Name *name) const {
  const auto *address = static_cast<const char *>(step.address);
  if (address < part.start || address >= part.start + part.size) return false;
  const auto place = static_cast<size_t>(address - part.start);
  if (part.fields == nullptr) {
    name->element = static_cast<int32_t>(place / part.elementSize);
    if (step.kind == Kind::bytes) name->kind = part.kind;
    name->text = part.prefix;
    return true;
  }
  const Field *found = nullptr;
  for (const Field &field : *part.fields) {
    if (field.offset > place) break;
    found = &field;
  }
  if (found == nullptr) return false;
  name->text = within(part.prefix, found->name);
  name->isTarget = found->isTarget;
  return true;
}

// An array reads its count before its elements, and has no place for it yet.
void Namer::nameCounts(const Trace &trace, std::vector<Name> *names) {
  for (size_t i = 0; i + 1 < names->size(); ++i) {
    const Name &next = (*names)[i + 1];
    Name &name = (*names)[i];
    if (name.text.empty() && trace.steps[i].kind == Kind::whole && next.element == 0) {
      name.text = within(next.text, "count");
    }
  }
}

// An attribute reads its type, twice, into no field of its own.
void Namer::nameTypes(std::vector<Name> *names) {
  for (size_t i = 1; i < names->size(); ++i) {
    const std::string &before = (*names)[i - 1].text;
    Name &name = (*names)[i];
    const size_t point = before.rfind('.');
    if (!name.text.empty() || before.rfind("attributes[", 0) != 0 || point == std::string::npos) continue;
    const std::string last = before.substr(point);
    if (last == ".name" || last == ".type") name.text = before.substr(0, point) + ".type";
  }
}

void Namer::nameAll(void *object, const Trace &trace, std::vector<Name> *names) {
  names->clear();
  parts.clear();
  addObject(object, "", 0);
  for (const Step &step : trace.steps) {
    Name name = {"", -1, step.kind};
    // What belongs to an inner object belongs to no other one. Inner ones stand behind those that they are in.
    for (size_t i = parts.size(); i-- > 0;) {
      if (nameIn(parts[i], step, &name)) break;
    }
    names->push_back(std::move(name));
  }
  nameTypes(names);
  nameCounts(trace, names);
}

}  // namespace ztinspect
