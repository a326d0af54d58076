#include "stats/Grouping.h"

#include "stats/MessageKind.h"
#include "time/Moments.h"

#include <algorithm>

namespace QzLogTool
{
    namespace
    {
        constexpr char kNone[] = "(none)";
        constexpr std::int64_t kOneMinute = 60 * 1000;
    }

    /// By a field of the header, or a slot of time, or else the kind of message.
    struct Grouping::Kind
    {
        std::string mName;
        std::string mTitle;
        std::string_view HeaderFields::*mpField = nullptr;
        std::int64_t mSlot = 0;
        // How much of a moment's text names the slot.
        std::size_t mShown = 0;
    };

    std::vector<Grouping::Kind> const& Grouping::GetKinds()
    {
        static std::vector<Kind> const kinds{{"user", "Users", &HeaderFields::mUser},
            {"session", "Sessions", &HeaderFields::mSession}, {"object", "Objects", &HeaderFields::mObject},
            {"host", "Hosts", &HeaderFields::mHost}, {"server", "Servers", &HeaderFields::mServer},
            {"process", "Processes", &HeaderFields::mProcess}, {"thread", "Threads", &HeaderFields::mThread},
            {"logger", "Loggers", &HeaderFields::mLogger}, {"dispatcher", "Dispatchers", &HeaderFields::mDispatcher},
            {"id", "Message IDs", &HeaderFields::mMessageID}, {"message", "Messages"},
            {"minute", "Minutes", nullptr, kOneMinute, 16}, {"hour", "Hours", nullptr, 60 * kOneMinute, 13},
            {"day", "Days", nullptr, 24 * 60 * kOneMinute, 10}};
        return kinds;
    }

    std::vector<std::string> Grouping::GetNames()
    {
        std::vector<std::string> names;
        for (Kind const& kind : GetKinds())
            names.push_back(kind.mName);
        return names;
    }

    Grouping::Grouping(std::string const& name, std::size_t mostBytes)
        : mName(name),
          mKind(*std::find_if(
              GetKinds().begin(), GetKinds().end(), [&name](Kind const& kind) { return kind.mName == name; })),
          mCounter(mostBytes)
    {
    }

    std::string const& Grouping::GetTitle() const
    {
        return mKind.mTitle;
    }

    bool Grouping::IsOfTime() const
    {
        return mKind.mSlot != 0;
    }

    void Grouping::Add(Record const& record, HeaderParser const& parser)
    {
        std::string_view name;
        if (mKind.mpField)
            name = parser.GetFields().*mKind.mpField;
        else if (mKind.mSlot != 0)
            name = FormatSlot(ToLocal(record.mTime));
        else
        {
            MakeMessageKind(parser.GetMessage(), mText);
            name = mText;
        }
        bool const isID = mKind.mpField == &HeaderFields::mMessageID;
        if (isID && !name.empty())
            name = (mText = "0x") += name;
        mCounter.Add(name.empty() ? kNone : name);
    }

    /// Of records that follow one another most are in the same slot.
    std::string_view Grouping::FormatSlot(std::int64_t time)
    {
        if (mText.empty() || time < mSlotStart || time >= mSlotStart + mKind.mSlot)
        {
            std::int64_t const rest = time % mKind.mSlot;
            mSlotStart = time - (rest < 0 ? rest + mKind.mSlot : rest);
            mText = FormatMoment(time).substr(0, mKind.mShown);
        }
        return mText;
    }
}
