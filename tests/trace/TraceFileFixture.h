#pragma once

#include <QzLog/LogTrace.h>

#include <QzBase/Conversions.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace QzLogTest
{
    /// A directory of its own for the print-outs of a test, removed behind it.
    class TraceFileFixture : public testing::Test
    {
    protected:
        TraceFileFixture()
        {
            std::string name = (std::filesystem::temp_directory_path() / "qzlog_trace_XXXXXX").string();
            if (!mkdtemp(name.data()))
                throw std::runtime_error("no temporary directory");
            mDirectory = name;
        }

        ~TraceFileFixture() override { std::filesystem::remove_all(mDirectory); }

        std::string GetPath(std::string const& name) const { return (mDirectory / name).string(); }

        static long PrintTo(QzLog::LogTrace& trace, std::string const& path)
        {
            trace.SetFileName(QzBase::UTF8ToWideChar(path.c_str(), false).c_str());
            return trace.PrintAllLogTrace();
        }

        // The content of a good print-out.
        std::string Print(QzLog::LogTrace& trace) const
        {
            EXPECT_EQ(0, PrintTo(trace, GetPath("trace.txt")));
            std::ifstream file(GetPath("trace.txt"), std::ios::binary);
            return std::string(std::istreambuf_iterator<char>(file), {});
        }

        std::filesystem::path mDirectory;
    };
}
