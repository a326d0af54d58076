#include <QzLog/ConfigurationHook.h>
#include <QzLog/Dispatcher.h>
#include <QzLog/Logger.h>
#include <QzLog/MessageCatalog.h>
#include <QzLog/Router.h>

// The destructor of each abstract class is defined here, and with it its type information: the library and a
// user's class that derives from it must agree on the type.

namespace QzLog
{
    Router::~Router() = default;
    Logger::~Logger() = default;
    Logger::Callback::~Callback() = default;
    Dispatcher::~Dispatcher() = default;
    Dispatcher::Callback::~Callback() = default;
    DestinationCollection::~DestinationCollection() = default;
    MessageCatalog::~MessageCatalog() = default;
    ConfigurationHook::~ConfigurationHook() = default;
}
