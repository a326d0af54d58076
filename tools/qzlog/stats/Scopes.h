#pragma once

#include "stats/Durations.h"
#include "stats/Question.h"
#include "stats/TextHash.h"

#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace QzLogTool
{
    /// How long scopes take, from the lines that a scope guard logs when they are entered and left. The two are
    /// brought together by thread, name and source file; of scopes within each other with the same name, the one that
    /// was entered last is left first.
    class Scopes : public Question
    {
    public:
        char const* GetName() const override { return "scopes"; }
        void Add(Record const& record, HeaderParser const& parser) override;
        void Finish() override;
        void Print(Output& output, std::size_t rows) const override;
        Json::Value ToJson() const override;

    private:
        struct Scope
        {
            std::string mName;
            Durations mDurations;
            std::uint64_t mNotEntered = 0;
            std::uint64_t mNotLeft = 0;
            // Where the longest one was left.
            std::int64_t mTime = 0;
            std::string mThread;
            std::string mPath;
            std::uint64_t mOffset = 0;
        };

        struct Open
        {
            std::uint32_t mScope;
            // One that was entered before it has been left.
            bool mIsPassed;
            std::int64_t mTime;
        };

        struct Thread
        {
            std::string mKey;
            std::vector<Open> mOpen;
            // When the last of those that are passed was; no other time if there is none.
            std::int64_t mPassTime = 0;
            bool mHasPassed = false;
        };

        std::uint32_t FindScope(std::string_view name);
        Thread& FindThread(std::string_view key);
        void Leave(Thread& thread, std::uint32_t scope, Record const& record);
        void DropPassed(Thread& thread, std::int64_t now);
        void Forget();

        std::vector<Scope> mScopes;
        std::unordered_map<std::string, std::uint32_t, TextHash, std::equal_to<>> mIndexes;
        // The one that logged last is the first.
        std::list<Thread> mThreads;
        std::unordered_map<std::string_view, std::list<Thread>::iterator> mPlaces;
        std::size_t mOpen = 0;
        std::uint64_t mForgotten = 0;
        std::uint64_t mBackwards = 0;
    };
}
