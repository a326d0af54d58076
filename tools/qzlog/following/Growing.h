#pragma once

#include "reading/Record.h"

#include <memory>
#include <vector>

namespace QzLogTool
{
    /// A source that grows. Next gives no more when all is given that the last look has found, and gives more after
    /// the next look.
    class GrowingSource : public RecordSource
    {
    public:
        /// Finds out what has come.
        virtual void Look() = 0;

        /// Whether the next look cannot wait.
        virtual bool IsUrgent() const { return false; }
    };

    /// Sources of one kind, and how to learn that they have grown.
    class GrowingSources
    {
    public:
        virtual ~GrowingSources() = default;

        /// The sources that there are, except for those that an earlier call has given. They must not outlive this
        /// object.
        virtual std::vector<std::unique_ptr<GrowingSource>> FindNew() = 0;

        /// Waits until there may be something new, or it is time to end.
        virtual void Wait() = 0;
    };
}
