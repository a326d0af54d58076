#include "filter/FilterOptions.h"

#include "Options.h"
#include "time/MomentOption.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>

namespace QzLogTool
{
    namespace
    {
        constexpr char kGroup[] = "Filters (a record must meet each kind; of several of one kind, any; * at the end of "
                                  "a NAME or ID is any rest)";

        /// Decimal, or hexadecimal with "0x".
        std::uint32_t ReadNumber(std::string const& text)
        {
            std::size_t used = 0;
            unsigned long long value = 0;
            bool const isHex = text.starts_with("0x") || text.starts_with("0X");
            try
            {
                value = std::stoull(text, &used, isHex ? 16 : 10);
            }
            catch (std::exception const&)
            {
                used = 0;
            }
            bool const beginsRight = !text.empty() && text[0] >= '0' && text[0] <= '9';
            if (!beginsRight || used != text.size() || value > std::numeric_limits<std::uint32_t>::max())
                throw Trouble("'" + text + "' is no number from 0 to 4294967295");
            return static_cast<std::uint32_t>(value);
        }

        void Add(CLI::App& app, char const* name, char const* valueName, char const* description,
            std::function<void(std::string const&)> const& take)
        {
            AddRead(app, name, valueName, description, take)->group(kGroup);
        }

        void AddTexts(CLI::App& app, char const* name, char const* valueName, char const* description,
            std::vector<std::string>& values)
        {
            Add(app, name, valueName, description, [&values](std::string const& value) { values.push_back(value); });
        }

        /// A "0" in a header stands for no ID.
        void AddIDs(CLI::App& app, char const* name, char const* description, std::vector<std::string>& values)
        {
            Add(app, name, "ID", description,
                [&values](std::string const& value) { values.push_back(value == "0" ? std::string() : value); });
        }

        void AddNumbers(CLI::App& app, char const* name, char const* valueName, char const* description,
            std::string (*toField)(std::uint32_t), std::vector<std::string>& values)
        {
            Add(app, name, valueName, description,
                [&values, toField](std::string const& value) { values.push_back(toField(ReadNumber(value))); });
        }

        std::string ToDecimal(std::uint32_t value)
        {
            return std::to_string(value);
        }

        std::string ToMessageID(std::uint32_t value)
        {
            char text[16];
            std::snprintf(text, sizeof text, "%08X", value);
            return value == 0 ? std::string() : text;
        }
    }

    void FilterOptions::AddTo(CLI::App& app)
    {
        // In front of the options with moments, which are read in this order.
        auto const useUTC = [this](std::int64_t)
        {
            mUsesUTC = true;
            setenv("TZ", "UTC0", 1);
            tzset();
        };
        app.add_flag("--utc", useUTC, "Times in UTC: what is shown, and TIME without an offset");
        AddTexts(app, "--logger,-L", "NAME", "Of this logger", mLoggers);
        AddTexts(app, "--dispatcher,-D", "NAME", "Of this dispatcher, such as Error", mDispatchers);
        AddNumbers(app, "--message-id", "ID", "With this message ID: decimal, or hexadecimal with 0x; 0 is none",
            ToMessageID, mMessageIDs);
        AddIDs(app, "--user,-u", "On behalf of this user; \"\" is nobody, and likewise below", mUsers);
        AddIDs(app, "--session,-s", "Of this session", mSessions);
        AddIDs(app, "--object,-o", "About this object", mObjects);
        AddNumbers(app, "--process", "PID", "Of this process", ToDecimal, mProcesses);
        AddNumbers(app, "--thread", "TID", "Of this thread", ToDecimal, mThreads);
        AddTexts(app, "--host", "NAME", "Of this machine", mHosts);
        AddTexts(app, "--server", "NAME", "Of this server instance", mServers);
        AddMoment(app, "--since,-S", "From then on: \"2026-11-18 03:02:07\", \"03:02\", \"today\", \"10m\" (ago), ...",
            [this](std::int64_t moment) { mSince = moment; })
            ->group(kGroup);
        auto const until = [this](std::int64_t moment) { mUntil = moment; };
        AddMoment(app, "--until,-U", "Before that moment", until, mSince)->group(kGroup);
        AddTexts(app, "--text,-F", "TEXT", "The message has this text in it", mTexts);
        AddTexts(app, "--regex,-E", "EXPRESSION", "The message matches this regular expression (RE2)", mExpressions);
        app.add_flag("--ignore-case,-i", mIgnoresCase, "In --text and --regex")->group(kGroup);
        app.add_flag("--invert,-v", mIsInverted, "Records that these do not let through; --since and --until stay")
            ->group(kGroup);
    }
}
