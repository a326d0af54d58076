#pragma once

#include <QzBase/Export.h>
#include <QzBase/WideString.h>

#include <cstddef>
#include <string>

namespace QzBase
{
    /// Narrow text, UTF-8 unless the operation that returns it says otherwise, returned by value. The
    /// pointer is valid as long as this object. A value: not shared between threads. Copying throws
    /// std::bad_alloc.
    class ReturnString
    {
    public:
        ReturnString() = default;

        /// Copies `text`; null gives the empty text.
        ReturnString(char const* text) : mText(text ? text : "") {}

        /// Takes the text over.
        explicit ReturnString(std::string&& text) noexcept : mText(std::move(text)) {}

        char const* c_str() const noexcept { return mText.c_str(); }

        /// Length in bytes, without the terminator.
        std::size_t size() const noexcept { return mText.size(); }

    private:
        std::string mText;
    };

    /// The same for wide text (UTF-16).
    class ReturnWString
    {
    public:
        ReturnWString() = default;

        /// Copies `text`; null gives the empty text.
        ReturnWString(unsigned short const* text)
        {
            if (text)
                mText = text;
        }

        /// Copies `length` code units; the text need not be terminated.
        ReturnWString(std::size_t length, unsigned short const* text) : mText(text, length) {}

        /// Takes the text over.
        explicit ReturnWString(WideString&& text) noexcept : mText(std::move(text)) {}

        unsigned short const* c_str() const noexcept { return mText.c_str(); }

        /// Length in code units, without the terminator.
        std::size_t size() const noexcept { return mText.size(); }

    private:
        WideString mText;
    };
}
