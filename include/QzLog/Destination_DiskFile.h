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
    /// The new back-up is a file of its own: what stood at its name, a link or a pipe perhaps, is deleted and not used.
    /// It has the log's permissions, and its owner and group as far as the process may give them. The name of a file
    /// has 255 bytes at most: a log whose own name has more than 249 cannot be rolled over and, once it is full, loses
    /// every message. One of exactly 249 comes to that when it needs back-up number 100.
    ///
    /// Nothing that happens to the file reaches the logging call. A message that cannot be written is lost and counted.
    /// 300 seconds after the last failure or failed attempt the next message opens the file again, and a line in
    /// the log tells how many were lost, since when and why:
    ///
    ///     <header> Missed 17 messages since 2026-11-18 03:02:07.123-05:00 due to: Failed to lock file '/x.log'.
    ///
    /// When the file is deleted, renamed or replaced by a directory, the next message finds that out and makes a new
    /// one, if the last failure is 300 seconds old or there was none. Its directory is not made again. Seconds are
    /// those of the system's clock: when that is set back, the wait is as much longer. The line above puts the logger
    /// "Log", the dispatcher "Error" and no message ID on the header of the calling thread, which destinations behind
    /// this one in a dispatcher's list see. A count that is still open when a new base path moves the destination to a
    /// file that can be opened is told there, but only once that file is lost in its turn.
    ///
    /// The line leaves out:
    /// - what goes into a file that is no longer the one at its path, since somebody replaced it, or deleted it and
    ///   another writer made it anew. That is noticed when the file is full: the message is lost and counted, and the
    ///   file at the path is opened 300 seconds later.
    /// - a count that still waits when a write fails once more, or when the destination ends. A count waits for those
    ///   300 seconds; if its line cannot be written then, as on a disk that is still full, until the file is lost again
    ///   and opened again.
    /// - when and why, if the file vanished and could not be made again: the line then has time and reason of the last
    ///   failure before, or none.
    ///
    /// After a fork the child goes on in the same log, with an open file and a count of its own. A fork waits for a
    /// record that is being written and for a roll-over, but not for a message that waits for the lock on the file. The
    /// child does not have that message.
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
