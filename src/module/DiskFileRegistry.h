#pragma once

#include "destination/Destination_DiskFile_Impl.h"
#include "support/synch/ForkableSection.h"

#include <QzBase/CountedPtr.h>
#include <QzBase/ReturnString.h>
#include <QzBase/WideString.h>
#include <QzSynch/Locks.h>

#include <map>

namespace QzLog
{
    class Destination_DebugOutput;

    /// The log files by their paths, one destination for each, and the directory that relative paths are resolved
    /// against. Destinations stay until the registry ends. Any thread may call any operation.
    class DiskFileRegistry final : private QzSynch::ForkableSection::Client
    {
    public:
        /// \param lock  guards the base path and the registry, for the look-up, the insertion or the copy only: a
        ///              destination is made, moved and released without it.
        explicit DiskFileRegistry(QzSynch::RWLock& lock);

        /// Lets all destinations report their losses, since some may not be destroyed: users hold them, or in a forked
        /// child a thread that exists only in the parent.
        ~DiskFileRegistry();
        DiskFileRegistry(DiskFileRegistry const&) = delete;
        DiskFileRegistry& operator=(DiskFileRegistry const&) = delete;

        /// \param path         relative or full.
        /// \param debugOutput  gets the report of an unusable path, before QzLog::Exception is thrown.
        QzBase::ReturnPtrI<Destination_DiskFile> GetDestination(
            unsigned short const* path, Destination_DebugOutput& debugOutput);

        QzBase::ReturnWString GetBasePath() const;

        /// Moves the destinations to their paths under another base path. The present base path does nothing.
        void SetBasePath(unsigned short const* path);

    private:
        using DiskFilePtr = QzBase::CountedPtr<Destination_DiskFile_Impl>;
        using DiskFileMap = std::map<QzBase::WideString, DiskFilePtr>;

        DiskFilePtr FindOrCreate(unsigned short const* path);
        DiskFilePtr Find(QzBase::WideString const& fullPath) const;
        DiskFileMap ReplaceBasePath(QzBase::WideString const& path);
        static void Move(DiskFileMap const& moved);
        void GoOnInForkedChild(bool wasGap) noexcept override;

        QzSynch::RWLock& mLock;
        QzBase::WideString mRootPath;
        /// By the normal form of the path as it was given, and by its present full path.
        DiskFileMap mDiskFilesByGivenPath;
        DiskFileMap mDiskFilesByFullPath;
        /// Held through a whole change of the base path, and taken before all other locks: if two changes overlapped,
        /// each could move some of the destinations last. It has a gap while they move, since each of them may have
        /// to wait for the lock on a file.
        QzSynch::ForkableSection mMoving;
    };
}
