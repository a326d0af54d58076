#pragma once

#include "destination/Destination_DiskFile_Impl.h"
#include "filesystem/KernelFaults.h"
#include "filesystem/Paths.h"
#include "filesystem/TemporaryFolder.h"
#include "filesystem/stdio/FileGuards.h"
#include "os/Restore.h"

#include <QzLog/MessageHeader.h>

#include <sys/file.h>

namespace QzTest
{
    inline std::string const kHead = "\xEF\xBB\xBF# Tarnwickforge Log version 2.0\r\n";

    /// UTC in milliseconds since 1970.
    inline std::int64_t gNow = 0;

    constexpr std::int64_t kStart = 1'800'000'000'000; // 2027-01-15 08:00

    /// Whether somebody has the lock on the file.
    inline bool IsLocked(std::string const& path)
    {
        QzFileSystem::File::ScopedDescriptor const file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
        return flock(file.Get(), LOCK_EX | LOCK_NB) != 0;
    }

    /// A disk file in a folder of its own, with a clock that is stopped at gNow.
    class DiskFileTest : public TemporaryFolder, public Restore
    {
    protected:
        DiskFileTest()
        {
            gNow = kStart;
            QzOs::gCalls.mpGetUTCMilliseconds = [] { return gNow; };
            QzOs::gCalls.mpGetZoneMinutes = [](std::int64_t) { return 0; };
        }

        /// The path as messages show it.
        std::string Path(std::string const& name) const
        {
            return Narrow(QzFileSystem::CombinePaths(WideIn(name), Wide("")));
        }

        void Make(std::string const& name) { mpDestination = new QzLog::Destination_DiskFile_Impl(Wide(Path(name))); }

        void Write(std::string const& text) { mpDestination->WriteMessage(text.c_str(), *mpHeader); }

        /// Writes while the lock on the file cannot be taken.
        void Lose(std::string const& text, int error = ENOLCK)
        {
            Watch<&QzOs::Posix::Kernel::mpFlock> const flock(error);
            Write(text);
        }

        std::string Record(std::string const& text) const { return mpHeader->GetHeaderText() + (' ' + text) + "\r\n"; }

        /// The lines about losses in a log, without their headers.
        std::vector<std::string> GetLossLines(std::string const& name) const
        {
            std::vector<std::string> lines;
            std::string const text = Get(name);
            for (std::size_t at = 0; (at = text.find(" Missed ", at)) != text.npos; ++at)
                lines.push_back(text.substr(at + 1, text.find("\r\n", at) - at - 1));
            return lines;
        }

        /// The first of them; empty when there is none.
        std::string GetLossLine(std::string const& name) const
        {
            std::vector<std::string> const lines = GetLossLines(name);
            return lines.empty() ? "" : lines.front();
        }

        QzBase::CountedPtr<QzLog::MessageHeader> mpHeader{QzLog::CreateMessageHeader()};
        QzBase::CountedPtr<QzLog::Destination_DiskFile_Impl> mpDestination;
    };
}
