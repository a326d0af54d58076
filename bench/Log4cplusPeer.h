#pragma once

#include <log4cplus/fileappender.h>
#include <log4cplus/helpers/property.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>

#include <memory>
#include <string>

namespace Log4cplusPeer
{
    /// A logger of that name with the content of the library's header in its pattern, and a rotating file that flushes
    /// each record.
    inline log4cplus::Logger MakeFile(char const* name, std::string const& path, bool withLockFile)
    {
        log4cplus::helpers::Properties properties;
        properties.setProperty("File", path);
        properties.setProperty("MaxFileSize", "2000000000");
        properties.setProperty("MaxBackupIndex", "1");
        properties.setProperty("ImmediateFlush", "true");
        properties.setProperty("UseLockFile", withLockFile ? "true" : "false");
        log4cplus::SharedAppenderPtr const appender(new log4cplus::RollingFileAppender(properties));
        appender->setLayout(std::make_unique<log4cplus::PatternLayout>(
            "%D{%Y-%m-%d %H:%M:%S.%q} [HOST:ws01][SERVER:Engine][PID:%i][THR:%t][%c][Info][UID:0][SID:0][OID:0] %m%n"));
        log4cplus::Logger logger = log4cplus::Logger::getInstance(name);
        logger.addAppender(appender);
        logger.setAdditivity(false);
        return logger;
    }
}
