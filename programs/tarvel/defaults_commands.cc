#include <fstream>
#include <iostream>
#include <iterator>

#include "platform/host/store/defaults_store.h"
#include "programs/tarvel/commands.h"
#include "programs/tarvel/output.h"
#include "programs/tarvel/property_list_json.h"

namespace tarvel::viewer {
namespace {

int printJson(const Json& json, DefaultsFormat format) {
  return printOut(format == DefaultsFormat::kOneLine ? oneLine(json) : indented(json));
}

std::optional<Data> readWhole(const std::string& file) {
  const auto whole = [](std::istream& stream) {
    return Data((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
  };
  if (file == "-") return whole(std::cin);
  std::ifstream stream(file, std::ios::binary);
  if (!stream) return std::nullopt;
  Data data = whole(stream);
  return stream.bad() ? std::nullopt : std::optional(std::move(data));
}

int store(DefaultsStore& defaults, const std::string& key, const PropertyList& value) {
  if (!defaults.set(key, value)) throw CommandError(kNothing, key, "the store takes no writes");
  return kDone;
}

}  // namespace

int readDefaults(DefaultsStore& defaults, const std::optional<std::string>& key,
                 DefaultsFormat format) {
  if (!key) {
    if (format == DefaultsFormat::kRaw) throw CommandError(kUsage, "--raw", "needs a key");
    return printJson(jsonOf(defaults.dictionaryRepresentation()), format);
  }
  const auto value = defaults.get(*key);
  if (!value) throw CommandError(kNothing, *key, "no such key");
  if (format != DefaultsFormat::kRaw) return printJson(jsonOf(*value), format);
  const auto* data = value->as<Data>();
  if (data == nullptr) throw CommandError(kNothing, *key, "not a data value");
  return printOut({reinterpret_cast<const char*>(data->data()), data->size()});
}

int writeDefaultsJson(DefaultsStore& defaults, const std::string& key, const std::string& json) {
  const auto value = propertyListOf(json);
  if (!value) throw CommandError(kUsage, key, "not JSON that the store can hold");
  return store(defaults, key, *value);
}

int writeDefaultsData(DefaultsStore& defaults, const std::string& key, const std::string& file) {
  auto data = readWhole(file);
  if (!data) throw CommandError(kNothing, file, "cannot be read");
  return store(defaults, key, PropertyList(std::move(*data)));
}

int deleteDefaults(DefaultsStore& defaults, const std::string& key) {
  const auto removal = defaults.remove(key);
  if (removal == DefaultsStore::Removal::absent) throw CommandError(kNothing, key, "no such key");
  if (removal == DefaultsStore::Removal::failed) {
    throw CommandError(kNothing, key, "cannot be removed");
  }
  return kDone;
}

}  // namespace tarvel::viewer
