#pragma once

// Everything that a user of the library needs. Quick start, for C++20:
//
//     QzLog::Initializer const module; // first in main
//     QzBase::CountedPtr<QzLog::Destination> const file(QzLog::GetDestination_DiskFile(u"hello.log"_w));
//     QzBase::CountedPtr<QzLog::Router> const info(QzLog::CreateRouter("Kernel", "Info"));
//     info->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({file.get()}));
//     QzLog::Log(*info, "User %1 waited %2 ms.", "alice", 12.8);
//
// (u"..."_w comes from `using namespace QzBase::Literals`.) The headers are the manual. In reading order:
//
//     to log          Log.h            the call, and the values that it takes
//                     StandardValues.h texts of more types of the standard library, to be included besides
//                     Router.h         what a piece of code logs through
//                     ScopeGuard.h     traces a function, with its return code
//     to set up       Module.h         start and stop of the library
//                     ConfigurationHook.h, Dispatcher.h, Logger.h
//                                      who decides what goes where, and how
//                     Destination_DiskFile.h, Destination_DebugOutput.h, Destination_SystemLog.h,
//                     Destination_KafkaLog.h
//                                      where messages go; Destination_Impl.h to write a destination of your own
//     who it is about ThreadSpecificLogInfo.h
//                                      user, session and object of the messages of a thread
//     by message ID   MessageCatalog.h texts of IDs, in several languages; structured messages: QzBase/Message.h
//     beside the log  Masking.h        secrets in texts
//                     CmdLogTrace.h, MsgLogTrace.h
//                                      counts of commands and messages
//     underneath      LogFunctions.h   the functions that Log.h calls, which take the source location as arguments
//                     MessageHeader.h, MessageBody.h, Timestamp.h
//                                      what a destination gets
//                     Version.h        for conditions on the version
//
// Headers in details/ belong to other headers.

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
#include <QzLog/LossObserver.h>
#include <QzLog/Masking.h>
#include <QzLog/MessageBody.h>
#include <QzLog/MessageCatalog.h>
#include <QzLog/MessageHeader.h>
#include <QzLog/Module.h>
#include <QzLog/MsgLogTrace.h>
#include <QzLog/Router.h>
#include <QzLog/ScopeGuard.h>
#include <QzLog/ServerCommands.h>
#include <QzLog/SourceLocation.h>
#include <QzLog/ThreadSpecificLogInfo.h>
#include <QzLog/Timestamp.h>
#include <QzLog/Version.h>

#include <KafkaClient/KafkaProducer.h>
#include <QzBase/Conversions.h>
#include <QzBase/System.h>
#include <QzResource/Localizer.h>
#include <QzSynch/ReferenceCountedImpl.h>
