#include <QzBase/Message.h>

#include "support/base/ProcessLanguage.h"
#include "support/base/TemplateText.h"

#include <QzBase/Conversions.h>
#include <QzBase/System.h>

#include <string>

namespace QzBase
{
    template class ExceptionImpl<Message>;

    Message::Message() = default;

    Message::Message(unsigned short domain, int id, char const* text) : mDomain(domain), mID(id)
    {
        if (text)
            mTemplate = UTF8ToWideChar(text, true).c_str();
        else if (domain == MESSAGE_DOMAIN_WIN32_API)
            mTemplate = GetSystemErrorDescription(static_cast<unsigned int>(id)).c_str();
        UpdateText();
    }

    Message::Message(Message const& other) = default;
    Message::Message(Message&& other) noexcept = default;

    Message& Message::operator=(Message const& other)
    {
        return *this = Message(other);
    }

    /// `other` may be one of this message's own causes, which are destroyed with the old content. So it is moved out
    /// before anything is replaced.
    Message& Message::operator=(Message&& other) noexcept
    {
        Message taken(std::move(other));
        mDomain = taken.mDomain;
        mID = taken.mID;
        mTemplate.swap(taken.mTemplate);
        mText.swap(taken.mText);
        mArguments.swap(taken.mArguments);
        mLocalizedTexts.swap(taken.mLocalizedTexts);
        mLowerLevels.swap(taken.mLowerLevels);
        return *this;
    }

    Message::~Message() = default;

    Message::Localizer::~Localizer() = default;

    void Message::SetDomainAndID(unsigned short domain, int id)
    {
        mDomain = domain;
        mID = id;
    }

    unsigned short Message::GetDomain() const
    {
        return mDomain;
    }

    int Message::GetID() const
    {
        return mID;
    }

    void Message::SetMessage(unsigned short const* text)
    {
        if (text)
            mTemplate = text;
        else
            mTemplate.clear();
        UpdateText();
    }

    unsigned short const* Message::GetMessage() const
    {
        return mText.c_str();
    }

    Message& Message::operator<<(unsigned short const* text)
    {
        mArguments.emplace_back();
        if (text)
            mArguments.back() = text;
        UpdateText();
        return *this;
    }

    Message& Message::operator<<(char const* utf8Text)
    {
        return *this << UTF8ToWideChar(utf8Text, true).c_str();
    }
    Message& Message::operator<<(int value)
    {
        return *this << std::to_string(value).c_str();
    }
    Message& Message::operator<<(unsigned int value)
    {
        return *this << std::to_string(value).c_str();
    }
    Message& Message::operator<<(long value)
    {
        return *this << std::to_string(value).c_str();
    }
    Message& Message::operator<<(unsigned long value)
    {
        return *this << std::to_string(value).c_str();
    }
    Message& Message::operator<<(long long value)
    {
        return *this << std::to_string(value).c_str();
    }
    Message& Message::operator<<(unsigned long long value)
    {
        return *this << std::to_string(value).c_str();
    }

    Message& Message::WrapBy(unsigned short domain, int id, char const* text)
    {
        Message outer(domain, id, text);
        if (!IsEmpty())
            outer.mLowerLevels.push_back(std::move(*this));
        *this = std::move(outer);
        return *this;
    }

    void Message::PrependBy(Message const& message)
    {
        Message front(message);
        if (!IsEmpty())
            front.mLowerLevels.push_back(std::move(*this));
        *this = std::move(front);
    }

    char const* Message::GetLocalizedText(unsigned short languageID) const
    {
        auto const found = mLocalizedTexts.find(ResolveLanguage(languageID));
        return found == mLocalizedTexts.end() ? nullptr : found->second.c_str();
    }

    void Message::SetLocalizedText(unsigned short languageID, char const* text)
    {
        mLocalizedTexts[ResolveLanguage(languageID)] = text ? text : "";
    }

    /// The text is built when it changes and not when it is read, because several threads may read.
    void Message::UpdateText()
    {
        mText.clear();
        AppendExpanded(mText, mTemplate, mArguments.size(),
            [this](WideString& text, std::size_t index) { text += mArguments[index]; });
    }

    bool Message::IsEmpty() const
    {
        return mDomain == MESSAGE_DOMAIN_UNKNOWN && mID == 0 && mTemplate.empty() && mArguments.empty() &&
               mLocalizedTexts.empty() && mLowerLevels.empty();
    }
}
