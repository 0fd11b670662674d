#include "tools/inspect/classes.hh"

#include "core/ztdescribe.h"
#include "objects/ztobjinfo.h"
#include "tools/inspect/dot.hh"
#include "tools/inspect/output.hh"
#include "zentova.h"

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <unordered_map>
#include <vector>

namespace ztinspect {

using Json = nlohmann::ordered_json;

using ClassInfo = std::unique_ptr<ztClassInfo, decltype(&ztOOP_freeClassInfo)>;
using ObjectInfo = std::unique_ptr<ztObjectInfo, decltype(&ztObject_freeClassInfo)>;

namespace {

// The registered classes and those above them, each behind its parent.
class ClassTree {
 public:
  ClassTree() {
    for (const ztClassEntry *entry = ztOOP_classList(); entry != nullptr; entry = entry->next) {
      add(ztOOP_classOf(entry->prototype));
    }
    for (auto &[parent, children] : below) {
      std::sort(children.begin(), children.end(),
                [](const ztClass *a, const ztClass *b) { return strcmp(a->name, b->name) < 0; });
    }
    append(nullptr, 0);
  }

  struct Entry {
    ztClass *klass;
    size_t depth;
  };
  const std::vector<Entry> &entries() const {
    return ordered;
  }

 private:
  void add(ztClass *klass) {
    std::vector<ztClass *> &siblings = below[klass->parent];
    if (std::find(siblings.begin(), siblings.end(), klass) != siblings.end()) return;
    siblings.push_back(klass);
    if (klass->parent != nullptr) add(klass->parent);
  }
  void append(ztClass *parent, size_t depth) {
    for (ztClass *klass : below[parent]) {
      ordered.push_back({klass, depth});
      append(klass, depth + 1);
    }
  }

  std::unordered_map<ztClass *, std::vector<ztClass *>> below;
  std::vector<Entry> ordered;
};

}  // namespace

static ClassInfo describe(ztClass *klass) {
  ClassInfo info(ztOOP_classInfo(klass), ztOOP_freeClassInfo);
  if (info == nullptr) throw Problem(std::string("cannot describe class ") + klass->name);
  return info;
}

// Empty for a class without properties and signals.
static ObjectInfo describeObject(ztClass *klass) {
  const bool isObject = ztOOP_isClassOfClass(klass, "ztObject") != 0;
  return {isObject ? ztObject_classInfo(klass) : nullptr, ztObject_freeClassInfo};
}

static const char *nameOf(ztMethodState state) {
  switch (state) {
    case ztMethodDefined:
      return "defined";
    case ztMethodAbstract:
      return "abstract";
    case ztMethodEmpty:
      return "empty";
    case ztMethodData:
      return "data";
  }
  return "";
}

// JSON --------------------------------------------------------------------------------------------

static Json nameOrNull(const ztClass *klass) {
  return klass == nullptr ? Json(nullptr) : Json(klass->name);
}

// What a function makes of each item; items that it makes null are left out.
template <typename Item, typename Function>
static Json arrayOf(const Item *items, int32_t count, Function toJson) {
  Json array = Json::array();
  for (int32_t i = 0; i < count; ++i) {
    Json json = toJson(items[i]);
    if (!json.is_null()) array.push_back(std::move(json));
  }
  return array;
}

template <typename Function>
static Json propertiesOf(const ztObjectInfo *info, Function toJson) {
  return info == nullptr ? Json::array() : arrayOf(info->properties, info->propertyCount, toJson);
}

template <typename Function>
static Json signalsOf(const ztObjectInfo *info, Function toJson) {
  return info == nullptr ? Json::array() : arrayOf(info->signals, info->signalCount, toJson);
}

static Json wholeMethod(const ztMethodInfo &method) {
  return {{"slot", method.slot},
          {"name", method.name},
          {"declaration", method.declaration},
          {"state", nameOf(method.state)},
          {"introducedBy", nameOrNull(method.introducedBy)},
          {"definedBy", nameOrNull(method.definedBy)}};
}

static Json wholeField(const ztFieldInfo &field) {
  return {{"offset", field.offset},
          {"name", field.name},
          {"type", field.type},
          {"introducedBy", nameOrNull(field.introducedBy)}};
}

static Json wholeFunction(const ztFunctionInfo &function) {
  return {{"slot", function.slot}, {"name", function.name}, {"declaration", function.declaration}};
}

static Json wholeProperty(const ztPropertyInfo &property) {
  return {{"name", property.name},
          {"type", property.type},
          {"readable", property.isReadable != 0},
          {"writable", property.isWritable != 0},
          {"declaredBy", property.declaredBy}};
}

static Json wholeSignal(const ztSignalInfo &signal) {
  const Json arguments = arrayOf(signal.arguments, signal.argumentCount, [](const auto &argument) -> Json {
    return {{"type", argument.type}, {"name", argument.name}};
  });
  return {{"name", signal.name},
          {"declaration", signal.declaration},
          {"arguments", arguments},
          {"declaredBy", nameOrNull(signal.declaredBy)}};
}

static Json toJson(ztClass *klass) {
  const ClassInfo info = describe(klass);
  const ObjectInfo object = describeObject(klass);
  return {{"name", klass->name},
          {"parent", nameOrNull(klass->parent)},
          {"version", klass->version},
          {"instanceSize", klass->instanceSize},
          {"described", info->isDescribed != 0},
          {"slots", arrayOf(info->methods, info->methodCount, wholeMethod)},
          {"fields", arrayOf(info->fields, info->fieldCount, wholeField)},
          {"functions", arrayOf(info->functions, info->functionCount, wholeFunction)},
          {"properties", propertiesOf(object.get(), wholeProperty)},
          {"signals", signalsOf(object.get(), wholeSignal)}};
}

static const char *limitOf(const ztPropertyInfo &property) {
  return !property.isWritable ? ", read only" : !property.isReadable ? ", write only" : "";
}

// What a class adds to its parent.
static Json ownSlots(const ztClassInfo &info, const ztClass *klass) {
  return arrayOf(info.methods, info.methodCount, [klass](const ztMethodInfo &method) -> Json {
    if (method.introducedBy != klass) return nullptr;
    return {method.slot, printable(method.declaration), nameOf(method.state)};
  });
}

static Json replacedSlots(const ztClassInfo &info, const ztClass *klass) {
  return arrayOf(info.methods, info.methodCount, [klass](const ztMethodInfo &method) -> Json {
    if (method.introducedBy == klass || method.definedBy != klass) return nullptr;
    return method.slot;
  });
}

static Json ownFields(const ztClassInfo &info, const ztClass *klass) {
  return arrayOf(info.fields, info.fieldCount, [klass](const ztFieldInfo &field) -> Json {
    if (field.introducedBy != klass) return nullptr;
    return {field.offset, printable(field.name), printable(field.type)};
  });
}

static Json ownProperties(const ztObjectInfo *info, const ztClass *klass) {
  return propertiesOf(info, [klass](const ztPropertyInfo &property) -> Json {
    if (strcmp(property.declaredBy, klass->name) != 0) return nullptr;
    return {printable(property.name), printable(property.type), limitOf(property)};
  });
}

static Json ownSignals(const ztObjectInfo *info, const ztClass *klass) {
  return signalsOf(info, [klass](const ztSignalInfo &signal) -> Json {
    if (signal.declaredBy != klass) return nullptr;
    return printable(signal.declaration);
  });
}

std::string classesInShort() {
  Json all = Json::array();
  const ClassTree tree;
  for (const ClassTree::Entry &entry : tree.entries()) {
    const ztClass *klass = entry.klass;
    const ClassInfo info = describe(entry.klass);
    const ObjectInfo object = describeObject(entry.klass);
    all.push_back(
        {{"name", printable(klass->name)},
         {"parent", klass->parent == nullptr ? Json(nullptr) : Json(printable(klass->parent->name))},
         {"version", klass->version},
         {"size", klass->instanceSize},
         {"fields", ownFields(*info, klass)},
         {"slots", ownSlots(*info, klass)},
         {"replaces", replacedSlots(*info, klass)},
         {"properties", ownProperties(object.get(), klass)},
         {"signals", ownSignals(object.get(), klass)}});
  }
  return all.dump();
}

static void writeJson(const ClassTree &tree, Output *output) {
  Json all = Json::array();
  for (const ClassTree::Entry &entry : tree.entries()) all.push_back(toJson(entry.klass));
  output->write(all.dump(1, ' ', false, Json::error_handler_t::replace) + "\n");
}

// Text --------------------------------------------------------------------------------------------

namespace {

// The lines of one class: what it adds to its parent, and the methods of its parent that it replaces.
class ClassText {
 public:
  explicit ClassText(const ClassTree::Entry &entry) : klass(entry.klass), indent(2 * entry.depth, ' ') {
    text = indent + painted("1", printable(klass->name));
    text += " (version " + std::to_string(klass->version) + ", " + std::to_string(klass->instanceSize) +
            " bytes)\n";
  }

  std::string whole() {
    const ClassInfo info = describe(klass);
    const ObjectInfo object = describeObject(klass);
    addFields(*info);
    addSlots(*info);
    if (object != nullptr) addDeclared(*object);
    return text;
  }

 private:
  void add(const char *kind, const std::string &what) {
    text += indent + "    " + painted("2", kind) + " " + printable(what) + "\n";
  }
  void addFields(const ztClassInfo &info) {
    for (int32_t i = 0; i < info.fieldCount; ++i) {
      const ztFieldInfo &field = info.fields[i];
      if (field.introducedBy != klass) continue;
      const std::string place = field.offset < 0 ? "?" : std::to_string(field.offset);
      add("field", place + " " + field.name + ": " + field.type);
    }
  }
  void addSlots(const ztClassInfo &info) {
    std::string replaced;
    for (int32_t i = 0; i < info.methodCount; ++i) {
      const ztMethodInfo &method = info.methods[i];
      const std::string number = std::to_string(method.slot) + " ";
      if (method.introducedBy == klass) {
        const std::string declared = *method.declaration == '\0' ? "(not described)" : method.declaration;
        const bool isPlain = method.state == ztMethodDefined;
        add("slot", number + declared + (isPlain ? "" : std::string(", ") + nameOf(method.state)));
      } else if (method.definedBy == klass) {
        replaced += (replaced.empty() ? "" : ", ") + std::string(method.name);
      }
    }
    if (!replaced.empty()) add("replaces", replaced);
  }
  void addDeclared(const ztObjectInfo &info) {
    for (int32_t i = 0; i < info.propertyCount; ++i) {
      const ztPropertyInfo &property = info.properties[i];
      if (strcmp(property.declaredBy, klass->name) != 0) continue;
      add("property", std::string(property.name) + ": " + property.type + limitOf(property));
    }
    for (int32_t i = 0; i < info.signalCount; ++i) {
      if (info.signals[i].declaredBy == klass) add("signal", info.signals[i].declaration);
    }
  }

  ztClass *klass;
  std::string indent;
  std::string text;
};

}  // namespace

static void writeText(const ClassTree &tree, Output *output) {
  for (const ClassTree::Entry &entry : tree.entries()) output->write(ClassText(entry).whole());
}

// DOT ---------------------------------------------------------------------------------------------

static void writeDot(const ClassTree &tree, Output *output) {
  output->write(dotHeading("classes"));
  for (const ClassTree::Entry &entry : tree.entries()) {
    const ztClass *klass = entry.klass;
    output->write("  " + dotQuoted(klass->name) + ";\n");
    if (klass->parent == nullptr) continue;
    output->write("  " + dotQuoted(klass->parent->name) + " -> " + dotQuoted(klass->name) + ";\n");
  }
  output->write("}\n");
}

int showClasses(ClassForm form) {
  const ClassTree tree;
  Output output("");
  switch (form) {
    case ClassForm::text:
      writeText(tree, &output);
      break;
    case ClassForm::json:
      writeJson(tree, &output);
      break;
    case ClassForm::dot:
      writeDot(tree, &output);
      break;
  }
  output.finish();
  return 0;
}

}  // namespace ztinspect
