#pragma once

#include <QzBase/Message.h>
#include <QzLogKit/Export.h>

#include <string>
#include <vector>

namespace QzLogKit
{
    /// One fault of a settings file. Texts are UTF-8.
    struct SettingsFault
    {
        /// The path as it was given; of a catalog, the path that the settings give.
        std::string mFile;
        /// Counted from 1; 0 if the fault is that of the whole file. For something that is missing, the line where the
        /// object begins that lacks it.
        unsigned int mLine = 0;
        /// The keys down to the faulty value, joined by dots: "destinations.errors.backups".
        std::string mKey;
        /// What the file should have there, such as "a number from 1 to 256".
        std::string mExpected;
        /// What it has, such as "257"; empty if there is nothing to add.
        std::string mFound;
    };

    /// What is thrown for a settings file with faults. As a message it has a line for the file, and below it one line
    /// for each fault:
    ///
    ///     The settings 'server.json' are not usable; what was in force before stays in force.
    ///     server.json(12): destinations.errors.backups: expected a number from 1 to 256, found 257
    class QZLOGKIT_API SettingsError : public QzBase::Message
    {
    public:
        SettingsError(std::string const& file, std::vector<SettingsFault> faults);
        SettingsError(SettingsError const&);
        SettingsError& operator=(SettingsError const&);
        ~SettingsError() override;

        /// At least one and at most 20, in the order in which they were found.
        std::vector<SettingsFault> const& GetFaults() const { return mFaults; }

    private:
        std::vector<SettingsFault> mFaults;
    };
}
