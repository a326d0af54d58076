#include <QzLogKit/Destination_RateLimit.h>

#include "HoldBack.h"
#include "MessageText.h"
#include "WrappingDestination.h"

#include <QzBase/System.h>
#include <QzLog/MessageHeader.h>

#include <string>
#include <utility>

namespace QzLogKit
{
    Destination_RateLimit::~Destination_RateLimit() = default;

    namespace
    {
        /// What the header of a line says, but for the time and the thread.
        struct MessageOrigin
        {
            std::string mHostName;
            std::string mServerName;
            std::string mLoggerName;
            std::string mDispatcherName;
        };

        using Counts = HoldBack<MessageOrigin>;

        class Destination_RateLimit_Impl final : public WrappingDestination<Destination_RateLimit>
        {
        public:
            Destination_RateLimit_Impl(QzLog::Destination& target, RateLimit limit, RateLimitPer per)
                : WrappingDestination(target), mPer(per), mCounts(limit)
            {
            }

            ~Destination_RateLimit_Impl() override
            {
                try
                {
                    Destination_RateLimit_Impl::Report();
                }
                catch (...)
                {
                    // Nobody is left who could be told.
                }
            }

            void WriteMessage(char const* text, QzLog::MessageHeader& header) override
            {
                if (Admits(header))
                    GetTarget().WriteMessage(text, header);
            }

            void WriteMessage(QzLog::MessageHeader& header, QzLog::MessageBody& body) override
            {
                if (Admits(header))
                    GetTarget().WriteMessage(header, body);
            }

            void Report() override
            {
                mCounts.EndAll();
                QzLog::Timestamp_Impl now;
                now.SetToNowLocal();
                SayAll(now);
            }

        private:
            bool Admits(QzLog::MessageHeader& header)
            {
                HoldBackKey const key = GetKey(header);
                QzLog::Timestamp const& time = std::as_const(header).GetTimestamp();
                bool isAdmitted = true;
                if (key.IsEmpty())
                    mCounts.EndOver(time);
                else
                    isAdmitted = mCounts.Admits(key, time,
                        [&header]
                        {
                            return MessageOrigin{header.GetHostName(), header.GetServerName(), header.GetLoggerName(),
                                header.GetDispatcherName()};
                        });
                if (mCounts.HasEnded()) [[unlikely]]
                    SayAll(time);
                return isAdmitted;
            }

            HoldBackKey GetKey(QzLog::MessageHeader& header) const
            {
                switch (mPer)
                {
                case RateLimitPer::kMessageID:
                    return {{}, {}, header.GetMessageID()};
                case RateLimitPer::kCallSite:
                    if (*header.GetSourceFile() == '\0')
                        return {{}, {}, 0};
                    return {header.GetSourceFile(), {}, static_cast<unsigned int>(header.GetSourceLine())};
                case RateLimitPer::kDispatcher:
                    return {header.GetLoggerName(), header.GetDispatcherName(), 0};
                }
                return {{}, {}, 0};
            }

            std::string Describe(Counts::Window const& window) const
            {
                switch (mPer)
                {
                case RateLimitPer::kMessageID:
                    return MessageIDText(window.mKey.GetNumber());
                case RateLimitPer::kCallSite:
                    return SourcePlace(window.mFirst, window.mKey.GetNumber());
                case RateLimitPer::kDispatcher:
                    return window.mFirst + "/" + window.mSecond;
                }
                return {};
            }

            void SayAll(QzLog::Timestamp const& time)
            {
                mCounts.SayAll(
                    [&](Counts::Window const& window, std::uint64_t count)
                    {
                        // The thread's own header belongs to the message in delivery.
                        QzBase::CountedPtr<QzLog::MessageHeader> const header(QzLog::CreateMessageHeader());
                        header->SetTimestamp(time);
                        header->SetHostName(window.mOrigin.mHostName.c_str());
                        header->SetServerName(window.mOrigin.mServerName.c_str());
                        header->SetProcessID(QzBase::GetCurrentProcessID());
                        header->SetThreadID(static_cast<unsigned int>(QzBase::GetCurrentThreadID()));
                        header->SetLoggerName(window.mOrigin.mLoggerName.c_str());
                        header->SetDispatcherName(window.mOrigin.mDispatcherName.c_str());
                        GetTarget().WriteMessage(HeldBackText(count, Describe(window), window.mSince).c_str(), *header);
                    });
            }

            RateLimitPer const mPer;
            Counts mCounts;
        };
    }

    QzBase::ReturnPtrI<Destination_RateLimit> CreateDestination_RateLimit(
        QzLog::Destination& target, RateLimit limit, RateLimitPer per)
    {
        return QzBase::ReturnPtrI<Destination_RateLimit>(new Destination_RateLimit_Impl(target, limit, per));
    }
}
