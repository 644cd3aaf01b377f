#include "../externalextension.h"

namespace common::chrome::externalextension
{

// The browser reads the registry itself.
void Publish(const QString& /*id*/, const QString& /*updateUrl*/) {}

void Withdraw(const QString& /*id*/, const QString& /*updateUrl*/) {}

} // namespace common::chrome::externalextension
