#pragma once

#include "following/LogPosition.h"
#include "reading/Record.h"

#include <memory>
#include <optional>
#include <vector>

namespace QzLogTool
{
    /// What grows while its records are read.
    class Growth
    {
    public:
        virtual ~Growth() = default;

        /// Finds out what has come.
        virtual void Look() = 0;

        /// The record that was given last was dealt with.
        virtual void Pass() {}

        /// Up to where all records were dealt with. Empty if that is not known.
        virtual std::optional<LogPosition> GetPosition() const { return std::nullopt; }

        /// Whether the next look cannot wait.
        virtual bool IsUrgent() const { return false; }
    };

    /// A source that grows. Next gives no more when all is given that the last look has found, and gives more after
    /// the next look.
    struct GrowingSource
    {
        std::unique_ptr<RecordSource> mpRecords;

        /// Belongs to the records.
        Growth* mpGrowth;
    };

    /// Sources of one kind, and how to learn that they have grown.
    class GrowingSources
    {
    public:
        virtual ~GrowingSources() = default;

        /// The sources that there are, except for those that an earlier call has given. They must not outlive this
        /// object.
        virtual std::vector<GrowingSource> FindNew() = 0;

        /// Waits until there may be something new, or it is time to end.
        virtual void Wait() = 0;
    };
}
