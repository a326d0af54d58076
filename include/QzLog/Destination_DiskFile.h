#pragma once

#include <QzBase/CountedPtr.h>
#include <QzBase/Export.h>
#include <QzBase/ReturnString.h>
#include <QzLog/Destination.h>

#include <cstdint>

namespace QzLog
{
    class LossObserver;

    /// What a disk file does about a log file that fails, or that others delete or replace.
    enum Recovery : unsigned int
    {
        /// The destination looks for the file at its path and opens it again after a pause. A count of losses can be
        /// dropped. For programs that rely on exactly that.
        kRecoveryBasic = 0,
        /// No message is lost without being reported. For all other programs.
        kRecoveryStrict = 1
    };

    /// Figures of a disk file since it was created, in a forked child since the fork. "Lost" means messages.
    struct DiskFileStatistics
    {
        /// Messages written.
        std::uint64_t mRecords;
        /// Bytes written, heads and lines about losses included.
        std::uint64_t mBytes;
        std::uint64_t mRollOvers;
        /// Lost and reported in the log.
        std::uint64_t mLossesReported;
        /// Lost and not yet reported.
        std::uint64_t mLossesWaiting;
        /// Lost and never to be reported: see kRecoveryBasic. kRecoveryStrict adds what the end of the module left.
        std::uint64_t mLossesDropped;
        /// The longest time that a message waited for the lock on the file.
        std::uint64_t mLongestLockWaitNanoseconds;
    };

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
    /// exceed the maximum by one message. If a roll-over fails, on a full disk for instance, the log is unchanged and
    /// the message is lost.
    ///
    /// A back-up has the permissions and the access control list of its log, and its owner and group as far as the
    /// process may set them. Anything that has its name, such as a link, is deleted and never written to. Where
    /// the process may not delete files in the directory, a file at that name is emptied and used if owner, group and
    /// permissions are those of the log; any other makes the roll-over fail.
    ///
    /// A file name has at most 255 bytes. A log whose own name exceeds 249 bytes cannot be rolled over: once it is
    /// full, it loses every message. With exactly 249 bytes the same happens when back-up number 100 is needed.
    ///
    /// Nothing that happens to the file reaches the logging call. A message that cannot be written is lost and counted,
    /// and so are the next ones. The first message that comes 300 seconds (SetRetryInterval) or more after the last
    /// failure or failed attempt opens the file again. A line in the log then says how many were lost, since when and
    /// why:
    ///
    ///     <header> Missed 17 messages since 2026-11-18 03:02:07.123-05:00 due to: Failed to lock file '\var\x.log'.
    ///
    /// A path in the reason is in normal form, as GetFilePath gives it: with backslashes. The line is stamped with
    /// logger "Log", dispatcher "Error" and no message ID, in the header of the calling thread. Later destinations in
    /// the same dispatcher's list see that header.
    ///
    /// Strict recovery (SetRecovery) adds to this:
    /// - The path is followed. If the file at the path is not the open one, or there is none, a message opens or
    ///   creates the one at the path at once. Only plain files count: a directory, a pipe or a device is a failure.
    /// - The directory is created again when the file is opened.
    /// - The first loss is reported at once. A run of losses is messages lost one after the other for the same reason.
    ///   Its first loss writes a line with path and reason to the debug output.
    /// - Each loss is reported once. A run has a count, the time of its first message and its reason, with the system's
    ///   description of the error. The next message that can be written is preceded by one line for each run, in the
    ///   order of their beginning. More than 16 unreported runs are joined into one, with the time and reason of the
    ///   first.
    /// - What does not fit on the disk is removed again: neither half a message nor half a line about losses is left.
    /// - A roll-over that fails leaves every back-up unchanged. The copy is made first, as "<path>.bak~n", and the
    ///   oldest back-up is kept as "<path>.bak~o" until all is done. So the disk needs room for one more file, and the
    ///   process needs the permission to create and rename files in the directory. If a process is killed in a
    ///   roll-over, these two can remain; the next roll-over removes them. If it is killed just before it empties the
    ///   file, or loses its permissions for the directory in the middle of a roll-over, so that it cannot rename back,
    ///   the content is in the file and in the newest back-up, and the next roll-over copies it once more.
    /// - At the end of the module, and when it is destroyed, a destination with unreported losses tries for a second to
    ///   report them. What it cannot report is written to the debug output.
    /// - If the clock was set back to before the failure, the next message tries the file at once.
    ///
    /// A message that is written while somebody deletes the file is lost all the same.
    ///
    /// Basic recovery, the default, differs as follows. When the file has been deleted, renamed or replaced by a
    /// directory, the next message creates it anew, if the last failure is 300 seconds old or there was none. The
    /// directory is not created again. The 300 seconds are measured by the system's clock: setting it back prolongs the
    /// wait by as much. After a roll-over that failed, the back-ups have moved up, and the new one may be incomplete.
    /// The line leaves out:
    /// - Messages written to a file that is no longer the one at the path: somebody replaced it, or deleted it and
    ///   another writer created a new one. The writer notices this when its file is full. That message is lost and
    ///   counted, and the file at the path is opened 300 seconds later.
    /// - An unreported count, when a write fails again or the destination is destroyed. A count is reported when the
    ///   file is reopened. If that line cannot be written, on a disk that is still full for instance, the count waits
    ///   until the file fails and is reopened once more.
    /// - Time and reason, if the file vanished and could not be created again: the line then has those of the previous
    ///   failure, or none.
    /// If SetBasePath moves a destination with unreported losses, they are reported in the new file only after that
    /// file fails and is reopened; with strict recovery, by the next message.
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

        /// Sets the size in bytes at which the file rolls over, from the next message on; 2000000 at first. Values
        /// above 2000000000 count as that. With 0 every message is lost, and with basic recovery each attempt to
        /// write one rolls the file over ten times, which pushes the back-ups out.
        virtual void SetMaxFileSize(unsigned int maxFileSize) = 0;
        virtual unsigned int GetMaxFileSize() = 0;

        /// Sets how many back-ups a roll-over keeps, from the next one on; 1 at first. 0 counts as 1, values above
        /// 256 as 256. Back-ups with higher numbers than that are not touched.
        virtual void SetBackupCount(unsigned int backupCount) = 0;
        virtual unsigned int GetBackupCount() = 0;

        /// A copy of the present path, UTF-16 in normal form: with backslashes between its parts.
        virtual QzBase::ReturnWString GetFilePath() = 0;

        /// Sets what is done about failures, from the next message on; kRecoveryBasic at first. Unknown values count as
        /// kRecoveryBasic. A change closes the file, and the next message opens it. Unreported losses are kept.
        virtual void SetRecovery(Recovery recovery) = 0;
        virtual Recovery GetRecovery() = 0;

        /// Sets the seconds between a failure and the next attempt on the file, in either recovery; 300 at first. With
        /// 0 each message is an attempt.
        virtual void SetRetryInterval(unsigned int seconds) = 0;
        virtual unsigned int GetRetryInterval() = 0;

        /// The figures of this destination. Takes no lock and blocks no other thread. The figures are read one by one,
        /// so they can differ by what is being written meanwhile.
        virtual DiskFileStatistics GetStatistics() = 0;

        /// Sets the observer that is notified of losses at once, in either recovery; null at first. Messages in
        /// delivery may still call the previous one.
        virtual void SetLossObserver(LossObserver* observer) = 0;
    };

    /// The destination of a log file; one object for each full path until the module ends. Creates the directory and
    /// the file if they are missing. If the file cannot be opened, that is no error: the destination keeps trying.
    /// Throws QzBase::Message while no Initializer is alive, and QzLog::Exception (with a line on the debug output)
    /// if the path itself is unusable.
    /// \param path  UTF-16, not null. Relative to the base path unless it is absolute or begins with a separator.
    ///              "/" and "\" both separate, and both stand for the system's separator; "." and ".." are resolved
    ///              in the text.
    QZLOG_API QzBase::ReturnPtrI<Destination_DiskFile> GetDestination_DiskFile(unsigned short const* path);

    /// Sets the directory that relative paths of log files are resolved against. All disk files that were created with
    /// relative paths move there, each to the file of the same name, which is created if it is missing. Their old files
    /// stay. If two would become the same file, the first in the order of the given paths (by UTF-16 units) moves, and
    /// the other does not. The same path again changes nothing. While the base path is empty, as it is at first,
    /// relative paths are resolved against the current directory. Calls of several threads take effect one after the
    /// other.
    /// Throws QzBase::Message while no Initializer is alive.
    /// \param path  UTF-16; null counts as empty.
    QZLOG_API void SetBasePath(unsigned short const* path);
}
