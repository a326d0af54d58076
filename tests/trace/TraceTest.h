#pragma once

#include "filesystem/TemporaryFolder.h"

#include <QzLog/LogTrace.h>

#include <thread>

/// Prints into a folder of its own.
class TraceTest : public QzTest::TemporaryFolder
{
protected:
    static long PrintTo(QzLog::LogTrace& trace, std::string const& path)
    {
        trace.SetFileName(QzTest::Wide(path).c_str());
        return trace.PrintAllLogTrace();
    }

    /// The content of a good print-out.
    std::string Print(QzLog::LogTrace& trace) const
    {
        EXPECT_EQ(0, PrintTo(trace, In("trace.txt")));
        return Get("trace.txt");
    }

    static constexpr int kReports = 8000;

    /// Calls `report`(bucket key, number of the report) from four threads, kReports times, while periods are closed.
    template <class Report>
    static void ReportWhileCollecting(QzLog::LogTrace& trace, Report report)
    {
        auto const reportAll = [&](unsigned long key)
        {
            for (int number = 0; number < kReports / 4; ++number)
                report(key, number);
        };
        {
            std::jthread const threads[] = {std::jthread(reportAll, 0), std::jthread(reportAll, 1),
                std::jthread(reportAll, 2), std::jthread(reportAll, 3)};
            for (int i = 0; i < 200; ++i, std::this_thread::yield())
                trace.CollectLogTrace();
        }
        trace.CollectLogTrace();
    }

    /// The sum of the numbers that follow `mark`.
    static int SumUp(std::string const& text, std::string const& mark)
    {
        int sum = 0;
        for (std::size_t at = text.find(mark); at != text.npos; at = text.find(mark, at + mark.size()))
            sum += std::stoi(text.substr(at + mark.size(), 10));
        return sum;
    }
};
