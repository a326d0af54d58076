#pragma once

#include "filesystem/TemporaryFolder.h"

#include <QzBase/Message.h>

#include <cstring>

namespace QzTest
{
    /// The levels of a failure, outermost first, each as "domain/ID text" followed by a line end.
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
        return "0/" + std::to_string(error) + " QzFileSystem::" + text + '\n' + strerror(error) + '\n';
    }

    using Action = std::function<void()>;

    /// The failure that an action throws, described; empty when it throws none.
    inline std::string Catch(Action const& action)
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
