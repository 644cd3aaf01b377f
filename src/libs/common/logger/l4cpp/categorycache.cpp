#include "categorycache.h"

#include <log4cpp/Category.hh>

namespace common::logger::l4cpp
{

namespace
{

/// A simple hash for the few names of a program; std::hash would take longer than the rest of the search.
std::size_t HashOf(std::string_view name)
{
    return name.empty() ? 0 : name.size() * 31 + static_cast<unsigned char>(name.back());
}

} // namespace

log4cpp::Category& CategoryCache::Find(std::string_view name)
{
    std::atomic<Entry*>& bucket = buckets[HashOf(name) % buckets.size()];
    Entry* first = bucket.load(std::memory_order_acquire);
    for (Entry* entry = first; entry != nullptr; entry = entry->next) {
        if (entry->name == name) {
            return entry->category;
        }
    }
    std::string key(name);
    log4cpp::Category& category = log4cpp::Category::getInstance(key);
    // Two threads may add the same name; both entries refer to the same category.
    auto* entry = new Entry{std::move(key), category, first};
    while (!bucket.compare_exchange_weak(entry->next, entry, std::memory_order_release,
                                         std::memory_order_relaxed)) {
    }
    return category;
}

} // namespace common::logger::l4cpp
