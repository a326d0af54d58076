#include <QzLog/Destination_Impl.h>

#include "message/CallFrame.h"
#include "support/synch/ForkSafeLocks.h"

#include <QzBase/CallStack.h>
#include <QzBase/Conversions.h>
#include <QzBase/StrongPtr.h>
#include <QzSynch/Locks.h>

#include <algorithm>
#include <set>
#include <string>
#include <string_view>

namespace QzLog
{
    namespace
    {
        constexpr std::string_view kLineEnd = "\r\n";
        constexpr std::string_view kCallStackHead = "--------- callstack ---------";
        constexpr std::string_view kCallStackFoot = "-----------------------------";

        /// Those of the log path, see CallFrame.h.
        constexpr unsigned int kOwnFrames = 6;

        /// How many frames a call stack shows: an endless recursion has some 100,000, and megabytes of names.
        constexpr unsigned int kMostFrames = 256;

        bool IsLineEnd(char c) noexcept
        {
            return c == '\r' || c == '\n';
        }

        std::string_view SkipLineEnds(std::string_view text) noexcept
        {
            std::size_t count = 0;
            while (count < text.size() && IsLineEnd(text[count]))
                ++count;
            return text.substr(count);
        }

        std::string_view ToView(char const* text) noexcept
        {
            return text ? std::string_view(text) : std::string_view();
        }

        /// The next position of a character, at or after a position that only grows. A position that was found is kept
        /// until it is passed, so that a text of many lines is scanned only once for each character.
        class NextOf
        {
        public:
            NextOf(std::string_view text, char character) noexcept : mText(text), mCharacter(character) { Find(0); }

            std::size_t From(std::size_t position) noexcept
            {
                if (mFound < position)
                    Find(position);
                return mFound;
            }

        private:
            void Find(std::size_t position) noexcept
            {
                std::size_t const found = mText.find(mCharacter, position);
                mFound = found == mText.npos ? mText.size() : found;
            }

            std::string_view mText;
            char mCharacter;
            std::size_t mFound = 0;
        };

        /// `body` neither is empty nor begins with a line end.
        void AppendLines(std::string& text, std::string_view body)
        {
            NextOf nextCR(body, '\r');
            NextOf nextLF(body, '\n');
            for (std::size_t position = 0;;)
            {
                std::size_t const end = std::min(nextCR.From(position), nextLF.From(position));
                text.append(body, position, end - position);
                position = end;
                while (position < body.size() && IsLineEnd(body[position]))
                    ++position;
                if (position == body.size())
                    return;
                text.append(kLineEnd);
            }
        }

        struct DestroyOperator
        {
            static void Delete(QzBase::CallStack* stack) { stack->Destroy(); }
        };

        using CallStackPtr = QzBase::StrongPtr<QzBase::CallStack, DestroyOperator>;

        void AppendCallStack(std::string& text, QzBase::CallStack const& stack)
        {
            text.append(kLineEnd).append(kCallStackHead);
            unsigned int const count = stack.GetFrameCount();
            unsigned int const end = std::min(count, kOwnFrames + kMostFrames);
            for (unsigned int index = kOwnFrames; index < end; ++index)
            {
                unsigned short const* const frame = stack.GetFrame(index).GetDescription();
                text.append(kLineEnd).append(QzBase::WideCharToUTF8(frame, false).c_str());
            }
            if (end < count)
                text.append(kLineEnd).append(std::to_string(count - end)).append(" more frames are left out.");
            text.append(kLineEnd).append(kCallStackFoot);
        }
    }

    Destination::~Destination() = default;

    class Destination_Impl::CallstackMessageIDs
    {
    public:
        CallstackMessageIDs() : mpLock(QzSynch::CreateForkSafeRWLock(QzSynch::kLockStackCategoryDefault)) {}

        bool Contains(unsigned int id) const
        {
            if (!mIsUsed.load(std::memory_order_relaxed))
                return false;
            QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
            return mIDs.contains(id);
        }

        std::set<unsigned int> Copy() const
        {
            QzSynch::RWLock::ReadSmartLock const hold(*mpLock);
            return mIDs;
        }

        void Replace(std::set<unsigned int>&& ids)
        {
            QzSynch::RWLock::WriteSmartLock const hold(*mpLock);
            mIsUsed.store(!ids.empty(), std::memory_order_relaxed);
            mIDs.swap(ids);
        }

    private:
        // Guards mIDs. mIsUsed spares messages the lock while the set is empty.
        QzSynch::RWLockPtr const mpLock;
        std::atomic<bool> mIsUsed{false};
        std::set<unsigned int> mIDs;
    };

    Destination_Impl::Destination_Impl() : mpCallstackMessageIDs(std::make_unique<CallstackMessageIDs>()) {}

    Destination_Impl::Destination_Impl(Destination_Impl const& other) : Destination_Impl()
    {
        *this = other;
    }

    Destination_Impl& Destination_Impl::operator=(Destination_Impl const& other)
    {
        mpCallstackMessageIDs->Replace(other.mpCallstackMessageIDs->Copy());
        mLanguageID.store(other.mLanguageID.load(std::memory_order_relaxed), std::memory_order_relaxed);
        return *this;
    }

    Destination_Impl::~Destination_Impl() = default;

    void Destination_Impl::SetCallstackMessageIDs(unsigned int const* ids, unsigned int count)
    {
        mpCallstackMessageIDs->Replace(std::set<unsigned int>(ids, ids + count));
    }

    unsigned short Destination_Impl::GetLanguageID() const
    {
        return mLanguageID.load(std::memory_order_relaxed);
    }

    void Destination_Impl::SetLanguageID(unsigned short languageID)
    {
        mLanguageID.store(languageID, std::memory_order_relaxed);
    }

    QZLOG_CALL_FRAME QzBase::ReturnString Destination_Impl::FormatMultiLineMessageText(
        unsigned int messageID, char const* headerText, char const* bodyText, bool appendNewline) const
    {
        std::string_view const header = SkipLineEnds(ToView(headerText));
        std::string_view const fullBody = ToView(bodyText);
        std::string_view const body = SkipLineEnds(fullBody);

        std::string text;
        if (fullBody.empty() || !body.empty())
        {
            // A line end in the body may grow by one character: room for lines of sixteen and more.
            text.reserve(header.size() + 1 + body.size() + body.size() / 16 + kLineEnd.size());
            if (!header.empty())
                text.append(header).push_back(' ');
            if (!body.empty())
                AppendLines(text, body);
        }
        if (messageID != 0 && mpCallstackMessageIDs->Contains(messageID))
        {
            // Taken here and not in a helper: its first frame is this function's.
            CallStackPtr const stack(QzBase::CreateCallStack(nullptr));
            AppendCallStack(text, *stack);
        }
        if (appendNewline && !text.empty())
            text.append(kLineEnd);
        return QzBase::ReturnString(std::move(text));
    }
}
