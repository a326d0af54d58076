#pragma once

// Everything that a user of the library needs.

#include <QzLog/CmdLogTrace.h>
#include <QzLog/ConfigurationHook.h>
#include <QzLog/Destination.h>
#include <QzLog/Destination_DebugOutput.h>
#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Destination_Impl.h>
#include <QzLog/Destination_KafkaLog.h>
#include <QzLog/Destination_SystemLog.h>
#include <QzLog/Dispatcher.h>
#include <QzLog/Exception.h>
#include <QzLog/Format.h>
#include <QzLog/Log.h>
#include <QzLog/LogFunctions.h>
#include <QzLog/LogTrace.h>
#include <QzLog/Logger.h>
#include <QzLog/Masking.h>
#include <QzLog/MessageBody.h>
#include <QzLog/MessageCatalog.h>
#include <QzLog/MessageHeader.h>
#include <QzLog/Module.h>
#include <QzLog/MsgLogTrace.h>
#include <QzLog/Router.h>
#include <QzLog/ScopeGuard.h>
#include <QzLog/ServerCommands.h>
#include <QzLog/ThreadSpecificLogInfo.h>
#include <QzLog/Timestamp.h>

#include <KafkaClient/KafkaProducer.h>
#include <QzBase/Conversions.h>
#include <QzBase/System.h>
#include <QzResource/Localizer.h>
#include <QzSynch/ReferenceCountedImpl.h>
