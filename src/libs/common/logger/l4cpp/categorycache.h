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
 * Finds the category of a channel without log4cpp's lock and its two searches of a map.
 *
 * Any thread may call Find. Entries are added and never removed: log4cpp keeps a category until it ends.
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
