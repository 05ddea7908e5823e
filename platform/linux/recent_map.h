#pragma once

#include <cstddef>
#include <unordered_map>
#include <utility>

namespace tarvel {

// What is known of things that come and go unannounced, such as processes: what was asked for
// lately stays, and there are never more than twice `kRecent` entries. Entries that are asked for
// live in one map; when that is full it takes the place of the older one, whose entries go.
template <typename Key, typename Value, std::size_t kRecent>
class RecentMap {
 public:
  // The entry of this key, made where there is none. Another call may move or drop it.
  Value& operator[](const Key& key) {
    const auto found = recent_.find(key);
    if (found != recent_.end()) return found->second;
    if (recent_.size() >= kRecent) {
      older_ = std::move(recent_);
      recent_.clear();
    }
    auto known = older_.extract(key);
    if (known) return recent_.insert(std::move(known)).position->second;
    return recent_[key];
  }

  const Value* find(const Key& key) const {
    for (const auto* map : {&recent_, &older_}) {
      const auto found = map->find(key);
      if (found != map->end()) return &found->second;
    }
    return nullptr;
  }

  template <typename Action>
  void forEach(Action action) {
    for (auto* map : {&recent_, &older_}) {
      for (auto& [key, value] : *map) action(value);
    }
  }

 private:
  std::unordered_map<Key, Value> recent_;
  std::unordered_map<Key, Value> older_;
};

}  // namespace tarvel
