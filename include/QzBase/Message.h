#pragma once

#include <QzBase/Export.h>
#include <QzBase/ReturnString.h>

#include <atomic>
#include <cstddef>
#include <exception>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace QzBase
{
    /// Domains of message IDs.
    inline constexpr unsigned short MESSAGE_DOMAIN_UNKNOWN = 0;
    inline constexpr unsigned short MESSAGE_DOMAIN_SERVER = 1;
    /// IDs of this domain are error numbers of the operating system.
    inline constexpr unsigned short MESSAGE_DOMAIN_WIN32_API = 2;

    /// The error and message object, and what the library throws. It holds a domain, a signed 32-bit
    /// ID, a wide text with "%1" to "%99" for its arguments, texts by language ID, and a tree of
    /// lower-level messages, the causes. A value: copies share nothing. One thread at a time may change an
    /// object; several may read it at the same time. Operations that store something throw
    /// std::bad_alloc.
    ///
    /// Apart from std::bad_alloc, everything that this library throws is a Message or derives from it. Catch
    /// `QzBase::Message&`; if you catch std::exception as well, catch it after that. See ExceptionImpl.
    ///
    /// Copying, formatting and destroying are recursive: each level takes about 150 bytes of the calling
    /// thread's stack in an optimised build of the library. Plan for 256 bytes, which is 4,000 levels per MiB
    /// of stack. A tree that is too deep for the stack ends the process.
    class QZLOG_API Message
    {
    public:
        class Localizer;

        /// An empty message: domain MESSAGE_DOMAIN_UNKNOWN, ID 0, empty text.
        Message();

        /// \param text  UTF-8 template, or null. With null the text of an ID of the domain
        ///              MESSAGE_DOMAIN_WIN32_API is the system's description of that error; in other
        ///              domains it is empty.
        Message(unsigned short domain, int id, char const* text);

        Message(Message const& other);
        Message(Message&& other) noexcept;
        /// `other` may be one of this message's own lower levels, as a cursor gives them. If it throws, the message
        /// is unchanged.
        Message& operator=(Message const& other);
        Message& operator=(Message&& other) noexcept;
        virtual ~Message();

        void SetDomainAndID(unsigned short domain, int id);
        unsigned short GetDomain() const;
        int GetID() const;

        /// Sets this level's text; null sets the empty text. Arguments that were given stay.
        void SetMessage(unsigned short const* text);

        /// This level's text with its arguments filled in, in one pass: "%1" to "%99" stand for the arguments
        /// (two digits are read as one number), "%%" for "%". A number without an argument is kept as it is.
        /// A text without any argument is returned exactly as it was set. Valid until the object changes.
        unsigned short const* GetMessage() const;

        /// Appends one argument for "%1", "%2" and so on of this level's text. Null text counts as empty.
        Message& operator<<(unsigned short const* text);
        Message& operator<<(char const* utf8Text);
        Message& operator<<(int value);
        Message& operator<<(unsigned int value);
        Message& operator<<(long value);
        Message& operator<<(unsigned long value);
        Message& operator<<(long long value);
        Message& operator<<(unsigned long long value);

        /// Makes this object a new outer level with the given domain, ID and UTF-8 text; what it held
        /// becomes the level below, unless it was empty. Returns the object, so that arguments can follow
        /// at once.
        Message& WrapBy(unsigned short domain, int id, char const* text);

        /// Puts `message` in front: this object becomes a copy of it, and what the object held becomes
        /// the last of its lower levels. An empty message simply becomes the copy.
        void PrependBy(Message const& message);

        /// The text stored at this level for a language, UTF-8, arguments not filled in, or null when
        /// there is none. Language 0 is the present process language. Valid until the object changes.
        char const* GetLocalizedText(unsigned short languageID) const;

        /// Stores a UTF-8 text for a language at this level. Language 0 is the present process language.
        /// Null counts as empty.
        void SetLocalizedText(unsigned short languageID, char const* text);

    private:
        friend class ConstMessageCursor;
        friend class MessageCursor;
        friend class MessageMemory;
        friend class MessageWriter;

        void UpdateText();
        bool IsEmpty() const;

        unsigned short mDomain = MESSAGE_DOMAIN_UNKNOWN;
        int mID = 0;
        WideString mTemplate;
        WideString mText;
        std::vector<WideString> mArguments;
        std::map<unsigned short, std::string> mLocalizedTexts;
        std::vector<Message> mLowerLevels;
    };

    /// Finds the text of a message in a language; see QzResource::Localizer.
    class QZLOG_API Message::Localizer
    {
    public:
        virtual ~Localizer();

        /// Looks a text up by language, domain and ID. Gives the UTF-8 text with its "%1", or null when
        /// there is none; valid until the text is registered anew. May be called from any thread.
        virtual char const* FindText(unsigned short languageID, unsigned short domain, int id) = 0;
    };

    /// The text of `message` in a language, UTF-8: the level's text with its arguments filled in, and
    /// below it, one line each (CR LF between them), its causes, parents before children. A level without a
    /// text in that language gives the text that it was created with. A level with an empty text gives no line.
    /// Language 0 is the process language. The message is only read. Throws std::bad_alloc.
    QZLOG_API ReturnString FormatMessage(Message const& message, unsigned short languageID);

    /// The same, with the texts that `message` itself does not hold looked up through the localizer.
    /// `localizedCopy` becomes a copy of the message whose levels hold the texts that were found.
    QZLOG_API ReturnString FormatMessage(
        Message const& message, Message& localizedCopy, unsigned short languageID, Message::Localizer& localizer);

    /// Walks the tree of a message, parents before children. The cursor points into the message, which
    /// must outlive it and must not change its shape meanwhile. Used by one thread. Constructing, copying and the
    /// operations that go on throw std::bad_alloc.
    ///
    /// Several cursors can walk trees of the same shape in step: one leads and is asked where to go, the
    /// others follow. If the tree of a following cursor lacks a level, the cursor enters an empty message
    /// there, so that it stays in step.
    class QZLOG_API ConstMessageCursor
    {
    public:
        /// Stands on the top of the tree.
        explicit ConstMessageCursor(Message const& message);

        Message const& GetCurrentMessage() const;

        /// Goes to the next lower level of the current message that this walk has not been into.
        /// Returns whether this tree has one.
        bool GoToLowerLevelMessage(bool follows);

        /// Goes to the next message beside the one just visited: after GoToParent the next unvisited
        /// lower level of the current message, else the next unvisited sibling of the current message.
        /// Returns whether this tree has one.
        bool GoToSameLevelMessage(bool follows);

        /// Goes up. Returns false, and stays, at the top.
        bool GoToParent();

        /// Whether the current message has a lower level that this walk has not been into.
        bool LowerLevelMessageIsUnvisited() const;

    private:
        struct Place
        {
            Message const* mpMessage;
            // How many lower levels the walk has been into.
            std::size_t mVisited = 0;
            // Owns the message where the tree has none.
            std::shared_ptr<Message> mpMissing;
        };

        std::vector<Place> mPath;
        bool mCameFromBelow = false;
    };

    /// The same walk over a message that may be changed on the way.
    class QZLOG_API MessageCursor : private ConstMessageCursor
    {
    public:
        explicit MessageCursor(Message& message);

        Message& GetCurrentMessage() const;

        using ConstMessageCursor::GoToLowerLevelMessage;
        using ConstMessageCursor::GoToParent;
        using ConstMessageCursor::GoToSameLevelMessage;
        using ConstMessageCursor::LowerLevelMessageIsUnvisited;
    };

    /// The text of an exception, made on the first call of Get and kept. A copy makes its own.
    class QZLOG_API ExceptionText
    {
    public:
        ExceptionText() noexcept = default;
        ExceptionText(ExceptionText const&) noexcept {}
        ExceptionText& operator=(ExceptionText const&) noexcept { return *this; }
        ~ExceptionText();

        char const* Get(Message const& message) const noexcept;

    private:
        struct Text;

        mutable std::atomic<Text const*> mpFirst{nullptr};
    };

    /// What is thrown where the exact type matters. T is a Message or derives from it. It is caught as `T&`, as any
    /// base of T, or as std::exception. If nobody catches it, the message with which the process terminates shows its
    /// text.
    template <class T>
    class ExceptionImpl : public T, public std::exception
    {
    public:
        using T::T;
        explicit ExceptionImpl(T const& message) : T(message) {}
        explicit ExceptionImpl(T&& message) : T(std::move(message)) {}

        /// The text with those of its causes, UTF-8, in the process language; see FormatMessage. Valid as long as this
        /// object, even if the message is changed. Several threads may call it at the same time.
        char const* what() const noexcept override { return mText.Get(*this); }

    private:
        ExceptionText mText;
    };

    extern template class QZLOG_API ExceptionImpl<Message>;
}
