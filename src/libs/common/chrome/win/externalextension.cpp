#include "../externalextension.h"

namespace common::chrome::externalextension
{

// Nothing to do: the browser reads the registry.
void Publish(const QString& /*id*/, const QString& /*updateUrl*/) {}

void Withdraw(const QString& /*id*/, const QString& /*updateUrl*/) {}

} // namespace common::chrome::externalextension
