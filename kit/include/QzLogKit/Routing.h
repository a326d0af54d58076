#pragma once

#include <QzBase/CountedPtr.h>
#include <QzLog/ConfigurationHook.h>
#include <QzLog/Destination.h>
#include <QzLogKit/Export.h>
#include <QzLogKit/SettingsError.h>

#include <functional>
#include <memory>
#include <string>

namespace QzLogKit
{
    /// Decides by a settings file what goes where: a ready configuration hook.
    ///
    ///     QzLog::Initializer const module;
    ///     QzLogKit::Routing routing;
    ///     routing.Apply("server.json");
    ///
    /// The file is JSON, UTF-8; comments are allowed. Every key may be left out, except "type" and what its type needs.
    /// A key that is not listed here is a fault, since it is a typing error.
    ///
    ///     {
    ///         "server": "Reporting01",              // SetServerInstanceName
    ///         "basePath": "logs",                   // SetBasePath: where relative log files live
    ///         "language": "en",                     // SetProcessLanguageID
    ///         "destinations": {
    ///             "terminal": { "type": "debugOutput" },
    ///             "journal":  { "type": "systemLog", "source": "Reporting server" },
    ///             "errors":   { "type": "file", "path": "errors.log", "maxFileSize": 1000000, "backups": 3,
    ///                           "recovery": "strict", "retryInterval": 300, "reportLosses": "systemLog",
    ///                           "language": "de", "callStacks": ["0x80000304"] },
    ///             "stream":   { "type": "kafka", "path": "stream.log" }, // and all else that a file has
    ///             "german":   { "type": "language", "to": "errors", "language": "de" },
    ///             "some":     { "type": "rateLimit", "to": "errors", "messages": 9, "period": 60, "per": "callSite" },
    ///             "oneCase":  { "type": "selection", "to": "errors", "users": ["alice"], "sessions": ["S1"] }
    ///         },
    ///         "routes": {
    ///             "*/Error":     ["errors", "journal"],
    ///             "Kernel/Info": ["stream", "terminal"],
    ///             "*":           ["stream"],
    ///             "Kernel/Trace": []
    ///         },
    ///         "catalogs": { "*": "texts.json" },
    ///         "kafka": { "client": { "bootstrap.servers": "kafka1:9092" }, "enabled": true, "publishSettings": false,
    ///                    "topic": "reporting.logs" }
    ///     }
    ///
    /// Routes. A pattern is "logger/dispatcher"; "*" stands for any text, also a part of a name. A pattern that is only
    /// "*" means "*/*". The most exact pattern that matches decides, whatever the order in the file, and no other adds
    /// to it: first the logger's part is compared, then the dispatcher's. A part without "*" is the most exact, then
    /// the one with more other characters; of equal patterns, the first in byte order is taken. A dispatcher without a
    /// matching route has no destinations, and its routers are off, as with an empty list.
    ///
    /// Destinations. Only those that a route uses are created.
    /// - "path" is that of GetDestination_DiskFile; for "kafka" it is the file that takes what Kafka does not.
    /// - Recovery is "strict" unless the file says "basic". The other values are those of the core if they are left
    ///   out: 2000000 bytes, 1 back-up, 300 seconds.
    /// - "reportLosses" is "log", or "systemLog": then the first lost message of each failure is at once an error in
    ///   the system log too (CreateSystemLogLossObserver). With "log" an observer that the program has set stays, and
    ///   one that came from an earlier file of this object goes.
    /// - "language" is that of structured messages. It is a name such as "en", "de" or "pt-BR", or a language ID, as a
    ///   number or a text such as "0x0407". Destinations of one terminal or journal may differ in it.
    /// - The last three pass messages on to another destination; see Destination_Language, Destination_RateLimit ("per"
    ///   is "messageID", "callSite" or "dispatcher", "period" is in seconds) and Destination_Selection. What a program
    ///   selects itself, through GetDestination, stays over a reload in which the file's selection is the same.
    /// - "callStacks" lists message IDs, as numbers or texts such as "0x80000304".
    ///
    /// Catalogs. The key is a pattern for the name of a logger, where the most exact one decides; the value is the path
    /// of a JSON file, relative to the folder of the settings file:
    ///
    ///     {
    ///         "domain": 100,                        // may be left out
    ///         "messages": {
    ///             "0x80000304": { "en": "Request %1 has failed.", "de": "Anfrage %1 ist fehlgeschlagen." }
    ///         }
    ///     }
    ///
    /// With a domain, the texts are also registered for the structured messages of that domain. A catalog without the
    /// language that is asked for gives the same language of another country, then English, then its first.
    ///
    /// Kafka. "client" has librdkafka's properties, with texts, numbers, true or false as values, and must have
    /// "bootstrap.servers". "enabled" switches the feature "KS/SLMS"; it is true if it is left out. "topic" is the
    /// topic of records (SetKafkaTopic); without it, the name follows from the computer and the server, see
    /// Destination_KafkaLog. Once the topic has a name, it keeps it until the process is started again: another "topic"
    /// is then a fault, another server changes nothing. With "publishSettings" the settings, without the section
    /// "kafka", are published by UpdateLogRegistryStr.
    ///
    /// A value of the process (server, base path, language, Kafka) that the file leaves out stays as the program has
    /// set it. If an earlier file of this object has set it, it returns to the core's default.
    ///
    /// All operations may be called from any thread. No log call takes a lock of this class. After a fork the child can
    /// go on using the object; a reload in which another thread was at that moment is not continued there.
    class QZLOGKIT_API Routing
    {
    public:
        /// Given a destination and its name in the file, returns what takes its place, not null: the same one or one
        /// that wraps it. It must not call Apply or Reload.
        using Decorator = std::function<QzBase::CountedPtr<QzLog::Destination>(
            std::string const& name, QzBase::CountedPtr<QzLog::Destination> const& destination)>;

        Routing();
        /// Whatever is in force stays in force.
        ~Routing();
        Routing(Routing const&) = delete;
        Routing& operator=(Routing const&) = delete;

        /// Sets what is asked to wrap destinations of a program's own making around those of the file, for instance to
        /// count messages. It is asked once for each destination of the file that writes, and again only if that
        /// destination has become another object. To be called before Apply.
        void SetDecorator(Decorator decorator);

        /// Reads the file, puts it in force and installs the hook. Call it after the module's start, at best before the
        /// first router is created; existing dispatchers get their destinations too. Throws SettingsError if the file
        /// has a fault or the Kafka client refuses a property, QzBase::Message while no Initializer is alive, and
        /// std::bad_alloc. Then nothing has changed.
        /// \param file  the path of a plain file: a pipe or a device is a fault. The file should be replaced as a whole
        ///              (written beside it and renamed), so that nobody reads half of it. A relative path, and a
        ///              relative "basePath" in the file, are those of the current directory of the moment: a process
        ///              that changes its directory, as daemons do, gives full paths.
        void Apply(std::string const& file);

        /// Reads the file of the last Apply again and puts it in force, as Apply does, but without installing the hook.
        /// While it works, messages are delivered by the old or by the new routes, none by neither and none by both.
        /// Destinations remain the same objects as far as their settings did: an open file stays open and keeps its
        /// counts, and a file whose limits differ goes on with the new ones. Calls of several threads take effect one
        /// after the other. Throws QzBase::Message before the first Apply, and if the decorator calls it.
        void Reload();

        /// What is in force, for humans: several lines, UTF-8, each ended by LF. Loggers and dispatchers that exist are
        /// listed with the route that they take. Of the Kafka client's properties only the names are given.
        std::string Describe() const;

        /// Checks a file as Apply does, without the Kafka client's word on its properties, and changes nothing. Returns
        /// what would be in force; see Describe. Needs no Initializer.
        static std::string Check(std::string const& file);

        /// The destination that has this name in the file, as dispatchers have it; null if the settings in force have
        /// none or no route uses it.
        QzBase::CountedPtr<QzLog::Destination> GetDestination(std::string const& name) const;

        /// The hook that Apply installs. A program with a hook of its own installs that one after Apply, and passes the
        /// calls on to this one.
        QzBase::CountedPtr<QzLog::ConfigurationHook> GetHook() const;

    private:
        class Impl;
        std::unique_ptr<Impl> const mpImpl;
    };
}
