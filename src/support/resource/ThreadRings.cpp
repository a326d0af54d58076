#include <QzResource/MessageFormatter.h>
#include <QzSynch/ThreadLocalStorage.h>

#include "support/base/KeptMemory.h"
#include "support/resource/FormatterRing.h"
#include "support/resource/ThreadRings.h"

#include <array>
#include <memory>

namespace QzResource
{
    namespace
    {
        constexpr std::size_t kRingSize = 16;

        class TemplateRing
        {
        public:
            MessageTemplate& GetNext() noexcept
            {
                mLast = (mLast + 1) % kRingSize;
                return mItems[mLast];
            }

        private:
            std::array<MessageTemplate, kRingSize> mItems;
            std::size_t mLast = 0;
        };

        struct ThreadRings;

        // Spares each message two searches in the storage. Only the thread itself deletes its rings.
        [[gnu::tls_model("initial-exec")]] constinit thread_local ThreadRings* gpRingsOfThread = nullptr;

        // The formatters of a thread. In a thread-local storage and not thread_local, because destructors of
        // other thread_local objects may still log; they then get new rings.
        struct ThreadRings final : QzSynch::ThreadContext
        {
            ~ThreadRings() override { gpRingsOfThread = nullptr; }

            void Delete() override { delete this; }

            FormatterRing mFormatters;
            TemplateRing mTemplates;
        };

        // Never destroyed: static objects and detached threads may log until the process ends.
        QzSynch::ThreadLocalStorage& GetStorage()
        {
            static QzSynch::ThreadLocalStorage& storage = *QzSynch::CreateThreadLocalStorage();
            return storage;
        }

        [[gnu::noinline]] ThreadRings& MakeThreadRings()
        {
            auto rings = std::make_unique<ThreadRings>();
            GetStorage().SetValue(rings.get());
            gpRingsOfThread = rings.release();
            return *gpRingsOfThread;
        }

        ThreadRings& GetThreadRings()
        {
            return gpRingsOfThread ? *gpRingsOfThread : MakeThreadRings();
        }
    }

    void PrepareThreadRings()
    {
        GetStorage();
    }

    MessageFormatter& GetMessageFormatter()
    {
        return GetThreadRings().mFormatters.Take();
    }

    MessageTemplate const& GetMessageTemplate(char const* utf8Text)
    {
        MessageTemplate& messageTemplate = GetThreadRings().mTemplates.GetNext();
        messageTemplate.SetText(utf8Text);
        return messageTemplate;
    }

    char const* FormatOnce(MessageFormatter& formatter, char const* utf8Template)
    {
        // Copied like any other: it may be a text that this formatter has made.
        MessageTemplate& messageTemplate = GetThreadRings().mTemplates.GetNext();
        messageTemplate.SetText(utf8Template);
        char const* const text = formatter.Format(messageTemplate);
        if (messageTemplate.GetText().capacity() > QzBase::kKeptBytes)
            messageTemplate.SetText(nullptr);
        return text;
    }
}
