#include "output/Output.h"

#include "Trouble.h"
#include "output/Lines.h"
#include "output/Pager.h"

#include <QzBase/Conversions.h>

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace QzLogTool
{
    namespace
    {
        constexpr std::size_t kBlock = std::size_t{64} << 10;

        void WriteAll(std::string_view text)
        {
            while (!text.empty())
            {
                ssize_t const count = write(STDOUT_FILENO, text.data(), text.size());
                if (count < 0 && errno == EINTR)
                    continue;
                if (count < 0 && errno == EPIPE && Pager::IsRunning())
                    throw Pager::Closed();
                if (count < 0)
                    throw MakeSystemTrouble("standard output", errno);
                text.remove_prefix(static_cast<std::size_t>(count));
            }
        }

        bool HasValue(char const* name)
        {
            char const* const value = std::getenv(name);
            return value && *value;
        }
    }

    Output::Output(Progress* pProgress)
        : mpProgress(pProgress), mIsTerminal(isatty(STDOUT_FILENO) == 1 || Pager::IsRunning())
    {
    }

    void Output::Write(std::string_view text)
    {
        if (text.size() < kBlock)
            mBuffer += text;
        if (text.size() >= kBlock || mBuffer.size() >= kBlock)
            Flush();
        if (text.size() >= kBlock)
            WriteAll(text);
    }

    void Output::WriteLine(std::string_view text)
    {
        std::string line;
        if (mIsTerminal)
            AppendVisible(line, text);
        else
            line = text;
        Write(line += '\n');
    }

    void Output::Flush()
    {
        if (mIsTerminal && mpProgress)
            mpProgress->Hide();
        WriteAll(mBuffer);
        mBuffer.clear();
    }

    void Output::Sync()
    {
        Flush();
        // Pipes and terminals keep nothing.
        if (fsync(STDOUT_FILENO) != 0 && errno != EINVAL && errno != EROFS)
            throw MakeSystemTrouble("standard output", errno);
    }

    bool UsesColor(std::string_view mode, bool isTerminal)
    {
        if (mode != "auto")
            return mode == "always";
        char const* const terminal = std::getenv("TERM");
        return isTerminal && !HasValue("NO_COLOR") && terminal && std::string_view(terminal) != "dumb";
    }

    unsigned int GetTerminalWidth()
    {
        constexpr unsigned int kUsual = 80;
        winsize size{};
        if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0)
            return size.ws_col;
        char const* const columns = std::getenv("COLUMNS");
        int const value = columns ? QzBase::DecimalToInt(columns) : 0;
        return value > 0 ? static_cast<unsigned int>(value) : kUsual;
    }
}
