#pragma once

#include <QzBase/CountedPtr.h>
#include <QzLog/Destination.h>
#include <QzLogKit/Export.h>

#include <string>
#include <vector>

namespace QzLogKit
{
    /// Whose messages are wanted. Texts are UTF-8 and compared byte by byte with the IDs of the thread that logs.
    struct Selection
    {
        std::vector<std::string> mUserIDs = {};
        std::vector<std::string> mSessionIDs = {};
        std::vector<std::string> mObjectIDs = {};

        bool IsEmpty() const { return mUserIDs.empty() && mSessionIDs.empty() && mObjectIDs.empty(); }

        bool operator==(Selection const&) const = default;
    };

    /// A destination that passes on the messages of some users, sessions or objects and drops all others: what one
    /// customer does is traced in full, in a server that goes on serving all.
    ///
    ///     CountedPtr<Destination_Selection> const oneCase(QzLogKit::CreateDestination_Selection(*traceFile));
    ///     ...
    ///     oneCase->Select({.mUserIDs = {"alice"}, .mSessionIDs = {"S4711"}}); // on an operator's command
    ///     trace->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({oneCase.get()}));
    ///
    /// A message passes if its user, its session or its object is selected. An empty selection passes nothing; but the
    /// text of each message is still made then. Once nothing is selected, take the destination out of its dispatcher's
    /// list, and a call costs a byte read again.
    ///
    /// Messages pass unchanged and in their order. The IDs of messages with a call stack are those of the target, which
    /// is held until the destination ends.
    class QZLOGKIT_API Destination_Selection : public virtual QzLog::Destination
    {
    public:
        ~Destination_Selection() override;

        /// Replaces the selection. Called from any thread at any time: a message in delivery sees the old selection or
        /// the new one. Throws std::bad_alloc and then changes nothing.
        virtual void Select(Selection const& selection) = 0;

        /// The present selection. Throws std::bad_alloc.
        virtual Selection GetSelection() = 0;
    };

    /// Throws std::bad_alloc.
    QZLOGKIT_API QzBase::ReturnPtrI<Destination_Selection> CreateDestination_Selection(
        QzLog::Destination& target, Selection const& selection = {});
}
