#pragma once

#include <QzLogKit/SettingsError.h>

#include <string>
#include <vector>

namespace QzLogKit
{
    /// Collects the faults of a settings file, so that whoever wrote it sees all of them at once.
    class Faults
    {
    public:
        /// Ignored once there are as many as anybody reads.
        void Add(SettingsFault fault);

        /// Throws SettingsError if there are any.
        void ThrowIfAny(std::string const& file) const;

        bool IsEmpty() const { return mFaults.empty(); }
        /// There must be one.
        SettingsFault const& GetFirst() const { return mFaults.front(); }

        /// Adds all of them to others.
        void MoveTo(Faults& others);

    private:
        std::vector<SettingsFault> mFaults;
    };
}
