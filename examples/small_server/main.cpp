// A server of several processes, its workers and its tools, in as few lines as it takes: one shared log, an error log
// in German, the journal and Kafka. The settings say what goes where, and are read again on SIGHUP. Each request has an
// identity, its passwords are masked, and what else it holds cannot pass for a record.
//
//     printf 'alice S1 <login password="x"/>\n' | small_server settings.json worker

#include <QzLog/QzLog.h>
#include <QzLogKit/Clean.h>
#include <QzLogKit/Identity.h>
#include <QzLogKit/ReloadSignal.h>

#include <iostream>
#include <sstream>

namespace
{
    constexpr unsigned short kDomain = 100; // as in texts.json
    enum MessageID : unsigned int
    {
        kStarted = 0x00000101,
        kSettingsRead = 0x00000102,
        kAnswered = 0x00000201,
        kFailed = 0x80000202
    };

    using RouterPtr = QzBase::CountedPtr<QzLog::Router>;

    void Answer(QzLog::Router& info, QzLog::Router& error, std::string const& line)
    {
        std::istringstream request(line);
        std::string user, session, text;
        std::getline(request >> user >> session >> std::ws, text);
        QzLogKit::IdentityGuard const onBehalfOf({.mUserID = user, .mSessionID = session});

        text = QzLogKit::Clean(QzLog::ReplaceSensitiveMessage(text.c_str(), "password", "***").c_str());
        if (text.starts_with('<'))
            QzLog::Log(info, kAnswered, text);
        else
            QzLog::Log(error, QzBase::Message(kDomain, static_cast<int>(kFailed), "%1") << text.c_str());
    }
}

int main(int argc, char** argv)
{
    try
    {
        QzLog::Initializer const module;
        QzLogKit::Routing routing;
        routing.Apply(argc > 1 ? argv[1] : "settings.json");
        QzLogKit::ReloadSignal hangUp(routing);
        RouterPtr const info(QzLog::CreateRouter(argc > 2 ? argv[2] : "worker", "Info"));
        RouterPtr const error(QzLog::CreateRouter(argc > 2 ? argv[2] : "worker", "Error"));
        QzLog::Log(*info, kStarted, QzBase::GetCurrentProcessID());

        for (std::string line; std::getline(std::cin, line);)
        {
            try
            {
                if (hangUp.ReloadIfAsked())
                    QzLog::Log(*info, kSettingsRead, routing.Describe());
                Answer(*info, *error, line);
            }
            catch (QzBase::Message const& fault)
            {
                QzLog::Log(*error, fault);
            }
        }
        return 0;
    }
    catch (QzBase::Message const& fault)
    {
        std::cerr << QzBase::FormatMessage(fault, 0).c_str() << '\n';
        return 1;
    }
}
