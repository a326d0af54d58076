#include "message/MessageHeader_Impl.h"

#include "support/base/Ascii.h"

#include <cstring>
#include <string_view>

// The header as a line of text. Every message comes through here: its length is bounded first, so that the pieces
// go into the string's memory without a look at its capacity each.

namespace QzLog
{
    namespace
    {
        constexpr std::size_t kReservedLength = 256;

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

            char const* GetEnd() const noexcept { return mpOut; }

        private:
            char* mpOut;
        };

        std::string_view OrZero(std::string const& id) noexcept
        {
            return id.empty() ? std::string_view("0") : std::string_view(id);
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

    void MessageHeader_Impl::BuildHeaderText()
    {
        GetTimestampString();
        GetProcessIDString();
        GetThreadIDString();
        std::size_t const bound = kFixedLength + mTimestampText.size() + mHostName.size() + mServerName.size() +
                                  mProcessIDText.size() + mThreadIDText.size() + mLoggerName.size() +
                                  mDispatcherName.size() + mUserID.size() + mSessionID.size() + mObjectID.size() +
                                  mSourceFile.size() + mSourceFunction.size();
        std::string& text = mHeaderText;
        text.reserve(kReservedLength);
        text.resize(bound);

        Writer writer(text.data());
        writer << mTimestampText << " [HOST:" << mHostName << "][SERVER:" << mServerName << "][PID:" << mProcessIDText
               << "][THR:" << mThreadIDText << "][" << mLoggerName << "][" << mDispatcherName << "]";
        if (mMessageID != 0)
            writer << "[0x" << GetMessageIDString() << "]";
        writer << "[UID:" << OrZero(mUserID) << "][SID:" << OrZero(mSessionID) << "][OID:" << OrZero(mObjectID) << "]";
        if (mIsErrorDispatcher && !mSourceFile.empty() && !mSourceFunction.empty())
        {
            writer << "[" << GetFileNamePart(mSourceFile) << ":" << mSourceFunction << " at line:" << mSourceLine
                   << "]";
        }
        text.resize(static_cast<std::size_t>(writer.GetEnd() - text.data()));
    }
}
