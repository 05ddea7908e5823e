#include "viewer/viewer_flag.h"

#include <optional>

#include "platform/host/property_lists/keyed_archive.h"
#include "platform/host/store/defaults_store.h"

namespace tarvel::viewer {
namespace {

// The place of the viewer flag in a stored record; null where the record is of another form.
std::string* flagIn(Array& record) {
  if (record.size() == 3) return record[2].as<std::string>();
  auto* values = record.size() == 2 ? record[1].as<Array>() : nullptr;
  return values != nullptr && values->size() == 4 ? (*values)[3].as<std::string>() : nullptr;
}

// The archive with the flag of that record set; none where there is no such record.
std::optional<PropertyList> withFlag(const std::optional<PropertyList>& stored,
                                     const std::string& sensor, std::size_t place,
                                     const std::string& value) {
  const auto archiver = makeKeyedArchiver();
  const auto* data = stored ? stored->as<Data>() : nullptr;
  auto records = data != nullptr ? archiver->unarchiveObjectWithData(*data) : std::nullopt;
  if (!records) return std::nullopt;
  for (auto& object : *records) {
    auto* record = object.as<Array>();
    const auto* name =
        record != nullptr && !record->empty() ? (*record)[0].as<std::string>() : nullptr;
    if (name == nullptr || *name != sensor || place-- > 0) continue;
    std::string* flag = flagIn(*record);
    if (flag == nullptr) return std::nullopt;
    *flag = value;
    return archiver->archivedDataWithRootObject(*records);
  }
  return std::nullopt;
}

}  // namespace

bool setViewerFlag(DefaultsStore& store, std::string_view key, const std::string& sensor,
                   std::size_t place, const std::string& value) {
  return store.change(key, [&](const std::optional<PropertyList>& before) {
    return withFlag(before, sensor, place, value);
  });
}

}  // namespace tarvel::viewer
