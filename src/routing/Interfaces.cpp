#include <QzLog/ConfigurationHook.h>
#include <QzLog/Dispatcher.h>
#include <QzLog/Logger.h>
#include <QzLog/MessageCatalog.h>
#include <QzLog/Router.h>

// Each abstract class has its one destructor, and with it its type information, here: a user's class that
// derives from it and the library must mean the same type.

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
