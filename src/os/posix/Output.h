#pragma once

// The entries of QzOs::gCalls that put text out; see there.

namespace QzOs::Posix
{
    void WriteDebugOutput(unsigned short const* text);
    void* RegisterEventSource(unsigned short const* sourceName);
    void ReportEvent(void* source, unsigned short type, unsigned int eventID, unsigned short const* text);
    void DeregisterEventSource(void* source);
}
