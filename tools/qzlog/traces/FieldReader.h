#pragma once

#include "reading/InputFile.h"

#include <cstdint>
#include <string>

namespace QzLogTool
{
    /// The fields of the lines of a file, which tabs part. Throws Trouble when it cannot be read.
    class FieldReader
    {
    public:
        static constexpr std::size_t kLongest = 4096;

        explicit FieldReader(std::string path) : mFile(std::move(path)) {}

        enum class End
        {
            Tab,
            Line,
            /// Of the file.
            File
        };

        /// The next field. Of one that is longer than kLongest bytes the rest is skipped.
        /// \return  what ends it.
        End Read(std::string& field);

        /// Of the field that was read last, from 1 on.
        std::uint64_t GetLine() const { return mLine; }
        std::uint64_t GetColumn() const { return mColumn; }

    private:
        int Take();

        InputFile mFile;
        std::string mBuffer;
        std::size_t mAt = 0;
        std::uint64_t mLine = 1;
        std::uint64_t mColumn = 0;
        bool mIsAtLineEnd = false;
    };
}
