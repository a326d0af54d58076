#include "filesystem/stdio/CopyFile.h"

#include "filesystem/stdio/FileDescriptors.h"
#include "filesystem/stdio/FileGuards.h"
#include "filesystem/stdio/FileStreams.h"

#include <memory>

namespace QzFileSystem
{
    void CopyFile(unsigned short const* from, unsigned short const* to, QzDataType::Binary& binary)
    {
        File::ScopedStream const source(File::OpenStream(from, kOpenRead, kShareDefault));
        File::ScopedStream const target(File::OpenStream(to, kOpenWriteNew, kShareDefault));
        File::Copy(source.Get(), target.Get(), binary);
    }

    void CopyFile(unsigned short const* from, unsigned short const* to)
    {
        std::unique_ptr<QzDataType::Binary> const binary(QzDataType::CreateBinary(File::kCopyBufferSize, nullptr));
        CopyFile(from, to, *binary);
    }
}
