#pragma once

// Everything that a user of the library needs.

#include <QzLog/ConfigurationHook.h>
#include <QzLog/Dispatcher.h>
#include <QzLog/Exception.h>
#include <QzLog/Format.h>
#include <QzLog/Log.h>
#include <QzLog/Logger.h>
#include <QzLog/MessageCatalog.h>
#include <QzLog/Module.h>
#include <QzLog/Router.h>
#include <QzLog/ScopeGuard.h>
#include <QzLog/ThreadSpecificLogInfo.h>

#include <QzBase/Conversions.h>
#include <QzBase/System.h>
#include <QzSynch/ReferenceCountedImpl.h>
