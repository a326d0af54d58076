#include <QzLogKit/CallLimit.h>

#include "HoldBack.h"
#include "MessageText.h"

#include <vector>

namespace QzLogKit
{
    namespace
    {
        struct CallOrigin
        {
            QzBase::CountedPtr<QzLog::Router> mpRouter;
            char const* mpFunctionName = nullptr;
        };
    }

    class CallLimit::State
    {
    public:
        /// The states of all limits of the process.
        struct All
        {
            static All& Get()
            {
                // Static limits may end after it.
                static All& all = *new All;
                return all;
            }

            static All& gAll;

            ForkSafeLock mLock;
            std::vector<std::weak_ptr<State>> mStates;
        };

        explicit State(RateLimit limit) : mCounts(limit) {}

        bool Count(QzLog::Router& router, char const* fileName, int lineNumber, char const* functionName)
        {
            QzLog::Timestamp_Impl now;
            now.SetToNowLocal();
            bool const isAdmitted = mCounts.Admits({fileName, {}, static_cast<unsigned int>(lineNumber)}, now,
                [&] {
                    return CallOrigin{&router, functionName};
                });
            if (mCounts.HasEnded())
                SayAll();
            return isAdmitted;
        }

        void Report()
        {
            mCounts.EndAll();
            SayAll();
        }

    private:
        void SayAll()
        {
            mCounts.SayAll(
                [](HoldBack<CallOrigin>::Window const& window, std::uint64_t count)
                {
                    QzLog::Router& router = *window.mOrigin.mpRouter;
                    if (router.mEnabled.load(std::memory_order_relaxed))
                        router.LogText(
                            HeldBackText(count, SourcePlace(window.mFirst, window.mKey.GetNumber()), window.mSince)
                                .c_str(),
                            0, window.mFirst.c_str(), window.mOrigin.mpFunctionName,
                            static_cast<int>(window.mKey.GetNumber()));
                });
        }

        HoldBack<CallOrigin> mCounts;
    };

    // Created when the library is loaded, so that no fork happens during its construction.
    CallLimit::State::All& CallLimit::State::All::gAll = Get();

    CallLimit::CallLimit(RateLimit limit) : mpState(std::make_shared<State>(limit))
    {
        State::All& all = State::All::Get();
        ForkSafeLock::WriteHold const hold(all.mLock);
        std::erase_if(all.mStates, [](auto const& state) { return state.expired(); });
        all.mStates.push_back(mpState);
    }

    CallLimit::~CallLimit()
    {
        try
        {
            mpState->Report();
        }
        catch (...)
        {
            // Nobody is left who could be told.
        }
    }

    bool CallLimit::Count(QzLog::Router& router, char const* fileName, int lineNumber, char const* functionName)
    {
        return mpState->Count(router, fileName, lineNumber, functionName);
    }

    void ReportHeldBack()
    {
        auto& all = CallLimit::State::All::Get();
        std::vector<std::shared_ptr<CallLimit::State>> states;
        {
            ForkSafeLock::ReadHold const hold(all.mLock);
            for (auto const& state : all.mStates)
                if (auto held = state.lock())
                    states.push_back(std::move(held));
        }
        for (auto const& state : states)
            state->Report();
    }
}
