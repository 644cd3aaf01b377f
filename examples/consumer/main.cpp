#include <common/contact/icontactcontext.h>
#include <common/logger/logger.h>

int main(int argc, char* argv[])
{
    using namespace common;
    logger::SetLogger(logger::GetLog4cpp());
    logger::GetLogger()->Configure(logger::Info, logger::Target::RollingFile, logger::Option::PatternLayout,
                                   {}, {}, {}, QStringLiteral("calls.log"), {}, 10 * 1024 * 1024, 3);
    for (int i = 1; i < argc; ++i) {
        const auto party = contact::CreateInstance(QString::fromLocal8Bit(argv[i]), QString());
        LOG_MESSAGE(logger::Info) << "would dial " << party->DisplayText();
    }
}
