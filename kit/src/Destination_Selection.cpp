#include <QzLogKit/Destination_Selection.h>

#include "ForkSafeLock.h"
#include "WrappingDestination.h"

#include <QzLog/MessageHeader.h>

#include <algorithm>
#include <string_view>

namespace QzLogKit
{
    Destination_Selection::~Destination_Selection() = default;

    namespace
    {
        using IDs = std::vector<std::string>;

        /// By length first, which tells most IDs apart without a look at their bytes.
        struct ByLength
        {
            bool operator()(std::string_view a, std::string_view b) const
            {
                return a.size() != b.size() ? a.size() < b.size() : a < b;
            }
        };

        IDs Sorted(IDs ids)
        {
            std::sort(ids.begin(), ids.end(), ByLength());
            return ids;
        }

        /// \param ids  sorted.
        bool Contains(IDs const& ids, char const* id)
        {
            return !ids.empty() && std::binary_search(ids.begin(), ids.end(), std::string_view(id), ByLength());
        }

        class Destination_Selection_Impl final : public WrappingDestination<Destination_Selection>
        {
        public:
            Destination_Selection_Impl(QzLog::Destination& target, Selection const& selection)
                : WrappingDestination(target)
            {
                Select(selection);
            }

            void Select(Selection const& selection) override
            {
                Selection sorted{
                    Sorted(selection.mUserIDs), Sorted(selection.mSessionIDs), Sorted(selection.mObjectIDs)};
                ForkSafeLock::WriteHold const hold(mLock);
                std::swap(mSelection, sorted);
            }

            Selection GetSelection() override
            {
                ForkSafeLock::ReadHold const hold(mLock);
                return mSelection;
            }

            void WriteMessage(char const* text, QzLog::MessageHeader& header) override
            {
                if (IsSelected(header))
                    GetTarget().WriteMessage(text, header);
            }

            void WriteMessage(QzLog::MessageHeader& header, QzLog::MessageBody& body) override
            {
                if (IsSelected(header))
                    GetTarget().WriteMessage(header, body);
            }

        private:
            bool IsSelected(QzLog::MessageHeader& header)
            {
                ForkSafeLock::ReadHold const hold(mLock);
                return Contains(mSelection.mUserIDs, header.GetUserID()) ||
                       Contains(mSelection.mSessionIDs, header.GetSessionID()) ||
                       Contains(mSelection.mObjectIDs, header.GetObjectID());
            }

            ForkSafeLock mLock;
            Selection mSelection;
        };
    }

    QzBase::ReturnPtrI<Destination_Selection> CreateDestination_Selection(
        QzLog::Destination& target, Selection const& selection)
    {
        return QzBase::ReturnPtrI<Destination_Selection>(new Destination_Selection_Impl(target, selection));
    }
}
