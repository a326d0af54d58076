#include "settings/Faults.h"

#include <utility>

namespace QzLogKit
{
    namespace
    {
        constexpr std::size_t kMostFaults = 20;

        QzBase::Message MakeMessage(std::string const& text)
        {
            return QzBase::Message(QzBase::MESSAGE_DOMAIN_UNKNOWN, -1, text.c_str());
        }

        std::string ToFaultText(SettingsFault const& fault)
        {
            std::string text = fault.mFile;
            if (fault.mLine > 0)
                text += '(' + std::to_string(fault.mLine) + ')';
            if (!fault.mKey.empty())
                text += ": " + fault.mKey;
            text += ": expected " + fault.mExpected;
            if (!fault.mFound.empty())
                text += ", found " + fault.mFound;
            return text;
        }
    }

    SettingsError::SettingsError(std::string const& file, std::vector<SettingsFault> faults)
        : QzBase::Message(
              MakeMessage("The settings '" + file + "' are not usable; what was in force before stays in force.")),
          mFaults(std::move(faults))
    {
        for (SettingsFault const& fault : mFaults)
        {
            // What a message held becomes the last of the lower levels of the one that is put in front.
            QzBase::Message below = MakeMessage(ToFaultText(fault));
            below.PrependBy(*this);
            QzBase::Message::operator=(std::move(below));
        }
    }

    SettingsError::SettingsError(SettingsError const&) = default;
    SettingsError& SettingsError::operator=(SettingsError const&) = default;
    SettingsError::~SettingsError() = default;

    void Faults::Add(SettingsFault fault)
    {
        if (mFaults.size() < kMostFaults)
            mFaults.push_back(std::move(fault));
    }

    void Faults::MoveTo(Faults& others)
    {
        for (SettingsFault& fault : mFaults)
            others.Add(std::move(fault));
        mFaults.clear();
    }

    void Faults::ThrowIfAny(std::string const& file) const
    {
        if (!mFaults.empty())
            throw QzBase::ExceptionImpl<SettingsError>(file, mFaults);
    }
}
