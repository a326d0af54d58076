#include <QzBase/Message.h>

#include "support/base/MessageText.h"

#include <memory>

namespace QzBase
{
    struct ExceptionText::Text
    {
        std::string mText;
        Text const* mpNext;
    };

    ExceptionText::~ExceptionText()
    {
        while (Text const* const first = mpFirst.load(std::memory_order_relaxed))
        {
            mpFirst.store(first->mpNext, std::memory_order_relaxed);
            delete first;
        }
    }

    /// The message may have changed since the last call, and several threads may call at the same time. So a text that
    /// was returned is kept, and a new one is put in front of it.
    char const* ExceptionText::Get(Message const& message) const noexcept
    {
        try
        {
            auto made = std::make_unique<Text>(Text{MakeMessageText(message, 0), nullptr});
            Text const* first = mpFirst.load(std::memory_order_acquire);
            do
            {
                for (Text const* text = first; text; text = text->mpNext)
                    if (text->mText == made->mText)
                        return text->mText.c_str();
                made->mpNext = first;
            } while (!mpFirst.compare_exchange_weak(
                first, made.get(), std::memory_order_acq_rel, std::memory_order_acquire));
            return made.release()->mText.c_str();
        }
        catch (std::bad_alloc const&)
        {
            return "QzBase::Message (no memory for its text)";
        }
    }
}
