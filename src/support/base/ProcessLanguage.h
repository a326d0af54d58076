#pragma once

// The language that language ID 0 stands for. It lives here, below the resource library that shows it, so
// that messages can resolve 0 by themselves. Any thread may call both.

namespace QzBase
{
    /// 0x0409 (English, United States) until it is set.
    unsigned short GetProcessLanguage() noexcept;

    /// 0 is ignored.
    void SetProcessLanguage(unsigned short languageID) noexcept;

    /// `languageID`, or the process language for 0.
    inline unsigned short ResolveLanguage(unsigned short languageID) noexcept
    {
        return languageID != 0 ? languageID : GetProcessLanguage();
    }
}
