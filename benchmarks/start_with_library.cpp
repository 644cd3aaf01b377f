#include <common/logger/logger.h>

int main()
{
    return common::logger::GetLogger() != nullptr ? 0 : 1;
}
