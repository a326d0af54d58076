#include "support/resource/Localizer_Impl.h"

#include "support/base/ProcessLanguage.h"
#include "support/synch/ForkSafeLocks.h"

#include <utility>

namespace QzResource
{
    constinit char const* const REST_TAG_PASSWORD = "password";

    Localizer::~Localizer() = default;

    Localizer_Impl::Localizer_Impl() : mpLock(QzSynch::CreateForkSafeRWLock(QzSynch::kLockStackCategoryDefault)) {}

    char const* Localizer_Impl::FindText(unsigned short languageID, unsigned short domain, int id)
    {
        Key const key = MakeKey(languageID, domain, id);
        QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
        auto const found = mTextsByKey.find(key);
        return found == mTextsByKey.end() ? nullptr : found->second;
    }

    void Localizer_Impl::Register(unsigned short languageID, unsigned short domain, int id, char const* utf8Text)
    {
        Key const key = MakeKey(languageID, domain, id);
        std::string text(utf8Text ? utf8Text : "");
        QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
        char const* const kept = mTexts.insert(std::move(text)).first->c_str();
        mTextsByKey.insert_or_assign(key, kept);
    }

    Localizer_Impl::Key Localizer_Impl::MakeKey(unsigned short languageID, unsigned short domain, int id) noexcept
    {
        return Key{QzBase::ResolveLanguage(languageID)} << 48 | Key{domain} << 32 | static_cast<unsigned int>(id);
    }

    // Never destroyed: messages of static objects are formatted until the process ends.
    Localizer_Impl& GetLocalizer_Impl()
    {
        static Localizer_Impl& localizer = *QzBase::ReturnPtrI<Localizer_Impl>(new Localizer_Impl).release();
        return localizer;
    }

    QzBase::ReturnPtrI<Localizer> GetLocalizer()
    {
        return QzBase::ReturnPtrI<Localizer>(&GetLocalizer_Impl());
    }

    void RegisterMessageText(unsigned short languageID, unsigned short domain, int id, char const* utf8Text)
    {
        GetLocalizer_Impl().Register(languageID, domain, id, utf8Text);
    }

    unsigned short GetProcessLanguageID()
    {
        return QzBase::GetProcessLanguage();
    }

    void SetProcessLanguageID(unsigned short languageID)
    {
        QzBase::SetProcessLanguage(languageID);
    }
}
