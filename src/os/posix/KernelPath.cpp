#include "os/posix/KernelPath.h"

#include "os/Unicode.h"

#include <cerrno>
#include <cstring>

namespace QzOs::Posix
{
    namespace
    {
        constexpr unsigned short kBackslashUnit = 0xF05C;
        constexpr char kBackslashUnitBytes[] = "\xEF\x81\x9C";

        /// "C:" and "C:\dir" name a drive, which this system has not; "C:name" is an ordinary name.
        bool IsDrivePath(unsigned short const* path)
        {
            bool const isLetter = (path[0] >= 'A' && path[0] <= 'Z') || (path[0] >= 'a' && path[0] <= 'z');
            return isLetter && path[1] == ':' && (path[2] == 0 || path[2] == '\\' || path[2] == '/');
        }

        bool IsSurrogatePair(unsigned short const* text)
        {
            return (text[0] & 0xFC00) == 0xD800 && (text[1] & 0xFC00) == 0xDC00;
        }

        /// Up to the next piece that AppendName has to treat by itself.
        std::size_t MeasureOrdinaryPiece(char const* name)
        {
            char const* end = name;
            while (*end && *end != '\\' && std::strncmp(end, kBackslashUnitBytes, 3) != 0)
                ++end;
            return static_cast<std::size_t>(end - name);
        }
    }

    KernelPath::KernelPath(unsigned short const* path)
    {
        bool isExact = !IsDrivePath(path);
        char* out = mBytes;
        char* const last = mBytes + PATH_MAX - 1;
        while (*path && out <= last)
        {
            unsigned short const unit = *path;
            if (unit < 0x80)
            {
                *out++ = unit == '\\' ? '/' : static_cast<char>(unit);
                ++path;
            }
            else if (unit == kBackslashUnit)
            {
                *out++ = '\\';
                ++path;
            }
            else
            {
                std::size_t const units = IsSurrogatePair(path) ? 2 : 1;
                out += EncodeUTF8(out, path, units, Malformed::Keep, &isExact);
                path += units;
            }
        }
        if (out > last)
            mError = ENAMETOOLONG;
        mLength = mError ? 0 : static_cast<std::size_t>(out - mBytes);
        mBytes[mLength] = '\0';
        if (!isExact)
            mError = ENOENT;
    }

    void AppendName(PathText& out, char const* name)
    {
        while (*name)
        {
            std::size_t const length = MeasureOrdinaryPiece(name);
            AppendWide(out, name, length, Malformed::Keep);
            name += length;
            if (*name == '\\')
            {
                out.push_back(kBackslashUnit);
                ++name;
            }
            else if (*name)
            {
                for (int i = 0; i < 3; ++i)
                    out.push_back(static_cast<unsigned short>(0xDC00 + static_cast<unsigned char>(*name++)));
            }
        }
    }
}
