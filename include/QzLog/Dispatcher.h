#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzBase/Message.h>
#include <QzBase/ReferenceCounted.h>

#include <initializer_list>
#include <string>

namespace QzLog
{
    class Destination;
    class Logger;

    /// A list of destinations, as Dispatcher::SetDestinations takes it. CreateDestinationCollection creates one;
    /// a class of the user's will do as well. It is read only during SetDestinations, by that thread.
    class QZLOG_API DestinationCollection : public virtual QzBase::ReferenceCounted
    {
    public:
        ~DestinationCollection() override;

        virtual unsigned int GetCount() = 0;

        /// \param index  below GetCount().
        /// \return       not null. No reference is taken.
        virtual Destination* GetDestination(unsigned int index) = 0;
    };

    /// A collection of these destinations, in this order; it takes a reference to each. None may be null:
    /// SetDestinations refuses such a collection. Of counted pointers, pass what get() gives, or use
    /// QzLogKit::CreateDestinationList.
    ///
    ///     dispatcher->SetDestinations(QzLog::CreateDestinationCollection({file.get(), journal.get()}));
    QZLOG_API QzBase::ReturnPtrI<DestinationCollection> CreateDestinationCollection(
        std::initializer_list<Destination*> destinations);

    /// A named list of destinations. Each log operation stamps the header of the calling thread once and passes
    /// it to every destination, in the order of the list, on the calling thread and with no lock held.
    ///
    /// All operations may be called from any thread at any time. An exception of a destination ends the delivery
    /// of that message and reaches the caller; the list is unchanged. Log operations do nothing while the list
    /// is empty, or if the module of the logger that is passed to them has ended.
    class QZLOG_API Dispatcher : public virtual QzBase::ReferenceCounted
    {
    public:
        /// Notified when a dispatcher's destinations have been replaced.
        class QZLOG_API Callback : public virtual QzBase::ReferenceCounted
        {
        public:
            ~Callback() override;

            /// Called on the thread that made the change, with no lock held. A callback may add and remove
            /// callbacks. It can still be called once just after it has been removed.
            virtual void OnDestinationsChanged(Dispatcher& dispatcher) = 0;
        };

        ~Dispatcher() override;

        /// UTF-8, valid as long as the dispatcher. Takes no lock.
        virtual char const* GetName() = 0;

        virtual bool HasDestinations() = 0;

        /// Delivers a structured message, then adds to it the localised texts that the destinations have looked
        /// up. If a destination throws, the message is unchanged.
        virtual void LogAndUpdateMessage(Logger& logger, QzBase::Message& message) = 0;

        /// Delivers a structured message under its own ID, without source location.
        virtual void LogBaseMessage(Logger& logger, QzBase::Message const& message) = 0;

        /// Delivers finished text; see Router::LogText.
        virtual void LogText(Logger& logger, char const* text, unsigned int messageID, char const* fileName,
            char const* functionName, int lineNumber) = 0;

        /// Replaces the list and calls the callbacks, even if nothing changed. A null collection is an empty list.
        /// Messages in delivery on other threads go to the list they began with; the old destinations are released
        /// last. If the collection throws, or has a null entry (which throws QzBase::Message), the old list stays and
        /// no callback is called. If a callback throws, the new list stays and the others are not called.
        virtual void SetDestinations(QzBase::CountedPtr<DestinationCollection> const& destinations) = 0;

        /// Adds a callback and takes a reference. One that was added before stays there once. Null changes nothing.
        virtual void AddCallback(Callback* callback) = 0;

        /// Removes a callback, however often it was added. An unknown one changes nothing.
        virtual void RemoveCallback(Callback* callback) = 0;

        /// See Router::FormatHeaderJson.
        virtual void FormatHeaderJson(Logger& logger, char const* text, unsigned int messageID, char const* fileName,
            char const* functionName, int lineNumber, std::string& headerJson) = 0;
    };

    /// A new dispatcher without destinations that belongs to no logger yet. A configuration hook can put it in
    /// place of another. Null counts as the empty name. Needs no Initializer.
    QZLOG_API QzBase::ReturnPtrI<Dispatcher> CreateDispatcher(char const* name);
}
