#pragma once

#include <cstddef>
#include <cstdio>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

namespace QzLogTool
{
    /// Texts, however many, of which one at most is in memory. The others are in a temporary file, which has no name
    /// and goes with the process. Operations throw Trouble when that file cannot be written or read.
    class KeptTexts
    {
    public:
        /// Not after TakeNext, unless Clear was called since.
        void Add(std::string_view text);

        /// The texts in the order in which they were added; each is valid until the next call. False when there is none
        /// any more.
        bool TakeNext(std::string_view& text);

        /// Forgets all, and frees the room on the disk.
        void Clear();

    private:
        struct Closer
        {
            void operator()(std::FILE* pFile) const { std::fclose(pFile); }
        };

        std::unique_ptr<std::FILE, Closer> mpFile;
        std::deque<std::size_t> mSizes;
        std::string mText;
        bool mIsReading = false;
    };
}
