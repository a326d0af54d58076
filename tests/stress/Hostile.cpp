#include "Campaign.h"

#include "Record.h"
#include "support/Texts.h"

#include <QzBase/Conversions.h>
#include <QzLog/Destination_DiskFile.h>
#include <QzLog/Dispatcher.h>
#include <QzLog/LogFunctions.h>
#include <QzLog/Module.h>
#include <QzLog/Router.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>

#include <fcntl.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::string_literals;

namespace
{
    std::string const kPieces[] = {std::string(kHead), "\x1B]0;title\a", "\x1B[2J\x1B[31m",
        "\x9B"
        "6n",
        "\xC2\x9B"
        "1m",
        "\x7F\b\v\f", "\xFF\xFE", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x80\xA8", "\xC3", "\r", "\n", "\r\n\r\n",
        "\n\t", "%1%n%s%", "2026-11-18 03:00:01.000 [HOST:", " Missed 4000000000 messages since ", "]", "[", "\"}\\",
        "Enter 'S' near f(1)",
        "\n2026-11-18 03:00:01.000+01:00 [HOST:a][SERVER:b][PID:1][THR:2][c][Error][UID:0][SID:0][OID:0] forged",
        "\n9999-99-99 99:99:99.999 [HOST:a][SERVER:b][PID:99999999999999999999][THR:-1][c][d][UID:0][SID:0][OID:0] x",
        std::string(70'000, 'x'), std::string(3000, '[')};

    constexpr char const* kCommands[] = {"view --json", "view --otlp", "view -n 3 -F x", "view -C 2 -iE 'r.c|x'",
        "view --utc --since 10m", "view --color=always", "view --cursor-file c", "check --explain", "check --monitor",
        "stats --scopes --gaps --by message --by thread", "stats --json --new-since 2026-11-18", "stats --trace"};

    /// What a terminal may not be sent but for its line ends: controls, also those of one byte from 0x80 on.
    bool Steers(std::string const& text)
    {
        unsigned char before = 0;
        return std::ranges::any_of(text,
            [&](unsigned char c)
            {
                bool const isHigh = c >= 0x80 && c < 0xA0 && (before < 0x80 || before == 0xC2);
                before = c;
                return isHigh || c == 0x7F || (c < 0x20 && c != '\r' && c != '\n' && c != '\t');
            });
    }

    class Reader
    {
    public:
        Reader(std::filesystem::path const& top, std::string tool, std::uint64_t seed, Outcome& sum)
            : mTop(top), mTool(std::move(tool)), mRandom(seed), mSum(sum)
        {
        }

        void Try()
        {
            std::filesystem::remove_all(mTop);
            std::filesystem::create_directory(mTop);
            std::size_t const count = WriteLog();
            std::string all;
            for (int backup = kBackups; backup >= 0; --backup)
                all += ReadFile(Name(backup)).erase(0, kHead.size());
            std::string const shown = Show(all, "view");
            auto const found = static_cast<std::size_t>(QzTest::Count(shown, kRecordMark));
            mSum.mRecords += found;
            mSum.mLost += count - std::min(count, found);
            for (int backup = kBackups; backup >= 0; --backup)
                Damage(Name(backup));
            std::filesystem::rename(Name(kBackups), Name(kBackups) + ".gz");
            for (char const* const command : kCommands)
                Run(command);
            Run("write w.log <");
            Run("mask -l -k a --http --attribute b <");
            if (Steers(ShowOnTerminal()))
                Fault("view", "steers the terminal");
            ++mSum.mTries;
        }

    private:
        static constexpr int kBackups = 3;

        std::string Name(int backup) const
        {
            return (mTop / "h.log").string() + (backup ? ".bak0" + std::to_string(backup - 1) : "");
        }

        std::string MakeText()
        {
            std::string text;
            for (std::uint64_t pieces = mRandom() % 6; pieces != 0; --pieces)
                text += kPieces[mRandom() % std::size(kPieces)];
            return text;
        }

        std::size_t WriteLog()
        {
            QzLog::Initializer const module;
            QzBase::CountedPtr<QzLog::Destination_DiskFile> const log(
                QzLog::GetDestination_DiskFile(QzBase::UTF8ToWideChar(Name(0).c_str(), false).c_str()));
            log->SetBackupCount(kBackups);
            QzBase::CountedPtr<QzLog::Router> const router(QzLog::CreateRouter("Hostile", "Info"));
            router->GetDispatcher()->SetDestinations(QzLog::CreateDestinationCollection({log.get()}));
            std::size_t count = 0;
            for (int file = 0; file <= kBackups; ++file)
            {
                log->SetMaxFileSize(1);
                for (std::uint64_t records = 1 + mRandom() % 30; records != 0; --records, ++count)
                {
                    // With its number, because equal back-ups count as one that was copied twice.
                    std::string const text = kRecordMark + std::to_string(count) + MakeText();
                    QzLog::LogString(*router, text.c_str(), nullptr, nullptr, nullptr, 0);
                    log->SetMaxFileSize(1'000'000'000);
                }
            }
            return count;
        }

        void Damage(std::string const& path)
        {
            std::string text = ReadFile(path);
            for (std::uint64_t steps = mRandom() % 20; steps != 0; --steps)
            {
                std::size_t const at = mRandom() % (text.size() + 1);
                std::string const inserted[] = {"", text.substr(mRandom() % (text.size() + 1), mRandom() % 5000),
                    MakeText(), std::string(1 + mRandom() % 2000, static_cast<char>(mRandom() % 2 * mRandom()))};
                text.replace(at, mRandom() % 2 * (mRandom() % 1000), inserted[mRandom() % std::size(inserted)]);
            }
            std::ofstream(path, std::ios::binary) << (mRandom() % 8 == 0 ? "\x1F\x8B\x08" : "") << text;
        }

        /// Without standard error. It can end in any way that is documented.
        std::string Run(std::string const& command)
        {
            std::string const line =
                "cd '" + mTop.string() + "' && timeout 60 '" + mTool + "' " + command + " h.log 2>&-";
            FILE* const pipe = popen(line.c_str(), "r");
            std::string output;
            char block[4096];
            while (std::size_t const size = std::fread(block, 1, sizeof block, pipe))
                output.append(block, size);
            int const status = pclose(pipe);
            if (!WIFEXITED(status) || WEXITSTATUS(status) > 2)
                Fault(command, "status " + std::to_string(status));
            return output;
        }

        /// Returns what the tool has shown, which must be all of a text, with the line ends of this system.
        std::string Show(std::string const& text, char const* command)
        {
            std::string expected;
            for (std::size_t i = 0; i < text.size(); ++i)
                if (text.compare(i, 2, "\r\n") != 0)
                    expected += text[i];
            if (!expected.empty() && !expected.ends_with('\n'))
                expected += '\n';
            std::string shown = Run(command);
            if (shown != expected)
                Fault(command, "shows other bytes");
            return shown;
        }

        std::string ShowOnTerminal() const
        {
            int terminal = -1;
            std::string output;
            pid_t const id = forkpty(&terminal, nullptr, nullptr, nullptr);
            if (id == 0)
            {
                // Not the tool's own bar of progress.
                dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
                execl(mTool.c_str(), "qzlog", "view", "--no-pager", "--color=never", Name(0).c_str(), nullptr);
                _exit(1);
            }
            char block[4096];
            for (ssize_t size; (size = read(terminal, block, sizeof block)) > 0;)
                output.append(block, static_cast<std::size_t>(size));
            close(terminal);
            waitpid(id, nullptr, 0);
            return output;
        }

        void Fault(std::string const& command, std::string const& what)
        {
            std::string const kept =
                std::filesystem::temp_directory_path() / ("qzlog-hostile-" + std::to_string(mRandom()));
            std::filesystem::copy(mTop, kept, std::filesystem::copy_options::overwrite_existing);
            std::printf("FAULT: %s: %s; the log is kept in %s\n", command.c_str(), what.c_str(), kept.c_str());
            mSum.mIsGood = false;
        }

        std::filesystem::path const mTop;
        std::string const mTool;
        std::mt19937_64 mRandom;
        Outcome& mSum;
    };
}

void RunHostile(
    std::filesystem::path const& top, std::string const& tool, unsigned int milliseconds, std::uint64_t seed, Row& row)
{
    if (tool.empty())
    {
        row.mpSkipped = "no tool was given";
        return;
    }
    Reader reader(top / "h", std::filesystem::absolute(tool), seed, row.mOutcome);
    auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    do
        reader.Try();
    while (std::chrono::steady_clock::now() < end);
    row.mOutcome.mNotReported = row.mOutcome.mLost;
}
