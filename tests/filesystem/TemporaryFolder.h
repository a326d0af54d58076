#pragma once

#include <QzBase/Conversions.h>
#include <QzBase/Message.h>
#include <QzBase/WideString.h>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

namespace QzTest
{
    inline QzBase::WideString Wide(std::string const& text)
    {
        return QzBase::UTF8ToWideChar(text.c_str(), false).c_str();
    }

    inline std::string Narrow(unsigned short const* text)
    {
        return QzBase::WideCharToUTF8(text, false).c_str();
    }
    inline std::string Narrow(QzBase::ReturnWString const& text)
    {
        return Narrow(text.c_str());
    }

    /// The levels of a failure, outermost first, each as "domain/ID text" with a line end behind it.
    inline std::string Describe(QzBase::Message const& message)
    {
        std::string text;
        QzBase::ConstMessageCursor cursor(message);
        do
        {
            QzBase::Message const& level = cursor.GetCurrentMessage();
            text += std::to_string(level.GetDomain()) + '/' + std::to_string(level.GetID()) + ' ' +
                    Narrow(level.GetMessage()) + '\n';
        } while (cursor.GoToLowerLevelMessage(false));
        return text;
    }

    /// What Describe gives for the two-level failures of operations on a path.
    inline std::string DescribeFailure(std::string const& text, int error)
    {
        return "1/305419896 " + text + "\n2/" + std::to_string(error) + ' ' + strerror(error) + '\n';
    }

    /// What Describe gives for the one-level failures of calls of the C runtime.
    inline std::string DescribeCall(std::string const& text, int error)
    {
        return "0/" + std::to_string(error) + ' ' + text + '\n' + strerror(error) + '\n';
    }

    /// The failure that an action throws, described; empty when it throws none.
    template <class Action>
    std::string Catch(Action&& action)
    {
        try
        {
            action();
            return std::string();
        }
        catch (QzBase::Message& failure)
        {
            return Describe(failure);
        }
    }

    /// Runs an action in a child process and returns its wait status; the action's result is its exit code.
    template <class Action>
    int RunInChild(Action&& action)
    {
        pid_t const child = fork();
        if (child == 0)
            _exit(action());
        int status = -1;
        waitpid(child, &status, 0);
        return status;
    }

    /// A folder of its own for each test, removed with all in it.
    class TemporaryFolder : public testing::Test
    {
    protected:
        TemporaryFolder()
        {
            std::string name = testing::TempDir() + "qzlog-files-XXXXXX";
            mFolder = mkdtemp(name.data());
        }

        ~TemporaryFolder() override
        {
            std::error_code ignored;
            std::filesystem::remove_all(mFolder, ignored);
        }

        std::string In(std::string const& name) const { return mFolder + '/' + name; }
        QzBase::WideString WideIn(std::string const& name) const { return Wide(In(name)); }

        void Put(std::string const& name, std::string const& content) const
        {
            std::ofstream(In(name), std::ios::binary) << content;
        }

        std::string Get(std::string const& name) const
        {
            std::ifstream file(In(name), std::ios::binary);
            return std::string(std::istreambuf_iterator<char>(file), {});
        }

        /// Names and contents of all files, and names of all folders, below the folder.
        std::map<std::string, std::string> TakeSnapshot() const
        {
            std::map<std::string, std::string> snapshot;
            for (auto const& entry : std::filesystem::recursive_directory_iterator(mFolder))
            {
                std::string const name = std::filesystem::relative(entry.path(), mFolder);
                snapshot[name] = entry.is_regular_file() ? Get(name) : "folder";
            }
            return snapshot;
        }

        std::string mFolder;
    };
}
