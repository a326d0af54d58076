#pragma once

#include "support/base/KeptMemory.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace QzLog
{
    /// A text of a header, which is set anew for every message. It keeps its memory, and assigning is little more than
    /// the copying.
    class HeaderField
    {
    public:
        char const* c_str() const noexcept { return mBuffer.c_str(); }
        bool empty() const noexcept { return mLength == 0; }
        std::size_t size() const noexcept { return mLength; }
        operator std::string_view() const noexcept { return {mBuffer.data(), mLength}; }

        /// Returns whether the field has changed. Most fields of a message equal those of the previous one.
        /// \param text  null counts as empty; may be a part of this field.
        bool Assign(char const* text)
        {
            char const* const value = text ? text : "";
            if (std::strcmp(c_str(), value) == 0) [[likely]]
                return false;
            Assign(std::string_view(value));
            return true;
        }

        void Assign(std::string_view text)
        {
            if (text.size() > mBuffer.size() || mBuffer.size() > QzBase::kKeptBytes) [[unlikely]]
                return Reallocate(text);
            std::char_traits<char>::move(mBuffer.data(), text.data(), text.size());
            mBuffer[text.size()] = '\0';
            mLength = text.size();
        }

    private:
        [[gnu::noinline]] void Reallocate(std::string_view text)
        {
            mBuffer.assign(text);
            mLength = text.size();
            QzBase::GiveBackSpareMemory(mBuffer);
            mBuffer.resize(mBuffer.capacity());
        }

        /// At least as long as the text, which ends with a zero.
        std::string mBuffer;
        std::size_t mLength = 0;
    };
}
