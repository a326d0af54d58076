#include "output/Progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace QzLogTool
{
    namespace
    {
        constexpr std::chrono::milliseconds kDelay{1000};
        constexpr std::chrono::milliseconds kInterval{200};
        constexpr std::size_t kBarWidth = 30;
        constexpr double kMega = 1e6;
    }

    Progress::Progress() : mIsTerminal(isatty(STDERR_FILENO) == 1), mNext(mBegin + kDelay) {}

    void Progress::OnRead(std::size_t bytes)
    {
        mDone += bytes;
        if (!mIsTerminal || mTotal == 0 || std::chrono::steady_clock::now() < mNext)
            return;
        Show();
        mNext = std::chrono::steady_clock::now() + kInterval;
    }

    void Progress::OnWait()
    {
        if (mBeforeWait)
            mBeforeWait();
    }

    void Progress::Show()
    {
        // A log may have grown meanwhile.
        double const part = std::min(static_cast<double>(mDone) / static_cast<double>(mTotal), 1.0);
        std::chrono::duration<double> const elapsed = std::chrono::steady_clock::now() - mBegin;
        std::size_t const filled = static_cast<std::size_t>(part * static_cast<double>(kBarWidth));
        std::string const bar = std::string(filled, '#') + std::string(kBarWidth - filled, '.');
        std::fprintf(stderr, "\r[%s] %3.0f%% of %.0f MB, %.0f s left \x1B[K", bar.c_str(), part * 100,
            static_cast<double>(mTotal) / kMega, elapsed.count() * (1 - part) / std::max(part, 1e-9));
        mIsShown = true;
    }

    void Progress::Hide()
    {
        if (mIsShown)
            std::fputs("\r\x1B[K", stderr);
        mIsShown = false;
    }
}
