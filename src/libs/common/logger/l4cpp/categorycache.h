#pragma once

#include <array>
#include <atomic>
#include <string>
#include <string_view>

namespace log4cpp
{
class Category;
}

namespace common::logger::l4cpp
{

/**
 * Finds the category of a channel without the lock and the two map searches of log4cpp.
 *
 * Any thread may call Find. Entries are never removed, because log4cpp keeps its categories until shutdown.
 */
class CategoryCache
{
public:
    constexpr CategoryCache() = default;

    log4cpp::Category& Find(std::string_view name);

private:
    struct Entry
    {
        std::string name;
        log4cpp::Category& category;
        Entry* next;
    };

    std::array<std::atomic<Entry*>, 64> buckets{};
};

} // namespace common::logger::l4cpp
