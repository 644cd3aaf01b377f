#include "../replaceablefile.h"

#include <QString>

#include <filesystem>
#include <system_error>

namespace tools
{

// Who may do what comes from the folder, from which a new file takes it as the old one did.
bool IsReplaceable(const QString& path)
{
    std::error_code error;
    return std::filesystem::hard_link_count(path.toStdWString(), error) == 1;
}

} // namespace tools
