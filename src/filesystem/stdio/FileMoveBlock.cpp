#include "filesystem/stdio/FileMoveBlock.h"

#include "filesystem/Failures.h"
#include "filesystem/stdio/FileDescriptors.h"
#include "filesystem/stdio/FileStreams.h"
#include "os/FilesStreams.h"

namespace QzFileSystem::File
{
    namespace
    {
        /// One block on its way from `mFrom` to `mTo`. Offsets in the block fit into 32 bits, sums with a place
        /// need not: those are left to the position functions, which check them.
        struct BlockMove
        {
            std::FILE* mpStream;
            QzDataType::Binary& mBinary;
            std::int32_t mFrom;
            std::int32_t mTo;

            void GoTo(std::int32_t place, std::int32_t offset) const
            {
                SetPosition(mpStream, place);
                MovePosition(mpStream, offset);
            }

            void MovePiece(std::int32_t offset, std::int32_t size) const
            {
                GoTo(mFrom, offset);
                Read(mpStream, mBinary, static_cast<std::uint64_t>(size));
                GoTo(mTo, offset);
                Write(mpStream, static_cast<void const*>(mBinary.GetData()), mBinary.GetSize());
            }
        };

        std::int32_t MeasureBlock(std::FILE* stream, std::int32_t position)
        {
            // Moving, even to the same place, writes out what is buffered, so that the size counts it.
            SetPosition(stream, position);
            // Not GetSize, which gives the low 32 bits: only a part of a large file would be moved, without an error.
            std::int64_t size = 0;
            int const descriptor = QzOs::ToDescriptor(stream);
            QzOs::Error error = QzOs::GetFileSize(QzOs::FromDescriptor(descriptor), size);
            if (error == 0 && size > kLastPosition)
                error = QzOs::kErrorOverflow;
            if (error != 0)
                ThrowCallFailure(error, "QzFileSystem::File::GetSize", ": ::GetFileSize failed for #", descriptor, ".");
            return static_cast<std::int32_t>(size) - position;
        }
    }

    void MoveBlock(std::FILE* stream, QzDataType::Binary& binary, std::int32_t target, std::int32_t count)
    {
        std::int32_t const position = GetPosition(stream);
        if (position == target)
            return;
        if (count == 0)
            count = MeasureBlock(stream, position);
        if (count <= 0)
            return;

        binary.Reset();
        std::int32_t const pieceSize =
            binary.GetSize() < kLastPosition ? static_cast<std::int32_t>(binary.GetSize()) : kLastPosition;
        std::int32_t const rest = count % pieceSize;
        std::int32_t const whole = count - rest;
        BlockMove const move{stream, binary, position, target};
        // What a piece is written over must have been moved before: towards the end the last piece goes first
        // and the rest is the head of the block, towards the start it is the other way round.
        if (target > position)
        {
            for (std::int32_t offset = count - pieceSize; offset >= rest; offset -= pieceSize)
                move.MovePiece(offset, pieceSize);
            SetPosition(stream, position);
            if (rest != 0)
                move.MovePiece(0, rest);
            return;
        }
        for (std::int32_t offset = 0; offset < whole; offset += pieceSize)
            move.MovePiece(offset, pieceSize);
        if (rest != 0)
            move.MovePiece(whole, rest);
    }
}
