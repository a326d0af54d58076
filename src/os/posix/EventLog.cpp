#include "os/posix/Output.h"

#include "os/Calls.h"
#include "os/Cancellation.h"
#include "os/Unicode.h"
#include "os/posix/Events.h"

#include <algorithm>
#include <cerrno>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include <syslog.h>

// The event log: the journal where one runs, else the classic socket. openlog and syslog belong to the program
// that we are loaded into, so both are spoken to directly.

namespace QzOs::Posix
{
    namespace
    {
        /// What RegisterEventSource returns: the name in UTF-8.
        using Source = std::string;

        using WideView = std::basic_string_view<unsigned short>;

        std::string ToUTF8(WideView text)
        {
            std::string narrow;
            AppendUTF8(narrow, text.data(), text.size(), Malformed::Replace);
            return narrow;
        }

        bool IsControl(unsigned short unit) noexcept
        {
            return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
        }

        /// The lines as these logs have them: LF between them, since a CR would stand in the text.
        void ConvertLineEnds(std::string& text)
        {
            std::size_t to = 0;
            for (std::size_t from = 0; from < text.size(); ++from)
            {
                bool const isCR = text[from] == '\r';
                if (isCR && from + 1 < text.size() && text[from + 1] == '\n')
                    continue;
                text[to++] = isCR ? '\n' : text[from];
            }
            text.resize(to);
        }

        int ToPriority(unsigned short type) noexcept
        {
            switch (type)
            {
            case kEventError:
                return LOG_ERR;
            case kEventWarning:
                return LOG_WARNING;
            default:
                return LOG_INFO;
            }
        }
    }

    void* RegisterEventSource(unsigned short const* sourceName)
    {
        // A line end in the name would begin a line that looks like another program's.
        WideView const given(sourceName);
        std::vector<unsigned short> name(given.begin(), given.end());
        std::replace_if(name.begin(), name.end(), IsControl, static_cast<unsigned short>('?'));
        return new (std::nothrow) Source(ToUTF8({name.data(), name.size()}));
    }

    void ReportEvent(void* source, unsigned short type, unsigned int eventID, unsigned short const* text)
    {
        if (!source)
            return;
        int const error = errno;
        NoCancellation const noCancellation;
        std::string narrow = ToUTF8(text);
        ConvertLineEnds(narrow);
        Event const event{*static_cast<Source const*>(source), ToPriority(type), eventID, narrow};
        MessageDeadline deadline;
        if (!SendToJournal(event, deadline))
            SendToSyslog(event, deadline);
        errno = error;
    }

    void DeregisterEventSource(void* source)
    {
        delete static_cast<Source*>(source);
    }
}
