#include "trace/TraceFile.h"

#include "os/FilesStreams.h"

#include <QzLog/LogTrace.h>

#include <QzBase/Message.h>

#include <algorithm>
#include <charconv>
#include <exception>

namespace
{
    // The name has to be ASCII: with "?" in place of its other characters it would be another file's.
    bool IsASCII(QzBase::WideString const& name)
    {
        return std::all_of(name.begin(), name.end(), [](unsigned short unit) { return unit > 0 && unit < 0x80; });
    }
}

namespace QzLog
{
    TraceFile::TraceFile(QzBase::WideString const& name)
    {
        QzOs::FileHandle handle = QzOs::kNoFile;
        if (name.empty() || !IsASCII(name) ||
            QzOs::OpenFile(
                name.c_str(), QzOs::Access::Write, QzOs::Creation::CreateAlways, QzOs::Sharing::ReadWrite, handle) != 0)
            return;
        int const descriptor = QzOs::ToDescriptor(handle);
        if (QzOs::OpenStream(descriptor, QzOs::Access::Write, mpStream) != 0)
        {
            mpStream = nullptr;
            QzOs::CloseDescriptor(descriptor);
        }
    }

    void TraceFile::Write(std::string_view text)
    {
        if (mIsComplete && QzOs::WriteStream(mpStream, text.data(), text.size()) != 0)
            mIsComplete = false;
    }

    bool TraceFile::Close() noexcept
    {
        if (mpStream)
        {
            if (QzOs::CloseStream(mpStream) != 0)
                mIsComplete = false;
            mpStream = nullptr;
        }
        return mIsComplete;
    }

    long PrintToFile(QzBase::WideString const& name, std::function<void(TraceFile&)> const& print)
    {
        TraceFile file(name);
        if (!file.IsOpen())
            return kTraceFileNotOpened;
        // No catch-all: the unwinding of a cancelled thread has to pass.
        try
        {
            print(file);
        }
        catch (std::exception const&)
        {
            return kTraceNotWritten;
        }
        catch (QzBase::Message const&)
        {
            return kTraceNotWritten;
        }
        return file.Close() ? 0 : kTraceNotWritten;
    }

    void AppendNumber(std::string& text, std::int64_t number)
    {
        char digits[20];
        text.append(digits, std::to_chars(digits, digits + sizeof(digits), number).ptr);
    }
}
