#include "message/MessageHeader_Impl.h"

#include "support/base/Ascii.h"

#include <cstring>
#include <initializer_list>
#include <string_view>

// The header as a line of text. It is built for every message: its length is bounded first, so that each piece is
// written without a test of the capacity. What seldom changes is kept in one piece of several fields.

namespace QzLog
{
    namespace
    {
        /// At least the length of everything in the line that is no field, of the message ID and of the source line.
        constexpr std::size_t kFixedLength = 128;

        class Writer
        {
        public:
            explicit Writer(char* out) noexcept : mpOut(out) {}

            Writer& operator<<(std::string_view text) noexcept
            {
                std::memcpy(mpOut, text.data(), text.size());
                mpOut += text.size();
                return *this;
            }

            Writer& operator<<(int value) noexcept
            {
                auto magnitude = static_cast<unsigned int>(value);
                if (value < 0)
                {
                    *mpOut++ = '-';
                    magnitude = 0 - magnitude;
                }
                mpOut = QzBase::WriteDecimal(mpOut, magnitude);
                return *this;
            }

            /// Eight digits.
            Writer& WriteHex(unsigned int value) noexcept
            {
                mpOut = QzBase::WriteHex(mpOut, value, 8);
                return *this;
            }

            char* GetEnd() const noexcept { return mpOut; }

        private:
            char* mpOut;
        };

        /// Fills an empty text. Without memory for all of it the text stays empty: a part would be taken for the whole.
        void Join(std::string& text, std::initializer_list<std::string_view> pieces)
        {
            std::size_t length = 0;
            for (std::string_view const piece : pieces)
                length += piece.size();
            text.reserve(length);
            for (std::string_view const piece : pieces)
                text.append(piece);
        }

        std::string_view OrZero(std::string_view id) noexcept
        {
            return id.empty() ? "0" : id;
        }

        /// What follows the last "/", or, where there is none, the last backslash.
        std::string_view GetFileNamePart(std::string_view path) noexcept
        {
            std::size_t separator = path.rfind('/');
            if (separator == path.npos)
                separator = path.rfind('\\');
            return separator == path.npos ? path : path.substr(separator + 1);
        }
    }

    std::string const& MessageHeader_Impl::GetOriginText()
    {
        if (mOriginText.empty())
        {
            Join(mOriginText, {" [HOST:", mHostName, "][SERVER:", mServerName, "][PID:", GetProcessIDString(),
                                  "][THR:", GetThreadIDString(), "]["});
        }
        return mOriginText;
    }

    void MessageHeader_Impl::BuildHeaderText()
    {
        Timestamp const* const newSeconds = mTimestampText.IsBuilt() ? nullptr : &mTimestamp;
        std::string const& time = mTimestampText.Get(mTimestamp);
        unsigned int const timeNumber = mTimestampText.GetNumber();
        if (mHeaderText.BuildWithTime(time, timeNumber, newSeconds))
            return;
        std::string const& origin = GetOriginText();
        std::size_t const bound = kFixedLength + time.size() + origin.size() + mLoggerName.size() +
                                  mDispatcherName.size() + mUserID.size() + mSessionID.size() + mObjectID.size() +
                                  mSourceFile.size() + mSourceFunction.size();
        auto const write = [&](char* out)
        {
            Writer writer(out);
            writer << time << origin << mLoggerName << "][" << mDispatcherName << "]";
            if (mMessageID != 0)
                (writer << "[0x").WriteHex(mMessageID) << "]";
            writer << "[UID:" << OrZero(mUserID) << "][SID:" << OrZero(mSessionID) << "][OID:" << OrZero(mObjectID)
                   << "]";
            if (mIsErrorDispatcher && !mSourceFile.empty() && !mSourceFunction.empty())
            {
                writer << "[" << GetFileNamePart(mSourceFile) << ":" << mSourceFunction << " at line:" << mSourceLine
                       << "]";
            }
            return writer.GetEnd();
        };
        mHeaderText.Build(time.size(), timeNumber, bound, write);
    }
}
