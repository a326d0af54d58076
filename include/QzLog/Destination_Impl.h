#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReturnString.h>
#include <QzLog/Destination.h>

#include <atomic>
#include <memory>

namespace QzLog
{
    /// What all destinations share, and the base of those that users write: derive from it, implement both forms of
    /// WriteMessage, and give the object to a dispatcher.
    ///
    ///     class Lines final : public QzSynch::Counted<QzLog::Destination_Impl>
    ///     {
    ///         void WriteMessage(char const* text, QzLog::MessageHeader&) override { std::puts(text ? text : ""); }
    ///         void WriteMessage(QzLog::MessageHeader& header, QzLog::MessageBody& body) override
    ///         {
    ///             WriteMessage(body.GetMessageText(GetLanguageID()), header);
    ///         }
    ///     };
    ///
    /// A copy has the language and the IDs of the original. Copying throws std::bad_alloc.
    class QZLOG_API Destination_Impl : public virtual Destination
    {
    public:
        Destination_Impl();
        Destination_Impl(Destination_Impl const& other);
        Destination_Impl& operator=(Destination_Impl const& other);
        ~Destination_Impl() override;

        void SetCallstackMessageIDs(unsigned int const* ids, unsigned int count) override;

        /// Makes the text of a message: the header, a blank, and the lines of the body with CR LF between them. Each
        /// run of CR and LF is one line end, so blank lines are dropped. Line ends at the start and the end of the body
        /// and at the start of the header are dropped as well. A body of line ends only gives the empty text; an empty
        /// or null body gives the header and a blank. Texts are UTF-8 and are not checked.
        ///
        /// If the message ID is not 0 and in the set of call-stack IDs, the call stack of the calling thread follows,
        /// without its first six frames, which are the library's if this is called from WriteMessage. At most 256
        /// frames are shown, the innermost first; if there are more, a line after them says how many are left out.
        ///
        /// May be called from any thread at any time. Throws std::bad_alloc.
        /// \param messageID      as in the header.
        /// \param appendNewline  whether a text that is not empty ends with CR LF.
        QzBase::ReturnString FormatMultiLineMessageText(
            unsigned int messageID, char const* headerText, char const* bodyText, bool appendNewline) const;

    protected:
        unsigned short GetLanguageID() const override;
        void SetLanguageID(unsigned short languageID) override;

    private:
        class CallstackMessageIDs;

        std::unique_ptr<CallstackMessageIDs> const mpCallstackMessageIDs;
        std::atomic<unsigned short> mLanguageID{0};
    };
}
