#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzBase/ReturnString.h>
#include <QzLog/Destination.h>

namespace QzLog
{
    /// Keeps a log as a UTF-8 text file: 36 bytes of head (byte order mark, "# Tarnwickforge Log version 2.0", CR LF),
    /// then the messages, each as Destination_Impl::FormatMultiLineMessageText makes it, lines ending in CR LF.
    ///
    /// Several processes, and several destinations of one process, may write one file at the same time. They wait for
    /// each other with an exclusive lock on the whole file (flock), for as long as it takes: a process that is stopped
    /// while it holds that lock stops all writers. On NFS such locks hold between machines only where the server and
    /// the mount support them.
    ///
    /// A message that finds the file at its maximum size or beyond rolls it over first. The content is copied into the
    /// back-up "<path>.bak00", earlier back-ups move up by one number (with no gap the oldest is deleted), and the file
    /// is emptied in place, so that all who have it open go on with it. A message is written whole, so a file can
    /// exceed the maximum by one message. A roll-over that fails, on a full disk for instance, leaves the log as it
    /// was; the message is lost, the earlier back-ups have moved up, and the new one may be incomplete.
    ///
    /// A back-up has the permissions and the access control list of its log, and its owner and group as far as the
    /// process may set them. What stood at its name, a link or a pipe perhaps, is deleted and never written to. Where
    /// the process may not delete files in the directory, a file at that name is emptied and used if owner, group and
    /// permissions are those of the log; any other makes the roll-over fail.
    ///
    /// A file name has at most 255 bytes. A log whose own name exceeds 249 bytes cannot be rolled over: once it is
    /// full, it loses every message. With exactly 249 bytes the same happens when back-up number 100 is needed.
    ///
    /// Nothing that happens to the file reaches the logging call. A message that cannot be written is lost and counted.
    /// The first message that comes 300 seconds or more after the last failure or failed attempt opens the file again.
    /// A line in the log then says how many were lost, since when and why:
    ///
    ///     <header> Missed 17 messages since 2026-11-18 03:02:07.123-05:00 due to: Failed to lock file '/x.log'.
    ///
    /// The line is stamped with logger "Log", dispatcher "Error" and no message ID, in the header of the calling
    /// thread. Later destinations in the same dispatcher's list see that header.
    ///
    /// When the file has been deleted, renamed or replaced by a directory, the next message creates it anew, if the
    /// last failure is 300 seconds old or there was none. The directory is not created again. The 300 seconds are
    /// measured by the system's clock: setting it back prolongs the wait by as much.
    ///
    /// The line leaves out:
    /// - Messages written to a file that is no longer the one at the path: somebody replaced it, or deleted it and
    ///   another writer created a new one. The writer notices this when its file is full. That message is lost and
    ///   counted, and the file at the path is opened 300 seconds later.
    /// - An unreported count, when a write fails again or the destination is destroyed. A count is reported when the
    /// file
    ///   is reopened. If that line cannot be written, on a disk that is still full for instance, the count waits until
    ///   the file fails and is reopened once more.
    /// - Time and reason, if the file vanished and could not be created again: the line then has those of the previous
    ///   failure, or none.
    ///
    /// If SetBasePath moves a destination with unreported losses, they are reported in the new file only after that
    /// file fails and is reopened.
    ///
    /// After a fork the child goes on in the same log, with an open file and a count of its own. A fork waits for a
    /// record that is being written and for a roll-over. It does not wait for a message that waits for the lock on the
    /// file for more than some milliseconds; the child does not have that message.
    ///
    /// All operations may be called from any thread at any time, and throw std::bad_alloc and nothing of the file's.
    class QZLOG_API Destination_DiskFile : public virtual Destination
    {
    public:
        Destination_DiskFile();
        Destination_DiskFile(Destination_DiskFile const&);
        Destination_DiskFile(Destination_DiskFile&&) noexcept;
        Destination_DiskFile& operator=(Destination_DiskFile const&);
        Destination_DiskFile& operator=(Destination_DiskFile&&) noexcept;
        ~Destination_DiskFile() override;

        /// Sets the size in bytes at which the file rolls over, from the next message on; 2000000 at first. Larger
        /// values count as 2000000000. 0 is no size that a log can have: every message is lost, and each attempt to
        /// write one rolls the file over ten times, which pushes the back-ups out.
        virtual void SetMaxFileSize(unsigned int maxFileSize) = 0;
        virtual unsigned int GetMaxFileSize() = 0;

        /// Sets how many back-ups a roll-over keeps, from the next one on; 1 at first. 0 counts as 1, larger values
        /// as 256. Back-ups with higher numbers than that stay where they are.
        virtual void SetBackupCount(unsigned int backupCount) = 0;
        virtual unsigned int GetBackupCount() = 0;

        /// A copy of the present path, UTF-16 in normal form.
        virtual QzBase::ReturnWString GetFilePath() = 0;
    };

    /// The destination of a log file; one object for each full path until the module ends, with its directory and
    /// file made if they are missing. Whether the file can be opened makes no difference: the destination keeps trying.
    /// Throws QzBase::Message when the module does not live, and QzLog::Exception (with a line in the debug output)
    /// when the path itself is no use.
    /// \param path  UTF-16, not null. Relative to the base path unless it is absolute or begins with a separator.
    ///              "/" and "\" both separate, and both stand for the system's separator; "." and ".." are resolved
    ///              in the text.
    QZLOG_API QzBase::ReturnPtrI<Destination_DiskFile> GetDestination_DiskFile(unsigned short const* path);

    /// Sets the directory that relative paths of log files are resolved against. All destinations of disk files that
    /// were made from relative paths move there, each to the file of the same name, which it makes if need be; their
    /// old files stay. Where two would meet in one file, the first in the order of the paths as they were given (by
    /// UTF-16 units) takes it, and the other one stays where it is. The same path again changes nothing. While it is
    /// empty, as it is at first, relative paths count from the process's current directory. Calls of several threads
    /// take effect one after the other.
    /// Throws QzBase::Message when the module does not live.
    /// \param path  UTF-16; null counts as empty.
    QZLOG_API void SetBasePath(unsigned short const* path);
}
