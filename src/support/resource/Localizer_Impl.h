#pragma once

#include <QzResource/Localizer.h>
#include <QzSynch/Locks.h>
#include <QzSynch/ReferenceCountedImpl.h>

#include <cstdint>
#include <set>
#include <string>
#include <unordered_map>

namespace QzResource
{
    class Localizer_Impl final : public QzSynch::Counted<Localizer>
    {
    public:
        Localizer_Impl();

        char const* FindText(unsigned short languageID, unsigned short domain, int id) override;

        /// See RegisterMessageText.
        void Register(unsigned short languageID, unsigned short domain, int id, char const* utf8Text);

    private:
        // Language, domain and ID in one number.
        using Key = std::uint64_t;

        static Key MakeKey(unsigned short languageID, unsigned short domain, int id) noexcept;

        QzSynch::RWLockPtr const mpLock; // guards the texts below
        // Each text once and for ever: readers keep pointers to texts that are registered anew later.
        std::set<std::string> mTexts;
        std::unordered_map<Key, char const*> mTextsByKey;
    };

    /// The localizer of the process. Throws std::bad_alloc when it is needed for the first time.
    Localizer_Impl& GetLocalizer_Impl();
}
