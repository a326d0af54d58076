#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace QzLogTool
{
    /// Bytes of files, one file after the other, each of them in one or several stretches that begin and end between
    /// records.
    class ByteSource
    {
    public:
        virtual ~ByteSource() = default;

        /// Goes to the next file or stretch; false when there is none. To be called before the first Read.
        virtual bool OpenNext() = 0;

        /// The bytes that follow in the present stretch; 0 at its end.
        virtual std::size_t Read(char* buffer, std::size_t size) = 0;

        /// Whether MoveTo can be called for the present file.
        virtual bool CanMove() const = 0;

        /// Moves in the present file.
        virtual void MoveTo(std::uint64_t offset) = 0;

        /// Where in its file the next Read begins.
        virtual std::uint64_t GetOffset() const = 0;

        /// The file that is being read, under the name that it had when it was opened.
        virtual std::string const& GetPath() const = 0;
    };
}
