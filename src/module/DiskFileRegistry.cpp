#include "module/DiskFileRegistry.h"

#include "filesystem/Paths.h"
#include "os/Cancellation.h"

#include <QzBase/Conversions.h>
#include <QzBase/Message.h>
#include <QzLog/Destination_DebugOutput.h>
#include <QzLog/Exception.h>

#include <new>
#include <string>
#include <utility>

namespace QzLog
{
    using namespace QzBase::Literals;

    namespace
    {
        QzBase::WideString Combine(unsigned short const* base, unsigned short const* path)
        {
            return QzFileSystem::CombinePaths(base, path).c_str();
        }

        [[noreturn]] void ReportAndThrow(
            unsigned short const* path, QzBase::Message const& cause, Destination_DebugOutput& debugOutput)
        {
            std::string text("QzLog::ModuleMain_Impl::GetDestination_DiskFile: Failed to create log file '");
            text.append(QzBase::WideCharToUTF8(path, true).c_str()).append("'. ");
            text.append(QzBase::WideCharToUTF8(cause.GetMessage(), true).c_str());
            debugOutput.WriteString(text.c_str());

            QzBase::ExceptionImpl<Exception> exception;
            exception.SetDomainAndID(QzBase::MESSAGE_DOMAIN_UNKNOWN, -1);
            exception.SetMessage(QzBase::UTF8ToWideChar(text.c_str(), true).c_str());
            throw exception;
        }
    }

    DiskFileRegistry::DiskFileRegistry(QzSynch::RWLock& lock)
        : mLock(lock), mMoving(QzSynch::ForkHold::kOutermost, *this)
    {
    }

    DiskFileRegistry::~DiskFileRegistry()
    {
        for (auto const& [given, diskFile] : mDiskFilesByGivenPath)
            diskFile->EndReports();
    }

    QzBase::ReturnPtrI<Destination_DiskFile> DiskFileRegistry::GetDestination(
        unsigned short const* path, Destination_DebugOutput& debugOutput)
    {
        try
        {
            if (!path)
                throw QzBase::Message(QzBase::MESSAGE_DOMAIN_UNKNOWN, -1, "No path was given.");
            return QzBase::ReturnPtrI<Destination_DiskFile>(FindOrCreate(path).get());
        }
        catch (QzBase::Message& failure)
        {
            ReportAndThrow(path, failure, debugOutput);
        }
    }

    DiskFileRegistry::DiskFilePtr DiskFileRegistry::FindOrCreate(unsigned short const* path)
    {
        QzBase::WideString const given = Combine(path, u""_w);
        QzBase::WideString full = Combine(GetBasePath().c_str(), path);
        if (DiskFilePtr found = Find(full))
            return found;

        DiskFilePtr const created(new Destination_DiskFile_Impl(full.c_str()));
        for (;;)
        {
            {
                QzSynch::RWLock::WriteSmartLock const hold(mLock);
                QzBase::WideString present = Combine(mRootPath.c_str(), path);
                if (present == full)
                {
                    // Another thread may have been first, with this path or another form of it: its object is used.
                    DiskFilePtr const& first = mDiskFilesByFullPath.try_emplace(std::move(full), created).first->second;
                    return mDiskFilesByGivenPath.try_emplace(given, first).first->second;
                }
                full.swap(present);
            }
            // The base path has changed meanwhile, and that has not moved an object that is not registered yet.
            created->SetFilePath(full.c_str());
        }
    }

    DiskFileRegistry::DiskFilePtr DiskFileRegistry::Find(QzBase::WideString const& fullPath) const
    {
        QzSynch::RWLock::ReadSmartLock const hold(mLock);
        auto const found = mDiskFilesByFullPath.find(fullPath);
        return found == mDiskFilesByFullPath.end() ? DiskFilePtr() : found->second;
    }

    QzBase::ReturnWString DiskFileRegistry::GetBasePath() const
    {
        QzSynch::RWLock::ReadSmartLock const hold(mLock);
        return QzBase::ReturnWString(mRootPath.size(), mRootPath.c_str());
    }

    void DiskFileRegistry::SetBasePath(unsigned short const* path)
    {
        QzSynch::ForkableSection::Hold const hold(mMoving);
        DiskFileMap const moved = ReplaceBasePath(path ? path : u""_w);
        QzSynch::ForkableSection::Gap const gap(mMoving);
        Move(moved);
    }

    void DiskFileRegistry::Move(DiskFileMap const& moved)
    {
        for (auto const& [fullPath, diskFile] : moved)
        {
            try
            {
                diskFile->SetFilePath(fullPath.c_str());
            }
            catch (QzBase::Message&)
            {
                // The destination counts its losses, and the others have to move nevertheless.
            }
        }
    }

    void DiskFileRegistry::GoOnInForkedChild(bool wasGap) noexcept
    {
        if (!wasGap)
            return;
        QzOs::NoCancellation const noCancellation;
        try
        {
            // The thread that was moving them exists only in the parent. Those that were moved are unchanged.
            Move(mDiskFilesByFullPath);
        }
        catch (std::bad_alloc const&)
        {
            // The others keep their old files.
        }
    }

    /// The destinations to move, by their new full paths. If two paths become the same, the first has it.
    DiskFileRegistry::DiskFileMap DiskFileRegistry::ReplaceBasePath(QzBase::WideString const& path)
    {
        DiskFileMap moved;
        DiskFileMap replaced;
        QzSynch::RWLock::WriteSmartLock const hold(mLock);
        if (path == mRootPath)
            return moved;
        for (auto const& [given, diskFile] : mDiskFilesByGivenPath)
            moved.try_emplace(Combine(path.c_str(), given.c_str()), diskFile);
        replaced = moved;
        mRootPath = path;
        mDiskFilesByFullPath.swap(replaced);
        return moved;
    }
}
