#include "stats/Scopes.h"

#include "Characters.h"
#include "output/Lines.h"
#include "stats/Owners.h"
#include "stats/Table.h"
#include "time/Moments.h"

#include <algorithm>
#include <utility>

namespace QzLogTool
{
    namespace
    {
        constexpr std::size_t kMostScopes = 2048;
        constexpr std::size_t kMostThreads = 16384;
        constexpr std::size_t kMostOpen = 100'000;
        constexpr std::size_t kLongestScopeName = 4096;
        constexpr std::size_t kLongestScopeLabel = 80;
        constexpr char kOtherScopes[] = "(others)";
        constexpr std::string_view kNear = "' near ";

        struct Line
        {
            bool mIsEnter;
            // Up to the line number: "Run' near Engine.cpp".
            std::string_view mName;
        };

        /// Whether a message is one that a scope guard logs: "Enter 'Run' near Engine.cpp(12)", or with "Leave" and
        /// perhaps " with " and a return code.
        bool ReadLine(std::string_view message, Line& line)
        {
            constexpr std::size_t kStart = 7;
            line.mIsEnter = message.starts_with("Enter '");
            if (!line.mIsEnter && !message.starts_with("Leave '"))
                return false;
            message = message.substr(kStart, message.find_first_of("\r\n") - kStart);
            std::size_t const end = message.rfind(')');
            std::size_t const number = message.substr(0, end).rfind('(');
            if (end == std::string_view::npos || number == std::string_view::npos || number > kLongestScopeName)
                return false;
            std::string_view const digits = message.substr(number + 1, end - number - 1);
            std::string_view const rest = message.substr(end + 1);
            line.mName = message.substr(0, number);
            return !digits.empty() && std::all_of(digits.begin(), digits.end(), IsDigit) &&
                   line.mName.find(kNear) != std::string_view::npos &&
                   (rest.empty() || (!line.mIsEnter && rest.starts_with(" with ")));
        }

        /// "Run (Engine.cpp)".
        std::string MakeScopeLabel(std::string const& name)
        {
            std::size_t const at = name.find(kNear);
            if (at == std::string::npos)
                return name;
            return name.substr(0, at) + " (" + name.substr(at + kNear.size()) + ')';
        }
    }

    void Scopes::Add(Record const& record, HeaderParser const& parser)
    {
        Line line;
        if (!ReadLine(parser.GetMessage(), line))
            return;
        std::uint32_t const scope = FindScope(line.mName);
        Thread& thread = FindThread(GetThreadOf(parser.GetFields()));
        DropPassed(thread, record.mTime);
        if (!line.mIsEnter)
        {
            Leave(thread, scope, record);
            return;
        }
        thread.mOpen.push_back({scope, false, record.mTime});
        if (++mOpen > kMostOpen)
            Forget();
    }

    std::uint32_t Scopes::FindScope(std::string_view name)
    {
        auto found = mIndexes.find(name);
        if (found == mIndexes.end() && mScopes.size() >= kMostScopes)
            found = mIndexes.find(kOtherScopes);
        if (found != mIndexes.end())
            return found->second;
        mScopes.emplace_back().mName = mScopes.size() < kMostScopes ? name : kOtherScopes;
        return mIndexes[mScopes.back().mName] = static_cast<std::uint32_t>(mScopes.size() - 1);
    }

    Scopes::Thread& Scopes::FindThread(std::string_view key)
    {
        // The same one often logs several times on end.
        if (!mThreads.empty() && mThreads.front().mKey == key)
            return mThreads.front();
        auto const found = mPlaces.find(key);
        if (found != mPlaces.end())
        {
            mThreads.splice(mThreads.begin(), mThreads, found->second);
            return mThreads.front();
        }
        if (mThreads.size() == kMostThreads)
        {
            Thread& last = mThreads.back();
            for (Open const& open : last.mOpen)
                ++mScopes[open.mScope].mNotLeft;
            mForgotten += last.mOpen.size();
            mOpen -= last.mOpen.size();
            mPlaces.erase(last.mKey);
            mThreads.pop_back();
        }
        mThreads.emplace_front().mKey = key;
        mPlaces[mThreads.front().mKey] = mThreads.begin();
        return mThreads.front();
    }

    void Scopes::Leave(Thread& thread, std::uint32_t scope, Record const& record)
    {
        std::vector<Open>& opens = thread.mOpen;
        auto const found =
            std::find_if(opens.rbegin(), opens.rend(), [scope](Open const& open) { return open.mScope == scope; });
        Scope& figures = mScopes[scope];
        if (found == opens.rend())
        {
            ++figures.mNotEntered;
            return;
        }
        // Those within it can still be left at the same time, in another log.
        for (auto inner = opens.rbegin(); inner != found; ++inner)
            inner->mIsPassed = thread.mHasPassed = true;
        thread.mPassTime = record.mTime;
        std::int64_t const duration = record.mTime - found->mTime;
        opens.erase(std::next(found).base());
        --mOpen;
        mBackwards += duration < 0 ? 1 : 0;
        if (figures.mDurations.GetCount() == 0 || duration > figures.mDurations.GetLongest())
        {
            figures.mTime = record.mTime;
            figures.mThread = thread.mKey;
            figures.mPath = record.mpPath ? *record.mpPath : std::string();
            figures.mOffset = record.mOffset;
        }
        figures.mDurations.Add(duration);
    }

    /// Of those whose outer scope was left some time ago nobody knows when they were.
    void Scopes::DropPassed(Thread& thread, std::int64_t now)
    {
        if (!thread.mHasPassed || now == thread.mPassTime)
            return;
        std::size_t const dropped = std::erase_if(thread.mOpen,
            [this](Open const& open)
            {
                mScopes[open.mScope].mNotLeft += open.mIsPassed ? 1 : 0;
                return open.mIsPassed;
            });
        mOpen -= dropped;
        thread.mHasPassed = false;
    }

    /// Makes room, at the cost of the thread that has been silent for longest: of its older half.
    void Scopes::Forget()
    {
        auto const hasOpen = [](Thread const& thread) { return !thread.mOpen.empty(); };
        std::vector<Open>& opens = std::find_if(mThreads.rbegin(), mThreads.rend(), hasOpen)->mOpen;
        std::size_t const count = (opens.size() + 1) / 2;
        auto const end = opens.begin() + static_cast<std::ptrdiff_t>(count);
        std::for_each(opens.begin(), end, [this](Open const& open) { ++mScopes[open.mScope].mNotLeft; });
        opens.erase(opens.begin(), end);
        mOpen -= count;
        mForgotten += count;
    }

    /// Those that took most time altogether first. What is still open was not left.
    void Scopes::Finish()
    {
        for (Thread const& thread : mThreads)
            for (Open const& open : thread.mOpen)
                ++mScopes[open.mScope].mNotLeft;
        std::sort(mScopes.begin(), mScopes.end(),
            [](Scope const& a, Scope const& b)
            {
                double const difference = a.mDurations.GetTotal() - b.mDurations.GetTotal();
                return difference != 0 ? difference > 0 : a.mName < b.mName;
            });
    }

    void Scopes::Print(Output& output, std::size_t rows) const
    {
        output.Write("\nScopes, those with most time altogether first" + MakeRest(mScopes.size(), rows) + '\n');
        std::vector<std::vector<std::string>> table{{"count", "mean", "50%", "90%", "99%", "longest", "scope"}};
        for (std::size_t i = 0; i < std::min(rows, mScopes.size()); ++i)
        {
            Scope const& scope = mScopes[i];
            Durations const& durations = scope.mDurations;
            auto const format = [&durations](auto span)
            { return durations.GetCount() != 0 ? FormatSpan(static_cast<double>(span)) : "-"; };
            table.push_back(
                {std::to_string(durations.GetCount()), format(durations.GetMean()), format(durations.GetPercentile(50)),
                    format(durations.GetPercentile(90)), format(durations.GetPercentile(99)),
                    format(durations.GetLongest()), MakeLabel(MakeScopeLabel(scope.mName), kLongestScopeLabel)});
            if (scope.mNotLeft != 0 || scope.mNotEntered != 0)
                table.push_back({std::to_string(scope.mNotLeft) + " were entered and not left, " +
                                 std::to_string(scope.mNotEntered) + " left and not entered"});
            if (durations.GetCount() != 0)
                table.push_back({"longest until " + FormatMoment(ToLocal(scope.mTime)) + ' ' +
                                 MakeOwnerLabel(scope.mThread) + ", " + MakeLabel(scope.mPath, kLongestScopeName) +
                                 " at byte " + std::to_string(scope.mOffset)});
        }
        PrintColumns(output, table);
        if (mForgotten != 0)
            output.Write(std::to_string(mForgotten) +
                         " of those that were not left were forgotten, since there were too many: the oldest of the "
                         "threads that were silent for longest\n");
        if (mBackwards != 0)
            output.Write(std::to_string(mBackwards) + " were left before they were entered, and count as 0ms\n");
    }

    Json::Value Scopes::ToJson() const
    {
        Json::Value list(Json::arrayValue);
        for (Scope const& scope : mScopes)
        {
            Json::Value row(Json::objectValue);
            row["scope"] = MakeWellFormed(MakeScopeLabel(scope.mName));
            row["count"] = Json::UInt64{scope.mDurations.GetCount()};
            row["not_left"] = Json::UInt64{scope.mNotLeft};
            row["not_entered"] = Json::UInt64{scope.mNotEntered};
            if (scope.mDurations.GetCount() != 0)
            {
                row["mean"] = scope.mDurations.GetMean();
                for (unsigned int const percent : {50U, 90U, 99U})
                    row['p' + std::to_string(percent)] = Json::Int64{scope.mDurations.GetPercentile(percent)};
                Json::Value& longest = row["longest"];
                longest["milliseconds"] = Json::Int64{scope.mDurations.GetLongest()};
                longest["time"] = FormatMoment(ToLocal(scope.mTime));
                longest["file"] = MakeWellFormed(scope.mPath);
                longest["byte"] = Json::UInt64{scope.mOffset};
                PutOwner(longest, scope.mThread);
            }
            list.append(row);
        }
        Json::Value result(Json::objectValue);
        result["scopes"] = list;
        result["forgotten"] = Json::UInt64{mForgotten};
        result["backwards"] = Json::UInt64{mBackwards};
        return result;
    }
}
