#include "check/Findings.h"

namespace QzLogTool
{
    std::string_view Explain(Finding finding)
    {
        switch (finding)
        {
        case Finding::NoHead:
        case Finding::HeadWithin:
        case Finding::LineEnd:
            return "Another program has written, edited, joined or truncated the file. Find out which one, and keep it "
                   "from the log.";
        case Finding::Cut:
            return "The writer was killed, or the disk became full, in the middle of that record; or a message quotes "
                   "the whole header of another record. All other records are whole: nothing is to be done.";
        case Finding::Loose:
            return "Another program has written the line, or the record that it belongs to was removed.";
        case Finding::Header:
            return "Another program has written or edited the line; or a message has a line that looks like a header.";
        case Finding::Bytes:
            return "The program has logged bytes that are no text, or the file was damaged. A run of NUL bytes stands "
                   "where a file was emptied and written on by a program that does not append, or after the machine "
                   "has failed.";
        case Finding::Backwards:
            return "The clock of the machine was set back; or the file was put together of others; or a message has "
                   "lines that look like a record, which somebody may have forged.";
        case Finding::Repeated:
            return "A file was copied into the log, or a message quotes a record. Records that stand there twice are "
                   "counted twice.";
        case Finding::MissingBackup:
            return "Somebody has deleted or renamed a back-up, or a roll-over was interrupted. What it held is missing "
                   "here. The next roll-overs close the gap.";
        case Finding::LookAlike:
            return "A message quotes part of a header. Tools that read line by line may take it for a record.";
        case Finding::Leftover:
            return "A process was killed just before it emptied the log, or while it copied it. Nothing is lost, and "
                   "nothing is to be done; `view` and `stats` leave the copy out.";
        case Finding::Missed:
            break;
        }
        return "The server could not write these messages, and they are lost. Mend the cause and wait for up to five "
               "minutes: the server tries again by itself.";
    }

    std::string_view ExplainMissed(std::string_view reason)
    {
        constexpr struct
        {
            std::string_view mPart;
            std::string_view mAdvice;
        } kAdvices[] = {
            {"No space left", "Make room on the disk: old back-ups, the largest numbers first, may be deleted at any "
                              "time."},
            {"quota", "Raise the quota of the server's user, or delete old back-ups, the largest numbers first."},
            {"Permission denied", "Give the server's user the right to write the log, and to create files beside it."},
            {"Read-only file system", "Mount the file system for writing. It may have become read-only by a fault of "
                                      "the disk: look at the kernel's messages."},
            {"No such file or directory", "Create the folder of the log again, for the server's user."},
            {"Too many open files", "Raise the server's limit for open files (ulimit -n, LimitNOFILE=), or find what "
                                    "keeps so many open."},
            {"Input/output error", "The disk or its connection fails: look at the kernel's messages."},
            {"Stale file handle", "The file server has lost the file: mount it anew, or restart the server."},
            {"File too large", "The limit for the size of files (ulimit -f) is below that of the log."},
            {"Broker: ", "The Kafka broker did not take the records. Until it does, they are in this file."},
            {"Local: ", "The Kafka client could not deliver the records: look at the connection to the broker."},
        };
        for (auto const& advice : kAdvices)
            if (reason.find(advice.mPart) != std::string_view::npos)
                return advice.mAdvice;
        return "Look whether the disk is full, the folder is there, and the server's user may write.";
    }
}
