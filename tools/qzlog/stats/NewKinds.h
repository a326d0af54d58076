#pragma once

#include "stats/Question.h"
#include "stats/TextHash.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace QzLogTool
{
    /// Kinds of message (see MakeMessageKind) that came for the first time at some moment or later.
    class NewKinds : public Question
    {
    public:
        /// \param since  that moment, in milliseconds since 1970-01-01 00:00 UTC.
        explicit NewKinds(std::int64_t since) : mSince(since) {}

        char const* GetName() const override { return "new"; }
        void Add(Record const& record, HeaderParser const& parser) override;
        void Finish() override;
        void Print(Output& output, std::size_t rows) const override;
        Json::Value ToJson() const override;

    private:
        struct Kind
        {
            std::uint64_t mCount = 0;
            std::int64_t mFirst = 0;
            std::string mLogger;
            std::string mDispatcher;
        };

        using Kinds = std::unordered_map<std::string, Kind, TextHash, std::equal_to<>>;

        std::int64_t const mSince;
        // By their hashes. That two of so many have the same is less likely than an error of the memory.
        std::unordered_set<std::uint64_t> mOld;
        std::uint64_t mLastOld = 0;
        std::uint64_t mBefore = 0;
        std::uint64_t mNotKept = 0;
        Kinds mNew;
        std::uint64_t mOthers = 0;
        std::vector<Kinds::value_type const*> mSorted;
        std::string mText;
    };
}
